/// \file
/// Single steps, each from one formula to another: those that hold are justified, and none that looks like
/// them and does not.
#include <vector>

#include <nlohmann/json.hpp>

#include "program_fixture.h"
#include "support/test_scale.h"

namespace {

using Json = nlohmann::json;

class ReplayReasons : public Program {
 protected:
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

 private:
  /// The part of a trace that has the input as it is written, and no steps.
  static std::string as_written(const std::string& trace) {
    const std::size_t begin = trace.find("{\"trace\":", 1);
    return trace.substr(begin, trace.find("{\"trace\":", begin + 1) - begin);
  }
};

struct Formulas {
  const char* before;
  const char* after;
  bool holds;
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
  for (const Formulas& s : quarv::one_in_when_sanitized(3, steps))
    EXPECT_EQ(justifies(declared, s.before, s.after), s.holds) << s.before;
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
  for (const Formulas& s : quarv::one_in_when_sanitized(3, steps))
    EXPECT_EQ(justifies(declared, s.before, s.after), s.holds) << s.before;
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
  for (const Formulas& s : quarv::one_in_when_sanitized(3, steps))
    EXPECT_EQ(justifies(declared, s.before, s.after), s.holds) << s.before;
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
  for (const Formulas& s : quarv::one_in_when_sanitized(3, steps))
    EXPECT_EQ(justifies(declared, s.before, s.after), s.holds) << s.before;
}

}  // namespace
