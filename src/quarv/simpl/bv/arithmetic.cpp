#include <quarv/numbers/gmp_product.h>
#include <quarv/simpl/bv/arithmetic.h>
#include <quarv/simpl/bv/folding.h>

namespace quarv::termsimpl {

namespace {

void multiply(bv::Word& x, bv::Word y) {
  x *= y;
}
void multiply(mpz_class& x, const mpz_class& y) {
  quarv::multiply(x.get_mpz_t(), x.get_mpz_t(), y.get_mpz_t());
}

/// The unsigned quotient, not reduced: all ones are -1.
template <class Value>
void divide(Value& x, const Value& y) {
  if (y == 0) {
    x = -1;
  } else {
    x /= y;
  }
}

/// The unsigned remainder.
template <class Value>
void take_remainder(Value& x, const Value& y) {
  if (y != 0) x %= y;
}

}  // namespace

const Term* BVAddSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_add>(mgr, s, args,
                                                  [](auto& x, const auto& y, std::size_t) { x += y; });
}

const Term* BVSubSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_sub>(mgr, s, args,
                                                  [](auto& x, const auto& y, std::size_t) { x -= y; });
}

const Term* BVMulSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_mul>(
      mgr, s, args, [](auto& x, const auto& y, std::size_t) { multiply(x, y); });
}

const Term* BVNegSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_unary<&TermManager::is_bv_neg>(mgr, s, args, [](auto& x, std::size_t) { x = -x; });
}

const Term* BVUdivSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_udiv>(mgr, s, args,
                                                   [](auto& x, const auto& y, std::size_t) { divide(x, y); });
}

const Term* BVUremSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_urem>(
      mgr, s, args, [](auto& x, const auto& y, std::size_t) { take_remainder(x, y); });
}

const Term* BVSdivSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_sdiv>(mgr, s, args, [](auto& x, auto& y, std::size_t w) {
    const bool negative_dividend = bv::take_magnitude(x, w);
    const bool negative_divisor = bv::take_magnitude(y, w);
    divide(x, y);
    if (negative_dividend != negative_divisor) x = -x;
  });
}

const Term* BVSremSimpl::operator()(TermManager* mgr, const Symbol* s, const std::vector<const Term*>& args) {
  return bv::fold_binary<&TermManager::is_bv_srem>(mgr, s, args, [](auto& x, auto& y, std::size_t w) {
    const bool negative_dividend = bv::take_magnitude(x, w);
    bv::take_magnitude(y, w);
    take_remainder(x, y);
    if (negative_dividend) x = -x;
  });
}

}  // namespace quarv::termsimpl
