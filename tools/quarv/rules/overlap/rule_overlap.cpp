#include "rules/overlap/rule_overlap.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include <fmt/core.h>

#include <quarv/rules/language/rule_sorts.h>

namespace quarv::cli {

namespace {

using rules::Condition;
using rules::IntExpr;
using rules::Parameter;
using rules::PatternNode;
using rules::Rule;
using rules::SortKind;

constexpr std::size_t none = ~std::size_t{0};
constexpr std::size_t most_nodes = 128;  // of a term: what is shared is written out

/// Classes of things that are the same, by number.
class Classes {
 public:
  explicit Classes(std::size_t count) : same_as_(count) {
    std::iota(same_as_.begin(), same_as_.end(), std::size_t{0});
  }
  std::size_t find(std::size_t i) const {
    while (same_as_[i] != i) i = same_as_[i];
    return i;
  }
  void unite(std::size_t a, std::size_t b) { same_as_[find(b)] = find(a); }

 private:
  std::vector<std::size_t> same_as_;
};

bool asks_for_numeral(const Condition& c) {
  using Kind = Condition::Kind;
  return c.kind == Kind::is_const || c.kind == Kind::has_value || c.kind == Kind::has_number ||
         c.kind == Kind::power_of_two;
}

SortKind kind_of(rules::NamedConstant constant) {
  if (constant <= rules::NamedConstant::false_value) return SortKind::boolean;
  return constant <= rules::NamedConstant::toward_zero ? SortKind::rounding_mode : SortKind::floating_point;
}

/// The nodes and the integers of both rules are numbered together, those of the outer one first. The depth of
/// all recursion is bounded by that of patterns.
class Unifier {
 public:
  Unifier(const Rule& outer, const Rule& inner)
      : outer_(outer),
        inner_(inner),
        nodes_(outer.pattern.size() + inner.pattern.size()),
        integers_(outer.parameters.size() + inner.parameters.size()),
        shapes_(outer.pattern.size() + inner.pattern.size()),
        numeral_(shapes_.size()),
        no_numeral_(shapes_.size()),
        on_path_(shapes_.size()),
        places_(shapes_.size(), none),
        places_of_integers_(outer.parameters.size() + inner.parameters.size(), none) {
    for (std::size_t i = 0; i < shapes_.size(); ++i) {
      shapes_[i] = node(i).kind == PatternNode::Kind::variable ? none : i;
    }
  }

  std::optional<RuleOverlap> run(std::size_t position) {
    if (!unite(position, outer_.pattern.size())) return std::nullopt;
    for (const Rule* rule : {&outer_, &inner_}) {
      for (const Condition& c : rule->conditions) {
        if (c.kind == Condition::Kind::identity && !unite(base(*rule) + c.a, base(*rule) + c.b)) {
          return std::nullopt;
        }
      }
    }
    if (!numerals_fit()) return std::nullopt;
    write(nodes_.find(0), 0, 0);
    if (failed_) return std::nullopt;
    for (const Rule* rule : {&outer_, &inner_}) add_integers_and_conditions(*rule);
    for (Condition& c : repeated_) result_.pattern.conditions.push_back(std::move(c));
    if (!infer_sorts()) return std::nullopt;
    rules::ResultNode root;
    root.sort = result_.pattern.pattern[0].sort;
    result_.pattern.result = {root};
    for (std::size_t i = position; i != 0; i = outer_.pattern[i].parent) {
      result_.path.push_back(outer_.pattern[i].child);
    }
    std::ranges::reverse(result_.path);
    return std::move(result_);
  }

 private:
  std::size_t base(const Rule& rule) const { return &rule == &outer_ ? 0 : outer_.pattern.size(); }
  std::size_t integer_base(const Rule& rule) const { return &rule == &outer_ ? 0 : outer_.parameters.size(); }
  const Rule& rule_of(std::size_t i) const { return i < outer_.pattern.size() ? outer_ : inner_; }
  const PatternNode& node(std::size_t i) const { return rule_of(i).pattern[i - base(rule_of(i))]; }

  bool unite(std::size_t first, std::size_t second) {
    std::vector<std::pair<std::size_t, std::size_t>> pending{{first, second}};
    while (!pending.empty()) {
      const std::size_t a = nodes_.find(pending.back().first), b = nodes_.find(pending.back().second);
      pending.pop_back();
      if (a == b) continue;
      const std::size_t x = shapes_[a], y = shapes_[b];
      nodes_.unite(a, b);
      if (x == none) shapes_[a] = y;
      if (x == none || y == none) continue;
      const PatternNode &left = node(x), &right = node(y);
      if (left.kind != right.kind || left.op != right.op || left.value != right.value ||
          left.constant != right.constant) {
        return false;
      }
      for (std::size_t k = 0; k < left.arguments.size(); ++k) {
        pending.emplace_back(base(rule_of(x)) + left.arguments[k], base(rule_of(y)) + right.arguments[k]);
      }
      for (std::size_t k = 0; k < left.parameters.size(); ++k) {
        integers_.unite(integer_base(rule_of(x)) + left.parameters[k],
                        integer_base(rule_of(y)) + right.parameters[k]);
      }
    }
    return true;
  }

  /// Notes what is to be a numeral; false when it cannot be one.
  bool numerals_fit() {
    for (const Rule* rule : {&outer_, &inner_}) {
      for (const Condition& c : rule->conditions) {
        const std::size_t i = nodes_.find(base(*rule) + c.a);
        if (asks_for_numeral(c)) numeral_[i] = true;
        if (c.kind == Condition::Kind::is_not_const) no_numeral_[i] = true;
        for (const IntExpr* side : {&c.left, &c.right}) note_values(*rule, *side);
      }
    }
    for (std::size_t i = 0; i < numeral_.size(); ++i) {
      const std::size_t shape = shapes_[i];
      const bool is_literal = shape != none && node(shape).kind == PatternNode::Kind::literal;
      const bool is_other = shape != none && !is_literal;
      if ((numeral_[i] && (no_numeral_[i] || is_other)) || (no_numeral_[i] && is_literal)) return false;
    }
    return true;
  }
  void note_values(const Rule& rule, const IntExpr& e) {
    if (e.kind == IntExpr::Kind::value) numeral_[nodes_.find(base(rule) + e.index)] = true;
    for (const IntExpr& operand : e.operands) note_values(rule, operand);
  }

  /// Appends the nodes of a class and of what is below it.
  void write(std::size_t c, std::size_t parent, std::size_t child) {
    std::vector<PatternNode>& pattern = result_.pattern.pattern;
    if (failed_ || on_path_[c] || pattern.size() == most_nodes) {
      failed_ = true;  // a term would be a part of itself
      return;
    }
    const std::size_t position = pattern.size();
    const bool is_first = places_[c] == none;
    if (is_first) places_[c] = position;
    PatternNode copy;
    if (shapes_[c] != none) {
      copy = node(shapes_[c]);
    } else if (is_first) {
      copy.name = fmt::format("{}{}", numeral_[c] ? 'c' : 't', ++num_names_[numeral_[c] ? 1 : 0]);
    } else {
      copy.name = pattern[places_[c]].name;
      add_repetition(Condition::Kind::identity, places_[c], position);
    }
    copy.parent = parent;
    copy.child = child;
    copy.parameters.clear();
    copy.arguments.clear();
    pattern.push_back(std::move(copy));
    if (shapes_[c] == none || node(shapes_[c]).kind != PatternNode::Kind::application) return;
    write_integers(c, position);
    on_path_[c] = true;
    const PatternNode& shape = node(shapes_[c]);
    for (std::size_t k = 0; k < shape.arguments.size(); ++k) {
      pattern[position].arguments.push_back(pattern.size());
      write(nodes_.find(base(rule_of(shapes_[c])) + shape.arguments[k]), position, k);
      if (failed_) return;
    }
    on_path_[c] = false;
  }

  void write_integers(std::size_t c, std::size_t position) {
    const PatternNode& shape = node(shapes_[c]);
    for (std::size_t k = 0; k < shape.parameters.size(); ++k) {
      const std::size_t i = integers_.find(integer_base(rule_of(shapes_[c])) + shape.parameters[k]);
      const std::size_t number = add_integer({Parameter::Source::pattern, "", position, k, {}});
      result_.pattern.pattern[position].parameters.push_back(number);
      if (places_of_integers_[i] == none) {
        places_of_integers_[i] = number;
      } else {
        add_repetition(Condition::Kind::compare, places_of_integers_[i], number);
      }
    }
  }

  std::size_t add_integer(Parameter parameter) {
    parameter.name = fmt::format("n{}", result_.pattern.parameters.size() + 1);
    result_.pattern.parameters.push_back(std::move(parameter));
    return result_.pattern.parameters.size() - 1;
  }

  void add_repetition(Condition::Kind kind, std::size_t first, std::size_t again) {
    Condition c;
    c.kind = kind;
    if (kind == Condition::Kind::identity) {
      c.a = first;
      c.b = again;
    } else {
      c.left = {IntExpr::Kind::parameter, first, {}};
      c.right = {IntExpr::Kind::parameter, again, {}};
    }
    repeated_.push_back(std::move(c));
  }

  std::size_t place(const Rule& rule, std::size_t position) const {
    return places_[nodes_.find(base(rule) + position)];
  }
  std::size_t integer(const Rule& rule, std::size_t number) const {
    return places_of_integers_[integers_.find(integer_base(rule) + number)];
  }
  IntExpr renumbered(const Rule& rule, const IntExpr& e) const {
    IntExpr copy{e.kind, e.index, {}};
    if (e.kind == IntExpr::Kind::parameter) copy.index = integer(rule, e.index);
    if (e.kind == IntExpr::Kind::size || e.kind == IntExpr::Kind::value) copy.index = place(rule, e.index);
    for (const IntExpr& operand : e.operands) copy.operands.push_back(renumbered(rule, operand));
    return copy;
  }

  void add_integers_and_conditions(const Rule& rule) {
    for (std::size_t i = 0; i < rule.parameters.size(); ++i) {
      const Parameter& p = rule.parameters[i];
      if (p.source == Parameter::Source::pattern) continue;
      Parameter copy = p;
      if (p.source == Parameter::Source::exponent) copy.position = place(rule, p.position);
      if (p.source == Parameter::Source::computed) copy.value = renumbered(rule, p.value);
      places_of_integers_[integers_.find(integer_base(rule) + i)] = add_integer(std::move(copy));
    }
    for (const Condition& c : rule.conditions) {
      if (c.kind == Condition::Kind::identity || c.kind == Condition::Kind::states_literal) continue;
      Condition copy = c;
      copy.a = place(rule, c.a);
      if (c.kind == Condition::Kind::precedes) copy.b = place(rule, c.b);
      if (c.kind == Condition::Kind::power_of_two || c.kind == Condition::Kind::binding) {
        copy.b = integer(rule, c.b);
      }
      copy.left = renumbered(rule, c.left);
      copy.right = renumbered(rule, c.right);
      result_.pattern.conditions.push_back(std::move(copy));
    }
  }

  /// From the leaves up; what the rules say of sorts beside their patterns is added.
  bool infer_sorts() {
    rules::SortInference sorts;
    std::vector<PatternNode>& pattern = result_.pattern.pattern;
    for (std::size_t i = pattern.size(); i-- > 0;) {
      PatternNode& n = pattern[i];
      if (n.kind != PatternNode::Kind::application) {
        n.sort = n.kind == PatternNode::Kind::constant ? sorts.make(kind_of(n.constant)) : sorts.make();
        continue;
      }
      std::vector<std::size_t> arguments;
      for (const std::size_t a : n.arguments) arguments.push_back(pattern[a].sort);
      std::optional<rules::SortInference::Misfit> misfit;
      n.sort = sorts.apply(*n.op, arguments, true, &misfit);
      if (misfit) return false;
    }
    for (const Condition& c : result_.pattern.conditions) {
      if (c.kind == Condition::Kind::identity && !sorts.unite(pattern[c.a].sort, pattern[c.b].sort)) {
        return false;
      }
    }
    for (std::size_t i = 0; i < shapes_.size(); ++i) {
      const SortKind kind = rule_of(i).sorts[node(i).sort].kind;
      if (kind == SortKind::open || kind == SortKind::array) continue;
      if (!sorts.unite(pattern[places_[nodes_.find(i)]].sort, sorts.make(kind))) return false;
    }
    std::vector<std::size_t> numbers;
    result_.pattern.sorts = sorts.finish(&numbers);
    for (PatternNode& n : pattern) n.sort = numbers[n.sort];
    return true;
  }

  const Rule& outer_;
  const Rule inner_;  // a copy: it may be the same rule
  Classes nodes_;
  Classes integers_;
  std::vector<std::size_t> shapes_;  // by class: a node that is no variable, or none
  std::vector<bool> numeral_, no_numeral_, on_path_;
  std::vector<std::size_t> places_;              // by class: its first position in the result
  std::vector<std::size_t> places_of_integers_;  // likewise
  std::size_t num_names_[2] = {};
  std::vector<Condition> repeated_;
  RuleOverlap result_;
  bool failed_ = false;
};

}  // namespace

std::optional<RuleOverlap> overlap_of(const Rule& outer, std::size_t position, const Rule& inner) {
  return Unifier(outer, inner).run(position);
}

}  // namespace quarv::cli
