#include "solver/script_queries.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <stdexcept>

#include <fmt/core.h>

#include "solver/s_expressions.h"

namespace quarv::cli {

namespace {

/// What a definition says of one function.
struct Function {
  std::string_view name;
  std::string_view parameters = "()";
  std::string_view sort;
  std::string_view body;

  std::vector<std::string_view> parameter_names() const {
    std::vector<std::string_view> names;
    for (std::string_view p : items(parameters)) names.push_back(unquoted(items(p)[0]));
    return names;
  }
};

std::vector<Function> functions_of(std::string_view definition) {
  const std::vector<std::string_view> parts = items(definition);
  if (parts[0] == "define-const") return {{parts[1], "()", parts[2], parts[3]}};
  if (parts[0] != "define-funs-rec") return {{parts[1], parts[2], parts[3], parts[4]}};
  std::vector<Function> functions;
  const std::vector<std::string_view> bodies = items(parts[2]);
  for (std::string_view heading : items(parts[1])) {
    const std::vector<std::string_view> h = items(heading);
    functions.push_back({h[0], h[1], h[2], bodies[functions.size()]});
  }
  return functions;
}

bool is_definition(std::string_view kind) {
  return kind.starts_with("define-fun") || kind == "define-const";
}

/// A definition that the printer made: for a term which several commands share, or of a name that `:named`
/// had given to what was simplified away.
bool is_added(std::string_view command, std::string_view expected) {
  if (head(command) != "define-fun" || !items(items(command)[2]).empty()) return false;
  return !is_definition(head(expected)) || unquoted(items(expected)[1]) != unquoted(items(command)[1]);
}

std::runtime_error mismatch(const std::string& what) {
  return std::runtime_error("the output is not the input with some terms replaced: " + what);
}

std::string as_file_name(std::string_view subject) {
  std::string name(subject);
  std::ranges::replace_if(
      name, [](char c) { return (c < '0' || c > '9') && (c < 'A' || c > 'Z') && (c < 'a' || c > 'z'); }, '-');
  return name;
}

}  // namespace

std::string query_beginning(const std::string& title) {
  std::string line = title;
  std::ranges::replace_if(
      line, [](unsigned char c) { return c < ' '; }, ' ');
  return fmt::format(
      "; {}\n; Unsatisfiable when both terms are equal for all values.\n"
      "(set-option :produce-models true)\n(set-logic ALL)\n",
      line);
}

std::string difference(QuerySet::Form form) {
  return fmt::format("(assert (not (= {} {})))\n(check-sat)\n",
                     form == QuerySet::Form::output ? name_after : name_before,
                     form == QuerySet::Form::input ? name_before : name_after);
}

ScriptQueries::ScriptQueries(std::string_view input, std::string_view output, std::string file)
    : input_(input), file_(std::move(file)), line_start_(input.data()) {
  read_commands(output);
}

// Commands.

void ScriptQueries::read_commands(std::string_view output) {
  const std::vector<std::string_view> expected = split(input_);
  auto next = expected.begin();
  for (std::string_view command : split(output)) {
    if (is_added(command, next == expected.end() ? "" : *next)) {
      const Function f = functions_of(command)[0];
      if (before_terms_.standalone(f.name) != f.name) {
        after_terms_.standalone(fmt::format("(! {} :named {})", f.body, f.name));
        continue;
      }
      // A new name means nothing in the input.
      if (names_[functions].contains(unquoted(f.name)))
        throw mismatch("a command too many, " + one_line(command, 100));
      declare(functions, {f.name},
              fmt::format("(define-fun {} () {} {})", f.name, f.sort, after_terms_.standalone(f.body)));
      continue;
    }
    if (next == expected.end()) throw mismatch("a command too many, " + one_line(command, 100));
    add_command(*next++, command);
    if (head(command) == "exit") return;
  }
  if (next != expected.end()) throw mismatch("a command is missing, " + one_line(*next, 100));
}

void ScriptQueries::add_command(std::string_view before, std::string_view after) {
  line_ += static_cast<std::size_t>(std::count(line_start_, before.data(), '\n'));
  line_start_ = before.data();
  const std::string_view kind = head(before);
  const bool both_define = is_definition(kind) && is_definition(head(after));
  if (kind != head(after) && !both_define) {
    throw mismatch(one_line(after, 100) + " instead of " + one_line(before, 100));
  }
  if (kind == "assert") {
    Pair pair{.sort_before = "Bool", .sort_after = "Bool"};
    pair.before = before_terms_.standalone(items(before)[1]);
    pair.after = after_terms_.standalone(items(after)[1]);
    ask(fmt::format("assertion {}", ++num_assertions_), pair);
  } else if (both_define) {
    add_definition(before, after);
  } else if (kind == "check-sat-assuming" || kind == "get-value") {
    add_term_list(kind, items(before)[1], items(after)[1]);
  } else if (kind == "simplify") {
    ask("simplify", {.before = before_terms_.standalone(items(before)[1]),
                     .after = after_terms_.standalone(items(after)[1])});
  } else if (!same_tokens(before, after)) {
    throw mismatch(one_line(after, 100) + " instead of " + one_line(before, 100));
  } else {
    change_state(kind, before);
  }
}

void ScriptQueries::add_definition(std::string_view before, std::string_view after) {
  const std::vector<Function> old_functions = functions_of(before);
  const std::vector<Function> new_functions = functions_of(after);
  if (old_functions.size() != new_functions.size()) throw mismatch(one_line(after, 100));
  const std::string_view kind = head(before);
  const bool recursive = kind.ends_with("-rec");
  std::vector<std::string_view> names;
  std::vector<std::pair<std::string, Pair>> pairs;
  std::string headings, bodies;
  for (std::size_t i = 0; i < old_functions.size(); ++i) {
    const Function& f = old_functions[i];
    const Function& g = new_functions[i];
    if (unquoted(f.name) != unquoted(g.name) || items(f.parameters).size() != items(g.parameters).size()) {
      throw mismatch(one_line(after, 100) + " instead of " + one_line(before, 100));
    }
    Pair pair{f.parameters, g.parameters, f.sort, g.sort};
    pair.before = before_terms_.standalone(f.body, f.parameter_names());
    pair.after = after_terms_.standalone(g.body, g.parameter_names());
    headings += fmt::format("({} {} {})", f.name, f.parameters, f.sort);
    bodies += ' ' + pair.before;
    names.push_back(f.name);
    pairs.emplace_back("definition of " + std::string(f.name), std::move(pair));
  }
  std::string own = kind == "define-funs-rec"
                        ? fmt::format("(define-funs-rec ({}) ({}))", headings, bodies)
                        : fmt::format("({} {}{})", recursive ? kind : "define-fun",
                                      std::string_view(headings).substr(1, headings.size() - 2), bodies);
  // Only a recursive function is known in its own definition.
  if (recursive) declare(functions, names, own);
  for (auto& [subject, pair] : pairs) ask(std::move(subject), pair);
  if (!recursive) declare(functions, names, std::move(own));
}

void ScriptQueries::add_term_list(std::string_view kind, std::string_view before, std::string_view after) {
  const std::vector<std::string_view> old_terms = items(before);
  const std::vector<std::string_view> new_terms = items(after);
  if (old_terms.size() != new_terms.size()) throw mismatch("the terms of " + std::string(kind));
  for (std::size_t i = 0; i < old_terms.size(); ++i) {
    ask(fmt::format("{}, term {}", kind, i + 1),
        {.before = before_terms_.standalone(old_terms[i]), .after = after_terms_.standalone(new_terms[i])});
  }
}

void ScriptQueries::change_state(std::string_view kind, std::string_view command) {
  if (kind == "declare-fun" || kind == "declare-const") {
    declare(functions, {items(command)[1]}, std::string(command));
  } else if (kind == "declare-sort" || kind == "define-sort") {
    declare(sorts, {items(command)[1]}, std::string(command));
  } else if (kind == "push" || kind == "pop") {
    change_levels(kind, command);
  } else if (same_tokens(command, "(set-option :global-declarations true)")) {
    global_declarations_ = true;
  } else if (kind == "reset") {
    global_declarations_ = false;
    forget_all();
  } else if (kind == "reset-assertions") {
    levels_.clear();
    if (!global_declarations_) forget_all();
  }
}

void ScriptQueries::change_levels(std::string_view kind, std::string_view command) {
  std::size_t n = 1;
  if (const std::vector<std::string_view> parts = items(command); parts.size() > 1) {
    std::from_chars(parts[1].data(), parts[1].data() + parts[1].size(), n);
  }
  if (kind == "push") {
    levels_.resize(levels_.size() + n);
    return;
  }
  for (; n != 0 && !levels_.empty(); --n) {
    std::vector<Undo>& level = levels_.back();
    for (auto undo = level.rbegin(); undo != level.rend() && !global_declarations_; ++undo) {
      if (undo->previous) {
        names_[undo->space][undo->name] = *undo->previous;
      } else {
        names_[undo->space].erase(undo->name);
      }
    }
    levels_.pop_back();
  }
}

void ScriptQueries::forget_all() {
  levels_.clear();
  for (auto& names : names_) names.clear();
  before_terms_.reset();
  after_terms_.reset();
}

// Declarations and queries.

void ScriptQueries::declare(Space space, const std::vector<std::string_view>& names, std::string text) {
  const auto index = static_cast<std::uint32_t>(declarations_.size());
  declarations_.push_back({std::move(text), {}});
  std::vector<std::uint32_t> others;  // of the same name: functions that take other arguments
  for (std::string_view name : names) {
    const std::string key(unquoted(name));
    if (space == functions) {
      before_terms_.declare(key);
      after_terms_.declare(key);
    }
    const auto [known, inserted] = names_[space].try_emplace(key, index);
    if (!levels_.empty()) {
      levels_.back().push_back({space, key, inserted ? std::nullopt : std::optional(known->second)});
    }
    if (known->second != index) others.push_back(known->second);
    known->second = index;
  }
  std::vector<std::uint32_t>& uses = declarations_.back().uses;
  uses = uses_of(declarations_.back().text);
  uses.insert(uses.end(), others.begin(), others.end());
}

std::vector<std::uint32_t> ScriptQueries::uses_of(std::string_view text) const {
  std::set<std::uint32_t> uses;
  for_each_symbol(text, [&](std::string_view symbol) {
    for (const auto& names : names_) {
      if (const auto known = names.find(symbol); known != names.end()) uses.insert(known->second);
    }
  });
  return {uses.begin(), uses.end()};
}

/// Declares constants for the parameters in `text`; gives what a function is applied to.
std::string ScriptQueries::application(const Pair& pair, std::string& text) const {
  std::string arguments;
  for (std::string_view parameter : items(pair.parameters_before)) {
    const std::vector<std::string_view> parts = items(parameter);
    std::string name(parts[0]);
    if (names_[functions].contains(unquoted(name))) name = fmt::format("quarv.{}", arguments.size());
    text += fmt::format("(declare-const {} {})\n", name, parts[1]);
    arguments += ' ' + name;
  }
  return arguments;
}

void ScriptQueries::ask(std::string subject, const Pair& pair) {
  Query query{std::move(subject), line_, false, !pair.sort_before.empty(), {}, {}, {}, {}, {}};
  const std::string_view p = pair.parameters_before;
  const std::string_view q = pair.parameters_after;
  query.trivial = same_tokens(pair.before, pair.after) && same_tokens(p, q);
  if (query.trivial) {
    queries_.push_back(std::move(query));
    return;
  }
  if (!query.named) {
    query.before = pair.before;
    query.after = pair.after;
  } else if (items(p).empty()) {
    query.before = fmt::format("(define-fun {} () {}\n  {})\n", name_before, pair.sort_before, pair.before);
    query.after = fmt::format("(define-fun {} () {}\n  {})\n", name_after, pair.sort_after, pair.after);
  } else {
    const std::string arguments = application(pair, query.parameters);
    query.before = fmt::format("(define-fun quarv.f {} {}\n  {})\n(define-fun {} () {} (quarv.f{}))\n", p,
                               pair.sort_before, pair.before, name_before, pair.sort_before, arguments);
    query.after = fmt::format("(define-fun quarv.g {} {}\n  {})\n(define-fun {} () {} (quarv.g{}))\n", q,
                              pair.sort_after, pair.after, name_after, pair.sort_after, arguments);
  }
  query.uses_before = uses_of(query.parameters + query.before);
  query.uses_after = uses_of(query.parameters + query.after);
  queries_.push_back(std::move(query));
}

std::string ScriptQueries::title(std::size_t i) const {
  return fmt::format("{}:{}: {}", file_, queries_[i].line, queries_[i].subject);
}

std::string ScriptQueries::short_name(std::size_t i) const {
  const bool numbered = queries_[i].subject.starts_with("assertion ");
  return as_file_name(queries_[i].subject) + (numbered ? "" : fmt::format("-{}", i + 1));
}

std::string ScriptQueries::script(std::size_t i, Form form) const {
  if (form == Form::general) return {};
  const Query& query = queries_[i];
  std::set<std::uint32_t> needed;
  if (form != Form::output) needed.insert(query.uses_before.begin(), query.uses_before.end());
  if (form != Form::input) needed.insert(query.uses_after.begin(), query.uses_after.end());
  std::vector<std::uint32_t> pending(needed.begin(), needed.end());
  while (!pending.empty()) {
    const Declaration& d = declarations_[pending.back()];
    pending.pop_back();
    for (std::uint32_t use : d.uses) {
      if (needed.insert(use).second) pending.push_back(use);
    }
  }
  std::string text = query_beginning(title(i));
  for (std::uint32_t d : needed) text += declarations_[d].text + '\n';
  text += query.parameters;
  const std::string& before = form == Form::output ? query.after : query.before;
  const std::string& after = form == Form::input ? query.before : query.after;
  if (!query.named) {
    return text + fmt::format("(assert (not (=\n  {}\n  {})))\n(check-sat)\n", before, after);
  }
  text += form == Form::exact ? before + after : before;
  return text + difference(form);
}

}  // namespace quarv::cli
