#include "io/command_line.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <type_traits>
#include <utility>

#include <CLI/CLI.hpp>
#include <fmt/core.h>

namespace quarv::cli {

namespace {

/// The library takes a negative number for a very large one where the value has no sign, and "nan" for a
/// number in every range.
std::string refused_if_negative(const std::string& text) {
  return text.starts_with('-') ? fmt::format("Value {} is negative", text) : std::string();
}

/// NaN for what is not a finite number as a whole.
double number(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  return end == text.c_str() || *end != 0 || std::isinf(value) ? std::nan("") : value;
}

template <class T>
constexpr bool has_no_sign = std::is_unsigned_v<T> || std::is_same_v<T, std::optional<std::size_t>>;

}  // namespace

// Options. The help names values; it does not list what is checked of them.

Option Option::type(const char* name) const {
  option_->type_name(name);
  return *this;
}

Option Option::shows_default() const {
  option_->capture_default_str();
  return *this;
}

Option Option::shows_default(const char* text) const {
  option_->default_str(text);
  return *this;
}

Option Option::hidden() const {
  option_->group("");
  return *this;
}

Option Option::required() const {
  option_->required();
  return *this;
}

Option Option::one_at_a_time() const {
  option_->allow_extra_args(false);
  return *this;
}

Option Option::excludes(Option other) const {
  option_->excludes(other.option_);
  return *this;
}

Option Option::one_of(std::initializer_list<const char*> words) const {
  option_->check(CLI::IsMember(std::vector<std::string>(words.begin(), words.end())).description(""));
  return *this;
}

Option Option::between(double least, double most) const {
  option_->check([least, most](const std::string& text) {
    const double value = number(text);
    return value >= least && value <= most ? std::string()
                                           : fmt::format("Value {} not in range {} to {}", text, least, most);
  });
  return *this;
}

Option Option::between(int least, int most) const {
  option_->check(CLI::Range(least, most).description(""));
  return *this;
}

Option Option::between(unsigned least, unsigned most) const {
  option_->check(CLI::Range(least, most).description(""));
  return *this;
}

Option Option::between(std::size_t least, std::size_t most) const {
  option_->check(CLI::Range(least, most).description(""));
  return *this;
}

Option Option::positive() const {
  option_->check([](const std::string& text) {
    return number(text) > 0 ? std::string() : fmt::format("Value {} is not a positive number", text);
  });
  return *this;
}

Option Option::not_negative() const {
  option_->check([](const std::string& text) {
    return number(text) >= 0 ? std::string() : fmt::format("Value {} is not a number from 0 on", text);
  });
  return *this;
}

Option Option::size() const {
  option_->transform(CLI::AsSizeValue(false).description(""));
  option_->transform(CLI::Validator([](std::string& text) { return refused_if_negative(text); }, ""));
  return *this;
}

// Commands.

CommandLine CommandLine::subcommand(const char* name, const char* description) const {
  return CommandLine(app_->add_subcommand(name, description));
}

void CommandLine::requires_subcommand() const {
  app_->require_subcommand(1);
}

template <class T>
Option CommandLine::option(const char* names, T& value, const std::string& description) const {
  CLI::Option* const option = app_->add_option(names, value, description);
  if constexpr (has_no_sign<T>) option->check(refused_if_negative);
  return Option(option);
}

template Option CommandLine::option(const char*, std::string&, const std::string&) const;
template Option CommandLine::option(const char*, std::vector<std::string>&, const std::string&) const;
template Option CommandLine::option(const char*, double&, const std::string&) const;
template Option CommandLine::option(const char*, int&, const std::string&) const;
template Option CommandLine::option(const char*, unsigned&, const std::string&) const;
template Option CommandLine::option(const char*, std::size_t&, const std::string&) const;
template Option CommandLine::option(const char*, std::optional<std::size_t>&, const std::string&) const;
template Option CommandLine::option(const char*, std::optional<std::pair<std::string, std::string>>&,
                                    const std::string&) const;

Option CommandLine::option(const char* names, const std::function<void(const std::string&)>& use,
                           const char* description) const {
  return Option(app_->add_option_function<std::string>(names, use, description));
}

template <class T>
Option CommandLine::flag(const char* names, T& value, const char* description) const {
  return Option(app_->add_flag(names, value, description));
}

template Option CommandLine::flag(const char*, bool&, const char*) const;
template Option CommandLine::flag(const char*, std::string&, const char*) const;

void CommandLine::footer(const std::string& text) const {
  app_->footer(text);
}

void CommandLine::callback(std::function<void()> run) const {
  app_->callback(std::move(run));
}

const std::string& CommandLine::name() const {
  return app_->get_name();
}

std::vector<CommandLine> CommandLine::subcommands() const {
  std::vector<CommandLine> result;
  for (CLI::App* app : app_->get_subcommands([](CLI::App*) { return true; })) result.emplace_back(app);
  return result;
}

bool CommandLine::needs_subcommand() const {
  return app_->get_require_subcommand_min() != 0;
}

bool CommandLine::is_named() const {
  return app_->parsed();
}

std::string CommandLine::help(const std::string& path_above) const {
  return app_->help(path_above);
}

// Programs.

Program::Program(const char* description, const char* name, const char* version)
    : CommandLine(new CLI::App(description, name)) {
  app_->set_version_flag("-V,--version", version);
}

Program::~Program() {
  delete app_;
}

Reading Program::read(int argc, char** argv) {
  try {
    app_->parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return {Reading::help};
  } catch (const CLI::CallForVersion&) {
    return {Reading::version};
  } catch (const CLI::ParseError& e) {
    return {Reading::error, e.what()};
  }
  return {Reading::done};
}

void Program::clear() {
  app_->clear();
}

std::optional<std::uint64_t> size_in_bytes(std::string text) {
  if (!refused_if_negative(text).empty()) return std::nullopt;
  const CLI::AsSizeValue to_number(false);
  try {
    if (!to_number(text).empty()) return std::nullopt;
  } catch (const CLI::Error&) {
    return std::nullopt;
  }
  return std::stoull(text);
}

void refuse_value(const char* option, const std::string& reason) {
  throw CLI::ValidationError(option, reason);
}

}  // namespace quarv::cli
