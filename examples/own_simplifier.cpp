// A simplifier of one's own for one operator: unsigned division by a power of two becomes a shift. What it
// leaves alone, the standard simplifier of the operator gets, from a second registry.
#include <bit>
#include <iostream>

#include <quarv/quarv.h>
#include <quarv/smtlib.h>

namespace {

class DivisionByShift : public quarv::StdTermSimplifier::simpl_fun {
 public:
  explicit DivisionByShift(simpl_fun& standard) : standard_(standard) {}

  const quarv::Term* operator()(quarv::TermManager* mgr, const quarv::Symbol* s,
                                const std::vector<const quarv::Term*>& args) override {
    std::size_t width = 0;
    const quarv::QNumber* divisor = mgr->get_number(args[1]);
    if (divisor != nullptr && mgr->is_bv_udiv(s, &width) && divisor->is_small()) {
      const auto value = static_cast<unsigned long>(divisor->small_num());
      if (value == 1) return args[0];
      if (std::has_single_bit(value)) {
        return mgr->make_bv_lshr(args[0], mgr->make_bv_number(std::countr_zero(value), width));
      }
    }
    return standard_(mgr, s, args);
  }

 private:
  simpl_fun& standard_;
};

}  // namespace

int main() {
  quarv::TermManager mgr;
  quarv::StdTermSimplifier standard;
  quarv::StdTermSimplifier simplifier;
  quarv::termsimpl::register_standard_simplifications(&mgr, &standard);
  quarv::termsimpl::register_standard_simplifications(&mgr, &simplifier);
  // It replaces the standard one; the registry owns it.
  simplifier.register_simplification(
      quarv::SymbolTag::BV_UDIV,
      new DivisionByShift(*standard.get_simplification(quarv::SymbolTag::BV_UDIV)));
  mgr.set_simplifier(&simplifier);

  const quarv::Term* x = mgr.make_constant("x", mgr.get_bv_type(16));
  for (const int divisor : {1, 6, 64}) {
    std::cout << "x / " << divisor << ": ";
    quarv::smtlib::print_term(mgr, mgr.make_bv_udiv(x, mgr.make_bv_number(divisor, 16)), std::cout);
    std::cout << '\n';
  }
  std::cout << "100 / 7: ";
  const quarv::Term* hundred = mgr.make_bv_number(100, 16);
  quarv::smtlib::print_term(mgr, mgr.make_bv_udiv(hundred, mgr.make_bv_number(7, 16)), std::cout);
  std::cout << '\n';
}
