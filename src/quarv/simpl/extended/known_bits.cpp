#include <algorithm>

#include <quarv/simpl/extended/bit_slices.h>
#include <quarv/simpl/extended/known_bits.h>

namespace quarv::termsimpl::extended {

namespace {

using Word = KnownBits::Word;

constexpr Word all_ones = ~Word{0};

Word low_bits(std::size_t n) {
  return n >= KnownBits::most_bits ? all_ones : (Word{1} << n) - 1;
}

std::size_t leading_zeros(Word x) {
  std::size_t n = 0;
  for (std::size_t step = KnownBits::most_bits / 2; step > 0; step /= 2) {
    if ((x >> (KnownBits::most_bits - n - step)) == 0) n += step;
  }
  return std::min(n, KnownBits::most_bits);
}

/// Nothing is known of a number but that it is no larger than this.
KnownBits at_most(Word greatest) {
  const std::size_t n = greatest == 0 ? KnownBits::most_bits : leading_zeros(greatest);
  return {~low_bits(KnownBits::most_bits - n), 0};
}

/// Looks at a bounded number of terms.
class Analysis {
 public:
  explicit Analysis(const TermManager& m) : m_(m) {}

  KnownBits of(const Term* t, int depth) {
    const std::size_t width = width_of(m_, t);
    const Word beyond = ~low_bits(width);
    if (const QNumber* value = m_.get_number(t)) {
      const Word word = word_of(*value);
      return {~word, word};
    }
    if (width > KnownBits::most_bits || depth == 0 || m_.args_of(t).empty() || --terms_left_ < 0) {
      return {beyond, 0};
    }
    KnownBits known = of_application(t, width, depth - 1);
    known.zeros |= beyond;
    known.ones &= ~beyond;
    return known;
  }

 private:
  KnownBits of_application(const Term* t, std::size_t width, int depth);
  KnownBits of_shift(const Term* t, std::size_t width, int depth);
  KnownBits of_product(const Term* t, int depth);
  KnownBits of_division(const Term* t, int depth);
  KnownBits of_extension(const Term* t, std::size_t width, int depth);

  /// a + b + carry, bit by bit: what carries must be, and may be.
  static KnownBits sum(const KnownBits& a, const KnownBits& b, Word carry) {
    const Word greatest = ~a.zeros + ~b.zeros + carry;
    const Word least = a.ones + b.ones + carry;
    const Word no_carry = ~(greatest ^ a.zeros ^ b.zeros);
    const Word some_carry = least ^ a.ones ^ b.ones;
    const Word known = (a.zeros | a.ones) & (b.zeros | b.ones) & (no_carry | some_carry);
    return {~greatest & known, least & known};
  }
  static KnownBits complement(const KnownBits& a, std::size_t width) {
    return {a.ones | ~low_bits(width), a.zeros & low_bits(width)};
  }

  const TermManager& m_;
  int terms_left_ = 24;
};

KnownBits Analysis::of_extension(const Term* t, std::size_t width, int depth) {
  const Term* arg = t->args[0];
  const KnownBits a = of(arg, depth);
  const std::size_t inner = width_of(m_, arg);
  if (m_.get_tag(t->symbol) == SymbolTag::BV_ZEXT) return a;
  const Word added = low_bits(width) & ~low_bits(inner);
  const Word sign = Word{1} << (inner - 1);
  if ((a.zeros & sign) != 0) return a;
  if ((a.ones & sign) != 0) return {a.zeros & ~added, a.ones | added};
  return {a.zeros & ~added, a.ones};
}

KnownBits Analysis::of_shift(const Term* t, std::size_t width, int depth) {
  const SymbolTag::tag tag = m_.get_tag(t->symbol);
  std::size_t n = 0;
  const KnownBits a = of(t->args[0], depth);
  if (!is_amount_below(m_, t->args[1], width, &n)) {
    return tag == SymbolTag::BV_LSR ? at_most(a.greatest()) : KnownBits{};
  }
  const Word mask = low_bits(width);
  if (tag == SymbolTag::BV_LSL) return {(a.zeros << n) | low_bits(n), (a.ones << n) & mask};
  const Word vacant = mask & ~(mask >> n);
  const Word sign = Word{1} << (width - 1);
  if (tag == SymbolTag::BV_LSR || (a.zeros & sign) != 0)
    return {((a.zeros & mask) >> n) | vacant, a.ones >> n};
  if ((a.ones & sign) != 0) return {(a.zeros & mask) >> n, (a.ones >> n) | vacant};
  return {(a.zeros & mask) >> n & ~vacant, a.ones >> n};
}

KnownBits Analysis::of_product(const Term* t, int depth) {
  const KnownBits a = of(t->args[0], depth);
  const KnownBits b = of(t->args[1], depth);
  std::size_t trailing = 0;
  for (const KnownBits* x : {&a, &b}) {
    Word zeros = x->zeros;
    for (; (zeros & 1) != 0 && trailing < KnownBits::most_bits; zeros >>= 1) ++trailing;
  }
  KnownBits product{low_bits(trailing), 0};
  const std::size_t leading = leading_zeros(a.greatest()) + leading_zeros(b.greatest());
  if (leading > KnownBits::most_bits) {
    product.zeros |= ~low_bits(2 * KnownBits::most_bits - leading);
  }
  return product;
}

/// A quotient is no larger than the dividend, a remainder smaller than the divisor too, unless that is 0.
KnownBits Analysis::of_division(const Term* t, int depth) {
  const KnownBits a = of(t->args[0], depth);
  const bool remainder = m_.get_tag(t->symbol) == SymbolTag::BV_UREM;
  const KnownBits b = of(t->args[1], depth);
  if (b.least() == 0) return remainder ? at_most(a.greatest()) : KnownBits{};
  if (remainder) return at_most(std::min(a.greatest(), b.greatest() - 1));
  return at_most(a.greatest() / b.least());
}

KnownBits Analysis::of_application(const Term* t, std::size_t width, int depth) {
  const Term* const* args = t->args;
  std::size_t offset = 0;
  switch (m_.get_tag(t->symbol)) {
    case SymbolTag::BV_CONCAT: {
      const std::size_t n = width_of(m_, args[1]);
      const KnownBits high = of(args[0], depth);
      const KnownBits low = of(args[1], depth);
      return {(high.zeros << n) | (low.zeros & low_bits(n)), (high.ones << n) | low.ones};
    }
    case SymbolTag::BV_SELECT: {
      if (width_of(m_, args[0]) > KnownBits::most_bits) return {};
      m_.is_bv_extract(t->symbol, nullptr, &offset, nullptr);
      const KnownBits a = of(args[0], depth);
      return {a.zeros >> offset, a.ones >> offset};
    }
    case SymbolTag::BV_ZEXT:
    case SymbolTag::BV_SEXT:
      return of_extension(t, width, depth);
    case SymbolTag::BV_NOT:
      return complement(of(args[0], depth), width);
    case SymbolTag::BV_AND: {
      const KnownBits a = of(args[0], depth);
      const KnownBits b = of(args[1], depth);
      return {a.zeros | b.zeros, a.ones & b.ones};
    }
    case SymbolTag::BV_OR: {
      const KnownBits a = of(args[0], depth);
      const KnownBits b = of(args[1], depth);
      return {a.zeros & b.zeros, a.ones | b.ones};
    }
    case SymbolTag::BV_XOR: {
      const KnownBits a = of(args[0], depth);
      const KnownBits b = of(args[1], depth);
      return {(a.zeros & b.zeros) | (a.ones & b.ones), (a.zeros & b.ones) | (a.ones & b.zeros)};
    }
    case SymbolTag::BV_ADD: {
      const KnownBits a = of(args[0], depth);
      return sum(a, of(args[1], depth), 0);
    }
    case SymbolTag::BV_SUB: {
      const KnownBits a = of(args[0], depth);
      return sum(a, complement(of(args[1], depth), width), 1);
    }
    case SymbolTag::BV_NEG:
      return sum({all_ones, 0}, complement(of(args[0], depth), width), 1);
    case SymbolTag::BV_MUL:
      return of_product(t, depth);
    case SymbolTag::BV_UDIV:
    case SymbolTag::BV_UREM:
      return of_division(t, depth);
    case SymbolTag::BV_LSL:
    case SymbolTag::BV_LSR:
    case SymbolTag::BV_ASR:
      return of_shift(t, width, depth);
    case SymbolTag::TERM_ITE: {
      const KnownBits a = of(args[1], depth);
      const KnownBits b = of(args[2], depth);
      return {a.zeros & b.zeros, a.ones & b.ones};
    }
    default:
      return {};
  }
}

}  // namespace

KnownBits::Word word_of(const QNumber& value) {
  if (value.is_small()) return static_cast<Word>(value.small_num());
  Word word = 0;
  if (mpz_sizeinbase(value.big_num(), 2) <= KnownBits::most_bits) {
    mpz_export(&word, nullptr, -1, sizeof word, 0, 0, value.big_num());
  }
  return word;
}

KnownBits KnownBits::with_sign_flipped(std::size_t width) const {
  const Word sign = Word{1} << (width - 1);
  const Word zero = zeros & sign;
  const Word one = ones & sign;
  return {(zeros & ~sign) | one, (ones & ~sign) | zero};
}

std::optional<KnownBits> KnownBits::of(const TermManager& m, const Term* t) {
  constexpr int deepest = 8;
  if (width_of(m, t) > most_bits) return std::nullopt;
  return Analysis(m).of(t, deepest);
}

}  // namespace quarv::termsimpl::extended
