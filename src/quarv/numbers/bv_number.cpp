#include <quarv/numbers/bv_number.h>

namespace quarv {

namespace {

/// A copy of a big number to compute with.
mpz_ptr copy(mpz_srcptr x) {
  const mpz_ptr scratch = QNumber::gmp_tmp[0];
  if (x != scratch) mpz_set(scratch, x);
  return scratch;
}

}  // namespace

void BVNumber::pow2_big(std::size_t w, QNumber* out) {
  const mpz_ptr power = QNumber::gmp_tmp[0];
  bits::set_power(power, w);
  out->set_integer(power);
}

void BVNumber::trim_big(QNumber& x, std::size_t w) {
  if (mpz_sizeinbase(x.big_num(), 2) > w) residue_big(x, w, &x);
}

void BVNumber::neg_big(std::size_t w, const QNumber& x, QNumber* out) {
  const mpz_ptr difference = QNumber::gmp_tmp[1];
  bits::set_power(difference, w);
  bits::subtract(difference, numerator(x));
  out->set_integer(difference);
}

void BVNumber::twos_complement_big(const QNumber& x, std::size_t w, QNumber* out) {
  const mpz_ptr sum = QNumber::gmp_tmp[1];
  bits::set_power(sum, w);
  bits::add(sum, numerator(x));
  out->set_integer(sum);
}

void BVNumber::signed_value_big(const QNumber& x, std::size_t w, QNumber* out) {
  const mpz_ptr value = copy(x.big_num());
  bits::sign_extend(value, w);
  out->set_integer(value);
}

void BVNumber::residue_big(const QNumber& x, std::size_t w, QNumber* out) {
  const mpz_ptr rest = copy(numerator(x));
  bits::reduce(rest, w);
  out->set_integer(rest);
}

void BVNumber::bit_complement_big(const QNumber& x, QNumber* out) {
  const mpz_ptr complement = copy(x.big_num());
  bits::complement(complement);
  out->set_integer(complement);
}

void BVNumber::bit_left_shift_big(const QNumber& x, std::size_t n, QNumber* out) {
  const mpz_ptr product = copy(numerator(x));
  bits::shift_left(product, n);
  out->set_integer(product);
}

void BVNumber::bit_right_shift_big(const QNumber& x, std::size_t n, QNumber* out) {
  const mpz_ptr quotient = copy(x.big_num());
  bits::shift_right_signed(quotient, n);
  out->set_integer(quotient);
}

}  // namespace quarv
