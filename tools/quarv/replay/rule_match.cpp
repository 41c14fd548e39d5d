/// \file
/// Matching the text of a rule.
#include <algorithm>

#include "replay/replay_checker.h"

namespace quarv::cli {

using rules::Condition;
using rules::IntExpr;
using rules::PatternNode;
using rules::Relation;
using rules::ResultNode;

std::optional<TermName> KnownTerms::find(const Expression& e) const {
  const auto known = simplified_.find(e.key() + suffix(e));
  return known != simplified_.end() ? std::optional(known->second) : find_plain(e);
}

std::optional<TermName> KnownTerms::find_plain(const Expression& e) const {
  const auto known = plain_.find(e.key() + suffix(e));
  return known != plain_.end() ? std::optional(known->second) : std::nullopt;
}

namespace {

mpz_class power_of_two(std::size_t n) {
  return mpz_class(1) << n;
}

/// The words of terms for an operator of the rule language.
std::string trace_word(const rules::OperatorWord& op) {
  return std::string(op.smtlib);
}

/// What the operators that SMT-LIB has one name for have arguments of.
bool has_arguments_of(const rules::OperatorWord& op, const std::vector<TraceSort::Kind>& kinds) {
  switch (op.tag) {
    case SymbolTag::EQ:
      return kinds[0] != TraceSort::boolean;
    case SymbolTag::IFF:
      return kinds[0] == TraceSort::boolean;
    case SymbolTag::FP_CAST:
      return kinds[1] == TraceSort::floating_point;
    case SymbolTag::FP_FROM_SBV:
      return kinds[1] == TraceSort::bit_vector;
    case SymbolTag::OPAQUE:
      return !op.has_format || kinds[1] == TraceSort::integer || kinds[1] == TraceSort::real;
    default:
      return true;
  }
}

/// The number that a pattern asks for: -1 stands for all ones.
mpz_class wanted_value(std::int64_t value, std::size_t width) {
  return value < 0 ? mpz_class(power_of_two(width) - 1) : mpz_class(static_cast<long>(value));
}

/// The number that a constant of a result is: `value` modulo 2^width.
mpz_class constant_value(std::int64_t value, std::size_t width) {
  mpz_class v(static_cast<long>(value));
  mpz_fdiv_r_2exp(v.get_mpz_t(), v.get_mpz_t(), width);
  return v;
}

}  // namespace

std::optional<std::size_t> RuleMatch::width(std::size_t position) const {
  const TraceSort& sort = trace_.sort(at(position).sort);
  return sort.kind == TraceSort::bit_vector ? std::optional(sort.width) : std::nullopt;
}

std::optional<mpz_class> RuleMatch::number(std::size_t position) const {
  const Expression& e = at(position);
  if (e.kind != Expression::value || e.number.get_den() != 1) return std::nullopt;
  return e.number.get_num();
}

std::optional<std::uint64_t> RuleMatch::evaluate(const IntExpr& e) const {
  switch (e.kind) {
    case IntExpr::Kind::literal:
      return e.index;
    case IntExpr::Kind::parameter:
      return integers_[e.index];
    case IntExpr::Kind::size: {
      const auto w = width(e.index);
      return w ? std::optional<std::uint64_t>(*w) : std::nullopt;
    }
    case IntExpr::Kind::value:
    case IntExpr::Kind::conjunction:
    case IntExpr::Kind::power:
      return std::nullopt;
    case IntExpr::Kind::sum:
    case IntExpr::Kind::difference:
    case IntExpr::Kind::product:
      break;
  }
  const auto left = evaluate(e.operands[0]);
  const auto right = evaluate(e.operands[1]);
  if (!left || !right) return std::nullopt;
  return e.kind == IntExpr::Kind::sum ? *left + *right : *left - *right;
}

std::optional<mpq_class> RuleMatch::side(const IntExpr& e) const {
  if (e.kind == IntExpr::Kind::value) {
    const Expression& numeral = at(e.index);
    return numeral.kind == Expression::value ? std::optional(numeral.number) : std::nullopt;
  }
  if (!is_exact(e)) {
    const auto value = evaluate(e);
    return value ? std::optional(mpq_class(static_cast<unsigned long>(*value))) : std::nullopt;
  }
  if (e.kind == IntExpr::Kind::power) {
    const auto exponent = evaluate(e.operands[0]);
    if (!exponent || *exponent > rules::most_exponent) return std::nullopt;
    return mpq_class(power_of_two(*exponent));
  }
  const auto left = side(e.operands[0]);
  const auto right = side(e.operands[1]);
  if (!left || !right) return std::nullopt;
  if (e.kind == IntExpr::Kind::conjunction) {
    if (*left < 0 || *right < 0 || left->get_den() != 1 || right->get_den() != 1) return std::nullopt;
    return mpq_class(mpz_class(left->get_num() & right->get_num()));
  }
  if (e.kind == IntExpr::Kind::product) return mpq_class(*left * *right);
  return e.kind == IntExpr::Kind::sum ? mpq_class(*left + *right) : mpq_class(*left - *right);
}

/// An integer stands where a real number may.
bool RuleMatch::has_sort(std::size_t position, rules::SortKind kind) const {
  using rules::SortKind;
  const TraceSort& sort = trace_.sort(at(position).sort);
  switch (kind) {
    case SortKind::boolean:
      return sort.kind == TraceSort::boolean;
    case SortKind::integer:
      return sort.kind == TraceSort::integer;
    case SortKind::real:
    case SortKind::number:
      return sort.kind == TraceSort::integer || sort.kind == TraceSort::real;
    case SortKind::rounding_mode:
      return sort.kind == TraceSort::rounding_mode;
    case SortKind::bit_vector:
      return sort.kind == TraceSort::bit_vector;
    case SortKind::floating_point:
      return sort.kind == TraceSort::floating_point;
    case SortKind::array:
      return sort.kind == TraceSort::array;
    case SortKind::open:
      break;
  }
  return true;
}

namespace {

/// The encoding of a floating-point constant.
mpz_class encoding(rules::NamedConstant c, const TraceSort& sort) {
  using rules::NamedConstant;
  const mpz_class infinity = (power_of_two(sort.width) - 1) << (sort.significand - 1);
  const mpz_class sign = power_of_two(sort.width + sort.significand - 1);
  switch (c) {
    case NamedConstant::nan:
      return infinity + power_of_two(sort.significand - 2);
    case NamedConstant::plus_infinity:
      return infinity;
    case NamedConstant::minus_infinity:
      return sign + infinity;
    case NamedConstant::minus_zero:
      return sign;
    default:
      return 0;
  }
}

bool is_nan(const mpz_class& bits, const TraceSort& sort) {
  const mpz_class sign = power_of_two(sort.width + sort.significand - 1);
  return (bits >= sign ? mpz_class(bits - sign) : bits) > encoding(rules::NamedConstant::plus_infinity, sort);
}

}  // namespace

bool RuleMatch::is_constant(std::size_t position, rules::NamedConstant c) const {
  const Expression& e = at(position);
  if (c < rules::NamedConstant::nan) return e.kind == Expression::operation && e.op == word_of(c);
  const TraceSort& sort = trace_.sort(e.sort);
  if (e.kind != Expression::value || sort.kind != TraceSort::floating_point) return false;
  const mpz_class bits = e.number.get_num();
  return c == rules::NamedConstant::nan ? is_nan(bits, sort) : bits == encoding(c, sort);
}

bool RuleMatch::is_value(std::size_t position, const mpz_class& value) const {
  const auto n = number(position);
  return n && *n == value;
}

std::optional<Mismatch> RuleMatch::mismatch(const Expression& root, std::optional<TermName> name) {
  if (auto found = pattern_mismatch(root, name)) return found;
  std::size_t offset = rule_.text.find(rule_.pattern_text) + rule_.pattern_text.size();
  for (const Condition& c : rule_.conditions) {
    offset = rule_.text.find(c.text, offset);
    if (!holds(c)) {
      // is_int has a condition that is not written.
      if (c.text.empty()) return Mismatch{"the pattern has is_int", rule_.pattern[c.a].column, c.a, true};
      return Mismatch{"the condition " + c.text + " does not hold", offset + 1, c.a, false};
    }
    offset += c.text.size();
  }
  for (const Condition& c : rule_.sort_tests) {
    if (holds(c)) continue;
    return Mismatch{"here the rule supposes " + std::string(description(c.sort)), rule_.pattern[c.a].column,
                    c.a, true};
  }
  return std::nullopt;
}

std::optional<Mismatch> RuleMatch::pattern_mismatch(const Expression& root, std::optional<TermName> name) {
  root_ = &root;
  terms_.assign(rule_.pattern.size(), name.value_or(0));
  integers_.assign(rule_.parameters.size(), 0);
  for (std::size_t i = 0; i < rule_.pattern.size(); ++i) {
    const PatternNode& node = rule_.pattern[i];
    const auto here = [&](const std::string& reason) { return Mismatch{reason, node.column, i, true}; };
    if (i > 0) terms_[i] = at(node.parent).args[node.child];
    const Expression& e = at(i);
    const bool has_width = rule_.sorts[node.sort].kind == rules::SortKind::bit_vector;
    if (node.kind == PatternNode::Kind::constant && !is_constant(i, node.constant)) {
      return here("the pattern has " + std::string(word_of(node.constant)));
    }
    if (node.kind == PatternNode::Kind::literal && !has_width) {
      if (!is_value(i, mpz_class(static_cast<long>(node.value)))) {
        return here("the pattern has the number " + std::to_string(node.value));
      }
    } else if (node.kind == PatternNode::Kind::literal) {
      const auto w = width(i);
      if (!w || !is_value(i, wanted_value(node.value, *w))) {
        return here("the pattern has the number " + std::to_string(node.value));
      }
    }
    if (node.kind != PatternNode::Kind::application) continue;
    const bool fits = e.kind == Expression::operation && e.op == trace_word(*node.op) &&
                      e.args.size() == node.arguments.size() && e.indices.size() == node.parameters.size();
    std::vector<TraceSort::Kind> kinds;
    for (const TermName argument : e.args) kinds.push_back(trace_.sort_of(argument).kind);
    if (!fits || !has_arguments_of(*node.op, kinds)) {
      return here("the pattern has " + std::string(node.op->word));
    }
    for (std::size_t k = 0; k < node.parameters.size(); ++k) {
      if (e.indices[k].empty() || e.indices[k].size() > 18 ||
          e.indices[k].find_first_not_of("0123456789") != std::string::npos) {
        return here("an index is not a number");
      }
      integers_[node.parameters[k]] = std::stoull(e.indices[k]);
    }
  }
  return std::nullopt;
}

bool RuleMatch::holds(const Condition& c) {
  switch (c.kind) {
    case Condition::Kind::states_literal:
      return true;
    case Condition::Kind::is_const:
      return at(c.a).kind == Expression::value;
    case Condition::Kind::is_not_const:
      return at(c.a).kind != Expression::value;
    case Condition::Kind::identity:
      return terms_[c.a] == terms_[c.b];
    case Condition::Kind::precedes:
      return terms_[c.a] < terms_[c.b];
    case Condition::Kind::has_value: {
      const auto w = width(c.a);
      return w && is_value(c.a, wanted_value(c.value, *w));
    }
    case Condition::Kind::has_number:
      return is_value(c.a, mpz_class(static_cast<long>(c.value)));
    case Condition::Kind::has_constant:
      return is_constant(c.a, c.constant);
    case Condition::Kind::has_sort:
      return has_sort(c.a, c.sort);
    case Condition::Kind::compare_values: {
      const auto left = side(c.left);
      const auto right = side(c.right);
      return left && right && related(*left, c.relation, *right);
    }
    case Condition::Kind::compare: {
      const auto left = evaluate(c.left);
      const auto right = evaluate(c.right);
      return left && right && related(*left, c.relation, *right);
    }
    case Condition::Kind::power_of_two: {
      const auto n = number(c.a);
      if (!n || *n <= 0 || mpz_popcount(n->get_mpz_t()) != 1) return false;
      integers_[c.b] = mpz_scan1(n->get_mpz_t(), 0);
      return true;
    }
    case Condition::Kind::fits: {
      const auto w = width(c.a);
      const auto left = number(c.left.index);
      const auto right = number(c.right.index);
      return w && left && right && *left + *right < power_of_two(*w);
    }
    case Condition::Kind::binding: {
      const auto value = evaluate(c.left);
      if (value) integers_[c.b] = *value;
      return value.has_value();
    }
  }
  return false;
}

bool RuleMatch::all_integers_are_zero() const {
  return std::all_of(integers_.begin(), integers_.end(), [](std::uint64_t n) { return n == 0; });
}

/// The constant that a node of the result stands for.
std::optional<Expression> RuleMatch::literal(const ResultNode& node,
                                             const std::vector<std::optional<TermName>>& built) const {
  Expression e;
  e.kind = Expression::value;
  if (node.width.from_result) {
    e.sort = trace_.term(*built[node.width.index]).sort;
  } else {
    e.sort = at(node.width.index).sort;
  }
  const TraceSort& sort = trace_.sort(e.sort);
  if (sort.kind != TraceSort::bit_vector) return std::nullopt;
  const bool exponent = node.kind == ResultNode::Kind::exponent;
  e.number =
      constant_value(exponent ? static_cast<std::int64_t>(integers_[node.index]) : node.value, sort.width);
  return e;
}

bool RuleMatch::yields(TermName after, const KnownTerms& known) const {
  std::vector<std::optional<TermName>> built;
  for (const ResultNode& node : rule_.result) {
    const bool last = &node == &rule_.result.back();
    Expression e;
    switch (node.kind) {
      case ResultNode::Kind::subterm:
        built.push_back(terms_[node.index]);
        continue;
      case ResultNode::Kind::truth:
        e.op = node.value != 0 ? "true" : "false";
        break;
      case ResultNode::Kind::number:
        e.kind = Expression::value;
        e.number = mpq_class(static_cast<long>(node.value));
        e.sort = static_cast<std::size_t>(
            std::ranges::find(trace_.sorts(), TraceSort::integer, &TraceSort::kind) - trace_.sorts().begin());
        break;
      case ResultNode::Kind::constant:
        if (node.constant < rules::NamedConstant::nan) {
          e.op = word_of(node.constant);
        } else {
          e.kind = Expression::value;
          e.sort =
              node.width.from_result ? trace_.term(*built[node.width.index]).sort : at(node.width.index).sort;
          e.number = encoding(node.constant, trace_.sort(e.sort));
        }
        break;
      case ResultNode::Kind::literal:
      case ResultNode::Kind::exponent: {
        const auto constant = literal(node, built);
        if (!constant) return false;
        e = *constant;
        break;
      }
      case ResultNode::Kind::application: {
        e.op = trace_word(*node.op);
        for (std::size_t argument : node.arguments) e.args.push_back(*built[argument]);
        for (const IntExpr& parameter : node.parameters) {
          const auto value = evaluate(parameter);
          if (!value) return false;
          e.indices.push_back(std::to_string(*value));
        }
        if (node.op->tag == SymbolTag::ARRAY_CONST) {
          e.sort =
              node.width.from_result ? trace_.term(*built[node.width.index]).sort : at(node.width.index).sort;
        }
        // Where the standard semantics are kept strictly, an extension by no bits is its argument.
        if (node.op->tag == SymbolTag::BV_ZEXT && e.indices[0] == "0") {
          built.push_back(e.args[0]);
          continue;
        }
        if (last && known.find_plain(e) == after) return true;
        break;
      }
    }
    built.push_back(known.find(e));
    if (!built.back()) return false;
  }
  return built.back() == after;
}

}  // namespace quarv::cli
