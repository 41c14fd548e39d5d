#include "io/command_line.h"

#include <cstdint>
#include <optional>
#include <utility>

#include <CLI/CLI.hpp>

namespace quarv::cli {

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
  option_->check(CLI::Range(least, most).description(""));
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
  option_->check(CLI::PositiveNumber.description(""));
  return *this;
}

Option Option::not_negative() const {
  option_->check(CLI::NonNegativeNumber.description(""));
  return *this;
}

Option Option::size() const {
  option_->transform(CLI::AsSizeValue(false).description(""));
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
  return Option(app_->add_option(names, value, description));
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

Option CommandLine::option(const char* names, std::function<void(const std::string&)> use,
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
