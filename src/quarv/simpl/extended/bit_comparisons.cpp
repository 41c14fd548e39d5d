#include <algorithm>
#include <optional>
#include <utility>

#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/bit_slices.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/known_bits.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

using Word = KnownBits::Word;

/// A comparison of two bit-vectors: =, or < or <= of unsigned or signed numbers.
struct Comparison {
  TermManager& m;
  const Term* left;
  const Term* right;
  bool is_equality;
  bool is_signed;
  bool is_strict;

  std::size_t width() const { return width_of(m, left); }
  /// What the comparison says of two terms.
  const Term* of(const Term* a, const Term* b) const {
    if (is_equality) return m.make_equal(a, b);
    if (is_signed) return is_strict ? m.make_bv_slt(a, b) : m.make_bv_sle(a, b);
    return is_strict ? m.make_bv_ult(a, b) : m.make_bv_ule(a, b);
  }
};

std::optional<Comparison> comparison_of(TermManager& m, const Symbol* s, Args args) {
  switch (m.get_tag(s)) {
    case SymbolTag::EQ:
      return Comparison{m, args[0], args[1], true, false, false};
    case SymbolTag::BV_ULT:
      return Comparison{m, args[0], args[1], false, false, true};
    case SymbolTag::BV_ULE:
      return Comparison{m, args[0], args[1], false, false, false};
    case SymbolTag::BV_SLT:
      return Comparison{m, args[0], args[1], false, true, true};
    case SymbolTag::BV_SLE:
      return Comparison{m, args[0], args[1], false, true, false};
    default:
      return std::nullopt;
  }
}

// By what is known of single bits.
// ---------------------------------------------------------------------------------------------------------

/// The greatest number that a term may be: less than a divisor for a remainder.
Word greatest_of(const TermManager& m, const Term* t, const KnownBits& known) {
  const QNumber* divisor = has_tag(m, t, SymbolTag::BV_UREM) ? m.get_number(t->args[1]) : nullptr;
  if (divisor == nullptr || divisor->is_zero()) return known.greatest();
  return std::min(known.greatest(), word_of(*divisor) - 1);
}

const Term* decided_by_bits(const Comparison& c) {
  auto a = KnownBits::of(c.m, c.left);
  auto b = KnownBits::of(c.m, c.right);
  if (!a || !b) return nullptr;
  if (c.is_equality) {
    const bool apart = a->differs_from(*b) || greatest_of(c.m, c.left, *a) < b->least() ||
                       greatest_of(c.m, c.right, *b) < a->least();
    return apart ? c.m.false_term : nullptr;
  }
  if (c.is_signed) {
    const Word sign = Word{1} << (c.width() - 1);
    const bool same_sign = ((a->zeros & b->zeros) | (a->ones & b->ones)) & sign;
    if (same_sign) return c.is_strict ? c.m.make_bv_ult(c.left, c.right) : c.m.make_bv_ule(c.left, c.right);
    a = a->with_sign_flipped(c.width());
    b = b->with_sign_flipped(c.width());
  }
  const Word most_left = c.is_signed ? a->greatest() : greatest_of(c.m, c.left, *a);
  const Word most_right = c.is_signed ? b->greatest() : greatest_of(c.m, c.right, *b);
  if (c.is_strict) {
    if (most_left < b->least()) return c.m.true_term;
    return a->least() >= most_right ? c.m.false_term : nullptr;
  }
  if (most_left <= b->least()) return c.m.true_term;
  return a->least() > most_right ? c.m.false_term : nullptr;
}

// Slice by slice.
// ---------------------------------------------------------------------------------------------------------

/// Two bit-vectors, cut at the same places.
class SlicePairs {
 public:
  SlicePairs(const Comparison& c, BitSlices::Masks masks) : c_(c), a_(c.m, masks), b_(c.m, masks) {}

  bool take() {
    const std::size_t high = c_.width() - 1;
    if (!a_.take(c_.left, high, 0) || !b_.take(c_.right, high, 0)) return false;
    num_taken_ = a_.num_taken() + b_.num_taken();
    if (!BitSlices::refine(a_, b_)) return false;
    last_ = a_.size();
    return last_ > 1;
  }

  const Term* equality();
  const Term* order();
  bool met_mask() const { return a_.met_mask() || b_.met_mask(); }

 private:
  bool are_same(std::size_t i) const { return a_[i] == b_[i]; }
  bool are_values(std::size_t i) const { return a_.is_value(i) && b_.is_value(i); }
  /// Whether the slices, of which each is a whole term, are known to differ.
  bool are_apart(std::size_t i) const {
    if (are_same(i)) return false;
    if (are_values(i)) return true;
    const auto whole = [this](const BitSlice& slice) {
      const BitPart& part = slice.part;
      return slice.operation == SymbolTag::UF && part.low == 0 && part.high + 1 == width_of(c_.m, part.term)
                 ? part.term
                 : nullptr;
    };
    const Term* a = whole(a_[i]);
    const Term* b = whole(b_[i]);
    return a != nullptr && b != nullptr && are_distinct(c_.m, a, b);
  }
  /// Whether the slice decides an unsigned comparison, whatever the other one is: c < 0 never holds, c
  /// <= 1...1 always does.
  bool is_decided(std::size_t i, bool is_strict) const {
    const auto is_end = [this](const BitSlices& slices, std::size_t at, bool greatest) {
      if (!slices.is_value(at)) return false;
      const Term* t = slices[at].part.term;
      return greatest ? t == all_ones(c_.m, width_of(c_.m, t)) : c_.m.get_number(t)->is_zero();
    };
    return is_end(a_, i, is_strict) || is_end(b_, i, !is_strict);
  }
  bool is_narrower() const { return first_ > 0 || last_ < a_.size(); }
  /// A slice of one side that occurs repeatedly is equal to two values.
  bool contradicts(const BitSlices& slices, const BitSlices& values) const {
    for (std::size_t i = first_; i < last_; ++i) {
      for (std::size_t j = i + 1; j < last_ && values.is_value(i); ++j) {
        if (slices[i] == slices[j] && values.is_value(j) && !(values[i] == values[j])) return true;
      }
    }
    return false;
  }
  const Term* rest(bool is_signed, bool is_strict);

  const Comparison& c_;
  BitSlices a_;
  BitSlices b_;
  std::size_t num_taken_ = 0;
  std::size_t first_ = 0;
  std::size_t last_ = 0;
};

/// The comparison of slices [first, last), unless that needs more terms.
const Term* SlicePairs::rest(bool is_signed, bool is_strict) {
  if (!is_narrower() || a_.cost(first_, last_) + b_.cost(first_, last_) > num_taken_) return nullptr;
  const Term* a = a_.to_term(first_, last_);
  const Term* b = b_.to_term(first_, last_);
  Comparison narrow = c_;
  narrow.is_signed = is_signed;
  narrow.is_strict = is_strict;
  return narrow.of(a, b);
}

const Term* SlicePairs::equality() {
  for (std::size_t i = 0; i < last_; ++i) {
    if (are_apart(i)) return c_.m.false_term;
  }
  while (first_ < last_ && are_same(first_)) ++first_;
  while (first_ < last_ && are_same(last_ - 1)) --last_;
  if (contradicts(a_, b_) || contradicts(b_, a_)) return c_.m.false_term;
  bool one_pair = first_ < last_;
  for (std::size_t i = first_ + 1; i < last_; ++i) {
    one_pair &= (a_[i] == a_[first_] && b_[i] == b_[first_]) || (a_[i] == b_[first_] && b_[i] == a_[first_]);
  }
  if (one_pair) last_ = first_ + 1;
  return first_ == last_ ? c_.m.true_term : rest(false, false);
}

/// The first slices that differ decide; the last ones matter where all before them are equal.
const Term* SlicePairs::order() {
  bool is_signed = c_.is_signed;
  bool is_strict = c_.is_strict;
  for (; first_ < last_ && are_same(first_); ++first_) is_signed = false;
  if (first_ == last_) return c_.m.make_bool(!is_strict);
  if (are_values(first_)) {
    const Term* a = a_[first_].part.term;
    const Term* b = b_[first_].part.term;
    return is_signed ? c_.m.make_bv_slt(a, b) : c_.m.make_bv_ult(a, b);
  }
  for (; last_ > first_ + 1; --last_) {
    const std::size_t i = last_ - 1;
    // a c < b 0 is a < b, and a c <= b 1...1 is a <= b.
    if (is_decided(i, is_strict)) continue;
    if (!are_same(i) && !are_values(i)) break;
    // a c < b d is a <= b if c < d, and a < b otherwise.
    if (!are_same(i)) {
      is_strict = c_.m.make_bv_ult(a_[i].part.term, b_[i].part.term) == c_.m.false_term;
    }
  }
  return rest(is_signed, is_strict);
}

const Term* compared_slices(const Comparison& c) {
  for (const auto masks : {BitSlices::Masks::run_by_run, BitSlices::Masks::whole}) {
    SlicePairs pairs(c, masks);
    const bool taken = pairs.take();
    const Term* t = !taken ? nullptr : c.is_equality ? pairs.equality() : pairs.order();
    if (t != nullptr || !pairs.met_mask()) return t;
  }
  return nullptr;
}

// Extensions and sums compared with constants.
// ---------------------------------------------------------------------------------------------------------

/// Sign extensions keep both orders. A constant that is none lies between those of positive and of negative
/// numbers in the unsigned order, and beyond both in the signed one.
const Term* compared_sign_extension(const Comparison& c) {
  const bool value_first = is_value(c.m, c.left);
  const Term* extended = value_first ? c.right : c.left;
  const Term* value = value_first ? c.left : c.right;
  std::size_t bits = 0;
  if (!c.m.is_bv_sign_extend(extended->symbol, &bits, nullptr) || bits == 0 || !is_value(c.m, value)) {
    return nullptr;
  }
  const Term* t = extended->args[0];
  const std::size_t width = width_of(c.m, t);
  const Term* narrow = c.m.make_bv_extract(width - 1, 0, value);
  if (c.m.make_bv_sign_extend(bits, narrow) == value) return value_first ? c.of(narrow, t) : c.of(t, narrow);
  if (c.is_equality) return c.m.false_term;
  const bool value_is_negative = BVNumber::bit(*c.m.get_number(value), width + bits - 1);
  if (c.is_signed) return c.m.make_bool(value_first == value_is_negative);
  const Term* negative = c.m.make_bv_slt(t, c.m.make_bv_number(0, width));
  return value_first ? negative : c.m.make_not(negative);
}

/// k + x <= d, for an extension of x: those x from -k on, d more at most. In the width of x if they do not
/// wrap around there.
const Term* compared_extended_sum(const Comparison& c) {
  if (c.is_equality || c.is_signed || !has_tag(c.m, c.left, SymbolTag::BV_ADD)) return nullptr;
  const std::size_t width = c.width();
  const std::size_t at = is_value(c.m, c.left->args[0]) ? 0 : 1;
  const QNumber* k = c.m.get_number(c.left->args[at]);
  const Term* extended = c.left->args[1 - at];
  const QNumber* d = c.m.get_number(c.right);
  std::size_t bits = 0;
  if (k == nullptr || d == nullptr || width > 64 ||
      !c.m.is_bv_zero_extend(extended->symbol, &bits, nullptr)) {
    return nullptr;
  }
  const Term* x = extended->args[0];
  const Word end = Word{1} << (width - bits);
  const Word modulus = Word{1} << width;
  const Word first = (modulus - word_of(*k)) % modulus;
  const Word count = word_of(*d) + (c.is_strict ? 0 : 1);
  if (count == 0 || bits == 0) return nullptr;
  const auto number = [&](Word value) { return c.m.make_bv_number(QNumber(value), width - bits); };
  if (first >= end) {
    // All sums are k + x; or those of small x alone.
    if (first + count <= modulus) return c.m.false_term;
    const Word below = first + count - modulus;
    return below >= end ? c.m.true_term : c.m.make_bv_ult(x, number(below));
  }
  if (first + count > end) {
    return first + count > modulus ? nullptr : c.m.make_bv_ule(number(first), x);
  }
  const Term* sum = c.m.make_bv_add(number((end - first) % end), x);
  if (c.is_strict && count < end) return c.m.make_bv_ult(sum, number(count));
  return c.m.make_bv_ule(sum, number(count - 1));
}

// Equations solved for a term.
// ---------------------------------------------------------------------------------------------------------

/// The inverse of an odd number modulo 2^width, by Newton's iteration.
const Term* inverse_of(TermManager& m, const Term* odd, std::size_t width) {
  const Term* two = m.make_bv_number(2, width);
  const Term* inverse = odd;
  for (std::size_t correct = 3; correct < width; correct *= 2) {
    const Term* product = m.make_bv_mul(odd, inverse);
    inverse = m.make_bv_mul(inverse, m.make_bv_sub(two, product));
  }
  return inverse;
}

/// op(t) = value, solved for an operand of t; null where it cannot be.
const Term* solved(TermManager& m, const Term* t, const Term* value) {
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  std::size_t amount = 0;
  switch (tag) {
    case SymbolTag::BV_NOT:
      return m.make_equal(t->args[0], m.make_bv_not(value));
    case SymbolTag::BV_NEG:
      return m.make_equal(t->args[0], m.make_bv_neg(value));
    case SymbolTag::BV_ROL:
      m.is_bv_rotate_left(t->symbol, &amount, nullptr);
      return m.make_equal(t->args[0], m.make_bv_rotate_right(amount, value));
    case SymbolTag::BV_ROR:
      m.is_bv_rotate_right(t->symbol, &amount, nullptr);
      return m.make_equal(t->args[0], m.make_bv_rotate_left(amount, value));
    case SymbolTag::BV_SUB:
      if (m.get_number(value)->is_zero()) return m.make_equal(t->args[0], t->args[1]);
      return is_value(m, t->args[0]) ? m.make_equal(t->args[1], m.make_bv_sub(t->args[0], value)) : nullptr;
    case SymbolTag::BV_ADD:
    case SymbolTag::BV_XOR:
    case SymbolTag::BV_MUL:
      break;
    default:
      return nullptr;
  }
  for (std::size_t i = 0; i < 2; ++i) {
    const Term* k = t->args[i];
    const Term* x = t->args[1 - i];
    if (tag == SymbolTag::BV_ADD && m.get_number(value)->is_zero() && has_tag(m, k, SymbolTag::BV_NEG)) {
      return m.make_equal(x, k->args[0]);
    }
    if (!is_value(m, k)) continue;
    if (tag == SymbolTag::BV_ADD) return m.make_equal(x, m.make_bv_sub(value, k));
    if (tag == SymbolTag::BV_XOR) return m.make_equal(x, m.make_bv_xor(value, k));
    if (!BVNumber::bit(*m.get_number(k), 0)) return nullptr;
    return m.make_equal(x, m.make_bv_mul(inverse_of(m, k, width_of(m, k)), value));
  }
  const bool is_difference = tag == SymbolTag::BV_XOR && m.get_number(value)->is_zero();
  return is_difference ? m.make_equal(t->args[0], t->args[1]) : nullptr;
}

/// Whether some bits of a term may be known: a glance at it.
bool is_informative(const TermManager& m, const Term* t) {
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  if (tag == SymbolTag::BV_SEXT || tag == SymbolTag::TERM_ITE || moves_or_masks_bits(m, t)) return true;
  const bool by_value = m.args_of(t).size() == 2 && is_value(m, t->args[1]);
  return by_value && (tag == SymbolTag::BV_UDIV || tag == SymbolTag::BV_UREM);
}

}  // namespace

const Term* simplify_bit_comparison(TermManager& m, const Symbol* s, Args args) {
  const auto c = comparison_of(m, s, args);
  if (!c || args[0] == args[1] || (is_value(m, args[0]) && is_value(m, args[1]))) return nullptr;
  if (!m.is_bv_type(m.type_of(args[0]))) return nullptr;
  for (std::size_t i = 0; c->is_equality && i < 2; ++i) {
    if (!is_value(m, args[i])) continue;
    if (const Term* t = solved(m, args[1 - i], args[i])) return t;
    if (const Term* t = simplify_bit_equation(m, args[1 - i], args[i])) return t;
  }
  const bool with_value = is_value(m, args[0]) || is_value(m, args[1]);
  if (!with_value && (!is_informative(m, args[0]) || !is_informative(m, args[1]))) return nullptr;
  if (const Term* t = decided_by_bits(*c)) return t;
  if (const Term* t = compared_sign_extension(*c)) return t;
  if (const Term* t = compared_extended_sum(*c)) return t;
  return compared_slices(*c);
}

}  // namespace quarv::termsimpl::extended
