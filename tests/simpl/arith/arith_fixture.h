#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/term/term_manager.h>

namespace quarv {

/// A manager with the standard simplifiers and short names for what tests of linear arithmetic build.
class ArithTerms {
 public:
  using Args = std::vector<const Term*>;

  ArithTerms() {
    termsimpl::register_standard_simplifications(&mgr, &simplifier);
    mgr.set_simplifier(&simplifier);
  }

  const Term* number(long num, long den = 1) { return mgr.make_number(QNumber(num, den)); }
  const Term* number(std::string_view text) { return mgr.make_number(QNumber::parse(text)); }
  const Term* integer(std::string_view name) { return mgr.make_constant(name, mgr.int_type); }
  const Term* rational(std::string_view name) { return mgr.make_constant(name, mgr.rat_type); }
  const Term* integer(std::string name, int n) { return integer(name += std::to_string(n)); }
  const Term* rational(std::string name, int n) { return rational(name += std::to_string(n)); }
  const Term* constant(const char* name, const DataType* type) { return mgr.make_constant(name, type); }

  bool both_integer(const Term* a, const Term* b) const {
    return mgr.type_of(a) == mgr.int_type && mgr.type_of(b) == mgr.int_type;
  }

  // Terms exactly as given.
  const Term* plain_plus(const Term* a, const Term* b) {
    return mgr.do_make_term(both_integer(a, b) ? mgr.int_plus_symbol : mgr.rat_plus_symbol, {a, b});
  }
  const Term* plain_times(const Term* a, const Term* b) {
    return mgr.do_make_term(both_integer(a, b) ? mgr.int_times_symbol : mgr.rat_times_symbol, {a, b});
  }

  /// What the simplifier of the symbol's tag makes of an argument vector, which it may change.
  const Term* simplify(const Symbol* s, Args& args) {
    return (*simplifier.get_simplification(mgr.get_tag(s)))(&mgr, s, args);
  }
  const Term* simplify(const Symbol* s, Args&& args) { return simplify(s, args); }

  TermManager mgr;
  StdTermSimplifier simplifier;
};

class ArithFixture : public ::testing::Test, protected ArithTerms {};

}  // namespace quarv
