#include <string>

#include <gtest/gtest.h>

#include "support/simplified_script.h"
#include <quarv/smtlib/simplify_script.h>

namespace quarv::smtlib {
namespace {

std::string printed(const std::string& text, bool smallest = true) {
  SimplifyOptions options;
  options.smallest = smallest;
  return simplified_script(text, options);
}

/// The last command of a script with these declarations and this assertion; simplified again it stays.
std::string last_command(const std::string& declarations, const std::string& formula) {
  const std::string once = printed(declarations + "(assert (and (or p (not p)) " + formula + "))\n");
  EXPECT_EQ(printed(once), once);
  return once.substr(once.rfind("(assert "));
}

const std::string bits =
    "(declare-const p Bool)\n(declare-const x (_ BitVec 32))\n(declare-const y (_ BitVec 32))\n";
const std::string next_twice =
    "(bvult (bvmul (bvadd x #x00000001) (bvadd x #x00000001)) (bvmul y y (bvadd x #x00000001)))";

TEST(TellingNames, SayWhatTheyStandFor) {
  EXPECT_EQ(last_command(bits, next_twice),
            "(assert (let ((x_plus_1 (bvadd x #x00000001))) "
            "(bvult (bvmul x_plus_1 x_plus_1) (bvmul y y x_plus_1))))\n");
  EXPECT_EQ(last_command(bits + "(declare-fun transfer ((_ BitVec 32) (_ BitVec 32)) (_ BitVec 8))\n",
                         "(bvult (bvmul (transfer x y) (transfer x y)) (bvmul (transfer x y) #x07))"),
            "(assert (let ((transfer_x_y (transfer x y))) "
            "(bvult (bvmul transfer_x_y transfer_x_y) (bvmul transfer_x_y #x07))))\n");
  EXPECT_EQ(last_command("(declare-const p Bool)\n(declare-const a (Array Int Int))\n(declare-const i Int)\n",
                         "(< (* (select a i) (select a i)) (* 3 (select a i)))")
                .find("?1"),
            std::string::npos);
}

TEST(TellingNames, AreShort) {
  const std::string long_names =
      "(declare-const p Bool)\n(declare-const reservation (_ BitVec 32))\n(declare-const y (_ BitVec 32))\n";
  EXPECT_NE(last_command(long_names,
                         "(bvult (bvmul (bvadd reservation y) (bvadd reservation y)) (bvmul y (bvadd "
                         "reservation y)))")
                .find("(let ((?1 (bvadd reservation y)))"),
            std::string::npos);
  // A part has a name of its own only where it is a constant.
  EXPECT_NE(
      last_command(bits,
                   "(bvult (bvmul (bvadd x (bvnot y)) (bvadd x (bvnot y))) (bvudiv y (bvadd x (bvnot y))))")
          .find("(let ((?1 (bvadd x (bvnot y))))"),
      std::string::npos);
}

TEST(TellingNames, AreNoNamesOfTheScript) {
  const std::string plain = "(let ((?1 (bvadd x #x00000001)))";
  EXPECT_NE(last_command(bits + "(declare-const x_plus_1 Int)\n", next_twice).find(plain), std::string::npos);
  EXPECT_NE(last_command(bits + "(declare-sort x_plus_1 0)\n", next_twice).find(plain), std::string::npos);
  EXPECT_NE(last_command(bits + "(define-fun f ((x_plus_1 Int)) Int (+ x_plus_1 x_plus_1))\n", next_twice)
                .find(plain),
            std::string::npos);
  EXPECT_NE(last_command(bits + "(assert (! (= x y) :named x_plus_1))\n", next_twice).find(plain),
            std::string::npos);
  // It would be caught by the quantifier.
  EXPECT_NE(
      last_command(bits, "(forall ((x_plus_1 Int)) (or (= x_plus_1 3) " + next_twice + "))").find(plain),
      std::string::npos);
}

const std::string definition = "(define-fun x_times_y () (_ BitVec 32) (bvmul x y))\n";
const std::string uses_of_product =
    "(assert (bvult x x_times_y))\n(assert (bvult y x_times_y))\n(assert (bvslt x_times_y x))\n"
    "(assert (bvslt x_times_y y))\n(assert (bvult #x00000007 x_times_y))\n"
    "(assert (bvult (bvnot x_times_y) x))\n(assert (bvult (bvnot y) x_times_y))\n";

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// A script that has a definition gets more of them, however little they save.
const std::string defining = bits + "(define-fun q () Bool (not p))\n";

TEST(TellingNames, AreGivenToDefinitions) {
  const std::string uses = replaced(uses_of_product, "x_times_y", "(bvmul x y)");
  const std::string once = printed(defining + "(assert (or p (not p)))\n" + uses);
  EXPECT_EQ(once, defining + "(assert true)\n" + definition + uses_of_product);
  EXPECT_EQ(printed(once), once);
  EXPECT_NE(printed(defining + "(declare-fun x_times_y (Int) Int)\n" + uses)
                .find("(define-fun $1 () (_ BitVec 32) (bvmul x y))"),
            std::string::npos);
}

/// Of one that has none, z3 would do less with it before it searches.
TEST(TellingNames, AreNoReasonToDefine) {
  const std::string uses = replaced(uses_of_product, "x_times_y", "(bvmul x y)");
  EXPECT_EQ(printed(bits + "(assert (or p (not p)))\n" + uses), bits + "(assert true)\n" + uses);
  // Some save more than a quarter of the text.
  const std::string sum = "(bvadd (bvmul x x x y y) (bvmul x x y y y) (bvmul x x x x y y))";
  const std::string long_uses = replaced(uses_of_product, "x_times_y", sum);
  const std::string once = printed(bits + long_uses);
  EXPECT_NE(once.find("(define-fun $1 () (_ BitVec 32) " + sum), std::string::npos) << once;
  EXPECT_EQ(printed(once), once);
}

// Other constants of these names make other terms, which have no right to the name.
TEST(TellingNames, BelongToOneTerm) {
  const std::string uses = defining + replaced(uses_of_product, "x_times_y", "(bvmul x y)");
  const std::string defined = defining + definition + uses_of_product;
  const std::string number = replaced(defined, "x_times_y", "$1");
  EXPECT_EQ(printed("(push 1)\n" + uses + "(pop 1)\n" + uses + "(assert (or p (not p)))\n"),
            "(push 1)\n" + defined + "(pop 1)\n" + number + "(assert true)\n");
}

// Nothing that the user defined is taken for the printer's own, whatever it is called.
TEST(TellingNames, OfTheUserStay) {
  for (const char* name : {"x_times_y", "$1", "$7"}) {
    const std::string used = bits + replaced(definition + uses_of_product, "x_times_y", name);
    EXPECT_EQ(printed(used), used);
    const std::string unused = bits + "(define-fun " + name + " () (_ BitVec 32) (bvmul x y))\n(assert p)\n";
    EXPECT_EQ(printed(unused), unused);
    EXPECT_EQ(printed(unused + "(assert (or p (not p)))\n"), unused + "(assert true)\n");
  }
}

const std::string four =
    "(declare-fun f ((_ BitVec 32) (_ BitVec 32) (_ BitVec 32) (_ BitVec 32)) (_ BitVec 32))\n";

/// The normal form is for comparing: it has numbers.
TEST(TellingNames, AreForPeople) {
  const std::string formula = "(bvult (bvmul (f x x x y) (f x x x y)) (bvmul y (f x x x y)))";
  EXPECT_NE(last_command(bits + four, formula).find("(let ((f_x_x_x_y "), std::string::npos);
  EXPECT_NE(printed(bits + four + "(assert " + formula + ")", false).find("(let ((?1 (f x x x y)))"),
            std::string::npos);
}

}  // namespace
}  // namespace quarv::smtlib
