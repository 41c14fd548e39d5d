#include "rules/overlap/pattern_terms.h"

#include <algorithm>
#include <optional>

#include <fmt/core.h>

#include "reference/random.h"
#include <quarv/rules/queries/rule_query.h>

namespace quarv::cli {

namespace {

using rules::Condition;
using rules::Rule;
using rules::RuleInstance;
using rules::RuleQuery;

constexpr std::size_t num_ages = 3;

bool reads(const rules::IntExpr& e, std::size_t position) {
  return (e.kind == rules::IntExpr::Kind::value && e.index == position) ||
         std::ranges::any_of(e.operands,
                             [position](const rules::IntExpr& operand) { return reads(operand, position); });
}

/// What a condition demands of the numeral at a position.
bool is_about_numeral(const Condition& c, std::size_t position) {
  using Kind = Condition::Kind;
  if (c.kind == Kind::compare_values || c.kind == Kind::fits) {
    return reads(c.left, position) || reads(c.right, position);
  }
  return c.a == position && (c.kind == Kind::is_const || c.kind == Kind::has_value ||
                             c.kind == Kind::has_number || c.kind == Kind::power_of_two);
}

bool is_numeral(const Rule& rule, std::size_t position) {
  return std::ranges::any_of(rule.conditions,
                             [position](const Condition& c) { return is_about_numeral(c, position); });
}

std::string bits_of(std::size_t width, std::uint64_t value) {
  std::string bits(width, '0');
  for (std::size_t i = 0; i < std::min<std::size_t>(width, 64); ++i) {
    if ((value >> i & 1) != 0) bits[width - 1 - i] = '1';
  }
  return "#b" + bits;
}

/// A value for a numeral of which nothing is known: corners come up often.
std::uint64_t any_value(std::size_t width, std::uint64_t seed) {
  const std::uint64_t ones = width >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << width) - 1;
  reference::Random random(seed);
  const std::uint64_t kind = random.next();
  const std::uint64_t value = random.next();
  if (kind % 4 == 0) return value % 3 & ones;
  if (kind % 4 == 1) return ones - (value & 1);
  if (kind % 4 == 2) return std::uint64_t{1} << value % std::min<std::size_t>(width, 64);
  return value & ones;
}

}  // namespace

PatternTerms::PatternTerms(const Rule& rule, const RuleInstance& instance)
    : rule_(rule), instance_(instance) {
  const std::vector<std::size_t> same_as = rules::united_positions(rule);
  const RuleQuery query = rules::make_query(rule, instance, ".");
  auto next = query.variables.begin();
  for (std::size_t i = 0; i < rule.pattern.size(); ++i) {
    if (rule.pattern[i].kind != rules::PatternNode::Kind::variable || same_as[i] != i) continue;
    variables_.push_back({i, rule.pattern[i].name, next++->sort});
  }
}

std::string PatternTerms::numeral(const Variable& v, std::size_t choice) const {
  const std::size_t width = instance_.widths[v.position];
  std::optional<std::int64_t> known;
  std::uint64_t value = any_value(64, reference::Hash().add(v.name).value() + choice);
  for (const Condition& c : rule_.conditions) {
    if (c.a != v.position) continue;
    if (c.kind == Condition::Kind::has_value || c.kind == Condition::Kind::has_number) known = c.value;
    if (c.kind != Condition::Kind::power_of_two) continue;
    std::string bits = bits_of(width, 0);
    bits[bits.size() - 1 - std::min(width - 1, instance_.integers[c.b])] = '1';
    return bits;
  }
  if (v.sort == "Int" || v.sort == "Real") {
    const std::int64_t number = known.value_or(static_cast<std::int64_t>(value % 7) - 3);
    const std::string text = fmt::format("{}{}", number < 0 ? -number : number, v.sort == "Real" ? ".0" : "");
    return number < 0 ? "(- " + text + ')' : text;
  }
  if (known && *known < 0) return "#b" + std::string(width, '1');
  value = known ? static_cast<std::uint64_t>(*known)
                : any_value(width, reference::Hash().add(v.name).value() + choice);
  return bits_of(width, value);
}

std::string PatternTerms::script(std::size_t attempt) const {
  const std::size_t age = attempt % num_ages;
  Rule named = rule_;
  std::vector<std::string> declared;
  for (const Variable& v : variables_) {
    std::string& name = named.pattern[v.position].name;
    if (is_numeral(rule_, v.position)) {
      name = numeral(v, attempt / num_ages);
      continue;
    }
    name = v.name;
    declared.push_back(fmt::format("(declare-const {} {})\n", v.name, v.sort));
    if (age != 2) continue;
    // An application is as old as the place in which it is first read.
    name = fmt::format("(f{0} {0})", v.name);
    declared.push_back(fmt::format("(declare-fun f{} ({}) {})\n", v.name, v.sort, v.sort));
  }
  if (age == 1) std::ranges::reverse(declared);
  std::string text = rules::sort_declarations(rule_);
  for (const std::string& line : declared) text += line;
  return text + "(simplify " + rules::make_query(named, instance_, "").pattern + ")\n";
}

std::size_t num_attempts(const Rule& rule) {
  constexpr std::size_t choices = 12;
  for (std::size_t i = 0; i < rule.pattern.size(); ++i) {
    if (rule.pattern[i].kind == rules::PatternNode::Kind::variable && is_numeral(rule, i)) {
      return choices * num_ages;
    }
  }
  return num_ages;
}

std::vector<RuleInstance> few_instances(const Rule& rule) {
  constexpr std::size_t most = 4;
  std::vector<RuleInstance> few;
  const auto add = [&few](const std::vector<RuleInstance>& all) {
    // From all over: the first ones differ in their last integers alone.
    const std::size_t step = std::max<std::size_t>(1, all.size() / most);
    for (std::size_t i = 0; i < all.size(); i += step) few.push_back(all[i]);
  };
  if (!has_widths(rule)) {
    add(rules::all_instances(rule, 1));
    return few;
  }
  for (const std::size_t width : {std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{8}}) {
    add(rules::some_instances(rule, width));
  }
  for (const std::size_t width : rules::own_widths(rule)) {
    if (width > 3 && width != 8) add(rules::some_instances(rule, width));
  }
  return few;
}

std::string on_one_line(std::string script) {
  if (script.ends_with('\n')) script.pop_back();
  std::ranges::replace(script, '\n', ' ');
  return script;
}

}  // namespace quarv::cli
