#include <bit>
#include <limits>

#include <gmpxx.h>

#include <quarv/numbers/bv_number.h>
#include <quarv/rules/rule_helpers.h>

namespace quarv::rules {

bool is_all_ones(const TermManager* mgr, const Term* t) {
  const QNumber* value = mgr->get_number(t->symbol);
  std::size_t width;
  if (value == nullptr || !get_width(mgr, t, &width)) return false;
  if (value->is_small())
    return width < 64 && static_cast<std::uint64_t>(value->small_num()) == (1UL << width) - 1;
  // A value in range has all bits set exactly when it has as many set bits as the width.
  return mpz_popcount(value->big_num()) == width;
}

bool is_power_of_two(const TermManager* mgr, const Term* t, std::size_t* n) {
  const QNumber* value = mgr->get_number(t->symbol);
  if (value == nullptr) return false;
  if (value->is_small()) {
    const auto word = static_cast<std::uint64_t>(value->small_num());
    if (!std::has_single_bit(word)) return false;
    *n = static_cast<std::size_t>(std::countr_zero(word));
    return true;
  }
  const mpz_srcptr big = value->big_num();
  if (mpz_sgn(big) <= 0 || mpn_popcount(mpz_limbs_read(big), mpz_size(big)) != 1) return false;
  *n = mpz_scan1(big, 0);
  return true;
}

bool sum_fits(const TermManager* mgr, const Term* a, const Term* b, std::size_t width) {
  const QNumber* x = mgr->get_number(a->symbol);
  const QNumber* y = mgr->get_number(b->symbol);
  if (x == nullptr || y == nullptr) return false;
  const QNumber sum = *x + *y;
  if (sum.is_small()) return width >= 63 || sum.small_num() < (1L << width);
  return mpz_sizeinbase(sum.big_num(), 2) <= width;
}

QNumber to_number(std::uint64_t value) {
  if (value <= static_cast<std::uint64_t>(std::numeric_limits<long>::max())) return static_cast<long>(value);
  return QNumber(mpz_class(static_cast<unsigned long>(value)), mpz_class(1));
}

const Term* make_constant(TermManager* mgr, std::int64_t value, std::size_t width) {
  QNumber number;
  BVNumber::twos_complement(QNumber(value), width, &number);
  BVNumber::trim(number, width);
  return mgr->make_bv_number(number, width);
}

}  // namespace quarv::rules
