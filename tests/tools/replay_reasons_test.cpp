/// \file
/// Single steps, each from one formula to another: those that hold are justified, and none that looks like
/// them and does not.
#include <span>
#include <vector>

#include <nlohmann/json.hpp>

#include "program_fixture.h"
#include "support/test_scale.h"

namespace {

using Json = nlohmann::json;

struct Formulas {
  const char* before;
  const char* after;
  bool holds;
};

class ReplayReasons : public Program {
 protected:
  /// Steps are justified if and only if they hold.
  void expect_justified(const std::string& declarations, std::span<const Formulas> steps) {
    for (const Formulas& s : quarv::one_in_when_sanitized(3, steps))
      EXPECT_EQ(justifies(declarations, s.before, s.after), s.holds) << s.before << " is " << s.after;
  }

  /// Formulas that are written and printed without a step between them are tied if and only if they are
  /// equal.
  void expect_tied(const std::string& declarations, std::span<const Formulas> pairs) {
    for (const Formulas& p : quarv::one_in_when_sanitized(3, pairs)) {
      const std::string before = written_part(declarations, p.before);
      const std::string after = written_part(declarations, p.after);
      const bool tied = run("$quarv replay -", before + before + after + after).status == 0;
      EXPECT_EQ(tied, p.holds) << p.before << " is " << p.after;
    }
  }

 private:
  std::string written_part(const std::string& declarations, const std::string& formula) {
    write("in.smt2", declarations + "(assert " + formula + ")\n");
    EXPECT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace trace.jsonl").status, 0);
    return as_written(read("trace.jsonl"));
  }

  /// Whether a trace is justified whose only step leads from the one formula, an application, to the other.
  bool justifies(const std::string& declarations, const std::string& before, const std::string& after) {
    write("in.smt2", declarations + "(assert " + before + ")\n(assert " + after + ")\n");
    EXPECT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace trace.jsonl").status, 0);
    std::string text;
    std::vector<Json> lines;
    std::vector<std::uint64_t> formulas;
    std::istringstream in(as_written(read("trace.jsonl")));
    for (std::string line; std::getline(in, line);) {
      const Json json = Json::parse(line);
      if (json.contains("assertion")) {
        formulas.push_back(json["term"]);
      } else {
        text += line + '\n';
        lines.push_back(json);
      }
    }
    EXPECT_EQ(formulas.size(), 2u);
    for (Json line : lines) {
      if (!line.contains("op") || line["term"] != formulas[0]) continue;
      line.erase("term");
      line["step"] = line["assertion"] = 1;
      line["simplifier"] = line["op"];
      line["after"] = formulas[1];
      return run("$quarv replay -", text + line.dump() + '\n').status == 0;
    }
    ADD_FAILURE() << before << " is no application of an operator";
    return false;
  }

  /// The part of a trace that has the input as it is written, and no steps.
  static std::string as_written(const std::string& trace) {
    const std::size_t begin = trace.find("{\"trace\":", 1);
    return trace.substr(begin, trace.find("{\"trace\":", begin + 1) - begin);
  }
};

/// The integer part of t divided by a number is that of the integer part of t divided by it.
TEST_F(ReplayReasons, RemaindersOfIntegerParts) {
  const std::string declared = "(declare-const j Int)(declare-const k Int)(declare-const r Real)";
  const Formulas steps[] = {
      {"(<= 0 (+ (div j 3) (* (- 4) (div j 12))))", "true", true},
      {"(<= (+ (div j 3) (* (- 4) (div j 12))) 3)", "true", true},
      {"(<= 1 (+ (div j 3) (* (- 4) (div j 12))))", "true", false},
      {"(<= (+ (div j 3) (* (- 4) (div j 12))) 2)", "true", false},
      {"(<= 0 (+ (div j 3) (* (- 3) (div j 12))))", "true", false},
      {"(<= 0 (+ (div j 3) (* (- 4) (div (+ j 1) 12))))", "true", false},
      {"(<= 0 (+ (div j 3) (* (- 4) (div (+ j 24) 12)) 8))", "true", true},
      {"(<= 0 (+ (* 2 (div (* 7 j) 3)) (* (- 8) (div (* 7 j) 12))))", "true", true},
      {"(<= 0 (+ (* 2 (div (* 7 j) 3)) (* (- 8) (div (* 5 j) 12))))", "true", false},
      {"(<= 0 (+ (* (- 1) (div j 3)) (* 4 (div j 12))))", "true", false},
      {"(<= 0 (+ (* (- 1) (div j 3)) (* 4 (div j 12)) 3))", "true", true},
      {"(<= 0 (+ (to_int r) (* (- 2) (to_int (* 0.5 r)))))", "true", true},
      {"(<= 0 (+ (to_int r) (* (- 2) (to_int (* 0.5 (+ r 0.5))))))", "true", false},
      {"(<= 0 (+ (to_int r) (* 2 (to_int (* (- 0.5) r)))))", "true", false},
      {"(<= 0 (+ (div (+ j k) 3) (* (- 2) (div (+ j k) 6))))", "true", true},
      {"(<= 0 (+ (div (+ j k) 3) (* (- 2) (div (+ j (* 2 k)) 6))))", "true", false},
  };
  expect_justified(declared, steps);
}

/// Bounds of a remainder say which one it is.
TEST_F(ReplayReasons, BoundsOfSmallRemainders) {
  const std::string declared = "(declare-const j Int)(declare-const k Int)";
  const Formulas steps[] = {
      {"(= (abs (mod j 2)) (mod j 2))", "true", true},
      {"(<= (mod j 2) 0)", "(= (mod j 2) 0)", true},
      {"(<= (mod j 2) 0)", "(= (mod j 2) 1)", false},
      {"(<= (mod j 2) 0)", "(not (= (mod j 2) 1))", true},
      {"(<= (mod j 3) 1)", "(not (= (mod j 3) 2))", true},
      {"(<= (mod j 3) 1)", "(= (mod j 3) 1)", false},
      {"(<= (mod j 3) 1)", "(or (= (mod j 3) 1) (<= (mod j 3) 0))", true},
      {"(<= 2 (mod j 4))", "(or (= (mod j 4) 2) (= (mod j 4) 3))", true},
      {"(<= 2 (mod j 4))", "(or (= (mod j 4) 1) (= (mod j 4) 3))", false},
      {"(<= (mod j 5) 2)", "(<= 2 (mod (* (- 1) j) 5))", false},
      {"(= (mod j 5) 2)", "(= (mod (* (- 1) j) 5) 3)", true},
      {"(= (mod j 5) 2)", "(= (mod (* (- 1) j) 5) 2)", false},
      {"(= (mod (* 2 j) 4) 2)", "(= (mod (* (- 2) j) 4) 2)", true},
      {"(= (mod (* 2 j) 4) 2)", "(= (mod (* 2 j) 4) 0)", false},
      {"(and (= (mod (+ j k) 3) 1) (= (mod (+ j k) 3) 2))", "false", true},
      {"(and (= (mod (+ j k) 3) 1) (= (mod (- j k) 3) 2))", "false", false},
      {"(or (= (mod j 3) 0) (or (= (mod j 3) 1) (= (mod j 3) 2)))", "true", true},
      {"(or (= (mod j 4) 0) (or (= (mod j 4) 1) (= (mod j 4) 2)))", "true", false},
      {"(<= (mod j 16) 14)", "(not (= (mod j 16) 15))", true},
      {"(<= (mod j 16) 14)", "(not (= (mod j 16) 14))", false},
      {"((_ divisible 2) j)", "(not ((_ divisible 2) (+ j 1)))", true},
      {"((_ divisible 3) j)", "(not ((_ divisible 3) (+ j 1)))", false},
  };
  expect_justified(declared, steps);
}

/// A product is 0 where a factor is.
TEST_F(ReplayReasons, ProductsThatAreZero) {
  const std::string declared =
      "(declare-const i Int)(declare-const j Int)(declare-const r Real)(declare-const p Bool)";
  const Formulas steps[] = {
      {"(= (* i i) 0)", "(= i 0)", true},
      {"(= (* i i) 1)", "(= i 1)", false},
      {"(= (* i i) j)", "(= i j)", false},
      {"(= (* i (* j i)) 0)", "(= (* i j) 0)", true},
      {"(= (* i (* j i)) 0)", "(= j 0)", false},
      {"(= (* i (* j i)) 0)", "(or (= i 0) (= j 0))", true},
      {"(= (* i (* j i)) 0)", "(and (= i 0) (= j 0))", false},
      {"(= (* r (* r r)) 0.0)", "(= r 0.0)", true},
      {"(= (* r (* r r)) r)", "(= (* r r) 1.0)", false},
      {"(= (* r (* r r)) r)", "(or (= r 0.0) (= (* r r) 1.0))", true},
      {"(= (* j (ite p 4 7)) 0)", "(= j 0)", true},
      {"(= (* j (ite p 4 0)) 0)", "(= j 0)", false},
      {"(= (* i (+ j 1)) 0)", "(= i 0)", false},
      {"(= (+ (* i j) (* i i)) 0)", "(or (= i 0) (= (+ i j) 0))", true},
      {"(= (+ (* i j) (* i i)) 0)", "(or (= i 0) (= j 0))", false},
  };
  expect_justified(declared, steps);
}

/// A choice between arrays is equal to another array where the one that is chosen is.
TEST_F(ReplayReasons, EquationsOfChoicesBetweenArrays) {
  const std::string declared = R"((declare-const p Bool)(declare-const q Bool)
(declare-const m (Array Int Int))(declare-const n (Array Int Int))(declare-const i Int)(declare-const j Int)
)";
  const Formulas steps[] = {
      {"(= (ite p n (store n 3 j)) n)", "(or p (= j (select n 3)))", true},
      {"(= n (ite p n (store n 3 j)))", "(or p (= j (select n 3)))", true},
      {"(= (ite p n (store n 3 j)) n)", "(or (not p) (= j (select n 3)))", false},
      {"(= (ite p n (store n 3 j)) n)", "(or p (= j (select n 4)))", false},
      {"(= (ite p n (store n 3 j)) n)", "(or p (= j (select m 3)))", false},
      {"(= (ite p m (store n 3 j)) n)", "(or p (= j (select n 3)))", false},
      {"(= (ite p m (store n 3 j)) n)", "(ite p (= m n) (= j (select n 3)))", true},
      {"(= (ite p m (ite q n (store n i j))) n)", "(ite p (= n m) (or q (= j (select n i))))", true},
      {"(= (ite p m (ite q n (store n i j))) n)", "(ite q (= n m) (or p (= j (select n i))))", false},
      {"(= (ite p (store m i j) n) (ite p m (store n j i)))", "(ite p (= j (select m i)) (= i (select n j)))",
       true},
      {"(= (ite p (store m i j) n) (ite q m (store n j i)))", "(ite p (= j (select m i)) (= i (select n j)))",
       false},
  };
  expect_justified(declared, steps);
}

/// Where nothing is rounded, how it would be does not matter; a sign that changes twice stays.
TEST_F(ReplayReasons, ConversionsAndSignsOfFloats) {
  const std::string declared = R"((declare-const rm RoundingMode)
(declare-const h Float16)(declare-const f Float32)(declare-const g Float32)(declare-const b (_ BitVec 8))
(declare-const r Real)
)";
  const Formulas steps[] = {
      {"(= ((_ to_fp 8 24) RTZ ((_ to_fp 11 53) rm f)) f)", "true", true},
      {"(= ((_ to_fp 11 53) RTZ ((_ to_fp 8 24) rm ((_ to_fp 11 53) RTP f))) ((_ to_fp 11 53) RNE f))",
       "true", true},
      {"(= ((_ to_fp 8 24) rm ((_ to_fp 5 11) rm f)) f)", "true", false},
      {"(= ((_ to_fp 8 24) rm ((_ to_fp 7 30) rm f)) f)", "true", false},
      {"(= ((_ to_fp 8 24) rm ((_ to_fp 9 23) rm f)) f)", "true", false},
      {"(= ((_ to_fp 5 11) RTZ ((_ to_fp 11 53) rm f)) ((_ to_fp 5 11) RTZ f))", "true", true},
      {"(= ((_ to_fp 5 11) RTZ ((_ to_fp 11 53) rm f)) ((_ to_fp 5 11) RTP f))", "true", false},
      {"(= ((_ to_fp 11 53) rm ((_ to_fp 8 24) rm h)) ((_ to_fp 11 53) rm h))", "true", true},
      {"(= ((_ to_fp 5 11) RNE ((_ to_fp 6 12) RNE f)) ((_ to_fp 5 11) RNE f))", "true", false},
      {"(fp.isNaN ((_ to_fp 5 11) rm f))", "(fp.isNaN f)", true},
      {"(fp.isInfinite ((_ to_fp 11 53) rm f))", "(fp.isInfinite f)", true},
      {"(fp.isInfinite ((_ to_fp 5 11) rm f))", "(fp.isInfinite f)", false},
      {"(fp.isZero ((_ to_fp 11 53) rm f))", "(fp.isZero f)", true},
      {"(fp.isZero ((_ to_fp 5 11) rm f))", "(fp.isZero f)", false},
      {"(fp.isNegative ((_ to_fp 5 11) rm f))", "(fp.isNegative f)", true},
      {"(fp.isSubnormal ((_ to_fp 11 53) rm f))", "(fp.isSubnormal f)", false},
      {"(fp.isNaN ((_ to_fp 5 11) rm b))", "false", true},
      {"(fp.isNaN ((_ to_fp_unsigned 5 11) rm b))", "false", true},
      {"(fp.isNaN ((_ to_fp 5 11) rm r))", "false", true},
      {"(fp.isNaN ((_ to_fp 4 4) b))", "false", false},
      {"(fp.isInfinite ((_ to_fp 3 4) rm b))", "false", false},
      {"(= (fp.mul RTP (fp.neg f) (fp.neg g)) (fp.mul RTP g f))", "true", true},
      {"(= (fp.mul RTP (fp.neg f) g) (fp.mul RTP f (fp.neg g)))", "true", true},
      {"(= (fp.mul RTP (fp.neg f) g) (fp.neg (fp.mul RTP f g)))", "true", false},
      {"(= (fp.mul RTP (fp.neg f) g) (fp.mul RTP f g))", "true", false},
      {"(= (fp.mul RTP (fp.abs f) (fp.abs g)) (fp.mul RTP f g))", "true", false},
      {"(= (fp.div rm (fp.neg f) g) (fp.div rm f (fp.neg g)))", "true", true},
      {"(= (fp.div rm f g) (fp.div rm g f))", "true", false},
      {"(= (fp.div rm (fp.neg f) (fp.neg g)) (fp.div rm f g))", "true", true},
      {"(= (fp.div rm (fp.neg f) (fp.neg g)) (fp.div RNE f g))", "true", false},
  };
  expect_justified(declared, steps);
}

/// What is negated is opened, too; what is left of a variable may hold for some value, whatever it is.
TEST_F(ReplayReasons, QuantifiedVariablesThatDecideNothing) {
  const std::string declared = R"((declare-const x Int)(declare-const y Int)
(declare-const a (_ BitVec 8))(declare-const c (_ BitVec 8))(declare-fun p (Int) Bool)
)";
  const Formulas steps[] = {
      {"(forall ((u Int)) (not (and (<= 0 u) (and (not (<= 0 x)) (<= y 1)))))",
       "(or (<= 0 x) (not (<= y 1)))", true},
      {"(forall ((u Int)) (not (and (<= 0 u) (and (not (<= 0 x)) (<= y 1)))))", "(or (<= 0 x) (<= y 1))",
       false},
      {"(exists ((u Int)) (not (or (<= 0 u) (or (<= 0 x) (p y)))))", "(and (not (<= 0 x)) (not (p y)))",
       true},
      {"(exists ((u Int)) (not (or (p u) (or (<= 0 x) (<= y 1)))))", "(and (not (<= 0 x)) (not (<= y 1)))",
       false},
      {"(forall ((u Int) (v Int)) (or (p u) (not (and (<= u 2) (= (+ (* 3 y) v) 9)))))",
       "(forall ((u Int)) (or (p u) (not (<= u 2))))", true},
      {"(forall ((u Int) (v Int)) (or (p u) (not (and (<= u 2) (= (+ (* 3 y) (* 2 v)) 9)))))",
       "(forall ((u Int)) (or (p u) (not (<= u 2))))", false},
      {"(forall ((u Int)) (not (not (or (p u) (p x)))))", "(or (p x) (forall ((u Int)) (p u)))", true},
      {"(forall ((u Int)) (not (or (p u) (p x))))", "(or (not (p x)) (forall ((u Int)) (not (p u))))", false},
      {"(forall ((u Int)) (or (<= 1 u) (not (and (<= 0 u) (<= y 2)))))", "(not (<= y 2))", true},
      {"(forall ((u Int)) (or (<= 0 u) (not (and (<= 0 u) (<= y 2)))))", "(not (<= y 2))", false},
      {"(exists ((u Int)) (and (<= (* 2 u) 3) (not (<= (* 3 u) 2)) (<= y 2)))", "(<= y 2)", true},
      {"(exists ((u Int)) (and (<= (* 3 u) 5) (not (<= (* 3 u) 3)) (<= y 2)))", "(<= y 2)", false},
      {"(exists ((u Int)) (and (<= (* (- 2) u) 3) (not (<= (* (- 2) u) 1)) (<= y 2)))", "(<= y 2)", true},
      {"(exists ((u Int)) (and (<= (* (- 2) u) 3) (not (<= (* (- 2) u) 2)) (<= y 2)))", "(<= y 2)", false},
      {"(exists ((s Real)) (and (<= (* 3.0 s) 5.0) (not (<= (* 3.0 s) 3.0)) (<= y 2)))", "(<= y 2)", true},
      {"(exists ((s Real)) (and (<= s 5.0) (not (<= s 5.0)) (<= y 2)))", "(<= y 2)", false},
      {"(exists ((s Real)) (and (<= s 5.0) (<= 5.0 s) (<= y 2)))", "(<= y 2)", true},
      {"(exists ((u Int)) (or (p u) (<= (+ u x) y)))", "true", true},
      {"(exists ((u Int)) (or (p u) (<= x y)))", "true", false},
      {"(forall ((u Int)) (not (or (p u) (<= (+ u x) y))))", "false", true},
      {"(exists ((u Int)) (not (or (p u) (<= (+ u x) y))))", "true", false},
      {"(exists ((z (_ BitVec 8))) (= (bvadd z #x01) a))", "true", true},
      {"(exists ((z (_ BitVec 8))) (= (bvsub a (bvnot z)) (bvmul c c)))", "true", true},
      {"(exists ((z (_ BitVec 8))) (and (p x) (= (bvxor c (bvneg z)) a)))", "(p x)", true},
      {"(exists ((z (_ BitVec 8))) (= (bvadd z z) a))", "true", false},
      {"(exists ((z (_ BitVec 8))) (= (bvadd z #x01) (bvmul z a)))", "true", false},
      {"(exists ((z (_ BitVec 8))) (= (bvmul z c) a))", "true", false},
      {"(exists ((z (_ BitVec 8))) (not (= (bvadd z #x01) a)))", "false", false},
      {"(forall ((z (_ BitVec 8))) (not (= (bvadd z #x01) a)))", "false", true},
      {"(forall ((z (_ BitVec 8))) (= (bvadd z #x01) a))", "true", false},
      {"(exists ((z Bool)) (not (= z (p x))))", "true", true},
      {"(forall ((z Bool)) (= z (p x)))", "false", true},
      {"(exists ((z Bool)) (not (= z (and z (p x)))))", "true", false},
      {"(forall ((z Bool)) (= z (or z (p x))))", "false", false},
      {"(forall ((z (_ BitVec 8))) (or (p x) (not (= (bvadd z c) a))))", "(p x)", true},
      {"(forall ((z (_ BitVec 8))) (or (= z c) (not (= (bvadd z c) a))))", "false", false},
  };
  expect_justified(declared, steps);
}

/// A number is less than one more than its integer part.
TEST_F(ReplayReasons, BoundsOfIntegerParts) {
  const std::string declared = "(declare-const x Real)(declare-const i Int)(declare-const m (Array Int Int))";
  const Formulas steps[] = {
      {"(<= (+ (to_real (to_int x)) 1.0) x)", "false", true},
      {"(= (+ (to_real (to_int x)) 1.0) x)", "false", true},
      {"(<= (to_real (to_int x)) x)", "true", true},
      {"(<= x (to_real (to_int x)))", "false", false},
      {"(<= (+ (to_real (to_int x)) 0.5) x)", "false", false},
      {"(<= (+ (to_real (to_int (* 2.0 x))) 1.0) (* 2.0 x))", "false", true},
      {"(<= (+ (to_real (to_int (* 2.0 x))) 1.0) x)", "false", false},
      {"(<= x (+ (to_real (to_int x)) 1.0))", "true", true},
      {"(= (store (store (store m 1 i) 2 7) 1 (select m 1)) (store m 2 7))", "true", true},
      {"(= (store (store (store m 1 i) 1 7) 1 (select m 1)) m)", "true", true},
      {"(= (store (store (store m 1 8) i 7) 1 (select m 1)) (store m i 7))", "true", false},
      {"(= (store (store (store m 1 i) 2 7) 1 (select m 2)) (store m 2 7))", "true", false},
  };
  expect_justified(declared, steps);
}

/// In whatever order it is multiplied.
TEST_F(ReplayReasons, ProductsOfManyFactors) {
  const std::string declared = "(declare-const r Real)(declare-const s Real)";
  const Formulas steps[] = {
      {"(= (* r r r r r r r r s (+ s 1.0)) (+ (* s r r r s r r r r r) (* s r r r r r r r r)))", "true", true},
      {"(= (* r r r r r r r r s (+ s 1.0)) (+ (* s r r r s r r r r r) (* s r r r s r r r r)))", "true",
       false},
  };
  expect_justified(declared, steps);
}

/// A quotient by a constant, and the remainder, have zeros on top.
TEST_F(ReplayReasons, BoundsOfWideQuotients) {
  const std::string declared =
      "(declare-const x (_ BitVec 32))(declare-const y (_ BitVec 32))(declare-const b (_ BitVec 8))"
      "(declare-const p Bool)";
  const Formulas steps[] = {
      {"(= (bvurem (ite p #xffffffff #x00000000) #x0000000a) (ite p #x00000005 #x00000000))", "true", true},
      {"(= (bvurem (ite p #xffffffff #x00000000) #x0000000a) (ite p #x00000006 #x00000000))", "true", false},
      {"(= (bvurem (ite p #xffffffff x) #x0000000a) (ite p #x00000005 #x00000000))", "true", false},
      {"(= (bvudiv (ite p #xffffffff #x00000007) (ite p #x00000010 #x00000000)) (ite p #x0fffffff "
       "#xffffffff))",
       "true", true},
      {"(= (bvsdiv (ite p #xfffffff9 #x00000007) #x00000002) (ite p #xfffffffd #x00000003))", "true", true},
      {"(= (bvsdiv (ite p #xfffffff9 #x00000007) #x00000002) (ite p #xfffffffc #x00000003))", "true", false},
      {"(= ((_ extract 31 7) (bvurem x #x00000064)) (_ bv0 25))", "true", true},
      {"(= ((_ extract 31 6) (bvurem x #x00000064)) (_ bv0 26))", "true", false},
      {"(= ((_ extract 31 7) (bvurem x #x00000081)) (_ bv0 25))", "true", false},
      {"(bvult (bvashr (bvudiv x #x00000003) #x0000001f) #x00000001)", "true", true},
      {"(= ((_ extract 31 30) (bvudiv x #x00000005)) #b00)", "true", true},
      {"(= ((_ extract 31 30) (bvudiv x #x00000003)) #b00)", "true", false},
      {"(= ((_ extract 31 7) (bvudiv ((_ zero_extend 24) b) #x00000003)) (_ bv0 25))", "true", true},
      {"(= ((_ extract 31 6) (bvudiv ((_ zero_extend 24) b) #x00000003)) (_ bv0 26))", "true", false},
      {"(= ((_ extract 31 8) (bvurem ((_ zero_extend 24) b) y)) (_ bv0 24))", "true", true},
      {"(= ((_ extract 31 7) (bvurem ((_ zero_extend 24) b) y)) (_ bv0 25))", "true", false},
      {"(= ((_ extract 31 8) (bvudiv ((_ zero_extend 24) b) y)) (_ bv0 24))", "true", false},
      {"(= (bvurem #x00000000 y) #x00000000)", "true", true},
      {"(= (bvudiv #x00000000 y) #x00000000)", "true", false},
  };
  expect_justified(declared, steps);
}

TEST_F(ReplayReasons, KnowsBoundsOfVariables) {
  const std::string declared =
      "(declare-const x Real) (declare-const y Real) (declare-const i Int) (declare-const j Int)"
      "(declare-const p Bool)";
  const Formulas steps[] = {
      {"(exists ((z Real)) (and (< x z) (< z y)))", "(< x y)", true},
      {"(exists ((z Real)) (and (< x z) (< z y)))", "(<= x y)", false},
      {"(exists ((z Real)) (and (<= x z) (<= z y)))", "(<= x y)", true},
      {"(exists ((z Real)) (and (<= x z) (< z y)))", "(<= x y)", false},
      {"(exists ((z Real)) (and (< x (* 2.0 z)) (< (* 3.0 z) y)))", "(< (* 3.0 x) (* 2.0 y))", true},
      {"(exists ((z Real)) (and (< x (* 2.0 z)) (< (* 3.0 z) y)))", "(< (* 2.0 x) (* 3.0 y))", false},
      {"(forall ((z Real)) (or (< z x) (< y z)))", "(< y x)", true},
      {"(forall ((z Real)) (or (< z x) (<= y z)))", "(< y x)", false},
      {"(exists ((z Real)) (and (< x z) (< 1.0 z) (< z y) (< z 5.0)))", "(and (< x y) (< 1.0 y) (< x 5.0))",
       true},
      {"(exists ((z Real)) (and (< x z) (< 1.0 z) (< z y) (< z 5.0)))", "(and (< x y) (< x 5.0))", false},
      {"(exists ((z Int)) (and (< i z) (< z j)))", "(< (+ i 1) j)", true},
      {"(exists ((z Int)) (and (< i z) (< z j)))", "(< i j)", false},
      {"(exists ((z Int)) (and (<= i (* 2 z)) (<= z j)))", "(<= i (* 2 j))", true},
      {"(exists ((z Int)) (and (<= i (* 2 z)) (<= (* 2 z) j)))", "(<= i j)", false},
      {"(exists ((z Int)) (and (< i z) (< j z)))", "true", true},
      {"(exists ((z Int)) (and (<= 4 z) (<= (* 2 z) 7) (< i z)))", "false", true},
      {"(exists ((z Int)) (and (<= 3 z) (<= (* 2 z) 7) (< i z)))", "false", false},
      {"(exists ((z Int)) (and (< x (to_real z)) (< (to_real z) y)))", "(< x y)", false},
      {"(exists ((z Int)) (and (< i z) (< z (* z z)) (< z j)))", "(< (+ i 1) j)", false},
      {"(forall ((z Int)) (=> (and (<= 0 z) (<= z i)) (<= z j)))", "(or (< i 0) (<= i j))", true},
      {"(forall ((z Int)) (=> (and (<= 0 z) (<= z i)) (<= z j)))", "(<= i j)", false},
  };
  expect_justified(declared, steps);
}

TEST_F(ReplayReasons, KnowsSquaresResiduesAndIntegerParts) {
  const std::string declared =
      "(declare-const x Real) (declare-const y Real) (declare-const i Int) (declare-const j Int)";
  const Formulas steps[] = {
      {"(= (+ (* x x) 1.0) 0.0)", "false", true},
      {"(= (- (* x x) 1.0) 0.0)", "false", false},
      {"(<= 0.0 (+ (* x x) (* 2.0 y y)))", "true", true},
      {"(<= 0.0 (+ (* x x) (* 2.0 x y)))", "true", false},
      {"(<= 0.0 (- (* x x) (* y y)))", "true", false},
      {"(<= 0.0 (* x x x))", "true", false},
      {"(<= 0.0 (* x x x x))", "true", true},
      {"(<= (+ (* x x) (* y y)) 0.0)", "(and (= x 0.0) (= y 0.0))", true},
      {"(<= (+ (* x x) (* y y)) 0.0)", "(= x 0.0)", false},
      {"(= (+ (* x x y y) (* y y)) 0.0)", "(= y 0.0)", true},
      {"(= (+ (* x x y y) (* x x)) 0.0)", "(= y 0.0)", false},
      {"(and (= (mod i 4) 1) (= (mod i 2) 1))", "(= (mod i 4) 1)", true},
      {"(and (= (mod i 4) 1) (= (mod i 2) 1))", "(= (mod i 2) 1)", false},
      {"(and (= (mod i 6) 4) (= (mod i 4) 1))", "false", true},
      {"(and (= (mod i 6) 4) (= (mod i 4) 2))", "false", false},
      {"(and (= (mod i 6) 4) (= (mod i 4) 2))", "(= (mod i 12) 10)", true},
      {"(and (= (mod i 6) 4) (= (mod i 4) 2))", "(= (mod i 12) 4)", false},
      {"(or (= (mod i 3) 0) (= (mod i 3) 1))", "(not (= (mod i 3) 2))", true},
      {"(or (= (mod i 4) 0) (= (mod i 4) 1))", "(not (= (mod i 4) 2))", false},
      {"(and (= (mod (* 3 i) 4) 3) (= (mod i 2) 0))", "false", true},
      {"(= (mod (mod i 4) 6) j)", "(= (mod i 4) j)", true},
      {"(= (mod (mod i 6) 4) j)", "(= (mod i 4) j)", false},
      {"(= (div (mod i 4) 4) j)", "(= j 0)", true},
      {"(= (div (+ (mod i 4) 1) 4) j)", "(= j 0)", false},
      {"(= (div (+ (mod i 4) 2) 6) j)", "(= j 0)", true},
      {"(= (div (+ (mod i 4) 3) 6) j)", "(= j 0)", false},
      {"(= (mod (- i) 2) j)", "(= (mod i 2) j)", true},
      {"(= (mod (- i) 3) j)", "(= (mod i 3) j)", false},
      {"(= (div (+ (* 5 i) j) 4) 1)", "(= (+ i (div (+ i j) 4)) 1)", true},
      {"(= (to_int (+ x 2.5)) i)", "(= (+ 2 (to_int (+ x 0.5))) i)", true},
      {"(= (to_int (+ x 2.5)) i)", "(= (+ 3 (to_int (+ x 0.5))) i)", false},
  };
  expect_justified(declared, steps);
}

/// What is at most so much has zeros on top.
TEST_F(ReplayReasons, BoundsOfSumsAndProducts) {
  const std::string declared =
      "(declare-const x (_ BitVec 32))(declare-const y (_ BitVec 32))(declare-const b (_ BitVec 8))";
  const Formulas steps[] = {
      {"(= ((_ extract 63 58) (bvmul ((_ zero_extend 32) x) ((_ zero_extend 38) ((_ extract 31 6) y)))) (_ "
       "bv0 6))",
       "true", true},
      {"(= ((_ extract 63 57) (bvmul ((_ zero_extend 32) x) ((_ zero_extend 38) ((_ extract 31 6) y)))) (_ "
       "bv0 7))",
       "true", false},
      {"(= ((_ extract 63 58) (bvmul ((_ zero_extend 32) (bvnot x)) ((_ zero_extend 38) ((_ extract 31 6) "
       "y)))) "
       "(_ bv0 6))",
       "true", true},
      {"(= ((_ extract 63 58) (bvmul (bvnot ((_ zero_extend 32) x)) ((_ zero_extend 38) ((_ extract 31 6) "
       "y)))) "
       "(_ bv0 6))",
       "true", false},
      {"(bvslt ((_ extract 63 32) (bvmul ((_ zero_extend 32) (bvnot x)) ((_ zero_extend 33) ((_ extract 31 "
       "1) y)))) "
       "#x00000000)",
       "false", true},
      {"(bvslt ((_ extract 63 32) (bvmul ((_ zero_extend 32) (bvnot x)) ((_ zero_extend 32) y))) #x00000000)",
       "false", false},
      {"(= ((_ extract 63 61) (bvmul ((_ zero_extend 32) x) #x0000000010624dd3)) #b000)", "true", true},
      {"(= ((_ extract 63 60) (bvmul ((_ zero_extend 32) x) #x0000000010624dd3)) #b0000)", "true", false},
      {"(= ((_ extract 31 9) (bvadd ((_ zero_extend 24) b) #x00000003)) (_ bv0 23))", "true", true},
      {"(= ((_ extract 31 8) (bvadd ((_ zero_extend 24) b) #x00000003)) (_ bv0 24))", "true", false},
      {"(= ((_ extract 31 9) (bvadd ((_ zero_extend 24) b) #xfffffffd)) (_ bv0 23))", "true", false},
      {"(= ((_ extract 31 10) (bvadd (bvmul #x00000003 ((_ zero_extend 24) b)) #x000000ff)) (_ bv0 22))",
       "true", true},
      {"(= ((_ extract 31 9) (bvadd (bvmul #x00000003 ((_ zero_extend 24) b)) #x000000ff)) (_ bv0 23))",
       "true", false},
      {"(= ((_ extract 31 31) (bvmul ((_ zero_extend 15) ((_ extract 16 0) x)) ((_ zero_extend 16) ((_ "
       "extract 15 0) "
       "y)))) #b0)",
       "true", false},
      {"(= ((_ extract 31 30) (bvmul ((_ zero_extend 18) ((_ extract 13 0) x)) ((_ zero_extend 16) ((_ "
       "extract 15 0) "
       "y)))) #b00)",
       "true", true},
      {"(= ((_ extract 31 0) (bvmul ((_ zero_extend 32) (bvnot x)) ((_ zero_extend 32) y))) (bvmul (bvnot x) "
       "y))",
       "true", true},
      {"(= ((_ extract 31 0) (bvmul ((_ zero_extend 32) (bvnot x)) ((_ zero_extend 32) y))) (bvmul x y))",
       "true", false},
      {"(= ((_ extract 31 0) (bvmul ((_ zero_extend 32) (bvnot x)) ((_ zero_extend 32) y))) "
       "(bvneg (bvadd y (bvmul x y))))",
       "true", true},
  };
  expect_justified(declared, steps);
}

/// What is 1 where a bit is, and else 0, is that bit with zeros on top.
TEST_F(ReplayReasons, TiedWordsOfOneBit) {
  const std::string declared = R"((declare-const x (_ BitVec 1))(declare-const y (_ BitVec 1))
(declare-const v (_ BitVec 32))(declare-const w (_ BitVec 32))(declare-const p Bool)
)";
  const Formulas pairs[] = {
      {"(= w (ite (= x #b1) #x00000001 #x00000000))", "(= w ((_ zero_extend 31) x))", true},
      {"(= w (ite (= #b1 x) #x00000001 #x00000000))", "(= w ((_ zero_extend 31) x))", true},
      {"(= w (ite (= x #b0) #x00000000 #x00000001))", "(= w ((_ zero_extend 31) x))", true},
      {"(= w (ite (not (= x #b1)) #x00000000 #x00000001))", "(= w ((_ zero_extend 31) x))", true},
      {"(= w (ite (not (= x #b0)) #x00000001 #x00000000))", "(= w ((_ zero_extend 31) x))", true},
      {"(= w (ite (= x #b0) #x00000001 #x00000000))", "(= w ((_ zero_extend 31) x))", false},
      {"(= w (ite (= x #b1) #x00000000 #x00000001))", "(= w ((_ zero_extend 31) x))", false},
      {"(= w (ite (not (= x #b1)) #x00000001 #x00000000))", "(= w ((_ zero_extend 31) x))", false},
      {"(= w (ite (= x #b1) #x00000001 #x00000000))", "(= w ((_ zero_extend 31) y))", false},
      {"(= w (ite (= x y) #x00000001 #x00000000))", "(= w ((_ zero_extend 31) x))", false},
      {"(= w (ite (= x #b1) #x00000002 #x00000000))", "(= w ((_ zero_extend 31) x))", false},
      {"(= w (ite (= x #b1) #x00000001 #x00000001))", "(= w ((_ zero_extend 31) x))", false},
      {"(= w (ite (= x #b1) #xffffffff #x00000000))", "(= w ((_ zero_extend 31) x))", false},
      {"(= w (ite (= x #b1) #x00000001 v))", "(= w ((_ zero_extend 31) x))", false},
      {"(= w (ite (= x #b1) #x00000001 #x00000000))", "(= w ((_ sign_extend 31) x))", false},
      {"(= w (ite (and p (= x #b1)) #x00000001 #x00000000))", "(= w ((_ zero_extend 31) x))", false},
      {"(= y (ite (= x #b1) #b1 #b0))", "(= y x)", true},
      {"(= y (ite (= x #b0) #b0 #b1))", "(= y x)", true},
      {"(= y (ite (= x #b0) #b1 #b0))", "(= y x)", false},
      {"(= y (ite (= y #b1) #b1 #b0))", "(= y x)", false},
      {"(or p (= x #b1))", "(or p (not (= x #b0)))", true},
      {"(or p (= x #b1))", "(or p (= x #b0))", false},
      {"(or p (= x #b1))", "(or p (not (= y #b0)))", false},
      {"(or p (= v #x00000001))", "(or p (not (= v #x00000000)))", false},
  };
  expect_tied(declared, pairs);
}

/// Fields of words, cut out in several ways.
TEST_F(ReplayReasons, TiedSlicesOfWords) {
  const std::string declared = "(declare-const v (_ BitVec 32))(declare-const w (_ BitVec 32))";
  const Formulas pairs[] = {
      {"(= w (bvand v #x0000000f))", "(= w ((_ zero_extend 28) ((_ extract 3 0) v)))", true},
      {"(= w (bvand #x0000000f v))", "(= w ((_ zero_extend 28) ((_ extract 3 0) v)))", true},
      {"(= w (bvand v #x0000001f))", "(= w ((_ zero_extend 28) ((_ extract 3 0) v)))", false},
      {"(= w (bvand v #x0000000f))", "(= w ((_ zero_extend 28) ((_ extract 4 1) v)))", false},
      {"(= w (bvand v #x0000000f))", "(= w ((_ sign_extend 28) ((_ extract 3 0) v)))", false},
      {"(= w (bvlshr (bvshl v #x00000018) #x00000018))", "(= w ((_ zero_extend 24) ((_ extract 7 0) v)))",
       true},
      {"(= w (bvashr (bvshl v #x00000018) #x00000018))", "(= w ((_ zero_extend 24) ((_ extract 7 0) v)))",
       false},
      {"(= w (bvlshr (bvshl v #x00000018) #x00000017))", "(= w ((_ zero_extend 24) ((_ extract 7 0) v)))",
       false},
      {"(= w (bvand v #x00000ff0))", "(= w (concat (concat (_ bv0 20) ((_ extract 11 4) v)) #x0))", true},
      {"(= w (bvand v #x00000ff0))", "(= w (concat (concat (_ bv0 20) ((_ extract 12 5) v)) #x0))", false},
      {"(= w (bvand v #x00000f0f))", "(= w ((_ zero_extend 20) ((_ extract 11 0) v)))", false},
      {"(= w (bvshl (bvlshr v #x00000004) #x00000004))", "(= w (bvand v #xfffffff0))", true},
      {"(= w (bvshl (bvlshr v #x00000004) #x00000004))", "(= w (bvand v #x0ffffff0))", false},
      {"(= w (bvlshr v #x0000001f))", "(= w ((_ zero_extend 31) ((_ extract 31 31) v)))", true},
      {"(= w (bvlshr v #x0000001e))", "(= w ((_ zero_extend 31) ((_ extract 31 31) v)))", false},
      {"(= w (bvand v (bvlshr v #x00000020)))", "(= w (bvand v (bvshl w #x00000021)))", true},
      {"(= w (bvand v (bvlshr v #x0000001f)))", "(= w (bvand v (bvshl w #x00000021)))", false},
      {"(= w (bvlshr #x0000001f v))", "(= w ((_ zero_extend 31) ((_ extract 31 31) v)))", false},
      {"(= w (concat ((_ extract 31 16) v) ((_ extract 15 0) v)))", "(= w v)", true},
      {"(= w (concat ((_ extract 15 0) v) ((_ extract 31 16) v)))", "(= w v)", false},
      {"(= w (concat ((_ extract 31 16) v) ((_ extract 15 0) w)))", "(= w v)", false},
      {"(= w (bvand v #xffffffff))", "(= w v)", true},
      {"(= w ((_ zero_extend 28) ((_ extract 7 4) ((_ extract 15 8) v))))",
       "(= w ((_ zero_extend 28) ((_ extract 15 12) v)))", true},
      {"(= w ((_ zero_extend 28) ((_ extract 7 4) ((_ extract 15 8) v))))",
       "(= w ((_ zero_extend 28) ((_ extract 11 8) v)))", false},
  };
  expect_tied(declared, pairs);
}

}  // namespace
