#include "rules/rule_checker.h"

#include <algorithm>
#include <iterator>
#include <set>

#include <fmt/core.h>

#include "rules/solver_counterexample.h"

namespace quarv::cli {

using rules::Rule;
using rules::RuleInstance;
using rules::RuleQuery;

namespace {

std::string assertion(const std::string& formula) {
  return "(assert " + formula + ")\n";
}

/// Whether numerals are added up or multiplied in a comparison, which is one of numbers then.
bool reads_sums_of_values(const Rule& rule) {
  const auto is_compound = [](const rules::IntExpr& e) { return !e.operands.empty() && is_exact(e); };
  return std::ranges::any_of(rule.conditions, [&](const rules::Condition& c) {
    return c.kind == rules::Condition::Kind::compare_values && (is_compound(c.left) || is_compound(c.right));
  });
}

/// What the solver makes of the variables, of pattern and result.
struct Assignment {
  std::string text;                 // "n = 0, t1 = #b10, t2 = #b01"
  std::vector<std::string> values;  // of the query's variables
};

Assignment assignment(const Rule& rule, const RuleInstance& instance, const RuleQuery& query,
                      SolverProcess& solver) {
  Assignment found;
  const auto add = [&found](const std::string& name, const std::string& value) {
    found.text += fmt::format("{}{} = {}", found.text.empty() ? "" : ", ", name, value);
  };
  for (std::size_t i = 0; i < rule.parameters.size(); ++i) {
    if (rule.parameters[i].source != rules::Parameter::Source::computed) {
      add(rule.parameters[i].name, std::to_string(instance.integers[i]));
    }
  }
  for (const RuleQuery::Variable& v : query.variables) {
    found.values.push_back(solver.value(v.symbol));
    add(v.name, found.values.back());
  }
  return found;
}

}  // namespace

namespace {

/// Conversions of real numbers to floats, of which z3 gives wrong proofs and cvc5 none.
bool is_beyond_solvers(const Rule& rule) {
  const auto is_conversion = [](const auto& node) {
    return node.op != nullptr && node.op->tag == SymbolTag::OPAQUE && node.op->has_format;
  };
  return std::ranges::any_of(rule.pattern, is_conversion) || std::ranges::any_of(rule.result, is_conversion);
}

}  // namespace

std::span<const std::size_t> larger_widths() {
  static constexpr std::size_t widths[] = {5, 8, 13, 16, 24, 32, 48, largest_width};
  return widths;
}

RuleVerdict RuleChecker::check(const Rule& rule, std::optional<std::size_t> max_width) {
  // Small widths must be decided; nothing is known to need this long.
  constexpr int patience = 30;
  RuleVerdict verdict;
  if (is_beyond_solvers(rule)) {
    try_numbers(rule, verdict);
    if (!verdict.refuted()) verdict.undecided.push_back(has_widths(rule) ? 1 : 0);
    return verdict;
  }
  if (!has_widths(rule)) {
    const std::vector<RuleInstance> instances = all_instances(rule, small_width);
    const Answer answer = check_instances(rule, instances, patience * limit_, verdict);
    (answer == Answer::unknown           ? verdict.undecided
     : find_application(rule, instances) ? verdict.proved
                                         : verdict.vacuous)
        .push_back(0);
    return verdict;
  }
  const std::size_t bound = std::min(small_width, max_width.value_or(small_width));
  const std::vector<RuleInstance> small = all_instances(rule, bound);
  const Answer answer = check_instances(rule, small, patience * limit_, verdict);
  std::vector<std::size_t>& widths = answer == Answer::unknown       ? verdict.undecided
                                     : find_application(rule, small) ? verdict.proved
                                                                     : verdict.vacuous;
  for (std::size_t w = 1; w <= bound && !verdict.refuted(); ++w) widths.push_back(w);

  const std::vector<std::size_t> own = own_widths(rule);
  std::set<std::size_t> larger(own.begin(), own.end());
  larger.insert(larger_widths().begin(), larger_widths().end());
  for (std::size_t w : larger) {
    const bool asked_for = std::ranges::binary_search(own, w);
    if (w <= small_width || (!verdict.undecided.empty() && !asked_for)) continue;
    if (verdict.refuted() || (max_width && w > *max_width)) break;
    check_width(rule, w, verdict);
  }
  return verdict;
}

/// With numbers in the places of variables, which solvers convert rightly.
void RuleChecker::try_numbers(const Rule& rule, RuleVerdict& verdict) {
  static constexpr const char* numbers[] = {"0", "1",     "(- 1)", "2",    "3",
                                            "9", "(- 9)", "33",    "1000", "100000"};
  static constexpr const char* fractions[] = {"0.0",  "0.5",       "(/ 1.0 3.0)", "(- 0.1)",   "9.0",
                                              "33.0", "(- 4.125)", "1000.0",      "1000000.0", "0.0001"};
  for (const RuleInstance& instance : all_instances(rule, small_width)) {
    const RuleQuery query = make_query(rule, instance);
    for (std::size_t k = 0; k < std::size(numbers); ++k) {
      std::string values;
      for (std::size_t i = 0; i < query.variables.size(); ++i) {
        const RuleQuery::Variable& v = query.variables[i];
        const std::size_t place = (k + 3 * i) % std::size(numbers);
        if (v.sort == "Int") values += assertion("(= " + v.symbol + ' ' + numbers[place] + ')');
        if (v.sort == "Real") values += assertion("(= " + v.symbol + ' ' + fractions[place] + ')');
      }
      if (ask(rule, declarations(query) + values + assertion(refutation(query)), limit_) != Answer::sat)
        continue;
      if (note_counterexample(rule, instance, query, verdict)) return;
    }
  }
}

RuleChecker::Answer RuleChecker::ask(const Rule& rule, const std::string& commands,
                                     std::chrono::milliseconds limit) {
  const char* const logic = is_in_qf_bv(rule) && !reads_sums_of_values(rule) ? "QF_BV" : "ALL";
  return solver_.check(sort_declarations(rule) + commands, limit, logic);
}

void RuleChecker::check_width(const Rule& rule, std::size_t width, RuleVerdict& verdict) {
  const std::vector<RuleInstance> instances = some_instances(rule, width);
  const Answer answer = check_instances(rule, instances, limit_, verdict);
  if (answer == Answer::sat) return;
  (answer == Answer::unknown           ? verdict.undecided
   : find_application(rule, instances) ? verdict.proved
                                       : verdict.vacuous)
      .push_back(width);
}

/// Asked even where nothing is to be met: a solver that calls everything unsatisfiable proves nothing.
bool RuleChecker::find_application(const Rule& rule, Instances instances) {
  constexpr std::size_t batch = 64;
  for (; !instances.empty(); instances = instances.subspan(std::min(batch, instances.size()))) {
    std::string commands;
    std::string any = "(or false";
    for (std::size_t i = 0; i < std::min(batch, instances.size()); ++i) {
      const RuleQuery query = make_query(rule, instances[i], fmt::format(".{}", i));
      commands += declarations(query);
      any.append("\n  ").append(query.conditions);
    }
    any += ')';
    commands += assertion(any);
    if (ask(rule, commands, limit_) == Answer::sat) return true;
  }
  return false;
}

/// Together first, since most rules hold; one by one, the narrowest first, when that does not settle it.
RuleChecker::Answer RuleChecker::check_instances(const Rule& rule, Instances instances,
                                                 std::chrono::milliseconds limit, RuleVerdict& verdict) {
  constexpr std::size_t batch = 64;
  for (; !instances.empty(); instances = instances.subspan(std::min(batch, instances.size()))) {
    const Instances some = instances.first(std::min(batch, instances.size()));
    if (some.size() > 1 && check_together(rule, some, limit) == Answer::unsat) continue;
    bool undecided = false;
    for (const RuleInstance& instance : some) {
      const Answer answer = check_one(rule, instance, limit, verdict);
      if (answer == Answer::sat) return answer;
      if (answer == Answer::unknown && instance.largest_width() > small_width) return answer;
      undecided = undecided || answer == Answer::unknown;
    }
    if (undecided) return Answer::unknown;
  }
  return Answer::unsat;
}

RuleChecker::Answer RuleChecker::check_together(const Rule& rule, Instances instances,
                                                std::chrono::milliseconds limit) {
  std::string commands;
  std::string any = "(or false";
  for (std::size_t i = 0; i < instances.size(); ++i) {
    const RuleQuery query = make_query(rule, instances[i], fmt::format(".{}", i));
    commands += declarations(query);
    any += "\n  " + refutation(query);
  }
  return ask(rule, commands + assertion(any + ')'), limit);
}

RuleChecker::Answer RuleChecker::check_one(const Rule& rule, const RuleInstance& instance,
                                           std::chrono::milliseconds limit, RuleVerdict& verdict) {
  const RuleQuery query = make_query(rule, instance);
  const Answer answer = ask(rule, declarations(query) + assertion(refutation(query)), limit);
  if (answer != Answer::sat) return answer;
  return note_counterexample(rule, instance, query, verdict) ? Answer::sat : Answer::unknown;
}

/// Solvers err, too: what the reference evaluator sees to be no counterexample decides nothing. What it
/// cannot evaluate, the solver itself may see through when it computes instead of searching.
bool RuleChecker::note_counterexample(const Rule& rule, const RuleInstance& instance, const RuleQuery& query,
                                      RuleVerdict& verdict) {
  const auto [text, values] = assignment(rule, instance, query, solver_);
  if (query.result.empty()) {
    verdict.counterexample = text + ": the result does not have the sort of the pattern";
    return true;
  }
  const std::optional<bool> holds = is_counterexample(rule, query, values);
  if (holds ? *holds : solver_.value(refutation(query)) != "false") {
    verdict.counterexample = fmt::format("{}: the pattern is {}, the result {}", text,
                                         solver_.value(query.pattern), solver_.value(query.result));
    return true;
  }
  if (verdict.no_counterexample.empty()) verdict.no_counterexample = text;
  return false;
}

std::string RuleVerdict::why_undecided() const {
  if (undecided.empty() || no_counterexample.empty()) return {};
  return ": the solver's counterexample is none, " + no_counterexample;
}

std::string list_of_instances(const Rule& rule, const std::vector<std::size_t>& widths) {
  const std::string formats = list_of_formats(rule);
  std::string text = has_widths(rule) ? list_of_widths(widths) : formats.empty() ? "all values" : formats;
  const std::set<std::size_t> moduli = rules::moduli_to_try(rule);
  for (const std::size_t modulus : moduli) {
    text += fmt::format("{} {}", modulus == *moduli.begin() ? ", moduli" : ",", modulus);
  }
  return text;
}

std::string list_of_formats(const Rule& rule) {
  const bool has_format = std::ranges::any_of(
      rule.sorts, [](const rules::RuleSort& sort) { return sort.kind == rules::SortKind::floating_point; });
  if (!has_format) return {};
  std::string text;
  for (const rules::Format& f : rules::formats_to_try()) {
    text += fmt::format("{}{}+{}", text.empty() ? "formats " : ", ", f.exponent, f.significand);
  }
  return text;
}

std::string list_of_widths(const std::vector<std::size_t>& widths) {
  std::string text = widths.size() == 1 ? "width" : "widths";
  for (std::size_t i = 0; i < widths.size();) {
    std::size_t last = i;
    while (last + 1 < widths.size() && widths[last + 1] == widths[last] + 1) ++last;
    text += fmt::format("{} {}", i == 0 ? "" : ",", widths[i]);
    if (last > i) text += fmt::format("-{}", widths[last]);
    i = last + 1;
  }
  return text;
}

}  // namespace quarv::cli
