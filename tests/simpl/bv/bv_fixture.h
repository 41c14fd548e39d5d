#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {

/// A term manager whose constructors simplify, and short ways to write bit-vector terms.
class BitVectors : public ::testing::Test {
 protected:
  BitVectors() {
    termsimpl::register_standard_simplifications(&mgr, &simplifier);
    mgr.set_simplifier(&simplifier);
  }

  static QNumber number(const mpz_class& value) { return QNumber::from_integer(value.get_mpz_t()); }

  const Term* bv(const mpz_class& value, std::size_t w) { return mgr.make_bv_number(number(value), w); }
  const Term* integer(const mpz_class& value) { return mgr.make_number(number(value)); }
  const Term* variable(std::size_t w, const char* name = "x") {
    return mgr.make_constant(name, mgr.get_bv_type(w));
  }

  /// The operator of this tag and width on operands for whose sorts the caller answers.
  const Term* apply(SymbolTag::tag tag, std::size_t w, std::initializer_list<const Term*> args) {
    return mgr.make_term_unchecked(mgr.make_bv_symbol(tag, w), TermManager::Args(args.begin(), args.size()));
  }
  const Term* apply(SymbolTag::tag tag, std::size_t w, const mpz_class& a) {
    return apply(tag, w, {bv(a, w)});
  }
  const Term* apply(SymbolTag::tag tag, std::size_t w, const mpz_class& a, const mpz_class& b) {
    const Term* const left = bv(a, w);
    const Term* const right = bv(b, w);
    return apply(tag, w, {left, right});
  }

  /// The term built as it is.
  const Term* plain(const Symbol* s, std::initializer_list<const Term*> args) {
    return mgr.do_make_term(s, args);
  }

  /// Puts the value of a literal into big form, whatever its size.
  void hold_big(const Term* literal) {
    QNumber& value = *mgr.numbers.find(literal->symbol);
    value = QNumber(value.num().get_mpz_t(), mpz_class(1).get_mpz_t(), false);
  }

  StdTermSimplifier simplifier;
  TermManager mgr;
};

}  // namespace quarv
