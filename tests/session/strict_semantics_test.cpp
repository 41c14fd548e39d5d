// What SMT-LIB leaves open is folded by the standard simplifiers and left alone under strict semantics.
#include <functional>
#include <sstream>
#include <string>
#include <support/external_solver.h>
#include <support/fp_samples.h>
#include <support/test_scale.h>
#include <vector>

#include <gtest/gtest.h>

#include <quarv/session/strict_semantics.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/smtlib/read/operators.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {
namespace {

using Format = IEEEFloat::format;

constexpr Format binary32{8, 23};
constexpr Format formats[] = {{2, 1}, {3, 2}, {5, 10}, binary32, {11, 52}, {15, 112}};

class StrictSemanticsTest : public ::testing::Test {
 protected:
  StrictSemanticsTest() {
    termsimpl::register_standard_simplifications(&mgr, &standard);
    mgr.set_simplifier(&strict);
    rounding_modes = {mgr.make_rounding_even(), mgr.make_rounding_zero(), mgr.make_rounding_plus_inf(),
                      mgr.make_rounding_minus_inf()};
    even = rounding_modes[0];
  }

  static mpz_class pow2(std::size_t n) { return mpz_class(1) << n; }
  static QNumber number(const mpz_class& x) { return QNumber::from_integer(x.get_mpz_t()); }

  const Term* literal(const mpz_class& bits, Format f) {
    return mgr.make_fp_bits_number(number(bits), f.ew, f.mw);
  }
  const Term* value(const char* text, Format f) {
    const IEEEFloat x = IEEEFloat::from_number(QNumber::parse(text), f, IEEEFloat::round_nearest_even);
    return mgr.make_fp_bits_number(x.get_bits(), f.ew, f.mw);
  }
  const Term* nan(Format f) { return canonical_nan(mgr, f.ew, f.mw); }
  const Term* zero(Format f, bool negative = false) { return build::make_zero(mgr, negative, f.ew, f.mw); }
  const Term* infinity(Format f, bool negative = false) {
    return build::make_infinity(mgr, negative, f.ew, f.mw);
  }
  const Term* bv(const mpz_class& x, std::size_t w) { return mgr.make_bv_number(number(x), w); }

  /// The encodings of all NaNs of a small format, of some of a large one.
  static std::vector<mpz_class> nan_encodings(Format f) {
    std::vector<mpz_class> result;
    for (const mpz_class& sign : {mpz_class(0), mpz_class(1)}) {
      const mpz_class infinity = (sign << (f.ew + f.mw)) + ((pow2(f.ew) - 1) << f.mw);
      for (const mpz_class& payload :
           {mpz_class(1), pow2(f.mw - 1), mpz_class(pow2(f.mw - 1) + 1), mpz_class(pow2(f.mw) - 1)}) {
        if (payload < pow2(f.mw)) result.push_back(infinity + payload);
      }
    }
    return result;
  }

  /// `make` builds what the standard simplifiers fold and strict semantics leaves as it is.
  void expect_open(const std::function<const Term*()>& make) {
    const Term* const kept = make();
    EXPECT_GT(mgr.arity(kept), 0U) << SymbolTag::name(mgr.get_tag(kept->symbol));
    mgr.set_simplifier(&standard);
    EXPECT_EQ(mgr.arity(make()), 0U) << SymbolTag::name(mgr.get_tag(kept->symbol));
    mgr.set_simplifier(nullptr);
    EXPECT_EQ(make(), kept) << "not built as it is";
    mgr.set_simplifier(&strict);
  }

  /// `make` builds the same with and without strict semantics.
  void expect_fold(const std::function<const Term*()>& make, const Term* result) {
    EXPECT_EQ(make(), result);
    mgr.set_simplifier(&standard);
    EXPECT_EQ(make(), result);
    mgr.set_simplifier(&strict);
  }

  TermManager mgr;
  StdTermSimplifier standard;
  StrictSemantics strict{standard};
  std::vector<const Term*> rounding_modes;
  const Term* even;
};

TEST_F(StrictSemanticsTest, MinimumAndMaximumOfZeros) {
  for (const Format f : formats) {
    const Term* const plus = zero(f);
    const Term* const minus = zero(f, true);
    for (const auto make : {&TermManager::make_fp_min, &TermManager::make_fp_max}) {
      expect_open([&] { return (mgr.*make)(plus, minus); });
      expect_open([&] { return (mgr.*make)(minus, plus); });
      expect_fold([&] { return (mgr.*make)(plus, plus); }, plus);
      expect_fold([&] { return (mgr.*make)(minus, minus); }, minus);
    }
    expect_fold([&] { return mgr.make_fp_min(plus, infinity(f)); }, plus);
    expect_fold([&] { return mgr.make_fp_max(infinity(f, true), minus); }, minus);
    expect_fold([&] { return mgr.make_fp_min(nan(f), minus); }, minus);
    expect_fold([&] { return mgr.make_fp_max(plus, nan(f)); }, plus);
  }
}

TEST_F(StrictSemanticsTest, MinimumWithAVariableIsRebuilt) {
  const Term* const x = mgr.make_constant("x", mgr.get_fp_type(8, 23));
  const Term* const zeros[] = {zero(binary32), zero(binary32, true)};
  for (const Term* z : zeros) {
    EXPECT_EQ(mgr.make_fp_min(z, x), mgr.do_make_term(mgr.make_fp_symbol(SymbolTag::FP_MIN, 8, 23), {z, x}));
    EXPECT_EQ(mgr.make_fp_max(x, z), mgr.do_make_term(mgr.make_fp_symbol(SymbolTag::FP_MAX, 8, 23), {x, z}));
  }
}

TEST_F(StrictSemanticsTest, ConversionOfWhatIsNoInteger) {
  for (const Format f : formats) {
    for (const Term* r : rounding_modes) {
      for (const Term* x : {nan(f), infinity(f), infinity(f, true)}) {
        for (const std::size_t w : {1, 8, 64, 65}) {
          expect_open([&] { return mgr.make_fp_to_ubv(w, r, x); });
          expect_open([&] { return mgr.make_fp_to_sbv(w, r, x); });
        }
      }
    }
  }
}

TEST_F(StrictSemanticsTest, RangeOfUnsignedConversions) {
  for (const Format f : {Format{5, 10}, binary32, Format{11, 52}, Format{15, 112}}) {
    const auto convert = [&](const char* x, int mode) {
      return [this, f, x, mode] { return mgr.make_fp_to_ubv(8, rounding_modes[mode], value(x, f)); };
    };
    for (int mode = 0; mode < 4; ++mode) {
      expect_fold(convert("0", mode), bv(0, 8));
      expect_fold(convert("255", mode), bv(255, 8));
      expect_open(convert("256", mode));
      expect_open(convert("-1", mode));
      expect_open(convert("-200", mode));
    }
    // What counts is the rounded value.
    expect_open(convert("255.5", 0));
    expect_fold(convert("255.5", 1), bv(255, 8));
    expect_open(convert("255.5", 2));
    expect_fold(convert("255.5", 3), bv(255, 8));
    expect_fold(convert("-0.5", 0), bv(0, 8));
    expect_fold(convert("-0.75", 1), bv(0, 8));
    expect_fold(convert("-0.75", 2), bv(0, 8));
    expect_open(convert("-0.75", 0));
    expect_open(convert("-0.25", 3));
    expect_fold([&] { return mgr.make_fp_to_ubv(8, even, zero(f, true)); }, bv(0, 8));
  }
}

TEST_F(StrictSemanticsTest, RangeOfSignedConversions) {
  for (const Format f : {Format{5, 10}, binary32, Format{11, 52}, Format{15, 112}}) {
    const auto convert = [&](const char* x, int mode) {
      return [this, f, x, mode] { return mgr.make_fp_to_sbv(8, rounding_modes[mode], value(x, f)); };
    };
    for (int mode = 0; mode < 4; ++mode) {
      expect_fold(convert("127", mode), bv(127, 8));
      expect_fold(convert("-128", mode), bv(128, 8));
      expect_fold(convert("-1", mode), bv(255, 8));
      expect_open(convert("128", mode));
      expect_open(convert("200", mode));
      expect_open(convert("255", mode));
      expect_open(convert("-129", mode));
    }
    expect_open(convert("127.5", 0));
    expect_fold(convert("127.5", 1), bv(127, 8));
    expect_fold(convert("-128.5", 0), bv(128, 8));
    expect_fold(convert("-128.5", 2), bv(128, 8));
    expect_open(convert("-128.5", 3));
  }
  expect_fold([&] { return mgr.make_fp_to_sbv(1, even, value("-1", binary32)); }, bv(1, 1));
  expect_open([&] { return mgr.make_fp_to_sbv(1, even, value("1", binary32)); });
}

TEST_F(StrictSemanticsTest, RangeOfWideConversions) {
  for (const std::size_t w : {63, 64, 65, 100}) {
    const Term* const half = literal(mpz_class(1023 + w - 1) << 52, {11, 52});  // 2^(w-1)
    const Term* const negative = mgr.make_fp_neg(half);
    const Term* const whole = literal(mpz_class(1023 + w) << 52, {11, 52});
    const Term* const below_range = mgr.make_fp_neg(whole);
    expect_fold([&] { return mgr.make_fp_to_ubv(w, even, half); }, bv(pow2(w - 1), w));
    expect_open([&] { return mgr.make_fp_to_ubv(w, even, whole); });
    expect_open([&] { return mgr.make_fp_to_ubv(w, even, negative); });
    expect_fold([&] { return mgr.make_fp_to_sbv(w, even, negative); }, bv(pow2(w - 1), w));
    expect_open([&] { return mgr.make_fp_to_sbv(w, even, half); });
    expect_open([&] { return mgr.make_fp_to_sbv(w, even, below_range); });
  }
}

TEST_F(StrictSemanticsTest, ConversionUnderAnotherModeIsRebuilt) {
  const Term* const r = mgr.make_constant("r", mgr.rounding_mode_type);
  const Symbol* const s = mgr.make_fp_to_ubv_symbol(8, 23, 8);
  for (const Term* mode : {r, mgr.make_rounding_away()}) {
    for (const Term* x : {nan(binary32), value("3", binary32), value("300", binary32)}) {
      EXPECT_EQ(mgr.make_fp_to_ubv(8, mode, x), mgr.do_make_term(s, {mode, x}));
    }
  }
}

TEST_F(StrictSemanticsTest, EncodingOfNaN) {
  for (const Format f : formats) {
    expect_open([&] { return mgr.make_fp_as_ieeebv(nan(f)); });
    expect_fold([&] { return mgr.make_fp_as_ieeebv(zero(f, true)); }, bv(pow2(f.ew + f.mw), f.width()));
    expect_fold([&] { return mgr.make_fp_as_ieeebv(infinity(f)); }, bv((pow2(f.ew) - 1) << f.mw, f.width()));
  }
}

TEST_F(StrictSemanticsTest, EveryNaNBecomesOneNumeral) {
  for (const Format f : formats) {
    for (const mpz_class& encoding : nan_encodings(f)) {
      const Term* const any = literal(encoding, f);
      const auto from_bits = [&] { return mgr.make_fp_from_ieeebv(f.ew, f.mw, bv(encoding, f.width())); };
      EXPECT_EQ(from_bits(), nan(f));
      EXPECT_EQ(mgr.make_fp_neg(any), nan(f));
      EXPECT_EQ(mgr.make_fp_abs(any), nan(f));
      EXPECT_EQ(mgr.make_fp_min(any, any), nan(f));
      EXPECT_EQ(mgr.make_fp_add(even, any, zero(f)), nan(f));
      EXPECT_EQ(mgr.make_equal(any, nan(f)), mgr.true_term);
      mgr.set_simplifier(&standard);
      EXPECT_EQ(from_bits(), any);
      EXPECT_EQ(mgr.make_fp_neg(any), any);
      EXPECT_EQ(mgr.make_equal(any, nan(f)), mgr.make_bool(any == nan(f)));
      mgr.set_simplifier(&strict);
    }
    const mpz_class infinity_encoding = (pow2(f.ew) - 1) << f.mw;
    EXPECT_EQ(mgr.make_fp_from_ieeebv(f.ew, f.mw, bv(infinity_encoding, f.width())), infinity(f));
  }
}

TEST_F(StrictSemanticsTest, NaNArgumentsOfOtherOperators) {
  const DataType* const fp = mgr.get_fp_type(8, 23);
  const Symbol* const f = mgr.declare_fun("f", {fp}, mgr.int_type);
  const Term* const p = mgr.make_constant("p", mgr.bool_type);
  const Term* const x = mgr.make_constant("x", fp);
  const Term* const odd = literal(0xffc00001, binary32);
  EXPECT_EQ(mgr.make_term(f, {odd}), mgr.make_term(f, {nan(binary32)}));
  EXPECT_EQ(mgr.make_ite(p, odd, x), mgr.make_ite(p, nan(binary32), x));
  EXPECT_EQ(mgr.make_ite(mgr.true_term, odd, x), nan(binary32));
  EXPECT_EQ(mgr.make_equal(odd, x), mgr.make_equal(nan(binary32), x));
}

TEST_F(StrictSemanticsTest, OtherApplicationsAreSimplifiedAsUsual) {
  const Term* const p = mgr.make_constant("p", mgr.bool_type);
  const Term* const x = mgr.make_constant("x", mgr.get_bv_type(8));
  EXPECT_EQ(mgr.make_and(p, mgr.make_not(p)), mgr.false_term);
  EXPECT_EQ(mgr.make_bv_add(bv(200, 8), bv(100, 8)), bv(44, 8));
  EXPECT_EQ(mgr.arity(mgr.make_bv_add(x, x)), 2U);
  EXPECT_EQ(mgr.make_fp_add(even, value("1", binary32), value("2", binary32)), value("3", binary32));
}

TEST(StrictScripts, StrictSemanticsUnlessTheLibrarysAreAskedFor) {
  const auto simplified = [](const char* term, bool library_semantics) {
    SimplifyOptions options = SimplifyOptions::normal_form();
    options.library_semantics = library_semantics;
    std::ostringstream out;
    simplify_script(std::string("(simplify ") + term + ")", "in.smt2", out, options);
    const std::string text = out.str();
    return text.substr(0, text.find('\n'));
  };
  const char* const minimum = "(fp.min (_ +zero 5 11) (_ -zero 5 11))";
  const char* const conversion = "((_ fp.to_ubv 4) RTZ (_ NaN 5 11))";
  const char* const nans = "(= ((_ to_fp 2 2) #b0111) (fp #b1 #b11 #b1))";
  EXPECT_NE(simplified(minimum, false).find("fp.min"), std::string::npos);
  EXPECT_EQ(simplified(minimum, true).find("fp.min"), std::string::npos);
  EXPECT_NE(simplified(conversion, false).find("fp.to_ubv"), std::string::npos);
  EXPECT_EQ(simplified(conversion, true), "(simplify #x0)");
  EXPECT_EQ(simplified(nans, false), "(simplify true)");
  EXPECT_EQ(simplified(nans, true), "(simplify false)");
}

/// Random terms fold exactly when the standard fixes their value, and then to that value.
class StrictAgainstSolvers : public StrictSemanticsTest {
 protected:
  void expect_agreement(const std::string& command, std::vector<Format> tried_formats, bool encodings) {
    FpSamples samples(mgr, std::move(tried_formats), encodings, 2);
    std::string script = "(set-logic ALL)\n";
    std::vector<std::string> equations;
    for (int i = 0; i < num_cases(2500); ++i) {
      const FpSample sample = samples.any(1 + i % 4);
      const std::string result = samples.literal_text(sample.term);
      ASSERT_EQ(result.empty(), sample.open) << sample.text;
      if (sample.open) continue;
      equations.push_back(FpSamples::list({"=", sample.text, result}));
      script += FpSamples::list({"simplify", equations.back()});
      script += '\n';
    }
    const std::vector<std::string> answers = solver_output(command, script);
    ASSERT_EQ(answers.size(), equations.size());
    for (std::size_t i = 0; i < answers.size(); ++i) EXPECT_EQ(answers[i], "true") << equations[i];
  }
};

TEST_F(StrictAgainstSolvers, Z3) {
  if (!has_program("z3")) GTEST_SKIP() << "z3 is not installed: nothing to compare with";
  expect_agreement("z3 -in", {{5, 10}, binary32, {11, 52}, {15, 112}, {2, 1}, {3, 2}, {4, 3}}, true);
}

TEST_F(StrictAgainstSolvers, Cvc5) {
  if (!has_program("cvc5")) GTEST_SKIP() << "cvc5 is not installed: nothing to compare with";
  expect_agreement("cvc5 --lang smt2 -", {{5, 10}, binary32, {11, 52}, {15, 112}}, false);
}

/// The assertion of `formula` over two bytes, simplified.
std::string simplified_formula(const std::string& formula, bool library_semantics) {
  SimplifyOptions options = SimplifyOptions::normal_form();
  options.library_semantics = library_semantics;
  std::ostringstream out;
  simplify_script(
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(declare-const z (_ BitVec 8))(assert " +
          formula + ")",
      "in.smt2", out, options);
  const std::string text = out.str();
  return text.substr(text.rfind("(assert "));
}

TEST(StrictRules, HoldForAllValues) {
  EXPECT_EQ(simplified_formula("(= y (bvsdiv x x))", false), "(assert (= y (bvsdiv x x)))\n");
  EXPECT_EQ(simplified_formula("(= y (bvsdiv x x))", true), "(assert (= y #x01))\n");
  const std::string difference = "(= (bvadd x (bvneg y)) (bvadd y (bvneg z)))";
  EXPECT_NE(simplified_formula(difference, false), "(assert (= x z))\n");
  EXPECT_EQ(simplified_formula(difference, true), "(assert (= x z))\n");
  EXPECT_EQ(simplified_formula("(= ((_ zero_extend 0) x) #xff)", false), "(assert (= x #xff))\n");
  EXPECT_EQ(simplified_formula("(= ((_ zero_extend 4) x) #xfff)", false), "(assert false)\n");
}

}  // namespace
}  // namespace quarv::smtlib
