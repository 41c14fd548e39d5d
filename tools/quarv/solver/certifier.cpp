#include "solver/certifier.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include <fmt/core.h>

#include "io/output.h"
#include "solver/s_expressions.h"

namespace quarv::cli {

namespace {

constexpr std::size_t longest_value = 400;
constexpr std::size_t longest_message = 200;

/// "x = #b00, f = (define-fun f ...)" of the answer to `get-model`.
std::string model_text(std::string_view answer) {
  std::string text;
  for (std::string_view definition : items(answer)) {
    if (head(definition) != "define-fun") continue;
    const std::vector<std::string_view> parts = items(definition);
    if (parts.size() != 5 || parts[1] == name_before || parts[1] == name_after) continue;
    const bool constant = items(parts[2]).empty();
    if (!text.empty()) text += ", ";
    text +=
        one_line(parts[1], longest_value) + " = " + one_line(constant ? parts[4] : definition, longest_value);
  }
  return text;
}

/// The value in the answer "((term value))".
std::string value_in(std::string_view answer) {
  const std::vector<std::string_view> pairs = items(answer);
  if (pairs.empty() || !answer.starts_with("((")) return {};
  const std::vector<std::string_view> pair = items(pairs[0]);
  return pair.size() == 2 ? one_line(pair[1], longest_value) : std::string();
}

/// An error message may go over several lines.
std::string message_text(std::string_view answer) {
  std::string text;
  for (char c : answer.substr(0, longest_message)) {
    const bool blank = c == '\n' || c == '\r' || c == '\t' || c == ' ';
    if (!blank)
      text += c;
    else if (!text.empty() && text.back() != ' ')
      text += ' ';
  }
  return answer.size() > longest_message ? text + " ..." : text;
}

bool is_answer(std::string_view answer) {
  return answer == "sat" || answer == "unsat" || answer == "unknown" || answer == "timeout";
}

bool is_about_resources(std::string_view message) {
  constexpr std::array<std::string_view, 6> words = {"cancel",    "timeout",     "out of memory",
                                                     "bad_alloc", "interrupted", "resource"};
  return std::ranges::any_of(words,
                             [&](std::string_view w) { return message.find(w) != std::string_view::npos; });
}

}  // namespace

const char* name_of(Verdict::Kind kind) {
  constexpr std::array names = {"proved", "refuted", "undecided", "unsupported", "failed"};
  static_assert(names.size() == Verdict::num_kinds);
  return names[kind];
}

std::optional<Verdict> KnownVerdicts::find(const std::string& text) const {
  const std::lock_guard lock(mutex_);
  const auto known = verdicts_.find(text);
  return known == verdicts_.end() ? std::nullopt : std::optional(known->second);
}

void KnownVerdicts::add(const std::string& text, const Verdict& verdict) {
  const std::lock_guard lock(mutex_);
  verdicts_.try_emplace(text, verdict);
}

Certifier::Certifier(const QuerySet& queries, KnownVerdicts& known, const std::string& solver,
                     std::chrono::milliseconds limit, std::filesystem::path keep)
    : queries_(queries), known_(known), solver_(solver), limit_(limit), keep_(std::move(keep)) {
  constexpr std::chrono::seconds patience(10);
  solver_.test(std::max<std::chrono::milliseconds>(patience, limit));
}

Verdict Certifier::verdict_on(std::size_t i) {
  if (queries_.is_trivial(i)) return {Verdict::proved, "the same text"};
  try {
    const std::string general = queries_.script(i, QuerySet::Form::general);
    if (!general.empty() && ask(i, QuerySet::Form::general, general).kind == Verdict::proved) return {};
    return ask(i, QuerySet::Form::exact, queries_.script(i, QuerySet::Form::exact));
  } catch (const NoQuery& e) {
    return {Verdict::unsupported, e.what()};
  }
}

/// Many steps are the same; each question is asked once. The first lines of a script only say where it is
/// from.
Verdict Certifier::ask(std::size_t i, QuerySet::Form form, const std::string& script) {
  keep(i, script);
  const std::string question = script.substr(script.find("\n(") + 1);
  if (const std::optional<Verdict> known = known_.find(question)) return *known;
  Verdict verdict;
  try {
    verdict = ask_solver(script);
    if (verdict.kind == Verdict::unsupported && form == QuerySet::Form::exact &&
        is_understood(i, QuerySet::Form::input) && !is_understood(i, QuerySet::Form::output)) {
      verdict = {Verdict::refuted, "the solver understands the input, but not the output: " + verdict.detail};
    }
  } catch (const SolverError& e) {
    verdict = {Verdict::failed, e.what()};
  }
  known_.add(question, verdict);
  return verdict;
}

Verdict Certifier::ask_solver(const std::string& script) {
  const std::optional<std::string> answer = solver_.run(script, limit_);
  if (!answer) {
    return {Verdict::undecided,
            fmt::format("no answer within {:g} s", static_cast<double>(limit_.count()) / 1000)};
  }
  if (*answer == "unsat") return {};
  if (*answer == "sat") return refuted();
  if (is_answer(*answer)) return {Verdict::undecided, "the solver gives up"};
  const std::string message = message_text(*answer);
  return {is_about_resources(message) ? Verdict::undecided : Verdict::unsupported, message};
}

/// A term that is not understood is answered with an error before the time is over.
bool Certifier::is_understood(std::size_t i, QuerySet::Form form) {
  const std::optional<std::string> answer = solver_.run(queries_.script(i, form), limit_);
  return !answer || is_answer(*answer) || is_about_resources(*answer);
}

/// What the solver cannot show any more is refuted all the same, but not by a model in which both are the
/// same.
Verdict Certifier::refuted() {
  Verdict verdict{Verdict::refuted, {}};
  std::string& model = verdict.detail;
  std::array<std::string, 2> values;
  try {
    model = model_text(solver_.ask("(get-model)").value_or(""));
    for (std::size_t i = 0; i < values.size(); ++i) {
      const char* const name = i == 0 ? name_before : name_after;
      values[i] = value_in(solver_.ask(fmt::format("(get-value ({}))", name)).value_or(""));
    }
  } catch (const SolverError&) {
    return verdict;
  }
  if (!values[0].empty() && values[0] == values[1]) {
    return {Verdict::undecided, fmt::format("the solver's model refutes nothing: both are {}", values[0])};
  }
  if (!values[0].empty() && !values[1].empty()) {
    verdict.detail +=
        fmt::format("{}the input is {}, the output {}", model.empty() ? "" : ": ", values[0], values[1]);
  }
  return verdict;
}

void Certifier::keep(std::size_t i, const std::string& script) const {
  if (keep_.empty()) return;
  Output file((keep_ / (queries_.short_name(i) + ".smt2")).string());
  file.stream() << script;
  file.commit();
}

}  // namespace quarv::cli
