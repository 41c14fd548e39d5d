/// \file
/// Certificates from the command line: what a solver is asked, and what is made of its answers.
#include "program_fixture.h"

namespace {

/// Answers by the names that occur in a query, and writes down each question.
constexpr const char* fake_solver = R"sh(
while read -r line; do
  case $line in
    "(reset)") answer=unsat; about=; after=false ;;
    "(echo "*) line=${line#*\"}; echo "${line%\"*}" ;;
    "(assert x)") answer=sat ;;
    "say_after_error)") answer='(error "after")' ;;
    *say_sat*) answer=sat ;;
    *say_unknown*) answer=unknown ;;
    *say_timeout*) answer='(error "timeout")' ;;
    *say_memory*) answer='(error "out of
      memory")' ;;
    *say_error*) answer='(error "line 4: what is that?")' ;;
    *say_nothing*) answer=silence ;;
    *say_goodbye*) answer=end ;;
    *say_more*) answer=more ;;
    *say_endless*) answer=endless ;;
    *say_half*) answer=half ;;
    *say_same*) answer=sat; after=true ;;
  esac
  case $line in
    *declare*) about="$about $line" ;;
    "(check-sat)")
      echo "$about" >> questions
      case $answer in
        silence) exec sleep 20 ;;
        end) exit 1 ;;
        more) printf 'unsat\nsat\n' ;;
        endless) exec tr '\0' x < /dev/zero ;;
        half) echo sat; exit 1 ;;
        *) echo "$answer"; case $answer in *error*) echo unsat ;; esac ;;
      esac ;;
    "(get-model)")
      echo '('
      echo '  (define-fun say_sat () Bool true) (declare-fun |)| () S)'
      echo '  (define-fun f ((x Int)) Int (ite (= x 1) 2'
      echo '    3)))' ;;
    "(get-value (quarv.before))") echo '((quarv.before true))' ;;
    "(get-value (quarv.after))") echo "((quarv.after $after))" ;;
  esac
done
)sh";

class Certify : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    write("fake.sh", fake_solver);
  }  // namespace
  /// With the fake solver.
  Result certify(const std::string& options, const std::string& input) const {
    return run("$quarv certify --solver 'bash fake.sh' " + options, input);
  }
  /// With a solver that is installed; all must be proved, also step by step.
  void expect_proved(const std::string& solver, const std::string& input) const {
    for (const char* steps : {"", "--steps "}) {
      const Result r = run("$quarv certify --solver " + solver + ' ' + steps, input);
      EXPECT_EQ(r.status, 0) << r.out;
      EXPECT_EQ(r.err, "");
      EXPECT_TRUE(has(r.out, " 0 refuted, 0 undecided, 0 unsupported\n")) << r.out;
    }
  }
};

std::string doubly_negated(const std::string& name) {
  return "(declare-const " + name + " Bool)\n(assert (not (not " + name + ")))\n";
}

TEST_F(Certify, GivesEachVerdict) {
  const std::string fine = doubly_negated("p") + doubly_negated("say_unknown") +
                           doubly_negated("say_timeout") + doubly_negated("say_memory") +
                           doubly_negated("say_error") + doubly_negated("say_goodbye") + doubly_negated("q") +
                           "(assert p)\n";
  const Result all = certify("", fine);
  EXPECT_EQ(all.status, 1);
  EXPECT_EQ(all.err, "");
  EXPECT_EQ(all.out,
            "<stdin>:2: assertion 1: proved\n"
            "<stdin>:4: assertion 2: undecided: the solver gives up\n"
            "<stdin>:6: assertion 3: undecided: (error \"timeout\")\n"
            "<stdin>:8: assertion 4: undecided: (error \"out of memory\")\n"
            "<stdin>:10: assertion 5: unsupported: (error \"line 4: what is that?\")\n"
            "<stdin>:12: assertion 6: failed: the solver bash fake.sh ended before it had answered\n"
            "<stdin>:14: assertion 7: proved\n"
            "<stdin>:15: assertion 8: proved: the same text\n"
            "8 pairs of terms: 3 proved (1 the same text), 0 refuted, 3 undecided, 1 unsupported, "
            "1 failed\n");
  const Result undecided = certify(
      "-q", doubly_negated("say_unknown") + doubly_negated("say_memory") + doubly_negated("say_error"));
  EXPECT_EQ(undecided.status, 0);
  EXPECT_TRUE(has(undecided.out, "\n3 pairs of terms: 0 proved, 0 refuted, 2 undecided, 1 unsupported\n"));
  EXPECT_EQ(certify("-q", doubly_negated("p")).out,
            "1 pairs of terms: 1 proved, 0 refuted, 0 undecided, 0 unsupported\n");
  EXPECT_EQ(certify("", "").out, "0 pairs of terms: 0 proved, 0 refuted, 0 undecided, 0 unsupported\n");
}

TEST_F(Certify, PrintsTheModelOfWhatIsRefuted) {
  const Result r = certify("-q", doubly_negated("p") + doubly_negated("say_sat") + doubly_negated("q"));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out,
            "<stdin>:4: assertion 2: refuted: say_sat = true, f = (define-fun f ((x Int)) Int (ite "
            "(= x 1) 2 3)): the "
            "input is true, the output false\n"
            "3 pairs of terms: 2 proved, 1 refuted, 0 undecided, 0 unsupported\n");
  const Result steps = certify("--steps -q", doubly_negated("p") + doubly_negated("say_sat"));
  EXPECT_EQ(steps.status, 1);
  EXPECT_TRUE(has(steps.out, "step 2, assertion 2, simplifier of not: refuted: say_sat = true, f = "))
      << steps.out;
}

TEST_F(Certify, DoesNotWaitForASilentSolver) {
  const Result r = certify("--timeout 1", doubly_negated("say_nothing") + doubly_negated("p"));
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(has(r.out, "assertion 1: undecided: no answer within 1 s\n<stdin>:4: assertion 2: proved\n"))
      << r.out;
}

TEST_F(Certify, ReportsSolversThatAreNone) {
  for (const char* solver : {"true", "cat", "false", "echo sat", "nowhere"}) {
    const Result r = run("$quarv certify --solver '" + std::string(solver) +
                             "' 2> err; tail -n 1 err >&2; exit ${PIPESTATUS[0]}",
                         doubly_negated("p"));
    EXPECT_EQ(r.out, "") << solver;
    EXPECT_TRUE(has(r.err, "quarv: error: the solver " + std::string(solver) + ' ')) << r.err;
  }
  const Result absent = run("PATH=. $quarv certify --solver cvc5", doubly_negated("p"));
  EXPECT_EQ(absent.status, 1);
  EXPECT_EQ(absent.err, "quarv: error: the solver cvc5 cannot be run: No such file or directory\n");
}

TEST_F(Certify, BelievesOnlySolversThatKnowBothAnswers) {
  const auto certify_by = [this](const std::string& answers) {
    write("half.sh", "while read -r line; do case $line in *echo*) echo \"$line\" | cut -d '\"' -f 2 ;; " +
                         answers + " esac; done\n");
    return run("$quarv certify --solver 'bash half.sh'", doubly_negated("p"));
  };
  const std::string solver = "quarv: error: the solver bash half.sh ";
  const Result always = certify_by("*check-sat*) echo unsat ;;");
  EXPECT_EQ(always.status, 1);
  EXPECT_EQ(always.out, "");
  EXPECT_TRUE(has(always.err, solver + "does not know that a constant can be true\n")) << always.err;
  const Result never = certify_by("*check-sat*) echo sat ;;");
  EXPECT_EQ(never.status, 1);
  EXPECT_TRUE(has(never.err, solver + "does not know that false cannot be satisfied\n")) << never.err;
  // What was once asserted stays.
  const Result forgets_nothing = certify_by("*false*) a=un ;; *check-sat*) echo ${a}sat ;;");
  EXPECT_EQ(forgets_nothing.status, 1);
  EXPECT_TRUE(has(forgets_nothing.err, "that a constant can be true\n")) << forgets_nothing.err;
  const Result mute = certify_by("*false*) echo 'Welcome!' ;; *check-sat*) echo unsat ;;");
  EXPECT_EQ(mute.status, 1);
  EXPECT_TRUE(has(mute.err, solver + "answered Welcome!\n")) << mute.err;
}

TEST_F(Certify, FailsWithASolverThatEndsEachTime) {
  const Result r = certify("-q", doubly_negated("say_goodbye") + doubly_negated("say_goodbye_again"));
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "2 pairs of terms: 0 proved, 0 refuted, 0 undecided, 0 unsupported, 2 failed\n"))
      << r.out;
}

/// An answer that nobody asked for would be taken for that to the next question.
TEST_F(Certify, TakesNoAnswerForAnother) {
  const Result r = certify("-j 1", doubly_negated("say_more") + doubly_negated("p"));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out,
            "<stdin>:2: assertion 1: failed: the solver bash fake.sh answered unsat, sat to a single query\n"
            "<stdin>:4: assertion 2: proved\n"
            "2 pairs of terms: 1 proved, 0 refuted, 0 undecided, 0 unsupported, 1 failed\n");
}

TEST_F(Certify, IsNotHeldUpByAnEndlessAnswer) {
  const Result r = certify("--timeout 1 -j 1", doubly_negated("say_endless") + doubly_negated("p"));
  EXPECT_TRUE(has(r.out, "\n<stdin>:4: assertion 2: proved\n")) << r.out;
}

TEST_F(Certify, RefutesWithoutAModelToo) {
  const Result r = certify("", doubly_negated("say_half"));
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "<stdin>:2: assertion 1: refuted\n")) << r.out;
}

/// Solvers err, too: a model in which both are the same refutes nothing.
TEST_F(Certify, BelievesNoModelInWhichBothAreTheSame) {
  const Result r = certify("", doubly_negated("say_same"));
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(has(r.out, ": undecided: the solver's model refutes nothing: both are true\n")) << r.out;
}

/// A solver that drops an assertion, with an error, goes on and finds a satisfying assignment.
TEST_F(Certify, RefutesAnOutputThatOnlyTheSolverDoesNotUnderstand) {
  for (const char* options : {"", "--steps "}) {
    const Result r = certify(options, doubly_negated("say_after_error"));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(
        has(r.out, ": refuted: the solver understands the input, but not the output: (error \"after\")\n"))
        << r.out;
    EXPECT_EQ(certify(options, doubly_negated("say_error")).status, 0);
  }
}

TEST_F(Certify, KeepsTheOrderOfManyJobs) {
  std::string input, expected;
  for (int i = 1; i <= 40; ++i) {
    input += doubly_negated("p" + std::to_string(i));
    expected += "<stdin>:" + std::to_string(2 * i) + ": assertion " + std::to_string(i) + ": proved\n";
  }
  EXPECT_EQ(certify("-j 7", input).out,
            expected + "40 pairs of terms: 40 proved, 0 refuted, 0 undecided, 0 unsupported\n");
}

TEST_F(Certify, AsksEachQuestionOnce) {
  const std::string three =
      "(assert (not (not p)))\n(assert (or q (not (not p))))\n(assert (or r (not (not p))))\n";
  const std::string declarations = "(declare-const p Bool)\n(declare-const q Bool)\n(declare-const r Bool)\n";
  EXPECT_TRUE(has(certify("--steps -j 1", declarations + three).out, "5 steps: 5 proved, "));
  // The first two questions of a session are whether the solver works.
  EXPECT_EQ(num_lines(read("questions")), 5u) << read("questions");
}

TEST_F(Certify, LeavesQueriesThatStandAlone) {
  const std::string input =
      "(declare-sort S 0)\n(declare-fun f (S) Bool)\n(declare-const unused S)\n(declare-const s S)\n"
      "(define-fun g ((a S)) Bool (and (f a) (f a)))\n(assert (f s))\n(assert (not (not (g s))))\n";
  EXPECT_EQ(certify("--keep queries/here", input).status, 0);
  EXPECT_EQ(read("queries/here/assertion-2.smt2"),
            "; <stdin>:7: assertion 2\n"
            "; Unsatisfiable when both terms are equal for all values.\n"
            "(set-option :produce-models true)\n"
            "(set-logic ALL)\n"
            "(declare-sort S 0)\n"
            "(declare-fun f (S) Bool)\n"
            "(declare-const s S)\n"
            "(define-fun g ((a S)) Bool (and (f a) (f a)))\n"
            "(define-fun quarv.before () Bool\n"
            "  (not (not (g s))))\n"
            "(define-fun quarv.after () Bool\n"
            "  (f s))\n"
            "(assert (not (= quarv.before quarv.after)))\n"
            "(check-sat)\n");
  EXPECT_TRUE(fs::exists(path("queries/here/definition-of-g-1.smt2")));
  EXPECT_FALSE(fs::exists(path("queries/here/assertion-1.smt2")));  // the same text
  EXPECT_EQ(certify("--steps --keep steps", input).status, 0);
  EXPECT_EQ(read("steps/step-1.smt2"),
            "; step 1, assertion 1, simplifier of and\n"
            "; Unsatisfiable when both terms are equal for all values.\n"
            "(set-option :produce-models true)\n"
            "(set-logic ALL)\n"
            "(declare-sort S 0)\n"
            "(declare-fun f (S) Bool)\n"
            "(declare-fun a () S)\n"
            "(define-fun quarv.argument.1 () Bool\n"
            "  (f a))\n"
            "(define-fun quarv.argument.2 () Bool\n"
            "  (f a))\n"
            "(define-fun quarv.before () Bool\n"
            "  (and quarv.argument.1 quarv.argument.2))\n"
            "(define-fun quarv.after () Bool\n"
            "  (f a))\n"
            "(assert (not (= quarv.before quarv.after)))\n"
            "(check-sat)\n");
  const Result in_file = certify("--keep fake.sh/x", input);
  EXPECT_EQ(in_file.status, 1);
  EXPECT_EQ(in_file.err, "quarv: error: cannot create fake.sh/x: Not a directory\n");
  for (const char* solver : {"z3 -smt2", "cvc5"}) {
    if (run("command -v " + std::string(solver).substr(0, 4)).status != 0) continue;
    EXPECT_EQ(run("cat <(" + std::string(solver) + " queries/here/assertion-2.smt2) <(" + solver +
                  " steps/step-1.smt2)")
                  .out,
              "unsat\nunsat\n")
        << solver;
  }
}

TEST_F(Certify, ReportsFaultsOfInputAndCommandLine) {
  const Result wrong = certify("", "(assert p)\n");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_EQ(wrong.err, "<stdin>:1:9: error: unknown symbol p\n  (assert p)\n          ^\n");
  EXPECT_EQ(certify("--disable-rule 185", "").status, 2);
  for (const char* options : {"--jobs 0", "--timeout 0", "a b", "--rules x --no-rules"}) {
    EXPECT_EQ(run("$quarv certify " + std::string(options)).status, 2) << options;
  }
}

// With real solvers.

const std::string bit_vectors =
    "(declare-const a (_ BitVec 8))\n(declare-const b (_ BitVec 8))\n"
    "(assert (= (bvsdiv a a) b))\n(assert (bvule (bvashr a (bvnot a)) b))\n";

class CertifyWith : public Certify, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    Certify::SetUp();
    if (run("command -v " + std::string(GetParam())).status != 0)
      GTEST_SKIP() << GetParam() << " is not installed";
  }
  std::string with() const { return " --solver " + std::string(GetParam()) + ' '; }
};

TEST_P(CertifyWith, RefutesWrongRules) {
  write("wrong.rules", "shift-by-complement: rewrite(bvashr(t, bvnot(t_0)), identity(t, t_0)) >> t\n");
  expect_proved(GetParam(), bit_vectors);
  const std::string command = "$quarv certify -" + with() + "--rules wrong.rules --trust-rules ";
  const Result r = run(command, bit_vectors);
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "<stdin>:4: assertion 2: refuted: ")) << r.out;
  EXPECT_TRUE(
      has(r.out, "2 pairs of terms: 1 proved (1 the same text), 1 refuted, 0 undecided, 0 unsupported\n"))
      << r.out;
  const Result steps = run(command + "--steps -q", bit_vectors);
  EXPECT_EQ(steps.status, 1);
  EXPECT_TRUE(has(steps.out,
                  "rule shift-by-complement rewrite(bvashr(t, bvnot(t_0)), identity(t, t_0)) >> t: "
                  "refuted: a = #"))
      << steps.out;
  EXPECT_TRUE(has(steps.out, ", 1 refuted, 0 undecided, 0 unsupported\n")) << steps.out;
  EXPECT_EQ(run(command + "--disable-rule shift-by-complement", bit_vectors).status, 0);
}

TEST_P(CertifyWith, RefutesWhatTheStandardDoesNotWarrant) {
  const Result r = run("$quarv certify --library-semantics" + with(), bit_vectors);
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "<stdin>:3: assertion 1: refuted: ")) << r.out;
  EXPECT_TRUE(has(r.out, "a = #")) << r.out;
  EXPECT_EQ(run("$quarv certify --library-semantics --disable-rule 46" + with(), bit_vectors).status, 0);
  EXPECT_EQ(run("$quarv certify --library-semantics --no-rules" + with(), bit_vectors).status, 0);
}

TEST_P(CertifyWith, FollowsNamesThroughLevels) {
  expect_proved(GetParam(), R"(
(set-logic ALL)
(declare-fun |a b| () Bool)
(define-sort Pair (X) (Array X X))
(declare-sort x 0)
(declare-const x Bool)
(assert (! (or (not (not |a b|)) (! (and x x) :named |n 1|)) :named n2))
(push 2)
(declare-const y (Pair Int))
(declare-const z x)
(assert (or n2 (and |n 1| |n 1|) (= (+ 1 (select y 1) 1) 3) (not (= z z))))
(define-fun c () Bool (and n2 n2 x))
(assert (or (and c c) x))
(pop 1)
(pop 1)
(declare-const y Bool)
(declare-const n3 Int)
(assert (and y (! (not (not y)) :named n4)))
(check-sat-assuming ((not n4) y))
(get-value (n4 n3))
(simplify (+ n3 n3))
(reset)
(declare-const y Int)
(define-fun n4 ((x Int) (y Int)) Int (+ x 1 y 2))
(define-const k Real (+ 1.5 2.5))
(assert (< (to_real (n4 y y)) (+ k 1.0 1.0)))
(set-option :global-declarations true)
(push)
(declare-const g Int)
(pop)
(assert (> (+ g g) 2))
(reset-assertions)
(assert (> (+ g 1 1) 2))
(exit)
(assert nothing)
)");
}

TEST_P(CertifyWith, FollowsNamesThatWereSimplifiedAway) {
  expect_proved(GetParam(), R"(
(declare-const p Bool)
(assert (or true (! (not (not p)) :named n)))
(check-sat-assuming (n (not n) (not (not n))))
(get-value ((and n n)))
)");
}

TEST_P(CertifyWith, KnowsNewDefinitions) {
  const std::string shared =
      "(assert (bvult (bvmul x y) x))(assert (bvult (bvmul x y) y))(assert (bvult (bvmul x y) (bvnot x)))"
      "(assert (bvslt (bvmul x y) x))(assert (bvslt (bvmul x y) y))(assert (bvult (bvmul x y) (bvnot y)))";
  const std::string declared =
      "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(declare-const p Bool)"
      "(define-fun q () Bool (not p))";  // where there is one, small ones may follow
  const std::string scripts[] = {declared + "(assert (or p (not p)))" + shared,
                                 declared + "(push)" + shared + "(pop)" + shared + "(assert (and p p))",
                                 declared + "(assert (and p p))" + shared + "(reset)" + declared + shared};
  for (const std::string& script : scripts) {
    EXPECT_TRUE(
        has(run("$quarv simplify -", script).out, "(define-fun x_times_y () (_ BitVec 8) (bvmul x y))"));
    expect_proved(GetParam(), script);
  }
}

TEST_P(CertifyWith, KnowsWhatDefinitionsSay) {
  expect_proved(GetParam(), R"(
(declare-const x Int)
(define-fun sub ((p Int) (q Int)) Int (- p q))
(define-fun half ((r Real)) Real (/ r 2.0))
(define-fun below ((n Int)) Bool (forall ((i Int)) (=> (< i 3) (< i n))))
(assert (= (sub x x) (sub 3 x)))
(assert (forall ((i Int)) (or (below (+ i 0)) (= (half 3.0) (half (to_real i))))))
)");
}

TEST_P(CertifyWith, ExpressesNewerOperators) {
  expect_proved(GetParam(), R"(
(declare-const a (_ BitVec 4))
(declare-const b (_ BitVec 4))
(declare-const i Int)
(assert (or (bvnego a) (bvuaddo a b) (bvsaddo a b) (bvusubo a b) (bvssubo a b) (bvsdivo a b) (not (not (= a b)))))
(assert (= (sbv_to_int (bvnot (bvnot a))) (ubv_to_int b)))
(assert (and ((_ divisible 3) i) (not (not (= a ((_ int_to_bv 4) i))))))
)");
}

TEST_P(CertifyWith, ProvesBelowBinders) {
  expect_proved(GetParam(), R"(
(declare-fun p (Int (_ BitVec 8)) Bool)
(declare-const x Bool)
(assert (forall ((x Int) (y (_ BitVec 8))) (! (or (not (p x y)) (exists ((x Bool)) (and x x (p 1 (bvnot (bvnot y))))))
  :pattern ((p x y)))))
(define-fun f ((x (_ BitVec 8))) Bool (p 0 (bvadd x #x01 #x02)))
(assert (=> x (f #x00) (not (not (f #x01)))))
)");
}

TEST_P(CertifyWith, LooksDeeperWhereDepthMatters) {
  std::string array = "a";
  for (int i = 0; i < 8; ++i) {
    array = "(store " + array + ' ' + std::to_string(i) + " (f " + std::to_string(i) + "))";
  }
  expect_proved(GetParam(),
                "(declare-const a (Array Int Int))\n(declare-fun f (Int) Int)\n(assert (= (f 2) (select " +
                    array + " 0)))\n(assert (= (f 3) (select " + array + " 9)))\n");
}

INSTANTIATE_TEST_SUITE_P(Solvers, CertifyWith, testing::Values("z3", "cvc5"),
                         [](const auto& solver) { return std::string(solver.param); });

}  // namespace
