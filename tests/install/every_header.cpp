// Uses what each public header declares, and the standard streams: the way in which a program refers to one
// library must not change how it refers to the other ones.
#include <iostream>

// Made by the test: includes all headers that are installed.
#include "every_header.h"

namespace {

void numbers() {
  const quarv::QNumber half(1, 2);
  quarv::QNumber power;
  quarv::BVNumber::pow2(100, &power);
  const auto quarter =
      quarv::IEEEFloat::from_number(quarv::QNumber(1, 4), {3, 4}, quarv::IEEEFloat::round_nearest_even);
  std::cout << half.to_string() << ' ' << gcd(quarv::QNumber(84), quarv::QNumber(36)).to_string() << ' '
            << power.to_string() << ' ' << quarter.get_bits().to_string() << '\n';
}

void terms() {
  quarv::TermManager mgr;
  quarv::StdTermSimplifier simplifier;
  quarv::termsimpl::register_standard_simplifications(&mgr, &simplifier);
  mgr.set_simplifier(&simplifier);
  const quarv::Term* x = mgr.make_constant("x", mgr.get_bv_type(8));
  const quarv::Term* zero = mgr.make_bv_number(0, 8);
  const quarv::Term* sum = mgr.make_bv_add(x, zero);
  quarv::smtlib::print_term(mgr, simplifier.normalizer.normalize(&mgr, sum), std::cout);
  std::cout << '\n';
  try {
    mgr.make_bv_add(x, mgr.true_term);
  } catch (const quarv::SortError& e) {
    std::cout << e.what() << '\n';
  }
}

void scripts() {
  quarv::smtlib::simplify_script("(declare-const p Bool)(assert (and p (not p)))", "example.smt2", std::cout);
  quarv::Session session;
  quarv::smtlib::Reader reader(session);
  std::cout << quarv::smtlib::term_text(session.manager(), reader.term("(and true false)")) << '\n';
  quarv_manager* manager = quarv_manager_new(QUARV_EAGER);
  std::cout << (quarv_true(manager) != nullptr) << '\n';
  quarv_manager_delete(manager);
}

}  // namespace

int main() {
  numbers();
  terms();
  scripts();
}
