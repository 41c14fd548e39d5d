#include <memory>

#include <quarv/numbers/gmp_product.h>
#include <quarv/numbers/q_number.h>

namespace quarv {

namespace {

// What mpz_init makes (GMP 6.2 and later): no memory yet, and a limb that may be read.
mp_limb_t unused_limb = 0;

constexpr mp_limb_t one_limb = 1;
const __mpz_struct integer_one = {0, 1, const_cast<mp_limb_t*>(&one_limb)};

bool is_one(mpz_srcptr x) {
  return mpz_cmp_ui(x, 1) == 0;
}

// sum = x + y, or x - y.
template <bool subtract>
void set_sum(mpz_ptr sum, mpz_srcptr x, mpz_srcptr y) {
  if constexpr (subtract) {
    mpz_sub(sum, x, y);
  } else {
    mpz_add(sum, x, y);
  }
}

// Whether an integer may be a word of a small number.
bool fits_small(mpz_srcptr x) {
  return mpz_size(x) < 2 && mpz_fits_slong_p(x) != 0 && mpz_cmp_si(x, INT64_MIN) != 0;
}

// A pair of integers that the two calls initialise one after the other. GMP throws where the program has told
// it to: what is there is given back when the rest fails.
template <class InitialiseNum, class InitialiseDen>
__mpq_struct* make_block(InitialiseNum initialise_num, InitialiseDen initialise_den) {
  auto block = std::make_unique_for_overwrite<__mpq_struct>();
  initialise_num(mpq_numref(block.get()));
  try {
    initialise_den(mpq_denref(block.get()));
  } catch (...) {
    mpz_clear(mpq_numref(block.get()));
    throw;
  }
  return block.release();
}

}  // namespace

constinit thread_local mpz_t QNumber::gmp_tmp[8] = {
    {{0, 0, &unused_limb}}, {{0, 0, &unused_limb}}, {{0, 0, &unused_limb}}, {{0, 0, &unused_limb}},
    {{0, 0, &unused_limb}}, {{0, 0, &unused_limb}}, {{0, 0, &unused_limb}}, {{0, 0, &unused_limb}}};

namespace {

// Gives the memory of the scratch space back when a thread ends.
struct ScratchOwner {
  bool used = false;

  ~ScratchOwner() {
    for (auto& scratch : QNumber::gmp_tmp) {
      mpz_clear(scratch);
      *scratch = {0, 0, &unused_limb};
    }
  }
};

thread_local ScratchOwner scratch_owner;

}  // namespace

// --- Forms ---

// The words of a big number that is about to get its value.
QNumber::Words QNumber::new_block() {
  scratch_owner.used = true;  // where there are big numbers, the scratch space gets memory
  Block* const block = new Block;
  mpz_init(mpq_numref(block));
  mpz_init(mpq_denref(block));
  return {reinterpret_cast<std::int64_t>(block), 0};
}

// The words of a big number, a copy.
QNumber::Words QNumber::new_block(mpz_srcptr num, mpz_srcptr den) {
  scratch_owner.used = true;
  Block* const block = make_block([num](mpz_ptr part) { mpz_init_set(part, num); },
                                  [den](mpz_ptr part) { mpz_init_set(part, den); });
  return {reinterpret_cast<std::int64_t>(block), 0};
}

// The words of a big integer.
QNumber::Words QNumber::wide_integer(unsigned __int128 size, bool negative) {
  Block* const block = make_block(
      [=](mpz_ptr part) {
        const std::uint64_t words[] = {static_cast<std::uint64_t>(size),
                                       static_cast<std::uint64_t>(size >> 64)};
        mpz_init2(part, 128);
        mpz_import(part, 2, -1, sizeof(std::uint64_t), 0, 0, words);
        if (negative) mpz_neg(part, part);
      },
      [](mpz_ptr part) { mpz_init_set_ui(part, 1); });
  return {reinterpret_cast<std::int64_t>(block), 0};
}

QNumber::QNumber(mpz_srcptr num, mpz_srcptr den, bool canonicalize) : QNumber(new_block(num, den)) {
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
    const Words word{mpz_get_si(value), 1};
    if (den_ == 0) free_block();
    set_words(word);
  } else if (den_ == 0) {
    mpz_set(mpq_numref(block()), value);
    mpz_set_ui(mpq_denref(block()), 1);
  } else {
    *this = QNumber(value, &integer_one, false);
  }
}

void QNumber::become_big(std::int64_t num, std::int64_t den) {
  Block* const block = make_block([num](mpz_ptr part) { mpz_init_set_si(part, num); },
                                  [den](mpz_ptr part) { mpz_init_set_si(part, den); });
  set_words({reinterpret_cast<std::int64_t>(block), 0});
}

void QNumber::free_block() noexcept {
  mpq_clear(block());
  delete block();
}

void QNumber::assign_big(const QNumber& other) {
  if (this == &other) return;
  if (other.den_ != 0) {
    mpz_set_si(mpq_numref(block()), other.num_);
    mpz_set_si(mpq_denref(block()), other.den_);
    return;
  }
  if (den_ != 0) {
    set_words(new_block(other.big_num(), other.big_den()));
    return;
  }
  mpz_set(mpq_numref(block()), other.big_num());
  mpz_set(mpq_denref(block()), other.big_den());
}

// Makes a big number canonical.
void QNumber::reduce_big() {
  const mpz_ptr num = mpq_numref(block());
  const mpz_ptr den = mpq_denref(block());
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
  if (den_ != 0 || !fits_small(big_num()) || !fits_small(big_den())) return *this;
  return QNumber(Words{mpz_get_si(big_num()), mpz_get_si(big_den())});
}

QNumber QNumber::floor() const {
  if (den_ != 0) {
    const std::int64_t quotient = num_ / den_;
    return QNumber(Words{num_ % den_ < 0 ? quotient - 1 : quotient, 1});
  }
  mpz_fdiv_q(gmp_tmp[0], big_num(), big_den());
  return from_integer(gmp_tmp[0]);
}

QNumber QNumber::neg_big() const {
  QNumber result(*this);
  mpz_neg(mpq_numref(result.block()), result.big_num());
  return result;
}

std::size_t QNumber::hash_big() const noexcept {
  if (fits_small(big_num()) && fits_small(big_den())) {
    return hash_words(mpz_get_si(big_num()), mpz_get_si(big_den()));
  }
  auto result = static_cast<std::size_t>(sign());
  for (const mpz_srcptr part : {big_num(), big_den()}) {
    const mp_limb_t* const limbs = mpz_limbs_read(part);
    const std::size_t size = mpz_size(part);
    for (std::size_t i = 0; i < size; ++i) {
      result = hash_words(static_cast<std::int64_t>(result ^ limbs[i]), static_cast<std::int64_t>(2 * i + 1));
    }
  }
  return result;
}

// --- Sums ---

// With g = gcd(b, d), a/b + c/d = (a(d/g) + c(b/g)) / (b(d/g)), in which only a divisor of g can still
// cancel. Returns false if an operand is big or a step does not fit.
template <bool subtract>
bool QNumber::small_sum(const QNumber& x, const QNumber& y, Words* sum) {
  if (x.den_ == 0 || y.den_ == 0) return false;
  const auto g = static_cast<std::int64_t>(cached_gcd(magnitude(x.den_), magnitude(y.den_)));
  const std::int64_t b = g == 1 ? x.den_ : x.den_ / g;
  const std::int64_t d = g == 1 ? y.den_ : y.den_ / g;
  std::int64_t left, right, num;
  if (!word_product(x.num_, d, &left) || !word_product(y.num_, b, &right) ||
      !word_sum<subtract>(left, right, &num)) {
    return false;
  }
  const auto cancelled = g == 1 ? 1 : static_cast<std::int64_t>(cached_gcd(magnitude(num), magnitude(g)));
  sum->num = cancelled == 1 ? num : num / cancelled;
  return sum->num != INT64_MIN && word_product(cancelled == 1 ? y.den_ : y.den_ / cancelled, b, &sum->den);
}

template <bool subtract>
void QNumber::add_general(const QNumber& y) {
  if (Words sum; small_sum<subtract>(*this, y, &sum)) {
    set_words(sum);
  } else if (y.den_ == 0) {
    become_big();
    big_sum<subtract>(block(), y.block(), block());
  } else {
    const Words words = y.words();  // y may be this number, which changes its form
    become_big();
    add_words<subtract>(words);
  }
}

template void QNumber::add_general<false>(const QNumber&);
template void QNumber::add_general<true>(const QNumber&);

template <bool subtract>
QNumber::Words QNumber::sum_general(const QNumber& x, const QNumber& y) {
  if (Words sum; small_sum<subtract>(x, y, &sum)) return sum;
  if (x.den_ == 0 && y.den_ == 0) {
    QNumber sum(new_block());
    big_sum<subtract>(x.block(), y.block(), sum.block());
    return sum.release();
  }
  QNumber sum(x);
  sum.add_general<subtract>(y);
  return sum.release();
}

template QNumber::Words QNumber::sum_general<false>(const QNumber&, const QNumber&);
template QNumber::Words QNumber::sum_general<true>(const QNumber&, const QNumber&);

// Adds a small number to this big one.
template <bool subtract>
void QNumber::add_words(Words y) {
  const mpz_ptr a = mpq_numref(block());
  const mpz_ptr b = mpq_denref(block());
  const std::uint64_t c = magnitude(y.num);
  const bool decrease = (y.num < 0) != subtract;
  if (y.den == 1 && is_one(b)) {
    decrease ? mpz_sub_ui(a, a, c) : mpz_add_ui(a, a, c);
    return;
  }
  const std::uint64_t d = magnitude(y.den);
  const std::uint64_t g = mpz_gcd_ui(nullptr, b, d);
  if (g != 1) mpz_divexact_ui(b, b, g);
  if (d != g) mpz_mul_ui(a, a, d / g);
  decrease ? mpz_submul_ui(a, b, c) : mpz_addmul_ui(a, b, c);
  const std::uint64_t cancelled = g == 1 ? 1 : mpz_gcd_ui(nullptr, a, g);
  if (cancelled != 1) mpz_divexact_ui(a, a, cancelled);
  if (d != cancelled) mpz_mul_ui(b, b, d / cancelled);
}

// The sum, in the same steps as for words. It may replace an operand.
template <bool subtract>
void QNumber::big_sum(mpq_srcptr x, mpq_srcptr y, mpq_ptr sum) {
  const mpz_srcptr b = mpq_denref(x);
  const mpz_srcptr d = mpq_denref(y);
  const mpz_ptr num = mpq_numref(sum);
  const mpz_ptr den = mpq_denref(sum);
  if (is_one(b) && is_one(d)) {
    set_sum<subtract>(num, mpq_numref(x), mpq_numref(y));
    mpz_set_ui(den, 1);
    return;
  }
  const mpz_ptr g = gmp_tmp[0];
  const mpz_ptr left = gmp_tmp[1];
  const mpz_ptr right = gmp_tmp[2];
  const mpz_ptr rest = gmp_tmp[3];
  mpz_gcd(g, b, d);
  if (is_one(g)) {
    multiply(left, mpq_numref(x), d);
    multiply(right, mpq_numref(y), b);
    set_sum<subtract>(num, left, right);
    multiply(den, b, d);
    return;
  }
  mpz_divexact(rest, d, g);
  multiply(left, mpq_numref(x), rest);
  mpz_divexact(rest, b, g);
  multiply(right, mpq_numref(y), rest);
  set_sum<subtract>(num, left, right);
  mpz_gcd(g, num, g);
  if (is_one(g)) {
    multiply(den, d, rest);
    return;
  }
  mpz_divexact(num, num, g);
  mpz_divexact(left, d, g);
  multiply(den, left, rest);
}

// --- Products ---

// Each numerator is cancelled with the other denominator, which leaves nothing to cancel in the product.
// Returns false if an operand is big or a product does not fit.
bool QNumber::small_product(const QNumber& x, const QNumber& y, Words* product) {
  if (x.den_ == 0 || y.den_ == 0) return false;
  const auto g1 = static_cast<std::int64_t>(cached_gcd(magnitude(x.num_), magnitude(y.den_)));
  const auto g2 = static_cast<std::int64_t>(cached_gcd(magnitude(y.num_), magnitude(x.den_)));
  return word_product(x.num_ / g1, y.num_ / g2, &product->num) &&
         word_product(x.den_ / g2, y.den_ / g1, &product->den);
}

void QNumber::mul_general(const QNumber& y) {
  if (Words product; small_product(*this, y, &product)) {
    set_words(product);
  } else if (y.den_ == 0) {
    become_big();
    big_product(block(), y.big_num(), y.big_den(), block());
  } else {
    const Words words = y.words();  // y may be this number, which changes its form
    become_big();
    mul_words(words);
  }
}

QNumber::Words QNumber::product_general(const QNumber& x, const QNumber& y) {
  if (Words product; small_product(x, y, &product)) return product;
  if (x.den_ == 0 && y.den_ == 0) {
    QNumber product(new_block());
    big_product(x.block(), y.big_num(), y.big_den(), product.block());
    return product.release();
  }
  QNumber product(x.den_ == 0 ? x : y);
  product.mul_general(x.den_ == 0 ? y : x);
  return product.release();
}

// Multiplies this big number by a small one.
void QNumber::mul_words(Words y) {
  const mpz_ptr a = mpq_numref(block());
  const mpz_ptr b = mpq_denref(block());
  if (y.num == 0) {
    mpz_set_ui(a, 0);
    mpz_set_ui(b, 1);
    return;
  }
  const std::uint64_t d = magnitude(y.den);
  const std::uint64_t g1 = d == 1 ? 1 : mpz_gcd_ui(nullptr, a, d);
  const std::uint64_t g2 = is_one(b) ? 1 : mpz_gcd_ui(nullptr, b, magnitude(y.num));
  if (g1 != 1) mpz_divexact_ui(a, a, g1);
  if (g2 != 1) mpz_divexact_ui(b, b, g2);
  mpz_mul_si(a, a, y.num / static_cast<std::int64_t>(g2));
  if (d != g1) mpz_mul_ui(b, b, d / g1);
}

// The product of x and num/den, in the same steps as for words. It may replace an operand. The factor need
// not be in one piece, and its denominator may be negative.
void QNumber::big_product(mpq_srcptr x, mpz_srcptr num, mpz_srcptr den, mpq_ptr product) {
  const auto cancel = [](mpz_srcptr* a, mpz_srcptr* d, mpz_ptr a_rest, mpz_ptr d_rest) {
    if (is_one(*d)) return;
    const mpz_ptr g = gmp_tmp[0];
    mpz_gcd(g, *a, *d);
    if (is_one(g)) return;
    mpz_divexact(a_rest, *a, g);
    mpz_divexact(d_rest, *d, g);
    *a = a_rest;
    *d = d_rest;
  };
  mpz_srcptr x_num = mpq_numref(x);
  mpz_srcptr x_den = mpq_denref(x);
  if (x_num != num) {  // the square of a reduced fraction is reduced
    cancel(&x_num, &den, gmp_tmp[1], gmp_tmp[2]);
    cancel(&num, &x_den, gmp_tmp[3], gmp_tmp[4]);
  }
  multiply(mpq_numref(product), x_num, num);
  if (is_one(x_den)) {
    mpz_set(mpq_denref(product), den);
  } else {
    multiply(mpq_denref(product), x_den, den);
  }
  if (mpz_sgn(mpq_denref(product)) < 0) {
    mpz_neg(mpq_numref(product), mpq_numref(product));
    mpz_neg(mpq_denref(product), mpq_denref(product));
  }
}

QNumber& QNumber::div_big(const QNumber& y) {
  if (this == &y) return *this = QNumber(&integer_one, &integer_one, false);
  become_big();
  big_product(block(), y.big_den(), y.big_num(), block());
  return *this;
}

// Adds a product with a big factor. Integers, the usual case, need no number for the product.
void QNumber::addmul_big(const QNumber& a, const QNumber& b) {
  if (!is_integer() || !a.is_integer() || !b.is_integer()) {
    *this += a * b;
    return;
  }
  const QNumber& big = a.den_ == 0 ? a : b;
  const QNumber& other = a.den_ == 0 ? b : a;
  if (other.den_ == 0) {
    become_big();
    mpz_addmul(mpq_numref(block()), big.big_num(), other.big_num());
    return;
  }
  const std::int64_t factor = other.num_;  // it may be that of this number, which changes its form
  become_big();
  if (factor < 0) {
    mpz_submul_ui(mpq_numref(block()), big.big_num(), magnitude(factor));
  } else {
    mpz_addmul_ui(mpq_numref(block()), big.big_num(), magnitude(factor));
  }
}

// --- Integers ---

void QNumber::divmod_big(const QNumber& d, QNumber& q, QNumber& r) const {
  const mpz_ptr quotient = gmp_tmp[0];
  const mpz_ptr remainder = gmp_tmp[1];
  const auto numerator = [](const QNumber& x, mpz_ptr scratch) -> mpz_srcptr {
    if (x.den_ == 0) return x.big_num();
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
    mpz_gcd(gmp_tmp[0], a.big_num(), b.big_num());
    return QNumber(gmp_tmp[0], &integer_one, false);
  }
  const QNumber& big = a.den_ == 0 ? a : b;
  const std::int64_t small = a.den_ == 0 ? b.num_ : a.num_;
  if (small == 0) return big.sign() < 0 ? big.neg() : big;
  return QNumber(Words{static_cast<std::int64_t>(mpz_gcd_ui(nullptr, big.big_num(), magnitude(small))), 1});
}

QNumber QNumber::lcm_big(const QNumber& a, const QNumber& b) {
  const mpz_ptr multiple = gmp_tmp[0];
  if (a.den_ != 0 && b.den_ != 0) {
    mpz_set_si(multiple, a.num_);
    mpz_lcm_ui(multiple, multiple, magnitude(b.num_));
    return from_integer(multiple);
  }
  if (a.den_ == 0 && b.den_ == 0) {
    reserve_limbs(multiple, mpz_size(a.big_num()) + mpz_size(b.big_num()));  // it ends with a product
    mpz_lcm(multiple, a.big_num(), b.big_num());
  } else {
    const QNumber& big = a.den_ == 0 ? a : b;
    const QNumber& small = a.den_ == 0 ? b : a;
    mpz_lcm_ui(multiple, big.big_num(), magnitude(small.num_));
  }
  return QNumber(multiple, &integer_one, false);
}

// --- Comparisons ---

bool QNumber::equal_big(const QNumber& a, const QNumber& b) {
  if (a.den_ == 0 && b.den_ == 0) return mpq_equal(a.block(), b.block()) != 0;
  const QNumber& big = a.den_ == 0 ? a : b;
  const QNumber& small = a.den_ == 0 ? b : a;
  return mpz_cmp_si(big.big_num(), small.num_) == 0 && mpz_cmp_si(big.big_den(), small.den_) == 0;
}

// The sign of a - b, of which one at least is big.
int QNumber::compare_big(const QNumber& a, const QNumber& b) {
  if (a.den_ == 0 && b.den_ == 0) return mpq_cmp(a.block(), b.block());
  const QNumber& big = a.den_ == 0 ? a : b;
  const QNumber& small = a.den_ == 0 ? b : a;
  const int order = mpq_cmp_si(big.block(), small.num_, magnitude(small.den_));
  return a.den_ == 0 ? order : -order;
}

}  // namespace quarv
