/// \file
/// Random linear terms, built twice: plainly, and through the simplifiers.
#pragma once

#include <numbers/number_samples.h>
#include <simpl/arith/arith_fixture.h>
#include <string>
#include <vector>

#include <gmpxx.h>

#include "reference/library_terms.h"

namespace quarv {

/// Random terms over four integer and four rational unknowns.
class LinearSamples : public ArithTerms {
 public:
  /// One term in both ways of building.
  struct Pair {
    const Term* plain;
    const Term* simplified;
  };

  explicit LinearSamples(unsigned seed) : random(seed) {
    for (int n = 0; n < 4; ++n) {
      integers.push_back(integer("i", n));
      rationals.push_back(rational("r", n));
    }
  }

  QNumber coefficient(bool integral) {
    if (random.below(16) == 0)
      return integral ? random.number(random.integer()) : random.number(random.fraction());
    const long numerator = static_cast<long>(random.below(13)) - 6;
    return integral ? QNumber(numerator) : QNumber(numerator, 1 + random.below(6));
  }

  Pair numeral(bool integral) {
    const Term* t = mgr.make_number(coefficient(integral));
    return {t, t};
  }

  Pair leaf(bool integral) {
    if (random.below(4) == 0) return numeral(integral);
    const Args& variables = integral || random.below(4) == 0 ? integers : rationals;
    const Term* t = variables[random.below(4)];
    return {t, t};
  }

  Pair plus(Pair a, Pair b) {
    return {plain_plus(a.plain, b.plain), mgr.make_plus(a.simplified, b.simplified)};
  }
  Pair times(Pair a, Pair b) {
    return {plain_times(a.plain, b.plain), mgr.make_times(a.simplified, b.simplified)};
  }

  Pair scaled(bool integral, int depth) {
    const Pair a = numeral(integral);
    const Pair b = term(integral, depth);
    return random.coin() ? times(a, b) : times(b, a);
  }

  /// A sum, a multiple, a floor, an application or a leaf. An integral term is of the integer type.
  Pair term(bool integral, int depth) {
    if (depth == 0) return leaf(integral);
    switch (random.below(integral ? 8 : 6)) {
      case 0:
        return leaf(integral);
      case 1:
      case 2:
        return scaled(integral, depth - 1);
      case 6: {
        const Pair a = term(random.coin(), depth - 1);
        return {mgr.do_make_term(mgr.floor_symbol, {a.plain}), mgr.make_floor(a.simplified)};
      }
      case 7: {
        const Symbol* f = mgr.declare_fun("f", {mgr.int_type}, mgr.int_type);
        const Pair a = term(true, depth - 1);
        return {mgr.do_make_term(f, {a.plain}), mgr.make_term(f, {a.simplified})};
      }
      default: {
        const Pair a = term(integral, depth - 1);
        const Pair b = term(integral, depth - 1);
        return plus(a, b);
      }
    }
  }

  Pair atom(int depth) {
    const bool integral = random.coin();
    const Pair a = term(integral, depth);
    const Pair b = random.below(4) == 0 ? numeral(integral) : term(integral, depth);
    const bool int_symbol = both_integer(a.plain, b.plain);
    switch (random.below(integral ? 3 : 2)) {
      case 0: {
        const Symbol* s = mgr.make_equal_symbol(int_symbol ? mgr.int_type : mgr.rat_type);
        return {mgr.do_make_term(s, {a.plain, b.plain}), mgr.make_equal(a.simplified, b.simplified)};
      }
      case 1: {
        const Symbol* s = int_symbol ? mgr.int_leq_symbol : mgr.rat_leq_symbol;
        return {mgr.do_make_term(s, {a.plain, b.plain}), mgr.make_leq(a.simplified, b.simplified)};
      }
      default: {
        QNumber modulus = random.below(8) == 0 ? random.number(random.integer()) : QNumber(random.below(9));
        modulus = modulus.sign() < 0 ? modulus.neg() : modulus + QNumber(1);
        const Symbol* s = mgr.make_int_mod_congr_symbol(modulus);
        return {mgr.do_make_term(s, {a.plain, b.plain}),
                mgr.make_int_mod_congr(modulus, a.simplified, b.simplified)};
      }
    }
  }

  /// Gives the unknowns random values.
  void assign(reference::TermEvaluation& evaluation) {
    for (int n = 0; n < 4; ++n) {
      reference::Column integer, rational;
      for (std::size_t i = 0; i < evaluation.num_assignments(); ++i) {
        integer.values.push_back({random.below(4) == 0 ? mpz_class(random.integer())
                                                       : mpz_class(static_cast<long>(random.below(9)) - 4),
                                  nullptr});
        mpq_class r(static_cast<long>(random.below(25)) - 12, 1 + random.below(6));
        r.canonicalize();
        rational.values.push_back({r, nullptr});
      }
      evaluation.set(integers[n], std::move(integer));
      evaluation.set(rationals[n], std::move(rational));
    }
  }

  NumberSamples random;
  Args integers;
  Args rationals;
};

}  // namespace quarv
