#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/external_solver.h"
#include "support/simplified_script.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::smtlib {
namespace {

SimplifyOptions lenient_options(bool smallest) {
  SimplifyOptions options;
  options.smallest = smallest;
  options.lenient = true;
  return options;
}

/// What becomes of a script; simplified once more it stays so.
std::string lenient(const std::string& text, bool smallest = true) {
  const SimplifyOptions options = lenient_options(smallest);
  const std::string once = simplified_script(text, options);
  EXPECT_EQ(simplified_script(once, options), once);
  return once;
}

const std::string several_theories =
    "(set-logic ALL)\n"
    "(declare-datatypes ((List 0) (Tree 0))\n"
    "  (((nil) (cons (head Int) (tail List))) ((leaf) (node (left Tree) (right Tree)))))\n"
    "(declare-datatype Pair (par (A B) ((pair (first A) (second B)))))\n"
    "(declare-const l List)\n"
    "(declare-const s String)\n"
    "(declare-fun length (String Int) Int)\n"
    "(declare-const x Int)\n"
    "(define-fun short ((t String)) Bool (< (str.len t) 5))\n"
    "(define-funs-rec ((sum ((k List)) Int) (zero () Int))\n"
    "  ((ite ((_ is nil) k) zero (+ (head k) (sum (tail k)))) 0))\n"
    "(assert (> (+ x 0) 1))\n"
    "(assert (! (< (* 1 x) 10) :named few))\n"
    "(assert (and ((_ is cons) l) ; not the empty one\n"
    "             (= (head l) x)))\n"
    "(assert (match l ((nil false) ((cons h t) (= h x)))))\n"
    "(assert (= ((as pair (Pair Int Bool)) x true) (pair x few)))\n"
    "(push 1)\n"
    "(assert (! (= (length s 3) (+ x 0)) :named linked))\n"
    "(assert (=> few (str.prefixof \"a;(\"\"\" s)))\n"
    "(assert (and linked (short s)))\n"
    "(check-sat)\n"
    "(check-sat-assuming (linked))\n"
    "(pop 1)\n"
    "(assert-soft (= s \"a\") :weight 2 :id goal)\n"
    "(minimize x)\n"
    "(assert (not (= (+ x 1 1) 4)))\n"
    "(check-sat)\n";

TEST(Lenient, PrintsWhatIsNotUnderstoodAsItWas) {
  const std::string out = lenient(several_theories);
  for (const char* kept :
       {"(declare-datatypes ((List 0) (Tree 0))\n  (((nil) (cons (head Int) (tail List))) ((leaf) (node "
        "(left "
        "Tree) (right Tree)))))\n",
        "(declare-fun length (String Int) Int)\n",
        "(assert (and ((_ is cons) l) ; not the empty one\n             (= (head l) x)))\n",
        "(assert (! (= (length s 3) (+ x 0)) :named linked))\n", "(assert (and linked (short s)))\n",
        "(check-sat-assuming (linked))\n", "(minimize x)\n"}) {
    EXPECT_NE(out.find(kept), std::string::npos) << kept << out;
  }
  EXPECT_NE(out.find("(assert (> x 1))\n"), std::string::npos) << out;
  EXPECT_EQ(out.find("(+ x 1 1)"), std::string::npos) << out;
}

TEST(Lenient, LeavesTheVerdicts) {
  const std::vector<std::string> verdicts = solver_output("z3 -in", several_theories);
  ASSERT_EQ(verdicts, (std::vector<std::string>{"sat", "sat", "sat"}));
  for (const bool smallest : {false, true}) {
    EXPECT_EQ(solver_output("z3 -in", lenient(several_theories, smallest)), verdicts);
    const std::string contradiction = several_theories + "(assert (= (head l) 1))\n(check-sat)\n";
    EXPECT_EQ(solver_output("z3 -in", lenient(contradiction, smallest)).back(), "unsat");
  }
}

TEST(Lenient, IsNotWhatHappensUnasked) {
  SimplifyOptions options;
  for (const char* text :
       {"(declare-const s String)", "(minimize 1)", "(declare-datatype D ((d)))", "(assert (= \"a\" \"b\"))",
        "(assert (unknown 1))", "(assert (= (_ unknown 1) 1))", "(assert ((_ unknown 1) 1))",
        "(assert ((as unknown Int) 1))", "(declare-const f (_ FiniteField 7))"}) {
    EXPECT_THROW(simplified_script(text, options), NotUnderstood) << text;
    EXPECT_EQ(lenient(text), std::string(text) + '\n');
  }
}

TEST(Lenient, PassesNamesThatAreNotDeclared) {
  const std::string text = "(assert (= unknown 1))\n";
  EXPECT_EQ(lenient(text), text);
  EXPECT_THROW(simplified_script(text, {}), InputError);
}

TEST(Lenient, RefusesWhatIsWrongWithWhatIsKnown) {
  const SimplifyOptions options = lenient_options(true);
  for (const char* text :
       {"(assert (+ 1 true))", "(assert 1)", "(assert (bvadd #b1 #b11))",
        "(declare-const x Int)(declare-const x Int)", "(assert (str.len \"a\")", "(assert true))",
        "(minimize \"a)", "(pop 1)", "(assert (unknown (assert true)\n(check-sat)"}) {
    EXPECT_THROW(simplified_script(text, options), InputError) << text;
  }
}

TEST(Lenient, HidesWhatForeignDeclarationsHide) {
  // While the datatype is there, its selector is another function than the operator of that name.
  const std::string hiding =
      "(declare-datatype D ((d (bvnot (_ BitVec 4)))))\n"
      "(declare-const v D)\n"
      "(assert (= (bvnot v) (bvadd #x1 #x1)))\n";
  const std::string known = "(assert (= (bvnot (bvnot #x1)) #x2))\n";
  EXPECT_EQ(lenient("(push 1)\n" + hiding + "(pop 1)\n" + known),
            "(push 1)\n" + hiding + "(pop 1)\n(assert false)\n");
  EXPECT_EQ(lenient(hiding + "(reset)\n" + known), hiding + "(reset)\n(assert false)\n");
  EXPECT_EQ(
      lenient("(declare-const y Int)\n(push 1)\n(declare-var y String)\n(assert (< y y))\n(pop 1)\n"
              "(assert (< y y))\n"),
      "(declare-const y Int)\n(push 1)\n(declare-var y String)\n(assert (< y y))\n(pop 1)\n(assert false)\n");
}

TEST(Lenient, GivesNoNameThatForeignCommandsUse) {
  const std::string big = "(f (f (bvmul x (bvadd x #x00000003))))";
  const std::string out = lenient(
      "(declare-const $1 String)\n(declare-const x (_ BitVec 32))\n"
      "(declare-fun f ((_ BitVec 32)) (_ BitVec 32))\n"
      "(assert (= $1 \"a\"))\n(assert (bvult " +
          big + " x))\n(assert (bvult x (f " + big + ")))\n",
      false);
  EXPECT_EQ(out.find("(define-fun $1 "), std::string::npos) << out;
  EXPECT_NE(out.find("(define-fun $2 "), std::string::npos) << out;
}

TEST(Lenient, KeepsNamesThatForeignCommandsMention) {
  const std::string out = lenient(
      "(declare-const p Bool)\n(assert (or p (! (or p (not p)) :named a)))\n"
      "(define-fun c () Int (+ 1 1))\n(assert (=> a (= (str.len \"xy\") c)))\n");
  EXPECT_EQ(out,
            "(declare-const p Bool)\n(assert (or p (! true :named a)))\n"
            "(define-fun c () Int 2)\n(assert (=> a (= (str.len \"xy\") c)))\n");
}

TEST(Lenient, CountsWhatPassesThrough) {
  std::ostringstream out;
  EXPECT_EQ(simplify_script("(declare-const s String)(check-sat)(maximize 2)", "in.smt2", out,
                            lenient_options(true))
                .passed_through,
            2u);
}

}  // namespace
}  // namespace quarv::smtlib
