#include <algorithm>

#include <quarv/smtlib/normal_forms.h>
#include <quarv/smtlib/write/term_writer.h>

// Linear arithmetic: a sum has its negative parts subtracted, a comparison has them on its other side.

namespace quarv::smtlib {

namespace {

std::string natural(const QNumber& value, bool decimal) {
  return value.to_string() + (decimal ? ".0" : "");
}

QNumber numerator(const QNumber& value) {
  return value.is_small() ? QNumber(value.small_num()) : QNumber(value.num(), mpz_class(1));
}

QNumber denominator(const QNumber& value) {
  return value.is_small() ? QNumber(value.small_den()) : QNumber(value.den(), mpz_class(1));
}

}  // namespace

/// A numeral or decimal; "(- n)" and "(/ p q)" where SMT-LIB has no literal.
NormalForms::ClassId NormalForms::number(const QNumber& value, bool real) {
  const bool decimal = is_decimal(value, real);
  return numbers_[decimal ? 1 : 0].find_or_make(value, [&] { return new_number(value, decimal); });
}

NormalForms::ClassId NormalForms::new_number(const QNumber& value, bool real) {
  const DataType* sort = real ? m_.rat_type : m_.int_type;
  if (value.sign() < 0) return app("-", {number(-value, real)}, sort);
  if (value.is_integer()) return leaf(natural(value, real), sort);
  const std::string text = decimal_text(value);
  if (!text.empty()) return leaf(text, sort);
  return app("/", {number(numerator(value), true), number(denominator(value), true)}, sort);
}

/// The form in which `new_number` writes a number, among others that its class has: a literal where there is
/// one, else a quotient in lowest terms.
forms::FormId NormalForms::literal_form(ClassId c, const QNumber& value) const {
  const auto is_literal = [this](const forms::Form& f) {
    return f.num_children == 0 && g_.head_at(f.head).symbol == nullptr;
  };
  const bool negative = value.sign() < 0;
  const auto& numbers = numbers_[is_decimal(value, g_.sort(c) == m_.rat_type) ? 1 : 0];
  const auto is_magnitude = [&](ClassId part) {
    const ClassId* const known = numbers.find(-value);
    return known != nullptr && g_.find(part) == g_.find(*known);
  };
  const auto is_literal_of = [&](ClassId part, const QNumber& wanted) {
    const forms::FormId first = g_.first_form(part);
    if (first == forms::none || g_.find(part) == g_.find(c) || !is_literal(g_.form(first))) return false;
    const std::string_view text = g_.head_at(g_.form(first).head).text;
    return text == natural(wanted, true) || text == natural(wanted, false);
  };
  const std::string_view head = negative ? "-" : "/";
  forms::FormId quotient = forms::none;
  for (forms::FormId f = g_.first_form(c); f != forms::none; f = g_.form(f).next) {
    const forms::Form& form = g_.form(f);
    if (is_literal(form)) return f;
    if (quotient != forms::none || form.num_children != (negative ? 1 : 2) ||
        g_.head_at(form.head).text != head)
      continue;
    const auto parts = g_.children(form);
    const bool is_lowest =
        negative ? is_magnitude(parts[0])
                 : is_literal_of(parts[0], numerator(value)) && is_literal_of(parts[1], denominator(value));
    if (is_lowest) quotient = f;
  }
  return quotient != forms::none ? quotient : g_.first_form(c);
}

/// "(* 3 x)", "(/ x 3.0)", "x".
NormalForms::ClassId NormalForms::multiple(const QNumber& positive, ClassId monomial, bool real) {
  const DataType* sort = real ? m_.rat_type : m_.int_type;
  if (positive == QNumber(1)) return monomial;
  if (real && numerator(positive) == QNumber(1))
    return app("/", {monomial, number(denominator(positive), real)}, sort);
  return app("*", {number(positive, real), monomial}, sort);
}

NormalForms::ClassId NormalForms::total(std::span<const ClassId> parts, bool real) {
  if (parts.empty()) return number(QNumber(), real);
  return parts.size() == 1 ? parts[0] : app("+", parts, real ? m_.rat_type : m_.int_type);
}

namespace {

constexpr std::size_t few_items = 24;  // of a sum

/// Whether the forms are much longer than what was written. A long sum that many comparisons share would be
/// written out in ten ways for each of them.
bool is_crowded(const forms::FormGraph& g) {
  constexpr std::size_t free_children = 1 << 18;
  constexpr std::size_t children_per_class = 16;
  if (g.num_forms() == 0) return false;
  const forms::Form& last = g.form(static_cast<forms::FormId>(g.num_forms() - 1));
  return last.first_child + std::size_t{last.num_children} >
         free_children + children_per_class * g.num_classes();
}

}  // namespace

/// Adds `factor` times the term to a sum. Links of a chain that are shared stay whole unless
/// `through_shared`; then it is false when there are too many parts, as in chains of thousands of shared
/// links. Without, a chain is cut where it is too long to be written in one list.
bool NormalForms::collect(Node n, const QNumber& factor, Sum& sum, bool through_shared) {
  constexpr std::size_t most_links_through = 192;
  constexpr std::size_t most = 1 << 16;
  std::size_t links = 0;
  summands_.clear();
  summands_.push_back({factor, n, false});
  while (!summands_.empty()) {
    const Summand part = std::move(summands_.back());
    summands_.pop_back();
    const Term* t = part.node.term();
    if (const QNumber* value = m_.get_number(t)) {
      sum.constant += *value * part.factor;
      continue;
    }
    if (through_shared && ++links > most_links_through) return false;
    const SymbolTag::tag tag = m_.get_tag(t->symbol);
    const bool is_whole = tag == SymbolTag::PLUS && part.whole && !through_shared &&
                          (is_shared(part.node) || sum.items.size() >= most);
    sum.has_shared_links = sum.has_shared_links || is_whole;
    if (tag == SymbolTag::PLUS && !is_whole) {
      for (std::size_t i = m_.arity(t); i-- > 0;) {
        const DataType* wanted = part.node.as_real() ? m_.rat_type : m_.argument_type(t->symbol, i);
        summands_.push_back({part.factor, node_for(m_, t->args[i], wanted), true});
      }
    } else if (is_multiple(m_, t)) {
      const DataType* wanted = part.node.as_real() ? m_.rat_type : m_.argument_type(t->symbol, 1);
      summands_.push_back({part.factor * *m_.get_number(t->args[0]), node_for(m_, t->args[1], wanted), true});
    } else {
      sum.items.push_back({part.factor, part.node});
      if (through_shared && sum.items.size() > few_items) return false;
    }
  }
  return true;
}

/// Equal monomials together, in the order of the normal form.
void NormalForms::settle(Sum& sum) {
  auto& items = sum.items;
  std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) {
    return std::pair(a.monomial.term()->id, a.monomial.as_real()) <
           std::pair(b.monomial.term()->id, b.monomial.as_real());
  });
  std::size_t kept = 0;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (kept != 0 && items[kept - 1].monomial == items[i].monomial) {
      items[kept - 1].coefficient += items[i].coefficient;
    } else {
      if (kept != i) items[kept] = std::move(items[i]);
      ++kept;
    }
  }
  items.resize(kept);
  std::erase_if(items, [](const Item& item) { return item.coefficient.is_zero(); });
}

void NormalForms::sum(Node n) {
  const bool real = n.as_real() || m_.type_of(n.term()) == m_.rat_type;
  for (const bool through_shared : {false, true}) {
    Sum& all = sum_;
    all.clear();
    if (!collect(n, QNumber(1), all, through_shared)) continue;
    settle(all);
    arrange(all, real);
    const bool has_negative = std::ranges::any_of(all.items, &Item::is_negative) || all.constant.sign() < 0;
    if (has_negative) with_negative_parts(all, real);
    if (has_negative && !real) remainder(all);
    if (!real) with_constant_inside(all);
    if (!all.has_shared_links) return;  // the second time would find the same
  }
}

/// What is added and what is subtracted. `quotient`, if any, is written as the class `quotient_form`.
void NormalForms::arrange(const Sum& all, bool real, const Item* quotient, ClassId quotient_form) {
  std::vector<ClassId>& plus = right_;
  std::vector<ClassId>& minus = left_;
  plus.clear();
  minus.clear();
  for (const Item& item : all.items) {
    if (&item == quotient) {
      plus.push_back(quotient_form);
      continue;
    }
    const ClassId c = class_of(item.monomial);
    add_forms(c, item.monomial);
    const bool negative = item.is_negative();
    (negative ? minus : plus).push_back(multiple(negative ? -item.coefficient : item.coefficient, c, real));
  }
  if (!all.constant.is_zero()) {
    const bool negative = all.constant.sign() < 0;
    (negative ? minus : plus).push_back(number(negative ? -all.constant : all.constant, real));
  }
  if (minus.empty() && plus.size() < 2) {
    same(total(plus, real));
  } else if (minus.empty()) {
    form(operator_head("+"), plus);
  } else if (plus.empty()) {
    form("-", {total(minus, real)});
  } else {
    form("-", {total(plus, real), total(minus, real)});
  }
}

/// "(div (+ x 7) 4)" for (+ 1 (div (+ x 3) 4)).
void NormalForms::with_constant_inside(const Sum& sum) {
  if (sum.constant.is_zero() || !sum.constant.is_integer()) return;
  for (const Item& item : sum.items) {
    IntegerQuotient q;
    const Term* t = item.monomial.term();
    if (!(item.coefficient == QNumber(1)) || m_.get_tag(t->symbol) != SymbolTag::FLOOR) continue;
    if (!as_integer_quotient(m_, t, q)) continue;
    const QNumber more = sum.constant * q.divisor;
    const bool has_constant = q.summands.back().monomial == nullptr;
    if (!has_constant) q.summands.push_back({nullptr, QNumber()});
    q.summands.back().coefficient += more;
    if (q.summands.back().coefficient.is_zero()) q.summands.pop_back();
    const ClassId inside = app("div", {dividend(q), number(q.divisor, false)}, m_.int_type);
    Sum others = sum;
    others.constant = QNumber();
    return arrange(others, false, &others.items[static_cast<std::size_t>(&item - sum.items.data())], inside);
  }
}

/// "(+ (* 3 x) (* (- 2) y))": no smaller than a difference, but where the negative parts are needed
/// elsewhere.
void NormalForms::with_negative_parts(const Sum& sum, bool real) {
  const DataType* sort = real ? m_.rat_type : m_.int_type;
  std::vector<ClassId>& parts = parts_;
  parts.clear();
  for (const Item& item : sum.items) {
    const ClassId c = class_of(item.monomial);
    parts.push_back(item.coefficient == QNumber(-1) ? app("-", {c}, sort)
                    : item.coefficient.sign() < 0   ? app("*", {number(item.coefficient, real), c}, sort)
                                                    : multiple(item.coefficient, c, real));
  }
  if (!sum.constant.is_zero()) parts.push_back(number(sum.constant, real));
  parts.size() == 1 ? same(parts[0]) : form(operator_head("+"), parts);
}

void NormalForms::product(Node n) {
  const Term* t = n.term();
  const bool real = n.as_real() || m_.type_of(t) == m_.rat_type;
  const DataType* wanted = n.as_real() ? m_.rat_type : nullptr;
  const auto operand = [&](std::size_t i) {
    const Node a = node_for(m_, t->args[i], wanted != nullptr ? wanted : m_.argument_type(t->symbol, i));
    const ClassId c = class_of(a);
    add_forms(c, a);
    return c;
  };
  if (const QNumber* factor = m_.get_number(t->args[0])) {
    const ClassId c = operand(1);
    const ClassId own = own_;
    if (*factor == QNumber(-1)) return form("-", {c});
    form("*", {number(*factor, real), c});
    own_ = own;
    if (real && numerator(*factor) == QNumber(1)) form("/", {c, number(denominator(*factor), real)});
    if (factor->sign() < 0) form("-", {multiple(-*factor, c, real)});
    if (m_.get_tag(t->args[1]->symbol) != SymbolTag::TIMES) return;
    own_ = own;
  } else {
    form("*", {operand(0), operand(1)});
  }
  if (n.as_real()) return;
  each_list_of_leaves(t, [&](std::vector<const Term*>& parts) {
    if (parts.size() > 2) flat_form(operator_head("*"), false, parts, real ? m_.rat_type : m_.int_type);
  });
}

NormalForms::ClassId NormalForms::dividend(const IntegerQuotient& q) {
  std::vector<ClassId>& parts = parts_;
  parts.clear();
  for (const auto& s : q.summands) {
    if (s.monomial == nullptr) {
      parts.push_back(number(s.coefficient, false));
      continue;
    }
    const Node monomial(s.monomial, false);
    const ClassId c = class_of(monomial);
    add_forms(c, monomial);
    const bool negative = s.coefficient.sign() < 0;
    parts.push_back(negative && s.coefficient == QNumber(-1) ? app("-", {c}, m_.int_type)
                    : negative ? app("*", {number(s.coefficient, false), c}, m_.int_type)
                               : multiple(s.coefficient, c, false));
  }
  return total(parts, false);
}

/// "(div (+ (* 2 x) y 1) 3)".
void NormalForms::quotient(const Term* t) {
  IntegerQuotient q;
  if (as_integer_quotient(m_, t, q)) return form("div", {dividend(q), number(q.divisor, false)});
  form("to_int", {child(t, 0)});
}

/// "(mod x 3)" for x - 3 * (div x 3).
void NormalForms::remainder(const Sum& sum) {
  for (const Item& item : sum.items) {
    IntegerQuotient q;
    const Term* t = item.monomial.term();
    if (m_.get_tag(t->symbol) != SymbolTag::FLOOR || !as_integer_quotient(m_, t, q)) continue;
    if (!(item.coefficient == -q.divisor)) continue;
    QNumber constant;
    std::size_t matched = 1;
    for (const auto& s : q.summands) {
      if (s.monomial == nullptr) {
        constant = s.coefficient;
        continue;
      }
      matched += static_cast<std::size_t>(std::ranges::count_if(sum.items, [&s](const Item& other) {
        return other.monomial.term() == s.monomial && other.coefficient == s.coefficient;
      }));
    }
    const std::size_t wanted = q.summands.size() + (constant.is_zero() ? 1 : 0);
    if (matched != wanted || sum.items.size() != wanted || !(constant == sum.constant)) continue;
    return form("mod", {dividend(q), number(q.divisor, false)});
  }
}

/// "(= (mod a n) r)": every solver knows it. A remainder that is not a numeral goes to the other side.
void NormalForms::congruence(const Term* t) {
  QNumber modulus, quotient, remainder;
  m_.is_int_modular_congruence(t->symbol, &modulus);
  ClassId dividend = child(t, 0);
  if (const QNumber* value = m_.get_number(t->args[1])) {
    value->divmod(modulus, quotient, remainder);
    if (remainder.sign() < 0) remainder += modulus;
  } else {
    dividend = app("-", {dividend, child(t, 1)}, m_.int_type);
  }
  const ClassId rest = app("mod", {dividend, number(modulus, false)}, m_.int_type);
  form("=", {rest, number(remainder, false)});
}

// Comparisons.
// ---------------------------------------------------------------------------------------------------------------

/// left <= right, left = right, or the negation of it; `strict` for left < right where that is the same.
void NormalForms::relation(SymbolTag::tag tag, bool negated, bool strict, ClassId left, ClassId right) {
  if (tag == SymbolTag::EQ) {
    return form(negated ? "distinct" : "=", {left, right});
  }
  // not (l <= r) is r < l, not (l < r) is r <= l.
  const char* upwards = strict != negated ? "<" : "<=";
  if (negated) std::swap(left, right);
  form(upwards, {left, right});
}

void NormalForms::comparison(const Term* t, bool negated) {
  const SymbolTag::tag tag = m_.get_tag(t->symbol);
  const auto is_zero = [&](const Term* side) {
    const QNumber* value = m_.get_number(side);
    return value != nullptr && value->is_zero();
  };
  // Of forms that cost as much the first is taken: one without a zero that the other ones do not need.
  const bool needs_zero = is_zero(t->args[0]) || is_zero(t->args[1]);
  if (!needs_zero) relation(tag, negated, false, child(t, 0), child(t, 1));
  compare_sums(t, tag, negated);
  if (needs_zero) relation(tag, negated, false, child(t, 0), child(t, 1));
}

/// The forms in which the summands of both sides may stand on either.
void NormalForms::compare_sums(const Term* t, SymbolTag::tag tag, bool negated) {
  for (const bool through_shared : {false, true}) {
    // right - left, compared with 0.
    Sum& all = sum_;
    all.clear();
    const Node left = node_for(m_, t->args[0], m_.argument_type(t->symbol, 0));
    const Node right = node_for(m_, t->args[1], m_.argument_type(t->symbol, 1));
    all.real = left.as_real() || right.as_real() || m_.type_of(left.term()) == m_.rat_type ||
               m_.type_of(right.term()) == m_.rat_type;
    if (!collect(left, QNumber(-1), all, through_shared) ||
        !collect(right, QNumber(1), all, through_shared)) {
      continue;
    }
    if (all.items.size() > few_items && is_crowded(g_)) continue;
    settle(all);
    atom(all, tag, negated);
    if (!all.has_shared_links) return;
  }
}

/// "(<= (- x) y)" for 0 <= x + y, which needs no 0.
void NormalForms::with_opposite(Args left, Args right, SymbolTag::tag tag, bool negated,
                                const DataType* sort) {
  if (left.empty() && right.size() == 2) {
    for (int i = 0; i < 2; ++i) relation(tag, negated, false, app("-", {right[i]}, sort), right[1 - i]);
  }
  if (right.empty() && left.size() == 2) {
    for (int i = 0; i < 2; ++i) relation(tag, negated, false, left[i], app("-", {left[1 - i]}, sort));
  }
}

/// The forms of 0 <= sum, 0 = sum.
void NormalForms::atom(const Sum& sum, SymbolTag::tag tag, bool negated) {
  const bool real = sum.real;
  std::vector<ClassId>&left = left_, &right = right_;  // left <= right
  left.clear();
  right.clear();
  std::size_t num_multiples = 0;
  for (const Item& item : sum.items) {
    const ClassId c = class_of(item.monomial);
    add_forms(c, item.monomial);
    const bool negative = item.coefficient.sign() < 0;
    const ClassId part = multiple(negative ? -item.coefficient : item.coefficient, c, real);
    if (part != c) ++num_multiples;
    (negative ? left : right).push_back(part);
  }
  const QNumber& k = sum.constant;
  const bool difference = left.size() == 1 && right.size() == 1 && num_multiples == 0;
  const DataType* sort = real ? m_.rat_type : m_.int_type;
  const bool compares_sums = !difference_logic_ || (difference && k.is_zero());
  if (k.is_zero() && compares_sums) relation(tag, negated, false, total(left, real), total(right, real));
  if (difference) {
    // x - y <= c
    relation(tag, negated, false, app("-", {left[0], right[0]}, sort), number(k, real));
    relation(tag, negated, false, number(-k, real), app("-", {right[0], left[0]}, sort));
  }
  if (!compares_sums) return;
  if (k.is_zero()) return with_opposite(left, right, tag, negated, sort);
  if (left.empty() || right.empty()) {
    // A sum compared with a numeral.
    if (left.empty()) relation(tag, negated, false, number(-k, real), total(right, real));
    if (right.empty()) relation(tag, negated, false, total(left, real), number(k, real));
  }
  const bool on_left = k.sign() < 0;
  const QNumber size = on_left ? -k : k;
  with_constant_ = on_left ? left : right;
  with_constant_.push_back(number(size, real));
  const ClassId more = total(with_constant_, real);
  if (on_left) {
    relation(tag, negated, false, more, total(right, real));
  } else {
    relation(tag, negated, false, total(left, real), more);
  }
  // l + 1 <= r over the integers is l < r.
  if (!real && tag == SymbolTag::LEQ && on_left && size == QNumber(1)) {
    relation(tag, negated, true, total(left, real), total(right, real));
  }
}

}  // namespace quarv::smtlib
