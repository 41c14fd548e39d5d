#include <memory>

#include <quarv/numbers/q_number.h>

namespace quarv {

namespace {

// What mpz_init makes (GMP 6.2 and later): no memory yet, and a limb that may be read.
mp_limb_t unused_limb = 0;

constexpr mp_limb_t one_limb = 1;
const __mpz_struct integer_one = {0, 1, const_cast<mp_limb_t*>(&one_limb)};

// The magnitude of a word that is not -2^63.
unsigned long magnitude_of(long x) {
  return x < 0 ? -static_cast<unsigned long>(x) : static_cast<unsigned long>(x);
}

bool is_one(mpz_srcptr x) {
  return mpz_cmp_ui(x, 1) == 0;
}

// x += y, or x -= y.
template <bool subtract>
void accumulate(mpz_ptr x, mpz_srcptr y) {
  if constexpr (subtract) {
    mpz_sub(x, x, y);
  } else {
    mpz_add(x, x, y);
  }
}

// Whether an integer may be a word of a small number.
bool fits_small(mpz_srcptr x) {
  return mpz_fits_slong_p(x) != 0 && mpz_cmp_si(x, LONG_MIN) != 0;
}

}  // namespace

constinit mpz_t QNumber::gmp_tmp[8] = {{{0, 0, &unused_limb}}, {{0, 0, &unused_limb}}, {{0, 0, &unused_limb}},
                                       {{0, 0, &unused_limb}}, {{0, 0, &unused_limb}}, {{0, 0, &unused_limb}},
                                       {{0, 0, &unused_limb}}, {{0, 0, &unused_limb}}};

// --- Forms
// -----------------------------------------------------------------------------------------------------

QNumber::QNumber(mpz_srcptr num, mpz_srcptr den, bool canonicalize) : block_(new Block), den_(0) {
  mpz_init_set(block_->num, num);
  mpz_init_set(block_->den, den);
  if (canonicalize) reduce_big();
}

QNumber::QNumber(const mpz_class& num, const mpz_class& den) : QNumber() {
  if (num.fits_sint_p() && den.fits_sint_p()) {
    *this = QNumber(num.get_si(), den.get_si());
  } else {
    *this = QNumber(num.get_mpz_t(), den.get_mpz_t(), true);
  }
}

QNumber QNumber::from_integer(mpz_srcptr value) {
  if (fits_small(value)) return QNumber(mpz_get_si(value));
  return QNumber(value, &integer_one, false);
}

void QNumber::set_integer(mpz_srcptr value) {
  if (fits_small(value)) {
    const long word = mpz_get_si(value);
    if (den_ == 0) free_block();
    num_ = word;
    den_ = 1;
  } else if (den_ == 0) {
    mpz_set(block_->num, value);
    mpz_set_ui(block_->den, 1);
  } else {
    *this = QNumber(value, &integer_one, false);
  }
}

void QNumber::become_big(long num, long den) {
  Block* const block = new Block;
  mpz_init_set_si(block->num, num);
  mpz_init_set_si(block->den, den);
  block_ = block;
  den_ = 0;
}

void QNumber::copy_block(const QNumber& other) {
  Block* const block = new Block;
  mpz_init_set(block->num, other.block_->num);
  mpz_init_set(block->den, other.block_->den);
  block_ = block;
}

void QNumber::free_block() noexcept {
  mpz_clear(block_->num);
  mpz_clear(block_->den);
  delete block_;
}

void QNumber::assign_big(const QNumber& other) {
  if (this == &other) return;
  if (other.den_ != 0) {
    mpz_set_si(block_->num, other.num_);
    mpz_set_si(block_->den, other.den_);
    return;
  }
  if (den_ != 0) {
    copy_block(other);
    den_ = 0;
    return;
  }
  mpz_set(block_->num, other.block_->num);
  mpz_set(block_->den, other.block_->den);
}

// Makes a big number canonical.
void QNumber::reduce_big() {
  const mpz_ptr num = block_->num;
  const mpz_ptr den = block_->den;
  if (mpz_sgn(num) == 0) {
    mpz_set_ui(den, 1);
    return;
  }
  if (mpz_cmpabs_ui(den, 1) != 0) {
    const mpz_ptr divisor = gmp_tmp[0];
    mpz_gcd(divisor, num, den);
    if (!is_one(divisor)) {
      mpz_divexact(num, num, divisor);
      mpz_divexact(den, den, divisor);
    }
  }
  if (mpz_sgn(den) < 0) {
    mpz_neg(num, num);
    mpz_neg(den, den);
  }
}

QNumber QNumber::demoted() const {
  if (den_ != 0 || !fits_small(block_->num) || !fits_small(block_->den)) return *this;
  return QNumber(Words{mpz_get_si(block_->num), mpz_get_si(block_->den)});
}

QNumber QNumber::floor() const {
  if (den_ != 0) {
    const long quotient = num_ / den_;
    return QNumber(Words{num_ % den_ < 0 ? quotient - 1 : quotient, 1});
  }
  mpz_fdiv_q(gmp_tmp[0], block_->num, block_->den);
  return from_integer(gmp_tmp[0]);
}

QNumber QNumber::neg_big() const {
  QNumber result(*this);
  mpz_neg(result.block_->num, result.block_->num);
  return result;
}

std::size_t QNumber::hash_big() const {
  if (fits_small(block_->num) && fits_small(block_->den)) {
    return hash_words(mpz_get_si(block_->num), mpz_get_si(block_->den));
  }
  std::size_t result = static_cast<std::size_t>(mpz_sgn(block_->num));
  for (const mpz_srcptr part : {static_cast<mpz_srcptr>(block_->num), static_cast<mpz_srcptr>(block_->den)}) {
    const mp_limb_t* const limbs = mpz_limbs_read(part);
    const std::size_t size = mpz_size(part);
    for (std::size_t i = 0; i < size; ++i) {
      result = hash_words(static_cast<long>(result ^ limbs[i]), static_cast<long>(2 * i + 1));
    }
  }
  return result;
}

// --- Sums
// ------------------------------------------------------------------------------------------------------

template <bool subtract>
void QNumber::add_general(const QNumber& y) {
  if (y.den_ == 0) {
    become_big();
    add_block<subtract>(y.block_->num, y.block_->den);
    return;
  }
  const Words words{y.num_, y.den_};  // y may be this number, which changes its form
  become_big();
  add_words<subtract>(words.num, words.den);
}

template void QNumber::add_general<false>(const QNumber&);
template void QNumber::add_general<true>(const QNumber&);

// Adds a small number to this big one.
template <bool subtract>
void QNumber::add_words(long num, long den) {
  const mpz_ptr a = block_->num;
  const mpz_ptr b = block_->den;
  const unsigned long c = magnitude_of(num);
  const bool decrease = (num < 0) != subtract;
  if (den == 1 && is_one(b)) {
    decrease ? mpz_sub_ui(a, a, c) : mpz_add_ui(a, a, c);
    return;
  }
  const unsigned long d = static_cast<unsigned long>(den);
  const unsigned long g = mpz_gcd_ui(nullptr, b, d);
  if (g != 1) mpz_divexact_ui(b, b, g);
  mpz_mul_ui(a, a, d / g);
  decrease ? mpz_submul_ui(a, b, c) : mpz_addmul_ui(a, b, c);
  const unsigned long cancelled = g == 1 ? 1 : mpz_gcd_ui(nullptr, a, g);
  if (cancelled != 1) mpz_divexact_ui(a, a, cancelled);
  mpz_mul_ui(b, b, d / cancelled);
}

// Adds num/den to this big number. The operands may be parts of this number.
template <bool subtract>
void QNumber::add_block(mpz_srcptr num, mpz_srcptr den) {
  const mpz_ptr a = block_->num;
  const mpz_ptr b = block_->den;
  if (is_one(b) && is_one(den)) {
    accumulate<subtract>(a, num);
    return;
  }
  const mpz_ptr g = gmp_tmp[0];
  const mpz_ptr term = gmp_tmp[1];
  mpz_gcd(g, b, den);
  if (is_one(g)) {
    mpz_mul(term, num, b);
    mpz_mul(a, a, den);
    accumulate<subtract>(a, term);
    mpz_mul(b, b, den);
    return;
  }
  const mpz_ptr b_rest = gmp_tmp[2];
  const mpz_ptr d_rest = gmp_tmp[3];
  mpz_divexact(b_rest, b, g);
  mpz_divexact(d_rest, den, g);
  mpz_mul(term, num, b_rest);
  mpz_mul(a, a, d_rest);
  accumulate<subtract>(a, term);
  mpz_gcd(g, a, g);
  if (is_one(g)) {
    mpz_mul(b, den, b_rest);
    return;
  }
  mpz_divexact(a, a, g);
  mpz_divexact(d_rest, den, g);
  mpz_mul(b, d_rest, b_rest);
}

// --- Products
// --------------------------------------------------------------------------------------------------

void QNumber::mul_general(const QNumber& y) {
  if (y.den_ == 0) {
    become_big();
    mul_block(y.block_->num, y.block_->den);
    return;
  }
  const Words words{y.num_, y.den_};  // y may be this number, which changes its form
  become_big();
  mul_words(words.num, words.den);
}

// Multiplies this big number by a small one.
void QNumber::mul_words(long num, long den) {
  const mpz_ptr a = block_->num;
  const mpz_ptr b = block_->den;
  if (num == 0) {
    mpz_set_ui(a, 0);
    mpz_set_ui(b, 1);
    return;
  }
  const unsigned long d = static_cast<unsigned long>(den);
  const unsigned long g1 = d == 1 ? 1 : mpz_gcd_ui(nullptr, a, d);
  const unsigned long g2 = is_one(b) ? 1 : mpz_gcd_ui(nullptr, b, magnitude_of(num));
  if (g1 != 1) mpz_divexact_ui(a, a, g1);
  if (g2 != 1) mpz_divexact_ui(b, b, g2);
  mpz_mul_si(a, a, num / static_cast<long>(g2));
  if (d != g1) mpz_mul_ui(b, b, d / g1);
}

// Multiplies this big number by num/den, of which num/den or den/num is canonical up to a sign. The operands
// may be the numerator and the denominator of this number, in this order.
void QNumber::mul_block(mpz_srcptr num, mpz_srcptr den) {
  const mpz_ptr a = block_->num;
  const mpz_ptr b = block_->den;
  const bool square = num == a;
  if (!square && !is_one(den)) {
    const mpz_ptr g = gmp_tmp[0];
    mpz_gcd(g, a, den);
    if (!is_one(g)) {
      mpz_divexact(a, a, g);
      mpz_divexact(gmp_tmp[1], den, g);
      den = gmp_tmp[1];
    }
  }
  if (!square && !is_one(b)) {
    const mpz_ptr g = gmp_tmp[0];
    mpz_gcd(g, b, num);
    if (!is_one(g)) {
      mpz_divexact(b, b, g);
      mpz_divexact(gmp_tmp[2], num, g);
      num = gmp_tmp[2];
    }
  }
  mpz_mul(a, a, num);
  if (!is_one(den)) mpz_mul(b, b, den);
  if (mpz_sgn(b) < 0) {
    mpz_neg(a, a);
    mpz_neg(b, b);
  }
}

QNumber& QNumber::div_big(const QNumber& y) {
  become_big();
  if (this == &y) {
    mpz_set_ui(block_->num, 1);
    mpz_set_ui(block_->den, 1);
  } else {
    mul_block(y.block_->den, y.block_->num);
  }
  return *this;
}

void QNumber::addmul_big(const QNumber& a, const QNumber& b) {
  const QNumber& big = a.den_ == 0 ? a : b;
  const QNumber& other = a.den_ == 0 ? b : a;
  const mpz_ptr num = gmp_tmp[4];
  const mpz_ptr den = gmp_tmp[5];
  if (other.den_ != 0) {
    mpz_mul_si(num, big.block_->num, other.num_);
    mpz_mul_si(den, big.block_->den, other.den_);
  } else {
    mpz_mul(num, big.block_->num, other.block_->num);
    mpz_mul(den, big.block_->den, other.block_->den);
  }
  become_big();
  if (is_one(den)) {
    add_block<false>(num, den);
    return;
  }
  mpz_gcd(gmp_tmp[0], num, den);
  mpz_divexact(num, num, gmp_tmp[0]);
  mpz_divexact(den, den, gmp_tmp[0]);
  add_block<false>(num, den);
}

// --- Integers
// --------------------------------------------------------------------------------------------------

void QNumber::divmod_big(const QNumber& d, QNumber& q, QNumber& r) const {
  const mpz_ptr quotient = gmp_tmp[0];
  const mpz_ptr remainder = gmp_tmp[1];
  const auto numerator = [](const QNumber& x, mpz_ptr scratch) -> mpz_srcptr {
    if (x.den_ == 0) return x.block_->num;
    mpz_set_si(scratch, x.num_);
    return scratch;
  };
  const mpz_srcptr dividend = numerator(*this, gmp_tmp[2]);
  const mpz_srcptr divisor = numerator(d, gmp_tmp[3]);
  mpz_fdiv_qr(quotient, remainder, dividend, divisor);
  q.set_integer(quotient);
  r.set_integer(remainder);
}

QNumber QNumber::gcd_big(const QNumber& a, const QNumber& b) {
  if (a.den_ == 0 && b.den_ == 0) {
    mpz_gcd(gmp_tmp[0], a.block_->num, b.block_->num);
    return QNumber(gmp_tmp[0], &integer_one, false);
  }
  const QNumber& big = a.den_ == 0 ? a : b;
  const long small = a.den_ == 0 ? b.num_ : a.num_;
  if (small == 0) return big.sign() < 0 ? big.neg() : big;
  return QNumber(Words{static_cast<long>(mpz_gcd_ui(nullptr, big.block_->num, magnitude(small))), 1});
}

QNumber QNumber::lcm_big(const QNumber& a, const QNumber& b) {
  const mpz_ptr multiple = gmp_tmp[0];
  if (a.den_ != 0 && b.den_ != 0) {
    mpz_set_si(multiple, a.num_);
    mpz_lcm_ui(multiple, multiple, magnitude(b.num_));
    return from_integer(multiple);
  }
  if (a.den_ == 0 && b.den_ == 0) {
    mpz_lcm(multiple, a.block_->num, b.block_->num);
  } else {
    const QNumber& big = a.den_ == 0 ? a : b;
    const QNumber& small = a.den_ == 0 ? b : a;
    mpz_lcm_ui(multiple, big.block_->num, magnitude(small.num_));
  }
  return QNumber(multiple, &integer_one, false);
}

// --- Comparisons
// -----------------------------------------------------------------------------------------------

bool QNumber::equal_big(const QNumber& a, const QNumber& b) {
  if (a.den_ == 0 && b.den_ == 0) {
    return mpz_cmp(a.block_->num, b.block_->num) == 0 && mpz_cmp(a.block_->den, b.block_->den) == 0;
  }
  const QNumber& big = a.den_ == 0 ? a : b;
  const QNumber& small = a.den_ == 0 ? b : a;
  return mpz_cmp_si(big.block_->num, small.num_) == 0 && mpz_cmp_si(big.block_->den, small.den_) == 0;
}

// The sign of a - b; at least one is big.
int QNumber::compare_big(const QNumber& a, const QNumber& b) {
  if (a.den_ != 0) return -compare_big(b, a);
  const mpz_srcptr num = a.block_->num;
  const mpz_srcptr den = a.block_->den;
  const mpz_ptr left = gmp_tmp[0];
  const mpz_ptr right = gmp_tmp[1];
  if (b.den_ != 0) {
    if (b.den_ == 1 && is_one(den)) return mpz_cmp_si(num, b.num_);
    mpz_mul_si(left, num, b.den_);
    mpz_mul_si(right, den, b.num_);
    return mpz_cmp(left, right);
  }
  if (mpz_cmp(den, b.block_->den) == 0) return mpz_cmp(num, b.block_->num);
  mpz_mul(left, num, b.block_->den);
  mpz_mul(right, b.block_->num, den);
  return mpz_cmp(left, right);
}

}  // namespace quarv
