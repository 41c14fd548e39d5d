/// \file
/// Functions of one name that differ in Int and Real alone: every way through the program, with z3 as reader.
#include "program_fixture.h"

namespace {

constexpr const char* overload_modes[] = {"", "--canonical", "--no-rules", "--no-simplifiers",
                                          "--share none"};

const std::string overload_declarations =
    "(declare-const x Int)\n(declare-const y Real)\n(declare-fun f (Int) Int)\n(declare-fun f (Real) Real)\n";

class Overloads : public Program {
 protected:
  /// What z3 says of a script; its complaints are part of it.
  std::string verdict(const std::string& script) const { return run("z3 -in", script).out; }

  /// z3 answers alike before and after; the output is a fixed point, certified and replayed.
  void expect_kept(const std::string& assertions) const {
    const std::string script = overload_declarations + assertions + "(check-sat)\n";
    const std::string before = verdict(script);
    EXPECT_TRUE(before == "sat\n" || before == "unsat\n") << script << before;
    for (const std::string mode : overload_modes) {
      const Result r = run("$quarv simplify " + mode, script);
      ASSERT_EQ(r.status, 0) << mode << r.err;
      EXPECT_EQ(verdict(r.out), before) << mode << '\n' << script << r.out;
      EXPECT_EQ(run("$quarv simplify " + mode, r.out).out, r.out) << mode;
    }
    const Result certified = run("$quarv certify --solver z3 --steps", script);
    EXPECT_EQ(certified.status, 0) << script << certified.out << certified.err;
    const Result replayed = run("$quarv simplify -o out.smt2 --trace steps && $quarv replay steps", script);
    EXPECT_EQ(replayed.status, 0) << script << replayed.out << replayed.err;
  }
};

TEST_F(Overloads, AreToldApartByExactSorts) {
  for (const char* assertions :
       {"(assert (= (f 1) 2))\n(assert (= (f 1.0) 2.5))\n",  // one function could not have both values
        "(assert (= (f 1) 2))\n(assert (= (f 1) 3))\n",
        "(assert (= (f 1.0) 2.0))\n(assert (= (f (to_real 1)) 3.0))\n",
        "(assert (= (f (/ 4 2)) 2.5))\n(assert (= (f 2) 2))\n",
        "(assert (= (f (to_real x)) 0.5))\n(assert (= (f x) 1))\n",
        "(assert (= (f (+ x 0.0)) 0.5))\n(assert (= (f (+ x 0)) 1))\n",
        "(assert (= (f (ite (> x 0) 1.0 2.0)) 0.5))\n(assert (= (f (ite (> x 0) 1 2)) 1))\n",
        "(assert (let ((z 1.0)) (= (f z) 0.5)))\n(assert (let ((z 1)) (= (f z) 0)))\n",
        "(define-fun one () Real 1.0)\n(assert (= (f one) 0.5))\n(assert (= (f 1) 1))\n",
        "(assert (> (! 1.0 :named one) y))\n(assert (= (f one) 0.5))\n(assert (= (f 1) 1))\n",
        "(assert (forall ((a Real)) (! (> (f a) 0.5) :pattern ((f a)))))\n(assert (= (f 1) 0))\n",
        "(assert (forall ((a Int)) (! (> (f (to_real a)) 0.5) :pattern ((f (to_real a))))))\n(assert (= (f "
        "3) 0))\n",
        "(declare-const a (Array Int Real))\n(assert (= (f (select (store a 0 1.0) 0)) 0.5))\n(assert (= (f "
        "1) 1))\n",
        "(assert (= (f (f x)) 1))\n(assert (= (f (f y)) 0.5))\n(assert (= (f (f 1.0)) (f (f 1))))\n",
        "(push 1)\n(declare-fun f (Bool) Int)\n(assert (= (f true) 1))\n(assert (= (f 1.0) 1.5))\n(pop "
        "1)\n"}) {
    expect_kept(assertions);
  }
}

TEST_F(Overloads, TakeAnIntForARealWhereNoneIsExact) {
  for (const char* assertions : {"(declare-fun g (Real Real) Int)\n(declare-fun g (Int Int) Real)\n(assert "
                                 "(= (g x y) 1))\n(assert (= (g x x) 0.5))\n",
                                 "(declare-fun g (Real) Real)\n(declare-fun g (Real Real) Real)\n(assert (= "
                                 "(g 1) 0.5))\n(assert (= (g 1 x) 0.5))\n",
                                 "(declare-fun g (Real) Real)\n(declare-fun g ((_ BitVec 8)) Real)\n(assert "
                                 "(= (g 1) 0.5))\n(assert (= (g #x01) 1))\n"}) {
    expect_kept(assertions);
  }
}

TEST_F(Overloads, OfALaterDeclarationDoNotTakeEarlierArguments) {
  // As it is written, (g x) would be the other function at the second place.
  expect_kept(
      "(declare-fun g (Real) Bool)\n(assert (or (g x) (= y 0.5) (= y 0.5)))\n(declare-fun g (Int) Bool)\n"
      "(assert (g (to_real x)))\n(assert (not (g x)))\n");
  expect_kept(
      "(declare-fun g (Int) Bool)\n(assert (or (g 7.0) (= y 0.5) (= y 0.5)))\n(declare-fun g (Real) Bool)\n"
      "(assert (g 7))\n(assert (not (g 7.0)))\n");
}

TEST_F(Overloads, ThatTakeArgumentsEquallyWellAreRefused) {
  const Result r =
      run("$quarv simplify",
          "(declare-fun f (Real Int) Int)\n(declare-fun f (Int Real) Int)\n(assert (= (f 1 1) 1))\n");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.substr(0, r.err.find('\n')),
            "<stdin>:3:12: error: f: several declarations take arguments of sorts (Int Int)");
  EXPECT_EQ(run("$quarv simplify",
                "(declare-fun f (Bool) Int)\n(declare-fun f (Int Real) Int)\n"
                "(assert (= (f 1.0 1) 1))\n")
                .status,
            0);
}

TEST_F(Overloads, AreKnownInTheDialogue) {
  EXPECT_EQ(run("$quarv repl",
                overload_declarations + "(simplify (f 1.0))\n(simplify (f 1))\n(simplify (f (to_real x)))\n")
                .out,
            "(f 1.0)\n(f 1)\n(f (to_real x))\n");
}

}  // namespace
