#include "rules/order/loop_search.h"

#include <algorithm>
#include <exception>
#include <vector>

#include <fmt/format.h>

#include "rules/rule_catalogue.h"
#include <quarv/rules/rule_instance.h>
#include <quarv/rules/rule_query.h>
#include <quarv/session/session.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv::cli {

namespace {

using rules::Rule;
using rules::RuleInstance;
using rules::RuleQuery;

/// The pattern of an instance with names for its variables; numbers for those that are to be constants.
class PatternOf {
 public:
  PatternOf(const Rule& rule, const RuleInstance& instance, std::size_t attempt)
      : rule_(rule), query_(rules::make_query(rule, instance)), attempt_(attempt) {}

  /// A script that declares the variables and has the pattern in a command `simplify`.
  std::string script() const {
    std::string bindings, text;
    for (const RuleQuery::Variable& v : query_.variables) {
      if (is_constant(v.name)) {
        bindings += fmt::format("({} (_ bv{} {}))", v.symbol, value(v), v.width);
      } else {
        text += fmt::format("(declare-const {} (_ BitVec {}))\n", v.symbol, v.width);
      }
    }
    const std::string pattern =
        bindings.empty() ? query_.pattern : fmt::format("(let ({}) {})", bindings, query_.pattern);
    return text + "(simplify " + pattern + ")\n";
  }

  const std::string& pattern() const { return query_.pattern; }

 private:
  const rules::Condition* condition_on(const std::string& name) const {
    using Kind = rules::Condition::Kind;
    for (const rules::Condition& c : rule_.conditions) {
      if (c.kind != Kind::is_const && c.kind != Kind::has_value && c.kind != Kind::power_of_two) continue;
      if (rule_.pattern[c.a].name == name) return &c;
    }
    return nullptr;
  }
  bool is_constant(const std::string& name) const { return condition_on(name) != nullptr; }

  std::uint64_t value(const RuleQuery::Variable& v) const {
    const rules::Condition* c = condition_on(v.name);
    const std::uint64_t ones = v.width >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << v.width) - 1;
    if (c->kind == rules::Condition::Kind::has_value) return static_cast<std::uint64_t>(c->value) & ones;
    if (c->kind == rules::Condition::Kind::power_of_two) return std::uint64_t{1} << attempt_ % v.width;
    return (attempt_ * 37 + v.name.size() + v.name.back()) & ones;
  }

  const Rule& rule_;
  RuleQuery query_;
  std::size_t attempt_;
};

}  // namespace

std::string loop_through(std::span<const Rule> rules, std::size_t i, bool own) {
  constexpr std::size_t width = 8;
  constexpr std::size_t most_instances = 24;
  SessionOptions options;
  options.extended = true;
  if (own) {
    std::string text;
    for (const Rule& rule : rules) text += rule.text + '\n';
    options.extra_rules.push_back({"rules", std::move(text)});
  }
  std::vector<RuleInstance> instances = rules::some_instances(rules[i], width);
  instances.resize(std::min(instances.size(), most_instances));
  for (std::size_t k = 0; k < instances.size(); ++k) {
    const std::string script = PatternOf(rules[i], instances[k], k + 1).script();
    Session session(options);
    try {
      smtlib::Reader reader(session);
      reader.read(script, "pattern");
    } catch (const std::exception&) {
      continue;
    }
    const TermNormalizer::Statistics& statistics = session.simplifier().normalizer.statistics();
    if (statistics.cycles == 0 && statistics.budget_spent == 0) continue;
    std::string line = script;
    if (line.ends_with('\n')) line.pop_back();
    std::ranges::replace(line, '\n', ' ');
    return line;
  }
  return {};
}

const char* why_it_ends(std::string_view name) {
  if (name.starts_with("bvshl-distribute") || name.starts_with("bvlshr-distribute")) {
    return "shifts move below bitwise operators, and nothing moves them back";
  }
  if (name == "bvand-constant-concat") return "masks move below concatenations, and nothing moves them back";
  if (name.starts_with("eq-bvmul-predecessor")) {
    return "a sum with -1 below a product is gone, and no rule makes one";
  }
  return nullptr;
}

}  // namespace quarv::cli
