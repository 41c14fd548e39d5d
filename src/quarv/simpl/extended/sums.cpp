#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include <quarv/simpl/extended/facts.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/linear_sum.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

const QNumber one(1);
const QNumber minus_one(-1);

bool is_floor(const TermManager& m, const Term* t) {
  return t->symbol == m.floor_symbol;
}

/// Whether a sum is no longer than is looked at.
bool is_short(const TermManager& m, const Term* t) {
  return LinearSum::for_each_summand(m, t, [](const Term*) { return true; });
}

/// Whether some monomial may occur twice in a sum of two short sums, or a numeral: a glance, before anything
/// is computed.
bool may_merge(const TermManager& m, Args args) {
  std::array<std::uint64_t, 4> seen{};  // a bit for the id of each summand
  bool has_number = false;
  bool merges = false;
  const auto look = [&](const Term* x) {
    if (m.get_number(x) != nullptr) {
      merges = merges || has_number;
      has_number = true;
      return true;
    }
    std::uint64_t& word = seen[x->id / 64 % seen.size()];
    const std::uint64_t bit = std::uint64_t{1} << (x->id % 64);
    merges = merges || (word & bit) != 0 || has_tag(m, x, SymbolTag::PLUS);
    word |= bit;
    return true;
  };
  return LinearSum::for_each_summand(m, args[0], look) && LinearSum::for_each_summand(m, args[1], look) &&
         merges;
}

QNumber denominator(const QNumber& x) {
  return QNumber::from_integer(x.den().get_mpz_t());
}

/// A sum of integers with fractions as coefficients, as an integer divided by another, which is how `div` is
/// expressed; any other sum as it is.
const Term* as_quotient(TermManager& m, LinearSum& sum) {
  QNumber divisor = denominator(sum.constant);
  for (const LinearSum::Monomial& x : sum) {
    if (m.type_of(x.term) != m.int_type) return sum.to_term();
    divisor = lcm(divisor, denominator(x.coefficient));
  }
  for (LinearSum::Monomial& x : sum) x.coefficient *= divisor;
  sum.constant *= divisor;
  const Term* dividend = sum.to_term();
  QNumber reciprocal(1);
  reciprocal /= divisor;
  const Term* factor = m.make_number(reciprocal);
  return m.make_times(factor, dividend);
}

}  // namespace

/// Summands that can be put together, or cancel.
const Term* simplify_plus(TermManager& m, const Symbol* /*s*/, Args args) {
  if (!may_merge(m, args)) return nullptr;
  LinearSum sum(m);
  if (!sum.add(args[0], one) || !sum.add(args[1], one)) return nullptr;
  sum.drop_zeros();
  return sum.size() < sum.num_added() ? sum.to_term() : nullptr;
}

namespace {

/// A part of an integral part: the greatest integer below floor(x) / n is that below x / n.
const Term* floor_of_part(TermManager& m, const Term* t) {
  if (!has_tag(m, t, SymbolTag::TIMES) || !is_floor(m, t->args[1])) return nullptr;
  const QNumber* part = m.get_number(t->args[0]);
  if (part == nullptr || part->sign() <= 0) return nullptr;
  if (!(QNumber(1) / *part).is_integer()) return nullptr;
  return m.make_floor(m.make_times(t->args[0], t->args[1]->args[0]));
}

/// Where the values of a sum lie, when it is a remainder and a constant: c times t - n * floor(t / n) is at
/// least 0 and less than c * n.
struct RemainderRange {
  QNumber end;  // values are at least 0 and less than this; for negative c, greater than it and at most 0
  bool positive = true;
  QNumber constant;  // what is added to it
};

/// Whether `others` is k * floor(t) where factor * dividend is k * t, with a whole number of k in `factor`:
/// floor(t) - n * floor(t / n) is a remainder, too.
bool is_multiple_of_whole_dividend(TermManager& m, LinearSum& others, LinearSum& dividend,
                                   const QNumber& factor) {
  if (others.end() - others.begin() != 1 || !is_floor(m, others.begin()->term)) return false;
  const QNumber& k = others.begin()->coefficient;
  if (!(factor / k).is_integer()) return false;
  LinearSum t(m);
  if (!t.add(others.begin()->term->args[0], k) || !t.constant.is_zero()) return false;
  return t.is_multiple_of(dividend, factor);
}

std::optional<RemainderRange> range_of_remainder(TermManager& m, LinearSum& sum) {
  for (LinearSum::Monomial& x : sum) {
    if (!is_floor(m, x.term)) continue;
    const QNumber factor = x.coefficient.neg();
    LinearSum dividend(m);
    LinearSum others(m);
    if (!dividend.add(x.term->args[0], one)) continue;
    bool fits = true;
    for (const LinearSum::Monomial& y : sum) {
      if (y.term != x.term) fits &= others.add(y.term, y.coefficient);
    }
    if (!fits) continue;
    if (!others.is_multiple_of(dividend, factor) &&
        !(dividend.constant.is_zero() && is_multiple_of_whole_dividend(m, others, dividend, factor)))
      continue;
    return RemainderRange{factor, factor.sign() > 0, sum.constant - factor * dividend.constant};
  }
  return std::nullopt;
}

/// The greatest integer below a remainder, and a constant, where it is the same for all remainders.
const Term* floor_of_remainder(TermManager& m, LinearSum& sum) {
  const auto range = range_of_remainder(m, sum);
  if (!range) return nullptr;
  const QNumber floor = range->constant.floor();
  const QNumber end = range->constant + range->end;
  const bool is_one_value = range->positive ? end <= floor + one : floor <= end;
  return is_one_value ? m.make_number(floor) : nullptr;
}

/// The integer next to x, the smaller of two that are as near.
QNumber nearest_integer(const QNumber& x) {
  return -(one / QNumber(2) - x).floor();
}

}  // namespace

/// The integral part of a sum comes out: the greatest integer below x + n is n more than that below x. So do
/// those of the coefficients of integers, and what is left is smaller: (div (+ (* 5 i) j) 4) is
/// (+ i (div (+ i j) 4)).
const Term* simplify_floor(TermManager& m, const Symbol* /*s*/, Args args) {
  if (const Term* t = floor_of_part(m, args[0])) return t;
  LinearSum sum(m);
  if (!sum.add(args[0], one)) return nullptr;
  sum.drop_zeros();
  if (const Term* t = floor_of_remainder(m, sum)) return t;
  LinearSum whole(m);
  LinearSum rest(m);
  for (const LinearSum::Monomial& x : sum) {
    const QNumber integer = m.type_of(x.term) == m.int_type ? nearest_integer(x.coefficient) : QNumber();
    if (!integer.is_zero() && !whole.add(x.term, integer)) return nullptr;
    const QNumber fraction = x.coefficient - integer;
    if (!fraction.is_zero() && !rest.add(x.term, fraction)) return nullptr;
  }
  whole.constant = sum.constant.floor();
  rest.constant = sum.constant - whole.constant;
  if (whole.size() == 0) return nullptr;
  if (rest.size() == 0) return whole.to_term();
  const Term* floor = m.make_floor(as_quotient(m, rest));
  return m.make_plus(whole.to_term(), floor);
}

// Atoms.
// ---------------------------------------------------------------------------------------------------------

namespace {

/// What is known of a remainder with its constant, if it is to be at most 0.
const Term* remainder_at_most(TermManager& m, const RemainderRange& range) {
  const QNumber most = range.constant.neg();  // remainder <= most
  if (range.positive) {
    if (most.sign() < 0) return m.false_term;
    return range.end <= most ? m.true_term : nullptr;
  }
  if (most.sign() >= 0) return m.true_term;
  return most <= range.end ? m.false_term : nullptr;
}

}  // namespace

namespace {

/// The comparison with a branch in place of the if-then-else at an argument, where its condition holds or
/// not.
const Term* compared_branch(TermManager& m, const Symbol* s, Args args, std::size_t at, std::size_t branch) {
  const Term* ite = args[at];
  std::array<const Term*, 2> sides{args[0], args[1]};
  sides[at] = ite->args[branch];
  Facts facts(m);
  facts.assume(ite->args[0], branch == 1);
  return facts.applied_to(m.make_term_unchecked(s, sides));
}

/// An if-then-else, compared with a number, of which a branch is decided under its condition: (<= 0 (abs i)).
/// Of a chain of them, what is no if-then-else must be decided at each.
const Term* compared_branches(TermManager& m, const Symbol* s, Args args) {
  const std::size_t at = m.get_number(args[0]) != nullptr ? 1 : 0;
  const Term* ite = args[at];
  if (m.get_number(args[1 - at]) == nullptr || !has_tag(m, ite, SymbolTag::TERM_ITE)) return nullptr;
  const std::size_t leaf = has_tag(m, ite->args[1], SymbolTag::TERM_ITE) ? 2 : 1;
  if (has_tag(m, ite->args[leaf], SymbolTag::TERM_ITE)) return nullptr;
  const Term* first = compared_branch(m, s, args, at, leaf);
  if (!is_value(m, first) && has_tag(m, ite->args[3 - leaf], SymbolTag::TERM_ITE)) return nullptr;
  const Term* second = compared_branch(m, s, args, at, 3 - leaf);
  if (!is_value(m, first) && !is_value(m, second)) return nullptr;
  return leaf == 1 ? m.make_ite(ite->args[0], first, second) : m.make_ite(ite->args[0], second, first);
}

}  // namespace

namespace {

/// A sum of if-then-elses between numbers, which count in how many cases something holds.
class Count {
 public:
  /// Whether `sum` is such a sum, of at least two.
  [[nodiscard]] bool take(const TermManager& m, LinearSum& sum) {
    least_ = most_ = sum.constant;
    for (const LinearSum::Monomial& x : sum) {
      if (!has_tag(m, x.term, SymbolTag::TERM_ITE)) return false;
      const QNumber* first = m.get_number(x.term->args[1]);
      const QNumber* second = m.get_number(x.term->args[2]);
      if (first == nullptr || second == nullptr) return false;
      const QNumber step = (*first - *second) * x.coefficient;
      if (step.is_zero()) return false;
      const bool holds = step.sign() > 0;  // where the condition does, the sum is greater
      parts_[size_++] = {x.term->args[0], holds};
      const QNumber size = holds ? step : step.neg();
      if (size_ == 1 || size < smallest_step_) smallest_step_ = size;
      least_ += (holds ? *second : *first) * x.coefficient;
      most_ += (holds ? *first : *second) * x.coefficient;
    }
    return size_ > 1;
  }

  const QNumber& least() const { return least_; }
  const QNumber& most() const { return most_; }
  const QNumber& smallest_step() const { return smallest_step_; }

  /// The sum is as great as it can be, or as small.
  const Term* is_extreme(TermManager& m, bool greatest) const {
    const Term* all = m.true_term;
    for (std::size_t i = size_; i-- > 0;) {
      const Part& part = parts_[i];
      const Term* formula = part.adds == greatest ? part.condition : m.make_not(part.condition);
      all = m.make_and(formula, all);
    }
    return all;
  }

 private:
  struct Part {
    const Term* condition = nullptr;
    bool adds = false;
  };
  std::array<Part, LinearSum::most_summands> parts_;
  std::size_t size_ = 0;
  QNumber least_, most_, smallest_step_;
};

/// A count that is at most 0: (<= (+ (ite p 1 0) (ite q 1 0)) 1) is (not (and p q)).
const Term* count_at_most_zero(TermManager& m, LinearSum& sum) {
  Count count;
  if (!count.take(m, sum)) return nullptr;
  if (count.most().sign() <= 0) return m.true_term;
  if (count.least().sign() > 0) return m.false_term;
  if ((count.least() + count.smallest_step()).sign() > 0) return count.is_extreme(m, false);
  if ((count.most() - count.smallest_step()).sign() > 0) return nullptr;
  return m.make_not(count.is_extreme(m, true));
}

const Term* count_is_zero(TermManager& m, LinearSum& sum) {
  Count count;
  if (!count.take(m, sum)) return nullptr;
  if (count.most().sign() < 0 || count.least().sign() > 0) return m.false_term;
  if (count.least().is_zero()) return count.is_extreme(m, false);
  return count.most().is_zero() ? count.is_extreme(m, true) : nullptr;
}

/// What may be looked at in a sum that is compared.
struct Summands {
  bool floors = false;
  bool only_ites = true;
  bool only_products = true;

  Summands(const TermManager& m, Args args) {
    for (const Term* side : args) {
      LinearSum::for_each_summand(m, side, [&](const Term* x) {
        const bool is_number = m.get_number(x) != nullptr;
        floors |= is_floor(m, x);
        only_ites &= has_tag(m, x, SymbolTag::TERM_ITE) || is_number;
        only_products &= has_tag(m, x, SymbolTag::TIMES) || is_number;
        return !floors;
      });
    }
  }
};

/// A sum of squares with coefficients of one sign: 1 or -1, the sign of all values but 0; 0 for others.
int sign_of_squares(const TermManager& m, LinearSum& sum) {
  if (sum.begin() == sum.end()) return 0;
  const int sign = sum.begin()->coefficient.sign();
  for (const LinearSum::Monomial& x : sum) {
    if (x.coefficient.sign() != sign || !is_square(m, x.term)) return 0;
  }
  return sign;
}

const Term* all_are_zero(TermManager& m, LinearSum& sum) {
  const Term* zero = m.make_number(QNumber());
  const Term* all = m.true_term;
  for (const LinearSum::Monomial& x : sum) all = m.make_and(m.make_equal(x.term, zero), all);
  return all;
}

/// Whether squares with a constant are at most 0, as far as their signs tell.
const Term* squares_at_most_zero(TermManager& m, LinearSum& sum) {
  const int sign = sign_of_squares(m, sum);
  if (sign > 0 && sum.constant.sign() > 0) return m.false_term;
  if (sign > 0 && sum.constant.is_zero()) return all_are_zero(m, sum);
  return sign < 0 && sum.constant.sign() <= 0 ? m.true_term : nullptr;
}

}  // namespace

/// Remainders lie in a known range, and so do counts and sums of squares.
const Term* simplify_leq(TermManager& m, const Symbol* s, Args args) {
  if (const Term* t = compared_branches(m, s, args)) return t;
  if (const Term* t = compare_with_branch(m, s, args)) return t;
  if (const Term* t = compare_converted(m, s, args)) return t;
  const Summands summands(m, args);
  if (!summands.floors && !summands.only_ites && !summands.only_products) return nullptr;
  LinearSum sum(m);
  if (!sum.add(args[0], one) || !sum.add(args[1], minus_one)) return nullptr;
  sum.drop_zeros();
  if (summands.only_products) return squares_at_most_zero(m, sum);
  if (!summands.floors) return count_at_most_zero(m, sum);
  const auto range = range_of_remainder(m, sum);
  if (!range) return nullptr;
  if (const Term* t = remainder_at_most(m, *range)) return t;
  // Integral remainders end one below the divisor.
  const bool integral = m.type_of(args[0]) == m.int_type && m.type_of(args[1]) == m.int_type;
  if (!integral || !range->end.is_integer() || !range->constant.is_integer()) return nullptr;
  const QNumber most = range->constant.neg();
  if (range->positive) return range->end - one <= most ? m.true_term : nullptr;
  return most < range->end + one ? m.false_term : nullptr;
}

/// A difference that is 0 is an equality of what it is a difference of.
const Term* simplify_arithmetic_equal(TermManager& m, const Symbol* s, Args args) {
  if (const Term* t = compared_branches(m, s, args)) return t;
  for (std::size_t i = 0; i < 2; ++i) {
    const QNumber* value = m.get_number(args[i]);
    if (value == nullptr || !value->is_zero()) continue;
    if (const Term* t = product_is_zero(m, args[1 - i])) return t;
  }
  if (!is_short(m, args[0]) || !is_short(m, args[1])) return nullptr;
  LinearSum sum(m);
  if (!sum.add(args[0], one) || !sum.add(args[1], minus_one)) return nullptr;
  sum.drop_zeros();
  if (const auto range = range_of_remainder(m, sum)) {
    const QNumber value = range->constant.neg();
    const bool inside =
        range->positive ? value.sign() >= 0 && value < range->end : value.sign() <= 0 && range->end < value;
    if (!inside) return m.false_term;
  }
  if (const Term* t = count_is_zero(m, sum)) return t;
  const int sign = sign_of_squares(m, sum);
  if (sign * sum.constant.sign() > 0) return m.false_term;
  if (sign != 0 && sum.constant.is_zero() && sum.size() > 1) return all_are_zero(m, sum);
  if (sum.end() - sum.begin() != 2 || !sum.constant.is_zero()) return nullptr;
  const LinearSum::Monomial& x = sum.begin()[0];
  const LinearSum::Monomial& y = sum.begin()[1];
  if (!(x.coefficient == y.coefficient.neg())) return nullptr;
  const Term* pair[2] = {x.term, y.term};
  if (pair[0]->id > pair[1]->id) std::swap(pair[0], pair[1]);
  const DataType* type = m.get_supertype(m.type_of(x.term), m.type_of(y.term));
  return m.do_make_term(m.make_equal_symbol(type), Args(pair));
}

}  // namespace quarv::termsimpl::extended
