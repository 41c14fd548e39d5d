// The words in which z3 prints operators: they are read as the standard's, and printed so.
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/simplified_script.h"
#include <quarv/session/session.h>
#include <quarv/smtlib/read/named_operators.h>
#include <quarv/smtlib/read/operators.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::smtlib {
namespace {

std::string simplified(const std::string& text, std::size_t width = 0) {
  SimplifyOptions options;
  options.width = width;
  return simplified_script(text, options);
}

const std::string constants =
    "(declare-const x (_ BitVec 8))\n(declare-const y (_ BitVec 8))\n(declare-const i Int)\n";

TEST(SolverWords, AreReadAsTheStandards) {
  Session session({.simplify = false});
  Reader reader(session);
  reader.read(constants, "in");
  for (const SolverWord& w : solver_words()) {
    const std::string arguments = w.standard == "bv2nat" ? " x)" : " x y)";
    const auto term = [&](std::string_view word) { return reader.term('(' + std::string(word) + arguments); };
    EXPECT_EQ(term(w.word), term(w.standard)) << w.word;
    EXPECT_EQ(find_operator(w.word), find_operator(w.standard)) << w.word;
  }
}

TEST(SolverWords, ArePrintedAsTheStandardsWhereNothingElseChanges) {
  const std::string out =
      constants + "(assert (= (bv2nat x) i))\n(assert (bvult (bvudiv x y) (bvurem x y)))\n";
  EXPECT_EQ(simplified(constants + "(assert (= (bv2int x) i))\n"
                                   "(assert (bvult (|bvudiv_i| x y) (bvurem_i x y)))\n"),
            out);
  EXPECT_EQ(simplified(out), out);
  EXPECT_EQ(simplified(constants + "(assert ; same\n  (= (bv2int x) i))\n(assert (=  i (bv2nat y)))\n", 80),
            constants + "; same\n(assert (= (bv2nat x) i))\n(assert (=  i (bv2nat y)))\n");
  const std::string pattern =
      "(assert (forall ((z (_ BitVec 8))) (! (< (bv2nat z) i) :pattern ((bv2nat z)))))\n";
  EXPECT_EQ(simplified(constants +
                       "(assert (forall ((z (_ BitVec 8))) (! (< (bv2int z) i) :pattern ((bv2int z)))))\n"),
            constants + pattern);
}

TEST(SolverWords, StayInWhatASolverRepeats) {
  const std::string script =
      constants + "(assert (= (bv2nat x) i))\n(get-value ((bv2int x) (bvsdiv_i x y)))\n";
  EXPECT_EQ(simplified(script), script);
  EXPECT_EQ(simplified(constants + "(assert (= (bv2int x) i))\n(get-value ((bv2int x)))\n"
                                   "(assert (< (bv2int y) i))\n"),
            constants + "(assert (= (bv2nat x) i))\n(get-value ((bv2int x)))\n(assert (< (bv2nat y) i))\n");
}

TEST(SolverWords, AreNamesLikeOthersWhereTheScriptDeclaresThem) {
  const std::string script = constants +
                             "(declare-fun bv2int ((_ BitVec 8)) Int)\n"
                             "(declare-const bvsmod_i Int)\n"
                             "(assert (= (bv2int x) bvsmod_i))\n"
                             "(assert (= (bv2nat x) i))\n";
  EXPECT_EQ(simplified(script), script);
  EXPECT_EQ(simplified(constants + "(push 1)\n(declare-fun bv2int ((_ BitVec 8)) Int)\n"
                                   "(assert (= (bv2int x) i))\n(pop 1)\n(assert (= (bv2int x) i))\n"),
            constants +
                "(push 1)\n(declare-fun bv2int ((_ BitVec 8)) Int)\n"
                "(assert (= (bv2int x) i))\n(pop 1)\n(assert (= (bv2nat x) i))\n");
}

TEST(SolverWords, OfACommandThatPassesThroughStay) {
  SimplifyOptions options;
  options.lenient = true;
  std::ostringstream out;
  const std::string script = constants + "(assert (= (str.len (str.from_int (bv2int x))) i))\n";
  simplify_script(script + "(assert (= (bv2int x) i))\n", "in.smt2", out, options);
  EXPECT_EQ(out.str(), script + "(assert (= (bv2nat x) i))\n");
}

}  // namespace
}  // namespace quarv::smtlib
