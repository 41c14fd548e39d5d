/// \file
/// Applications of functions that a script defines: what the definitions say is found, and the user's names
/// stay where nothing is smaller.
#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "support/simplified_script.h"
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/written_size.h>

namespace quarv::smtlib {
namespace {

/// What the commands behind the declarations and definitions become; the output must be a fixed point, and no
/// larger.
std::string become(const std::string& before, const std::string& text) {
  const std::string out = simplified_script(before + text);
  EXPECT_EQ(simplified_script(out), out);
  EXPECT_LE(written_size(out, "out"), written_size(before + text, "in"));
  std::size_t at = 0;
  for (auto lines = std::ranges::count(before, '\n'); lines > 0; --lines) at = out.find('\n', at) + 1;
  return out.substr(at);
}

const std::string integer_functions =
    "(declare-const x Int)\n(declare-const y Int)\n"
    "(define-fun sub ((p Int) (q Int)) Int (- p q))\n"
    "(define-fun inv ((a Int)) Bool (>= a 0))\n"
    "(define-fun max ((a Int) (b Int)) Int (ite (>= a b) a b))\n";

TEST(Unfolding, FindsConstantsAndDecidesAssertions) {
  EXPECT_EQ(become(integer_functions, "(assert (= (sub x x) 0))\n"), "(assert true)\n");
  EXPECT_EQ(become(integer_functions, "(assert (inv (- 3)))\n"), "(assert false)\n");
  EXPECT_EQ(become(integer_functions, "(assert (< y (max 3 5)))\n"), "(assert (< y 5))\n");
  EXPECT_EQ(become(integer_functions, "(assert (=> (inv 4) (= x (sub 7 (sub 9 2)))))\n"),
            "(assert (= x 0))\n");
}

TEST(Unfolding, KeepsTheUsersNamesWhereNothingIsSmaller) {
  for (const std::string kept : {"(assert (inv (* x y)))\n", "(assert (< (max x y) (sub y x)))\n",
                                 "(assert (forall ((p Int)) (or (inv p) (= (max p x) (* y p)))))\n"}) {
    EXPECT_EQ(become(integer_functions, kept), kept);
  }
  EXPECT_EQ(become(integer_functions, "(assert (inv (* (+ x 0) (sub y 0))))\n"), "(assert (inv (* x y)))\n");
}

TEST(Unfolding, UnfoldsDefinitionsWithinEachOther) {
  const std::string before = integer_functions +
                             "(define-fun max3 ((a Int) (b Int) (c Int)) Int (max (max a b) c))\n"
                             "(define-fun same ((a Int)) Bool (= (max3 a a a) a))\n";
  EXPECT_EQ(become(before, "(assert (same x))\n(assert (= (max3 1 2 3) y))\n"),
            "(assert true)\n(assert (= 3 y))\n");
}

TEST(Unfolding, WorksForBitVectorsAndArrays) {
  const std::string before =
      "(declare-const m (Array (_ BitVec 8) (_ BitVec 8)))\n(declare-const b (_ BitVec 8))\n"
      "(define-fun low ((w (_ BitVec 16))) (_ BitVec 8) ((_ extract 7 0) w))\n"
      "(define-fun zext ((v (_ BitVec 8))) (_ BitVec 16) ((_ zero_extend 8) v))\n"
      "(define-fun rd ((a (Array (_ BitVec 8) (_ BitVec 8))) (i (_ BitVec 8))) (_ BitVec 8) (select a i))\n";
  EXPECT_EQ(become(before, "(assert (= (low (zext b)) b))\n"), "(assert true)\n");
  EXPECT_EQ(become(before, "(assert (= (rd (store m b #x07) b) #x08))\n"), "(assert false)\n");
  EXPECT_EQ(become(before, "(assert (= (rd m b) (low (zext b))))\n"), "(assert (= (rd m b) b))\n");
}

TEST(Unfolding, DoesNotCatchVariables) {
  const std::string before =
      "(declare-const x Int)\n"
      "(define-fun above ((n Int)) Bool (forall ((i Int)) (=> (< i 0) (< i n))))\n"
      "(define-fun some ((n Int)) Bool (exists ((i Int)) (< n i)))\n";
  // Caught, the variable would be compared with itself.
  EXPECT_EQ(become(before, "(assert (forall ((i Int)) (some i)))\n"), "(assert true)\n");
  EXPECT_EQ(become(before, "(assert (exists ((i Int)) (above i)))\n"), "(assert true)\n");
  // A name that is declared only after the definition.
  const std::string later = before + "(declare-const i Int)\n";
  EXPECT_EQ(become(later, "(assert (some (+ i 0)))\n"), "(assert true)\n");
  EXPECT_EQ(become(later, "(assert (above (+ i 0)))\n"), "(assert (above i))\n");
}

TEST(Unfolding, KeepsParametersApartFromWhatTheyHide) {
  const std::string before =
      "(declare-const x Int)\n"
      "(define-fun f ((x Int)) Int (+ x 1))\n"
      "(define-fun g ((y Int)) Int (let ((x (* 2 y))) (- x y)))\n";
  const std::string out = simplified_script(before + "(assert (= (f 4) x))\n(assert (= (g 3) x))\n");
  EXPECT_NE(out.find("(assert (= 5 x))"), std::string::npos) << out;
  EXPECT_NE(out.find("(assert (= 3 x))"), std::string::npos) << out;
}

TEST(Unfolding, LeavesRecursiveFunctions) {
  const std::string before =
      "(declare-const x Int)\n"
      "(define-fun-rec fac ((n Int)) Int (ite (<= n 1) 1 (* n (fac (- n 1)))))\n";
  EXPECT_EQ(become(before, "(assert (= (fac 1) x))\n"), "(assert (= (fac 1) x))\n");
  EXPECT_EQ(become("(declare-const x Int)\n(define-fun-rec one ((n Int)) Int (- (+ n 1) n))\n",
                   "(assert (= (one x) x))\n"),
            "(assert (= 1 x))\n")
      << "not recursive, in fact";
}

TEST(Unfolding, UsesAFunctionOnlyWhereItIsKnown) {
  const std::string declared = "(declare-const x Int)\n(declare-const y Int)\n";
  const std::string text = declared +
                           "(assert (< 3 (ite (>= x y) x y)))\n(push 1)\n"
                           "(define-fun max ((a Int) (b Int)) Int (ite (>= a b) a b))\n"
                           "(assert (< (max x y) 9))\n(check-sat)\n(pop 1)\n"
                           "(assert (< (ite (>= x y) x y) 7))\n(check-sat)\n";
  const std::string out = simplified_script(text);
  EXPECT_EQ(simplified_script(out), out);
  EXPECT_LT(out.find("(define-fun max "), out.find("(max x y)"));
  EXPECT_EQ(out.find("(max ", out.find("(pop 1)")), std::string::npos) << out;
  EXPECT_EQ(out.find("(max ") > out.find("(push 1)"), true) << out;
}

TEST(Unfolding, TellsFunctionsOfOneNameApart) {
  EXPECT_EQ(become("(declare-const x Int)\n"
                   "(define-fun f ((a Int)) Int (- a a))\n(define-fun f ((a Bool)) Bool (and a (not a)))\n",
                   "(assert (or (f (< x 3)) (= (f x) x)))\n"),
            "(assert (= 0 x))\n");
}

TEST(Unfolding, TakesIntegersForReals) {
  EXPECT_EQ(become("(declare-const r Real)\n(define-fun half ((a Real)) Real (/ a 2.0))\n",
                   "(assert (= (half 4.0) r))\n"),
            "(assert (= 2.0 r))\n");
}

/// Each level doubles what it says.
std::string doubling(int levels) {
  std::string text =
      "(declare-fun h (Int) Int)\n(declare-const x Int)\n(define-fun f0 ((x Int)) Int (h x))\n";
  for (int i = 1; i <= levels; ++i) {
    const std::string inner = "f" + std::to_string(i - 1);
    text += "(define-fun f" + std::to_string(i) + " ((x Int)) Int (" + inner + " (" + inner + " x)))\n";
  }
  return text + "(assert (< (f" + std::to_string(levels) + " x) 3))\n";
}

TEST(Unfolding, StopsWhereDefinitionsDouble) {
  EXPECT_EQ(simplified_script(doubling(40)), doubling(40));
  EXPECT_EQ(simplified_script(doubling(400)), doubling(400));
}

TEST(Unfolding, DoesNotRecurseOnDepth) {
  std::string text = "(declare-const x Int)\n(define-fun f ((x Int)) Int (+ x 1))\n(assert (= 200 ";
  constexpr int depth = 100'000;
  for (int i = 0; i < depth; ++i) text += "(f ";
  text += 'x' + std::string(depth, ')') + "))\n";
  const std::string out = simplified_script(text);
  EXPECT_NE(out.find("(assert (= x (- 99800)))"), std::string::npos) << out.substr(0, 300);
}

TEST(Unfolding, LeavesTheNormalFormAndTheLibrarysSemanticsAlone) {
  const std::string text = integer_functions + "(assert (= (sub x x) 0))\n";
  EXPECT_NE(simplified_script(text, SimplifyOptions::normal_form()).find("(sub x x)"), std::string::npos);
  SimplifyOptions library;
  library.library_semantics = true;
  library.extended = false;
  EXPECT_NE(simplified_script(text, library).find("(sub x x)"), std::string::npos);
}

TEST(Unfolding, LeavesPatternsAndNamesWhereTheyWere) {
  const std::string text =
      "(declare-const p Bool)\n(define-fun f ((q Bool)) Bool (and q (! (or p (not p) q) :named n)))\n"
      "(assert (or (f p) (f (not p))))\n";
  const std::string out = simplified_script(text);
  EXPECT_EQ(simplified_script(out), out);
  EXPECT_EQ(out.find(":named n"), out.rfind(":named n"));
}

}  // namespace
}  // namespace quarv::smtlib
