#include <quarv/numbers/bv_number.h>

namespace quarv {

namespace {

// x = 2^w.
void set_pow2(mpz_ptr x, std::size_t w) {
  mpz_set_ui(x, 1);
  mpz_mul_2exp(x, x, w);
}

}  // namespace

void BVNumber::pow2_big(std::size_t w, QNumber* out) {
  const mpz_ptr power = QNumber::gmp_tmp[0];
  set_pow2(power, w);
  out->set_integer(power);
}

void BVNumber::trim_big(QNumber& x, std::size_t w) {
  if (mpz_sizeinbase(x.big_num(), 2) <= w) return;
  const mpz_ptr rest = QNumber::gmp_tmp[0];
  mpz_fdiv_r_2exp(rest, x.big_num(), w);
  x.set_integer(rest);
}

void BVNumber::neg_big(std::size_t w, const QNumber& x, QNumber* out) {
  const mpz_ptr difference = QNumber::gmp_tmp[1];
  set_pow2(difference, w);
  mpz_sub(difference, difference, numerator(x));
  out->set_integer(difference);
}

void BVNumber::twos_complement_big(const QNumber& x, std::size_t w, QNumber* out) {
  const mpz_ptr sum = QNumber::gmp_tmp[1];
  set_pow2(sum, w);
  mpz_add(sum, sum, numerator(x));
  out->set_integer(sum);
}

void BVNumber::bit_complement_big(const QNumber& x, QNumber* out) {
  const mpz_ptr complement = QNumber::gmp_tmp[0];
  mpz_com(complement, x.big_num());
  out->set_integer(complement);
}

void BVNumber::bit_left_shift_big(const QNumber& x, std::size_t n, QNumber* out) {
  const mpz_ptr product = QNumber::gmp_tmp[0];
  mpz_mul_2exp(product, numerator(x), n);
  out->set_integer(product);
}

void BVNumber::bit_right_shift_big(const QNumber& x, std::size_t n, QNumber* out) {
  const mpz_ptr quotient = QNumber::gmp_tmp[0];
  mpz_fdiv_q_2exp(quotient, x.big_num(), n);
  out->set_integer(quotient);
}

}  // namespace quarv
