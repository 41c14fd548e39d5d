#include "rules/mine/generalizer.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <span>
#include <utility>

#include <fmt/core.h>

namespace quarv::cli {

namespace {

using Node = SmallTerm::Node;
using Texts = std::vector<std::string>;
using Integers = std::vector<NamedInteger>;

constexpr std::size_t most_expressions_of_one = 6;  // for one integer of a result
constexpr std::size_t most_combinations = 24;       // for all of them

/// How integers of the pattern can give a value, simple ways first.
Texts expressions_for(std::size_t value, const Integers& integers) {
  Texts found;
  const auto add = [&found](std::string text) {
    if (found.size() < most_expressions_of_one) found.push_back(std::move(text));
  };
  for (const NamedInteger& a : integers) {
    if (a.value == value && a.text.find('(') == std::string::npos) add(a.text);
  }
  if (value == 0) add("0");
  for (const NamedInteger& a : integers) {
    if (a.value == value && a.text.find('(') != std::string::npos) add(a.text);
  }
  for (const NamedInteger& a : integers) {
    if (a.value == value + 1) add(fmt::format("_{} - 1_", a.text));
  }
  for (std::size_t i = 0; i < integers.size(); ++i) {
    for (std::size_t k = 0; k < integers.size(); ++k) {
      const NamedInteger &a = integers[i], &b = integers[k];
      if (i < k && a.value + b.value == value) add(fmt::format("_{} + {}_", a.text, b.text));
      if (i != k && a.value == value + b.value) add(fmt::format("_{} - {}_", a.text, b.text));
    }
  }
  for (std::size_t i = 0; i < integers.size(); ++i) {
    for (std::size_t k = 0; k < integers.size(); ++k) {
      const NamedInteger &a = integers[i], &b = integers[k];
      if (i < k && a.value + b.value == value + 1) add(fmt::format("__{} + {}_ - 1_", a.text, b.text));
      if (i != k && a.value == value + b.value + 1) add(fmt::format("__{} - {}_ - 1_", a.text, b.text));
      if (i != k && a.value + 1 == value + b.value) add(fmt::format("__{} - {}_ + 1_", a.text, b.text));
    }
  }
  if (found.empty()) add(std::to_string(value));
  return found;
}

bool is_sum(const NamedInteger& a, const NamedInteger& b, const NamedInteger& c) {
  return a.value == b.value + c.value;
}

/// What can be said of the integers of a sample, the narrowest first.
Texts facts_about(const Integers& integers) {
  Texts facts;
  const std::size_t n = integers.size();
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t k = 0; k < n; ++k) {
      for (std::size_t j = k + 1; j < n; ++j) {
        if (i == k || i == j || !is_sum(integers[i], integers[k], integers[j])) continue;
        if (integers[k].value == 0 || integers[j].value == 0) continue;
        facts.push_back(
            fmt::format("({} == _{} + {}_)", integers[i].text, integers[k].text, integers[j].text));
      }
    }
  }
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t k = 0; k < n; ++k) {
      const NamedInteger &a = integers[i], &b = integers[k];
      if (i != k && a.value + 1 == b.value) facts.push_back(fmt::format("({} == _{} - 1_)", a.text, b.text));
      if (i < k && a.value == b.value) facts.push_back(fmt::format("({} == {})", a.text, b.text));
    }
  }
  for (const NamedInteger& a : integers) {
    const bool is_size = a.text.find('(') != std::string::npos;
    if (a.value == 0) facts.push_back(fmt::format("({} == 0)", a.text));
    if (a.value == 1 && is_size) facts.push_back(fmt::format("({} == 1)", a.text));
  }
  for (const char* relation : {"<", "<="}) {
    for (const NamedInteger& a : integers) {
      for (const NamedInteger& b : integers) {
        if (a.value < b.value) facts.push_back(fmt::format("({} {} {})", a.text, relation, b.text));
        if (&a != &b && a.value == b.value && relation[1] == '=') {
          facts.push_back(fmt::format("({} <= {})", a.text, b.text));
        }
      }
    }
  }
  return facts;
}

/// What is true of nearly all samples: left out last, since other facts imply it in the sample alone.
Texts weak_facts_about(const Integers& integers) {
  Texts facts;
  for (const NamedInteger& a : integers) {
    const bool is_size = a.text.find('(') != std::string::npos;
    if (a.value > 0 && !is_size) facts.push_back(fmt::format("({} > 0)", a.text));
    if (a.value > 1 && is_size) facts.push_back(fmt::format("({} > 1)", a.text));
  }
  return facts;
}

/// The width of both, if they have one.
std::optional<std::size_t> common_width(const NamedInteger& c, const NamedInteger& d,
                                        const Integers& integers) {
  std::optional<std::size_t> widths[2];
  for (const NamedInteger& n : integers) {
    if (n.text == fmt::format("size({})", c.text)) widths[0] = n.value;
    if (n.text == fmt::format("size({})", d.text)) widths[1] = n.value;
  }
  return widths[0] == widths[1] ? widths[0] : std::nullopt;
}

/// How the bits of two constants are related.
void add_facts_about_bits(const NamedInteger& c, const NamedInteger& d, std::size_t width, Texts& facts) {
  const auto fact = [&](bool holds, const char* format) {
    if (holds) facts.push_back(fmt::format(fmt::runtime(format), c.text, d.text));
  };
  if (c.text < d.text) {
    fact(c.value + d.value == all_ones(width), "(_{0} + {1}_ == __2 ^ size({0})_ - 1_)");
    fact(c.value != 0 && ((c.value + d.value) & all_ones(width)) == 0, "(_{0} + {1}_ == _2 ^ size({0})_)");
    fact((c.value & d.value) == 0, "(_{0} & {1}_ == 0)");
  }
  fact((c.value & d.value) == c.value, "(_{0} & {1}_ == {0})");
  fact(d.value == c.value + 1, "(_{0} + 1_ == {1})");
  const bool can_double = c.value != 0 && c.value >> 63 == 0;
  fact(can_double && d.value == 2 * c.value, "(_2 * {0}_ == {1})");
  fact(can_double && d.value == 2 * c.value - 1, "(__2 * {0}_ - 1_ == {1})");
}

/// Whether the constant is 2^width less the power.
bool is_opposite(const NamedInteger& c, std::uint64_t power, const Integers& integers) {
  const auto width = common_width(c, c, integers);
  return width && ((c.value + power) & all_ones(*width)) == 0;
}

/// Whether a constant is a power of two or ones from the lowest bit on, and by which integer.
void add_facts_about_powers(const NamedInteger& c, const Integers& integers, Texts& facts) {
  for (const NamedInteger& n : integers) {
    if (n.value > 63 || n.value == 0) continue;
    const std::uint64_t power = std::uint64_t{1} << n.value;
    if (c.value == power) facts.push_back(fmt::format("({} == _2 ^ {}_)", c.text, n.text));
    if (c.value == 2 * power - 1)
      facts.push_back(fmt::format("({} == __2 ^ _{} + 1__ - 1_)", c.text, n.text));
    if (c.value == power - 1) facts.push_back(fmt::format("({} == __2 ^ {}_ - 1_)", c.text, n.text));
    if (c.value == power / 2) facts.push_back(fmt::format("({} == _2 ^ _{} - 1__)", c.text, n.text));
    if (is_opposite(c, power, integers)) {
      facts.push_back(fmt::format("(_{0} + _2 ^ {1}__ == _2 ^ size({0})_)", c.text, n.text));
    }
    if (c.value + 1 == n.value) facts.push_back(fmt::format("({} == _{} - 1_)", c.text, n.text));
  }
  facts.push_back(fmt::format("(_{} & 1_ == {})", c.text, c.value & 1));
  if ((c.value & (c.value + 1)) == 0) facts.push_back(fmt::format("(_{0} & _{0} + 1__ == 0)", c.text));
  if ((c.value & (c.value - 1)) == 0) facts.push_back(fmt::format("(_{0} & _{0} - 1__ == 0)", c.text));
}

/// What can be said of the values of constants.
Texts facts_about_constants(const Integers& constants, const Integers& integers) {
  Texts facts;
  for (const NamedInteger& c : constants) {
    for (const NamedInteger& d : constants) {
      if (&c == &d) continue;
      if (c.value == d.value) {
        // What else holds of equal ones holds of few others.
        if (c.text < d.text) facts.push_back(fmt::format("({} == {})", c.text, d.text));
        continue;
      }
      if (const auto width = common_width(c, d, integers)) add_facts_about_bits(c, d, *width, facts);
      if (c.value < d.value) facts.push_back(fmt::format("({} < {})", c.text, d.text));
      if (c.value <= d.value) facts.push_back(fmt::format("({} <= {})", c.text, d.text));
    }
    add_facts_about_powers(c, integers, facts);
    for (const NamedInteger& n : integers) {
      if (c.value == n.value && n.text.find('(') == std::string::npos) {
        facts.push_back(fmt::format("({} == {})", c.text, n.text));
      }
      facts.push_back(c.value < n.value ? fmt::format("({} < {})", c.text, n.text)
                                        : fmt::format("({} <= {})", n.text, c.text));
      if (n.text.find('(') != std::string::npos && n.value < 64 &&
          c.value < (std::uint64_t{1} << n.value) / 2) {
        facts.push_back(fmt::format("fits({}, _{} + {}_)", n.text, c.text, c.text));
      }
    }
  }
  return facts;
}

/// Ways to choose one of each, those of small sums first.
std::vector<std::vector<std::size_t>> combinations(const std::vector<std::size_t>& sizes) {
  std::vector<std::vector<std::size_t>> all{{}};
  for (const std::size_t size : sizes) {
    std::vector<std::vector<std::size_t>> longer;
    for (const auto& one : all) {
      for (std::size_t i = 0; i < size && longer.size() < 1000; ++i) {
        longer.push_back(one);
        longer.back().push_back(i);
      }
    }
    all = std::move(longer);
  }
  std::ranges::stable_sort(all, {},
                           [](const auto& one) { return std::accumulate(one.begin(), one.end(), 0U); });
  all.resize(std::min(all.size(), most_combinations));
  return all;
}

/// Some of many, from all over.
template <class Range>
std::vector<rules::RuleInstance> spread(const Range& all, std::size_t most) {
  std::vector<rules::RuleInstance> some;
  const std::size_t step = std::max<std::size_t>(1, all.size() / most);
  for (std::size_t i = 0; i < all.size(); i += step) some.push_back(all[i]);
  return some;
}

void append(Texts& all, const Texts& more) {
  all.insert(all.end(), more.begin(), more.end());
}

}  // namespace

std::optional<std::string> Generalizer::generalize(const Sample& sample, const SmallTerm& result) {
  bool has_power = false, has_bit = false, has_joined = false;
  for (const Node& node : sample.term.nodes) {
    if (node.kind == Node::Kind::constant) {
      has_power =
          has_power || (sample.constants_fixed && node.number != 0 && std::has_single_bit(node.value));
      has_bit = has_bit || (node.width == 1 && node.value == 1);
    }
    if (node.op == nullptr || node.op->shape != rules::Shape::concat) continue;
    for (const std::size_t arg : node.args) {
      const Node& part = sample.term.nodes[arg];
      has_joined = has_joined || (part.kind == Node::Kind::constant && part.number == 0);
    }
  }
  for (const bool by_value : {false, true}) {
    for (const bool powers : {false, true}) {
      for (const bool zeros : {false, true}) {
        for (const bool one : {false, true}) {
          if ((powers && !has_power) || (zeros && !has_joined) || (one && !has_bit)) continue;
          if (auto text = generalize(sample, result, {powers, zeros, one}, by_value)) return text;
        }
      }
    }
  }
  return std::nullopt;
}

std::optional<std::string> Generalizer::generalize(const Sample& sample, const SmallTerm& result,
                                                   ConstantNames names, bool by_value) {
  const PatternText pattern(sample, result, names);
  std::vector<Texts> choices;
  std::vector<std::size_t> sizes;
  for (const Node& node : result.nodes) {
    for (const std::size_t index : node.indices) {
      choices.push_back(expressions_for(index, pattern.integers()));
      sizes.push_back(choices.back().size());
    }
  }
  Texts stated = facts_about(pattern.integers());
  append(stated, facts_about_constants(pattern.constants(), pattern.integers()));
  append(stated, weak_facts_about(pattern.integers()));
  Texts literals;
  for (const NamedInteger& c : pattern.constants()) {
    if (c.value >> 63 == 0) literals.push_back(fmt::format("({} == {})", c.text, c.value));
  }
  if (by_value && literals.empty()) return std::nullopt;
  for (const std::vector<std::size_t>& combination : combinations(sizes)) {
    Texts bindings, integers;
    for (std::size_t i = 0; i < combination.size(); ++i) {
      const std::string& text = choices[i][combination[i]];
      const bool is_plain = text.find_first_of("_(") == std::string::npos;
      integers.push_back(is_plain ? text : fmt::format("w{}", i + 1));
      if (!is_plain) bindings.push_back(fmt::format("w{}={}", i + 1, text));
    }
    Texts all = by_value ? literals : Texts();
    append(all, stated);
    const std::string text = pattern.result(result, integers);
    if (auto rule = with_conditions(sample, pattern, bindings, text, std::move(all))) return rule;
  }
  return std::nullopt;
}

std::optional<std::string> Generalizer::with_conditions(const Sample& sample, const PatternText& pattern,
                                                        const Texts& bindings, const std::string& result,
                                                        Texts stated) {
  const auto text_with = [&](const Texts& conditions) {
    Texts all = pattern.conditions();
    append(all, conditions);
    append(all, bindings);
    return rule_text(pattern.text(), all, result);
  };
  if (!holds(text_with(stated), sample.term, false)) return std::nullopt;
  // In larger pieces first: most of what can be said plays no role.
  for (std::size_t piece = std::max<std::size_t>(1, stated.size() / 2);; piece = (piece + 1) / 2) {
    for (std::size_t i = 0; i < stated.size();) {
      Texts fewer = stated;
      const auto first = fewer.begin() + static_cast<std::ptrdiff_t>(i);
      fewer.erase(first, first + static_cast<std::ptrdiff_t>(std::min(piece, stated.size() - i)));
      if (holds(text_with(fewer), sample.term, false)) {
        stated = std::move(fewer);
      } else {
        i += piece;
      }
    }
    if (piece == 1) break;
  }
  std::string text = text_with(stated);
  if (!holds(text, sample.term, true)) return std::nullopt;
  return text;
}

bool Generalizer::holds(const std::string& text, const SmallTerm& sample, bool thoroughly) {
  rules::Rule rule;
  try {
    rule = rules::parse_rule(text);
  } catch (const rules::RuleError&) {
    return false;
  }
  std::uint64_t applied = 0;
  const auto all_hold = [&](std::span<const rules::RuleInstance> instances, std::size_t assignments) {
    return std::ranges::all_of(instances, [&](const rules::RuleInstance& instance) {
      const RuleEvaluator::Outcome outcome = evaluator_.run(rule, instance, assignments);
      applied += outcome.applied;
      return !outcome.counterexample;
    });
  };
  const rules::RuleInstance own = instance_of(rule, sample);
  if (!all_hold({&own, 1}, 64)) return false;
  if (!all_hold(rules::all_instances(rule, thoroughly ? 2 : 1), 256)) return false;
  if (!all_hold(spread(rules::all_instances(rule, 3), thoroughly ? 400 : 60), 256)) return false;
  for (const std::size_t width : {std::size_t{5}, std::size_t{8}, std::size_t{12}}) {
    if (!all_hold(spread(rules::some_instances(rule, width), thoroughly ? 60 : 12), 128)) return false;
  }
  if (thoroughly) {
    for (const std::size_t width : rules::own_widths(rule)) {
      if (!all_hold(spread(rules::some_instances(rule, width), 12), 64)) return false;
    }
  }
  return applied != 0;
}

}  // namespace quarv::cli
