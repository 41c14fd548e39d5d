/// \file
/// What `quarv explain` says, to the letter, and that it is right.
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "program_fixture.h"
#include "support/test_scale.h"

namespace {

class Explain : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    write("in.smt2", script);
  }

  /// What it says of a rule and a term.
  std::string why_not(int rule, const std::string& term) const { return why_not(std::to_string(rule), term); }
  std::string why_not(const std::string& rule, const std::string& term) const {
    return run("$quarv explain in.smt2 --why-not " + rule + " '" + term + "'").out;
  }

  static constexpr const char* script = R"((declare-const x (_ BitVec 8))
(declare-const y (_ BitVec 8))
(declare-const i Int)
(declare-const p Bool)
(declare-const |a b| (_ BitVec 3))
(assert (= (bvadd x #x00) (bvnot #xfe)))
(define-fun s () (_ BitVec 8) (bvor y #x00))
(assert (or p (not true) (= x (bvand s s))))
(assert (= x y))
(assert (forall ((k Int)) (! (<= (+ k k 3) (* 2 (- 3))) :weight 3)))
(assert (and p (= ((_ extract 2 0) x) |a b|) (not p)))
)";
};

TEST_F(Explain, ShowsEveryStepWithItsPlace) {
  const Result r = run("$quarv explain in.smt2 --rules-only-standard");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, R"(assertion 1
  (= (bvadd x #x00) (bvnot #xfe))
becomes
  (= x #x01)
1. simplifier of bvnot
     (= (bvadd x #x00) «(bvnot #xfe)»)
   = (= (bvadd x #x00) «#x01»)
2. rule bvadd-constant-first: rewrite(bvadd(t, c), const(c), ~const(t)) >> bvadd(c, t)
     (= «(bvadd x #x00)» #x01)
   = (= «(bvadd #x00 x)» #x01)
3. rule bvadd-zero: rewrite(bvadd(0, t), (0 == 0)) >> t
     (= «(bvadd #x00 x)» #x01)
   = (= «x» #x01)
assertion 2
  (or p (or (not true) (= x (bvand (bvor y #x00) (bvor y #x00)))))
becomes
  (or p (= x y))
1. simplifier of not
     (or p (or «(not true)» (= x (bvand (bvor y #x00) (bvor y #x00)))))
   = (or p (or «false» (= x (bvand (bvor y #x00) (bvor y #x00)))))
2. rule bvor-constant-first: rewrite(bvor(t, c), const(c), ~const(t)) >> bvor(c, t)
     (or p (or false (= x (bvand «(bvor y #x00)» «(bvor y #x00)»))))
   = (or p (or false (= x (bvand «(bvor #x00 y)» «(bvor #x00 y)»))))
3. rule bvor-zero: rewrite(bvor(0, t), (0 == 0)) >> t
     (or p (or false (= x (bvand «(bvor #x00 y)» «(bvor #x00 y)»))))
   = (or p (or false (= x (bvand «y» «y»))))
4. rule bvand-idempotent: rewrite(bvand(t, t_0), identity(t, t_0)) >> t
     (or p (or false (= x «(bvand y y)»)))
   = (or p (or false (= x «y»)))
5. arguments of or, each once and in order
     «(or p (or false (= x y)))»
   = «(or p (= x y))»
assertion 3
  (= x y)
is left as it is
assertion 4
  (forall ((k Int)) (! (<= (+ k (+ k 3)) (* 2 (- 3))) :weight 3))
becomes
  (forall ((k Int)) (! (<= k (- 5)) :weight 3))
1. simplifier of *
     (forall ((k Int)) (! (<= (+ k (+ k 3)) «(* 2 (- 3))») :weight 3))
   = (forall ((k Int)) (! (<= (+ k (+ k 3)) «(- 6)») :weight 3))
2. simplifier of <=
     (forall ((k Int)) (! «(<= (+ k (+ k 3)) (- 6))» :weight 3))
   = (forall ((k Int)) (! «(<= k (- 5))» :weight 3))
assertion 5
  (and p (and (= ((_ extract 2 0) x) |a b|) (not p)))
becomes
  false
1. simplifier of =
     (and p (and «(= ((_ extract 2 0) x) |a b|)» (not p)))
   = (and p (and «(= |a b| ((_ extract 2 0) x))» (not p)))
2. arguments of and, each once and in order
     «(and p (and (= |a b| ((_ extract 2 0) x)) (not p)))»
   = «false»
)");
}

TEST_F(Explain, SaysWhichDefinitionWasUsed) {
  const std::string text =
      "(declare-const i Int)(define-fun sub ((p Int) (q Int)) Int (- p q))(assert (= (sub i i) 0))";
  write("defined.smt2", text);
  const Result r = run("$quarv explain defined.smt2");
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("definition of sub\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("becomes\n  true\n"), std::string::npos) << r.out;
}

TEST_F(Explain, ShowsOneAssertionAndSomeStepsOnly) {
  EXPECT_EQ(run("$quarv explain in.smt2 --assert 3").out, "assertion 3\n  (= x y)\nis left as it is\n");
  EXPECT_EQ(run("$quarv explain - --assert 1 --steps 1 < in.smt2").out, R"(assertion 1
  (= (bvadd x #x00) (bvnot #xfe))
becomes
  (= x #x01)
1. simplifier of bvnot
     (= (bvadd x #x00) «(bvnot #xfe)»)
   = (= (bvadd x #x00) «#x01»)
1 further step
)");
  EXPECT_NE(run("$quarv explain in.smt2 --assert 1 --no-rules --rules-only-standard")
                .out.find("becomes\n  (= (bvadd x #x00) #x01)\n"),
            std::string::npos);
  const Result r = run("$quarv explain in.smt2 --assert 6");
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "quarv: there is no assertion 6: the script has 5\n");
}

/// Literals of check-sat-assuming stay as they are, so that they are no assertions, and those behind them
/// have the numbers that they have in traces.
TEST_F(Explain, CountsFormulasThatAreAssumed) {
  write("assumed.smt2",
        "(declare-const p Bool)(check-sat-assuming ((not p) (and p p) p))(assert (or p (and p p)))");
  const Result r = run("$quarv explain assumed.smt2 --rules-only-standard");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, R"(assertion 1
  (and p p)
becomes
  p
1. simplifier of and
     «(and p p)»
   = «p»
assertion 2
  (or p (and p p))
becomes
  p
1. simplifier of and
     (or p «(and p p)»)
   = (or p «p»)
2. simplifier of or
     «(or p p)»
   = «p»
)");
  EXPECT_EQ(run("$quarv report assumed.smt2 -o page.html").status, 0);
}

TEST_F(Explain, FollowsTheTermAtAPlace) {
  const Result r = run("$quarv explain in.smt2 --rules-only-standard --at 6:13");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, R"(assertion 1, the term at 6:13
  (bvadd x #x00)
becomes
  x
1. rule bvadd-constant-first: rewrite(bvadd(t, c), const(c), ~const(t)) >> bvadd(c, t)
     «(bvadd x #x00)»
   = «(bvadd #x00 x)»
2. rule bvadd-zero: rewrite(bvadd(0, t), (0 == 0)) >> t
     «(bvadd #x00 x)»
   = «x»
)");
  EXPECT_EQ(run("$quarv explain in.smt2 --at 6:13 --rules-only-standard --step 2").out,
            "assertion 1, the term at 6:13\n  (bvadd x #x00)\nbecomes\n  x\n2. rule bvadd-zero: "
            "rewrite(bvadd(0, t), "
            "(0 == 0)) >> t\n     «(bvadd #x00 x)»\n   = «x»\n");
  EXPECT_EQ(run("$quarv explain in.smt2 --at 8:13").out,
            "assertion 2, the term at 8:13\n  p\nis left as it is\n");
}

/// The innermost term that covers a place, whatever else stands there.
TEST_F(Explain, FindsTheTermAtAPlace) {
  const std::string text =
      "(declare-fun f (Int) Int)(declare-const x (_ BitVec 8))\n"
      "(assert (let ((y (bvadd x #x00)) (z (f 3))) (forall ((k Int)) (! (or ; which\n"
      "  (= ((_ extract 2 0) y) (_ bv5 3)) (< (f k) (+ |a b| 1))) :pattern ((f k))))))\n";
  write("places.smt2", "\xEF\xBB\xBF(declare-const |a b| Int)" + text);
  const auto term_at = [this](const std::string& place) {
    const Result r = run("$quarv explain places.smt2 --json --at " + place);
    return r.status == 0 ? nlohmann::json::parse(r.out)["before"].get<std::string>() : r.err;
  };
  const auto nothing_at = [](const std::string& place) {
    return "quarv: there is no term of an assertion at " + place + "\n";
  };
  EXPECT_EQ(term_at("2:19"), "(bvadd x #x00)");
  EXPECT_EQ(term_at("2:31"), "(bvadd x #x00)");  // its closing parenthesis
  EXPECT_EQ(term_at("2:24"), "(bvadd x #x00)");  // a blank within
  EXPECT_EQ(term_at("2:25"), "x");
  EXPECT_EQ(term_at("2:26"), "(bvadd x #x00)");
  EXPECT_EQ(term_at("3:10"), "((_ extract 2 0) (bvadd x #x00))");
  EXPECT_EQ(term_at("3:23"), "(bvadd x #x00)");  // y
  EXPECT_EQ(term_at("3:29"), "#b101");           // bv5, as a whole
  EXPECT_EQ(term_at("3:43"), "k");
  EXPECT_EQ(term_at("3:50"), "|a b|");
  EXPECT_EQ(term_at("3:56").substr(0, 6), "(+ |a ");
  EXPECT_EQ(term_at("2:72").substr(0, 4), "(or ");  // a comment
  EXPECT_EQ(term_at("2:57").substr(0, 8), "(forall ");
  EXPECT_EQ(term_at("2:16").substr(0, 8), "(forall ");  // a name that is bound: all of the let
  EXPECT_EQ(term_at("2:37"), "quarv: the term at 2:37 is not used in its assertion\n");
  for (const char* place : {"1:1", "1:99", "1:2", "2:1", "2:4", "2:8", "3:80", "3:81", "4:1", "99:1", "0:1",
                            "1:0", "1", "a:b", "1:2:3", "1:-1", "99999999999999999999:1"}) {
    EXPECT_EQ(term_at(place), nothing_at(place));
  }
}

TEST_F(Explain, PrintsForPrograms) {
  const Result r = run("$quarv explain in.smt2 --json --rules-only-standard");
  EXPECT_EQ(r.status, 0);
  std::vector<nlohmann::json> lines;
  std::istringstream text(r.out);
  for (std::string line; std::getline(text, line);) lines.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0]["assertion"], 1);
  EXPECT_EQ(lines[0]["before"], "(= (bvadd x #x00) (bvnot #xfe))");
  EXPECT_EQ(lines[0]["after"], "(= x #x01)");
  EXPECT_EQ(lines[0]["ending"], "complete");
  ASSERT_EQ(lines[0]["steps"].size(), 3u);
  const nlohmann::json expected = {{"step", 1},
                                   {"kind", "simplifier"},
                                   {"name", "bvnot"},
                                   {"before", "(bvnot #xfe)"},
                                   {"after", "#x01"},
                                   {"whole_before", "(= (bvadd x #x00) «(bvnot #xfe)»)"},
                                   {"whole_after", "(= (bvadd x #x00) «#x01»)"}};
  EXPECT_EQ(lines[0]["steps"][0], expected);
  EXPECT_EQ(lines[0]["steps"][2]["kind"], "rule");
  EXPECT_EQ(lines[0]["steps"][2]["name"], "bvadd-zero");
  EXPECT_EQ(lines[0]["steps"][2]["text"], "rewrite(bvadd(0, t), (0 == 0)) >> t");
  EXPECT_EQ(lines[0]["counts"].size(), 3u);
  EXPECT_EQ(lines[2]["ending"], "unchanged");
  EXPECT_EQ(nlohmann::json::parse(run("$quarv explain in.smt2 --json --assert 1 --steps 1").out)["ending"],
            "cut short");
  EXPECT_EQ(run("$quarv explain in.smt2 --json --why-not bvmul-one p").status, 2);
}

TEST_F(Explain, ShowsStepsThatAreAskedFor) {
  EXPECT_EQ(run("$quarv explain in.smt2 --assert 2 --step 3").out,
            run("$quarv explain in.smt2 --assert 2 | sed '/^[1245]\\./,+2d'").out);
  const Result rule = run("$quarv explain in.smt2 --rule bvor-zero");
  EXPECT_TRUE(rule.out.starts_with("assertion 2\n")) << rule.out;
  EXPECT_EQ(rule.out.find("assertion 3"), std::string::npos) << rule.out;
  EXPECT_EQ(rule.out.find("1. "), std::string::npos) << rule.out;
  EXPECT_NE(rule.out.find("3. rule bvor-zero"), std::string::npos) << rule.out;
  EXPECT_EQ(run("$quarv explain in.smt2 --rule bvmul-one").out, "rule bvmul-one is not applied\n");
  EXPECT_EQ(run("$quarv explain in.smt2 --assert 1 --step 9").out, "there is no step 9\n");
  EXPECT_EQ(run("echo '(assert false)' | $quarv explain -").out,
            "assertion 1\n  false\nis left as it is\nsimplification changes no assertion\n");
}

TEST_F(Explain, CountsWhatManyStepsDo) {
  std::string text = "(declare-const x (_ BitVec 8))\n(assert (= x (bvadd ";
  for (int i = 0; i < 6; ++i) text += "(bvor x #x0" + std::to_string(i) + ") ";
  const Result r = run("$quarv explain - --rules-only-standard --steps 1000", text + ")))\n");
  const std::size_t table = r.out.find(" steps ");
  ASSERT_NE(table, std::string::npos) << r.out;
  EXPECT_NE(r.out.find("  rule bvor-zero", table), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("  rule bvor-constant-first", table), std::string::npos) << r.out;
}

/// What is counted is the whole derivation, however little of it is shown: the terms that all steps save are
/// those by which the assertion has shrunk.
TEST_F(Explain, CountsAllStepsOfALargeAssertion) {
  std::string text = "(declare-const x (_ BitVec 32))\n(declare-const y (_ BitVec 32))\n(assert (and";
  constexpr int num = 300;
  for (int i = 1; i <= num; ++i)
    text += "\n(bvult (bvadd x #x00000000) (bvor y (_ bv" + std::to_string(i) + " 32)))";
  write("large.smt2", text + "))\n");
  const Result r = run("$quarv explain large.smt2 --rules-only-standard --json");
  const nlohmann::json derivation = nlohmann::json::parse(r.out);
  EXPECT_EQ(derivation["ending"], "cut short");
  EXPECT_EQ(derivation["steps"].size(), 20u);
  std::int64_t steps = 0;
  std::int64_t saved = 0;
  for (const nlohmann::json& count : derivation["counts"]) {
    steps += count["times"].get<std::int64_t>();
    saved += count["terms_saved"].get<std::int64_t>();
    if (count["name"] == "rule bvor-constant-first") {
      EXPECT_EQ(count["times"], num);
    }
  }
  EXPECT_EQ(saved, 2);  // the literal 0 and the sum
  const std::string last = std::to_string(steps);
  const Result step = run("$quarv explain large.smt2 --rules-only-standard --step " + last);
  EXPECT_NE(step.out.find("\n" + last + ". "), std::string::npos) << step.out;
  EXPECT_NE(run("$quarv explain large.smt2 --rules-only-standard --step " + std::to_string(steps + 1))
                .out.find("there is no step"),
            std::string::npos);
  // One ellipsis for what is around, and names, with what they stand for, for what is beside.
  std::istringstream lines(step.out);
  std::size_t num_lines = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.find("\u00ab") == std::string::npos) continue;
    ++num_lines;
    EXPECT_EQ(line.find("\u2026"), line.rfind("\u2026")) << line;
    EXPECT_LT(line.size(), 400u) << line;
  }
  EXPECT_EQ(num_lines, 2u);
  EXPECT_NE(step.out.find("\nwhere\n  #1 "), std::string::npos) << step.out;
}

/// A rule that wraps what it applies to leads to terms that contain themselves; the derivation ends.
TEST_F(Explain, EndsWhereATermComesToContainItself) {
  write("wrap.rules", "wrap: rewrite(bvnot(t), ) >> bvneg(bvneg(bvnot(t)))\n");
  const Result r = run("$quarv explain in.smt2 --rules wrap.rules --trust-rules --why-not wrap '(bvnot x)'");
  EXPECT_NE(r.out.find("yields"), std::string::npos) << r.out << r.err;
  write("wrapped.smt2",
        "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(assert (= y (bvnot (bvadd x #x00))))");
  EXPECT_EQ(run("$quarv explain wrapped.smt2 --no-simplifiers --rules wrap.rules --trust-rules").status, 0);
}

TEST_F(Explain, MarksByColourWhereItIsWanted) {
  const Result r = run("$quarv explain in.smt2 --assert 1 --steps 1 --color always");
  EXPECT_NE(r.out.find("(= (bvadd x #x00) \033[1;33m#x01\033[0m)"), std::string::npos) << r.out;
  EXPECT_EQ(r.out.find("\u00ab"), std::string::npos);
}

/// Of a long term only what is around the place is shown.
TEST_F(Explain, CutsLongTerms) {
  std::string text = "(declare-const x (_ BitVec 32))(declare-const y (_ BitVec 32))(assert (= y ";
  const std::size_t depth = 5000 / quarv::one_in_when_sanitized(10);
  for (std::size_t i = 0; i < depth; ++i) text += "(bvnot (bvudiv y ";
  text += "(bvadd x #x00000000)" + std::string(2 * depth + 1, ')') + ")";
  write("deep.smt2", text);
  const Result r = run("$quarv explain deep.smt2 --length 60 --steps 4");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("\u00ab(bvadd x #x00000000)\u00bb"), std::string::npos) << r.out;
  std::istringstream lines(r.out);
  for (std::string line; std::getline(lines, line);) EXPECT_LT(line.size(), 200u) << line;
  for (const char* length : {"20", "10000"}) {
    EXPECT_EQ(run(std::string("$quarv explain deep.smt2 --steps 3 --length ") + length).status, 0);
  }
}

TEST_F(Explain, SharesWhatIsShared) {
  std::string text =
      "(declare-const p Bool)(declare-fun f (Bool Bool) Bool)(assert (let ((x0 (not (not p)))) ";
  for (int i = 1; i <= 200; ++i) {
    const std::string x = "x" + std::to_string(i - 1);
    text += "(let ((x" + std::to_string(i) + " (f " + x + " " + x + "))) ";
  }
  write("tower.smt2", text + "x200" + std::string(202, ')'));
  const Result r = run("$quarv explain tower.smt2");
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("\u00ab(not (not p))\u00bb"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\nbecomes\n"), std::string::npos) << r.out;
}

/// Every derivation over these ends in what the trace says.
TEST_F(Explain, ReachesTheResult) {
  write("more.smt2", R"((declare-const x (_ BitVec 8))
(declare-const y (_ BitVec 8))
(declare-const i Int)
(declare-const r Real)
(declare-const a (Array Int Int))
(declare-const z (_ FloatingPoint 5 11))
(assert (= x (bvmul #x04 (bvsub y x))))
(assert (= (concat x y) (concat ((_ sign_extend 4) #xa) (bvurem #x35 #x0a))))
(assert (bvult (bvand y x) ((_ zero_extend 4) ((_ extract 6 3) x))))
(assert (ite (< (* 6 i) (+ (* 9 i) 5)) (= (* 3 r) 2.0) (= (* 2 i) (+ 7 (* 4 i)))))
(assert (= (select (store (store a i 1) i 2) (+ i 1 i)) (select ((as const (Array Int Int)) 4) 3)))
(assert (fp.lt (fp.add RNE z (fp #b0 #b00000 #b0000000001)) (fp.neg (fp.abs (_ -oo 5 11)))))
(assert (= (- (/ 7.0 2.0)) (+ r (/ r 2.0))))
)");
  const Result r = run("$quarv explain more.smt2");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.find(" does the rest\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("(fp #b0 #b00000 #b0000000001)"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("((as const (Array Int Int)) 4)"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("(- (/ 7.0 2.0))"), std::string::npos) << r.out;
}

TEST_F(Explain, SaysWhatOfARuleDoesNotFit) {
  EXPECT_EQ(why_not(15, "(bvadd x y)"),
            R"(rule bvadd-constant-first: rewrite(bvadd(t, c), const(c), ~const(t)) >> bvadd(c, t)
                                                ^
does not apply: the condition const(c) does not hold
  in   (bvadd x «y»)
  with t = x, c = y
)");
  EXPECT_EQ(why_not(15, "(bvadd #x01 #x02)"),
            R"(rule bvadd-constant-first: rewrite(bvadd(t, c), const(c), ~const(t)) >> bvadd(c, t)
                                                          ^
does not apply: the condition ~const(t) does not hold
  in   (bvadd «#x01» #x02)
  with t = #x01, c = #x02
)");
  EXPECT_EQ(why_not(17, "(bvadd x #x00)"), R"(rule bvadd-zero: rewrite(bvadd(0, t), (0 == 0)) >> t
                               ^
does not apply: the pattern has the number 0
  in   (bvadd «x» #x00)
)");
  EXPECT_EQ(
      why_not(111, "((_ extract 2 0) (bvand s y))"),
      R"(rule extract-concat-second: rewrite(extract(m, l, concat(t1, t2)), (m <= _size(t2) - 1_)) >> extract(m, l, t2)
                                                  ^
does not apply: the pattern has concat
  in   ((_ extract 2 0) «(bvand (bvor y #x00) y)»)
)");
  EXPECT_EQ(
      why_not(111, "((_ extract 9 0) (concat x y))"),
      R"(rule extract-concat-second: rewrite(extract(m, l, concat(t1, t2)), (m <= _size(t2) - 1_)) >> extract(m, l, t2)
                                                                   ^
does not apply: the condition (m <= _size(t2) - 1_) does not hold
  in   «((_ extract 9 0) (concat x y))»
  with t1 = x, t2 = y, m = 9, l = 0
)");
}

TEST_F(Explain, SaysWhatARuleYields) {
  EXPECT_EQ(
      why_not(111, "((_ extract 7 0) (concat x y))"),
      R"(rule extract-concat-second: rewrite(extract(m, l, concat(t1, t2)), (m <= _size(t2) - 1_)) >> extract(m, l, t2)
applies to ((_ extract 7 0) (concat x y))
yields     ((_ extract 7 0) y)
)");
  EXPECT_EQ(why_not("bvsdiv-self", "(bvsdiv x x)"), why_not(46, "(bvsdiv x x)"));
  EXPECT_NE(why_not(46, "(bvsdiv x x)").find("\ndoes not hold for all values: t = 0"), std::string::npos);
  write("own.rules", "# mine\n  bytes: rewrite(bvxor(t1, t2), (size(t1) == 8), identity(t1, t2)) >> 0\n");
  const Result r = run("$quarv explain in.smt2 --rules own.rules --why-not bytes '(bvxor x y)'");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.substr(0, 27), "rule bytes: rewrite(bvxor(t") << r.out;
  EXPECT_NE(r.out.find("the condition identity(t1, t2) does not hold"), std::string::npos) << r.out;
}

TEST_F(Explain, ShowsTheFormThatIsPrinted) {
  write("words.smt2", R"((declare-const i Int)
(declare-const j Int)
(declare-const p Bool)
(assert (< i j)) ; as it is
(assert (> i 0))
(define-fun d () Int (* i j 7))
(assert (let ((z (+ d 1))) (and p (= z (* i 2)) (not (<= z j)))))
(check-sat-assuming (p (not p) (not (<= i j)) (and p p)))
)");
  const Result r = run("$quarv explain words.smt2 --rule none --length 40");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "rule none is not applied\n");
  EXPECT_EQ(run("$quarv explain words.smt2 --steps 0 --assert 1").out, R"(assertion 1
  (not (<= j i))
becomes
  (not (<= 0 (+ i (* (- 1) j))))
but is printed as it was written
)");
  EXPECT_EQ(run("$quarv explain words.smt2 --assert 2").out, R"(assertion 2
  (not (<= i 0))
is left as it is
)");
  EXPECT_NE(run("$quarv explain words.smt2 --assert 3 --length 32")
                .out.find(R"(
and is printed as
  (and p (= (+ d 1) (* i 2)) (< j )"
                          "\u2026\n"),
            std::string::npos);
  EXPECT_EQ(run("$quarv explain words.smt2 --steps 0 --assert 4").out, R"(assertion 4
  (not (<= i j))
becomes
  (not (<= (+ i (* (- 1) j)) 0))
and is printed as
  (< j i)
)");
  EXPECT_EQ(run("$quarv explain words.smt2 --assert 5").out.substr(0, 36),
            "assertion 5\n  (and p p)\nbecomes\n  p\n");
  EXPECT_NE(run("$quarv explain words.smt2 --json --assert 4").out.find("\"printed\":\"(< j i)\""),
            std::string::npos);
}

/// A change by the choice alone is a change.
TEST_F(Explain, ShowsThatOnlyTheChoiceChangesAnAssertion) {
  write("choice.smt2", "(declare-const i Int)\n(assert (not (<= i 0)))\n");
  EXPECT_EQ(run("$quarv explain choice.smt2").out, R"(assertion 1
  (not (<= i 0))
and is printed as
  (< 0 i)
)");
}

TEST_F(Explain, RefusesWhatIsNoTermAndNoRule) {
  const auto error = [this](const std::string& rest) {
    const Result r = run("$quarv explain in.smt2 --why-not " + rest);
    EXPECT_NE(r.status, 0) << rest;
    EXPECT_EQ(r.out, "") << rest;
    std::string first = r.err.substr(0, r.err.find('\n') + 1);
    // Where there is a text to show, it follows with a caret.
    const bool shown = first.starts_with("TERM:") && !first.ends_with("end of input\n");
    EXPECT_EQ(num_lines(r.err), shown ? 3u : 1u) << r.err;
    return first;
  };
  EXPECT_EQ(error("15 '(bvadd x q)'"), "TERM:1:10: error: unknown symbol q\n");
  EXPECT_EQ(error("15 'x) (assert p'"), "TERM:1:2: error: unmatched ')'\n");
  EXPECT_EQ(error("15 ''").substr(0, 5), "TERM:");
  EXPECT_EQ(error("185 x"), "quarv: there is no rule 185: rules are numbered from 1 to 184\n");
  EXPECT_EQ(error("0 x"), "quarv: there is no rule 0: rules are numbered from 1 to 184\n");
  EXPECT_EQ(error("bvadd x"), "quarv: there is no rule \"bvadd\" (see quarv rules list)\n");
  EXPECT_EQ(run("$quarv explain in.smt2 --why-not 15").status, 2);
  EXPECT_EQ(run("$quarv explain").status, 2);
  EXPECT_EQ(run("$quarv explain none.smt2").status, 1);
}

}  // namespace
