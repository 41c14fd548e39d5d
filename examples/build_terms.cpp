// Builds terms, which are simplified as they are built, and normalises one by the rewrite rules.
#include <iostream>

#include <quarv/quarv.h>
#include <quarv/smtlib.h>

int main() {
  quarv::TermManager mgr;
  quarv::StdTermSimplifier simplifier;
  quarv::termsimpl::register_standard_simplifications(&mgr, &simplifier);
  mgr.set_simplifier(&simplifier);

  const auto print = [&mgr](const char* what, const quarv::Term* t) {
    std::cout << what << ": ";
    quarv::smtlib::print_term(mgr, t, std::cout);
    std::cout << '\n';
  };

  const quarv::DataType* word = mgr.get_bv_type(32);
  const quarv::Term* x = mgr.make_constant("x", word);
  const quarv::Term* y = mgr.make_constant("y", word);

  // Constants fold at once.
  const quarv::Term* two = mgr.make_bv_number(2, 32);
  const quarv::Term* three = mgr.make_bv_number(3, 32);
  print("2 * 3", mgr.make_bv_mul(two, three));

  // Rules look at more than one operator, and run when they are asked to.
  const quarv::Term* low = mgr.make_bv_extract(15, 0, x);
  const quarv::Term* high = mgr.make_bv_extract(31, 16, x);
  const quarv::Term* whole = mgr.make_bv_concat(high, low);
  const quarv::Term* product = mgr.make_bv_mul(whole, mgr.make_bv_number(4, 32));
  print("as built", product);
  print("normal form", simplifier.normalizer.normalize(&mgr, product));

  // Equal terms are one object.
  const quarv::Term* again = mgr.make_bv_concat(high, low);
  std::cout << "one object: " << (whole == again ? "yes" : "no") << '\n';

  // What does not fit is refused, and says why.
  try {
    mgr.make_bv_add(x, low);
  } catch (const quarv::SortError& e) {
    std::cout << "refused: " << e.what() << '\n';
  }

  // Linear arithmetic has a normal form.
  const quarv::Term* i = mgr.make_constant("i", mgr.int_type);
  const quarv::Term* j = mgr.make_constant("j", mgr.int_type);
  const quarv::Term* left = mgr.make_plus(i, j);
  const quarv::Term* right = mgr.make_plus(j, i);
  print("i + j <= j + i", mgr.make_leq(left, right));
  print("x = y", mgr.make_equal(x, y));
}
