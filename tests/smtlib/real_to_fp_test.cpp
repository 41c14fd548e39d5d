// Conversions of numbers to floating point, as SMT-LIB writes them.
#include <memory>
#include <random>
#include <string>
#include <support/external_solver.h>
#include <support/fp_samples.h>
#include <support/test_scale.h>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/session/strict_semantics.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/read/real_to_fp.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {
namespace {

class RealToFp : public ::testing::Test {
 protected:
  RealToFp() {
    termsimpl::register_standard_simplifications(&mgr, &standard);
    mgr.set_simplifier(&strict);
  }

  /// The term that is read from its text, where `x` is a real and `r` a rounding mode.
  const Term* read(const std::string& text) {
    inputs_.push_back(std::make_unique<std::string>(
        "(declare-const r RoundingMode)(declare-const x Real)(simplify " + text + ")"));
    const Script script = Reader(session).read(*inputs_.back(), "in.smt2");
    return script.terms.back();
  }
  const Term* literal(long bits, std::size_t ew, std::size_t mw) {
    return mgr.make_fp_bits_number(QNumber(bits), ew, mw);
  }

  Session session{{.simplify = false}};
  TermManager& mgr = session.manager();
  StdTermSimplifier standard;
  StrictSemantics strict{standard};

 private:
  std::vector<std::unique_ptr<std::string>> inputs_;
};

TEST_F(RealToFp, FoldsNumbersInEveryMode) {
  EXPECT_EQ(read("((_ to_fp 8 24) RNE 0.1)"), literal(0x3dcccccd, 8, 23));
  EXPECT_EQ(read("((_ to_fp 8 24) RTZ 0.1)"), literal(0x3dcccccc, 8, 23));
  EXPECT_EQ(read("((_ to_fp 8 24) RTP 0.1)"), literal(0x3dcccccd, 8, 23));
  EXPECT_EQ(read("((_ to_fp 8 24) RTN 0.1)"), literal(0x3dcccccc, 8, 23));
  EXPECT_EQ(read("((_ to_fp 8 24) roundNearestTiesToEven (/ 1 3))"), literal(0x3eaaaaab, 8, 23));
  EXPECT_EQ(read("((_ to_fp 8 24) RNE (- 2.0))"), literal(0xc0000000, 8, 23));
  EXPECT_EQ(read("((_ to_fp 5 11) RNE 65520.0)"), literal(0x7c00, 5, 10));
  EXPECT_EQ(read("((_ to_fp 5 11) RTZ 65520.0)"), literal(0x7bff, 5, 10));
  EXPECT_EQ(read("((_ to_fp 5 11) RNE 0.0)"), literal(0, 5, 10));
  EXPECT_EQ(read("((_ to_fp 5 11) RTN (- 0.0))"), literal(0, 5, 10));
  EXPECT_EQ(read("((_ to_fp 5 11) RNE 1)"), literal(0x3c00, 5, 10));
}

TEST_F(RealToFp, DoesNotFoldOtherwise) {
  for (const char* text : {"((_ to_fp 8 24) RNA 0.1)", "((_ to_fp 8 24) r 0.1)", "((_ to_fp 8 24) RNE x)"}) {
    const Term* const t = read(text);
    ASSERT_EQ(mgr.arity(t), 2U) << text;
    EXPECT_EQ(mgr.type_of(t), mgr.get_fp_type(8, 23)) << text;
  }
  mgr.set_simplifier(nullptr);
  EXPECT_EQ(mgr.arity(read("((_ to_fp 8 24) RNE 0.5)")), 2U) << "without a simplifier nothing folds";
}

TEST_F(RealToFp, TheFunction) {
  const QNumber third(1, 3);
  EXPECT_EQ(fold_real_to_fp(mgr, mgr.make_rounding_even(), third, 8, 23), literal(0x3eaaaaab, 8, 23));
  EXPECT_EQ(fold_real_to_fp(mgr, mgr.make_rounding_zero(), third, 8, 23), literal(0x3eaaaaaa, 8, 23));
  EXPECT_EQ(fold_real_to_fp(mgr, mgr.make_rounding_plus_inf(), third, 8, 23), literal(0x3eaaaaab, 8, 23));
  EXPECT_EQ(fold_real_to_fp(mgr, mgr.make_rounding_minus_inf(), third, 8, 23), literal(0x3eaaaaaa, 8, 23));
  EXPECT_EQ(fold_real_to_fp(mgr, mgr.make_rounding_away(), third, 8, 23), nullptr);
  EXPECT_EQ(fold_real_to_fp(mgr, mgr.make_constant("r", mgr.rounding_mode_type), third, 8, 23), nullptr);
}

class RealToFpAgainstSolvers : public RealToFp {
 protected:
  using Format = IEEEFloat::format;

  std::size_t below(std::size_t bound) { return engine_() % bound; }

  /// An integer of up to `bits` bits.
  mpz_class integer(std::size_t bits) {
    mpz_class x;
    for (std::size_t i = 0; i < bits; i += 64) x = (x << 64) + static_cast<unsigned long>(engine_());
    return x >> below(bits);
  }

  /// num / den or num * 2^exponent.
  std::string number() {
    mpz_class num = integer(150);
    mpz_class den = 1;
    if (below(2) == 0) {
      den = integer(100) + 1;
    } else if (below(2) == 0) {
      den <<= below(1100);
    } else {
      num <<= below(1100);
    }
    const std::string quotient = FpSamples::list({"/", num.get_str() + ".0", den.get_str() + ".0"});
    return below(2) == 0 ? quotient : FpSamples::list({"-", quotient});
  }

  void expect_agreement(const std::string& command, const std::vector<Format>& formats) {
    const FpSamples samples(mgr, formats, false, 1);
    static constexpr const char* modes[] = {"RNE", "RTZ", "RTP", "RTN"};
    std::string script = "(set-logic ALL)\n";
    std::vector<std::string> equations;
    for (int i = 0; i < num_cases(1000); ++i) {
      const Format f = formats[below(formats.size())];
      const std::string op = FpSamples::list({"_", "to_fp", std::to_string(f.ew), std::to_string(f.mw + 1)});
      const std::string text = FpSamples::list({op, modes[below(4)], number()});
      const std::string result = samples.literal_text(read(text));
      ASSERT_NE(result, "") << "does not fold: " << text;
      equations.push_back(FpSamples::list({"=", text, result}));
      script += FpSamples::list({"simplify", equations.back()});
      script += '\n';
    }
    const std::vector<std::string> answers = solver_output(command, script);
    ASSERT_EQ(answers.size(), equations.size());
    for (std::size_t i = 0; i < answers.size(); ++i) EXPECT_EQ(answers[i], "true") << equations[i];
  }

 private:
  std::mt19937_64 engine_{3};
};

TEST_F(RealToFpAgainstSolvers, Z3) {
  if (!has_program("z3")) GTEST_SKIP() << "z3 is not installed: nothing to compare with";
  expect_agreement("z3 -in", {{5, 10}, {8, 23}, {11, 52}, {15, 112}, {2, 1}, {3, 2}, {4, 3}});
}

TEST_F(RealToFpAgainstSolvers, Cvc5) {
  if (!has_program("cvc5")) GTEST_SKIP() << "cvc5 is not installed: nothing to compare with";
  expect_agreement("cvc5 --lang smt2 -", {{5, 10}, {8, 23}, {11, 52}, {15, 112}});
}

}  // namespace
}  // namespace quarv::smtlib
