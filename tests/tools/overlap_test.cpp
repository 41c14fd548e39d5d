/// \file
/// Where rules overlap, and which never fire, from the command line.
#include "program_fixture.h"

namespace {

class Overlaps : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    if (run("z3 --version").status != 0) GTEST_SKIP() << "z3 is not installed";
  }
  Result check(const std::string& rules, const std::string& more = "") const {
    return run("$quarv rules check - --max-width 2 --overlaps " + more, rules);
  }
};

TEST_F(Overlaps, SaysThatTwoRulesMeet) {
  const Result twice = check(
      "twice: rewrite(bvsrem(bvsrem(t, u), u_0), identity(u, u_0)) >> bvsrem(t, u)\n"
      "again: rewrite(bvsrem(bvsrem(t, bvudiv(u, v)), bvudiv(u_0, v_0)), identity(u, u_0), identity(v, v_0)) "
      ">> "
      "bvsrem(t, bvudiv(u, v))\n");
  EXPECT_EQ(twice.status, 0) << twice.out;
  EXPECT_TRUE(has(twice.out, "\noverlap: twice and twice meet\noverlap: twice and again meet\n"))
      << twice.out;
  EXPECT_FALSE(has(twice.out, "twice and again do not meet")) << twice.out;
  // The second one is an instance of the first, which takes its terms.
  EXPECT_TRUE(has(twice.out, "\ndoes not fire: again on ")) << twice.out;
  EXPECT_TRUE(has(twice.out, "      rule twice comes first: (declare-const t1 (_ BitVec 1)) ")) << twice.out;
  EXPECT_FALSE(has(twice.out, "does not fire: twice")) << twice.out;
  EXPECT_TRUE(has(twice.out, "; 1 rules do not fire\n2 rules: 2 proved, ")) << twice.out;
}

TEST_F(Overlaps, ShowsTheSmallestTermOnWhichTwoRulesDoNotMeet) {
  const Result r = check("sign: rewrite(bvsrem(t, bvneg(u)), ) >> bvsrem(t, u)\n");
  EXPECT_EQ(r.status, 0) << r.out;
  const std::string script = "(declare-const t1 (_ BitVec 2)) (simplify (bvsrem (bvneg t1) (bvneg t1)))";
  EXPECT_TRUE(has(r.out, "\noverlap: bvsrem-self and sign do not meet\n      on " + script +
                             "\n      after bvsrem-self: #b00\n      after sign: (bvsrem (bvneg t1) t1)\n"))
      << r.out;
  EXPECT_FALSE(has(r.out, "does not fire")) << r.out;
  // The term is a script.
  EXPECT_TRUE(has(run("$quarv simplify --canonical", script).out, "(simplify #b00)"));
}

TEST_F(Overlaps, LooksIntoPartsAndAtAllOrders) {
  // Only the second order of the one has the other one in it, in a part.
  const Result r = check(
      "outer: unordered(bvmul(t, bvudiv(u, 1)), (1 == 1)) >> bvmul(t, u)\n"
      "inner: rewrite(bvudiv(bvashr(t, u), v), ) >> bvudiv(t, v)\n",
      "--timeout 0.3");
  EXPECT_TRUE(has(r.out, "outer and inner do not meet\n")) << r.out << r.err;
  EXPECT_TRUE(has(r.out, "      after inner in a part: ")) << r.out;
}

TEST_F(Overlaps, MeetsConditionsOnNumeralsIndicesAndAges) {
  const std::string found = check(
                                // Numerals that differ by chance would not do, nor would equal ones.
                                "small: rewrite(bvurem(t, c), const(c), (c == 5)) >> bvurem(t, bvnot(c))\n"
                                "between: rewrite(bvurem(t, c), const(c), (c > 4), (c < 6)) >> t\n"
                                "six: rewrite(bvurem(t, c), const(c), (c == 6)) >> t\n"
                                "older: rewrite(bvudiv(t, u), prec(t, u)) >> t\n"
                                "younger: rewrite(bvudiv(t, u), prec(u, t)) >> u\n"
                                "any: rewrite(bvudiv(t, u), ) >> u\n"
                                "rotated: rewrite(bvrol(n, bvashr(t, u)), (n == 1)) >> bvashr(u, t)\n"
                                "by-one: rewrite(bvrol(m, t), (m < 2), (m > 0)) >> t\n"
                                "by-two: rewrite(bvrol(m, t), (m == 2)) >> t\n",
                                "--timeout 0.3")
                                .out;
  for (const char* pair : {"small and between", "older and any", "rotated and by-one"}) {
    EXPECT_TRUE(has(found, "overlap: " + std::string(pair) + " do not meet\n")) << pair << '\n' << found;
  }
  EXPECT_TRUE(has(found, "overlap: younger and any meet\n")) << found;
  EXPECT_TRUE(has(found, "does not fire: between on 12 terms of its pattern\n      rule small comes first: "))
      << found;
  for (const char* pair : {"small and six", "between and six", "older and younger", "rotated and by-two"}) {
    EXPECT_FALSE(has(found, pair)) << pair << '\n' << found;
  }
}

TEST_F(Overlaps, AreOfAllTheories) {
  const Result floats = check(
      "a: rewrite(fp.mul(r, t, fp.neg(u)), ) >> fp.neg(fp.mul(r, t, u))\n"
      "b: rewrite(fp.mul(RNE, fp.abs(t), u), ) >> fp.mul(RNE, u, t)\n");
  EXPECT_TRUE(
      has(floats.out, "overlap: a and b do not meet\n      on (declare-const t1 (_ FloatingPoint 2 3)) "))
      << floats.out;
  const Result any = check(
      "c: rewrite(select(store(m, i, t), j), ) >> t\n"
      "d: rewrite(store(m, i, t), ) >> m\n");
  EXPECT_TRUE(has(any.out, "overlap: c and d do not meet\n")) << any.out;
  // A term is no part of itself.
  const Result none = check(
      "before: rewrite(bvudiv(t, bvneg(t_0)), identity(t, t_0)) >> t\n"
      "after: rewrite(bvudiv(bvneg(t), t_0), identity(t, t_0)) >> t\n");
  EXPECT_FALSE(has(none.out, "before and after")) << none.out;
}

TEST_F(Overlaps, OfTheProgramsOwnRules) {
  const Result r = run("$quarv rules check --overlaps --max-width 1 --timeout 0.1");
  EXPECT_TRUE(has(r.out, "\noverlaps: ")) << r.out;
  EXPECT_TRUE(has(r.out, "\ndoes not fire: bvadd-inverse-first on ")) << r.out;
  EXPECT_TRUE(has(r.out, "      rule bvadd-commute comes first: ")) << r.out;
}

TEST_F(Overlaps, KeepWhatWasFoundWhenInterrupted) {
  write("my.rules", "absorb: rewrite(bvor(t1, bvand(t2, t1_0)), identity(t1, t1_0)) >> t1\n");
  // The solver answers once the signal has been sent.
  write("slow.sh", R"sh(n=0
while read -r line; do
  case $line in
    *echo*) echo "$line" | cut -d '"' -f 2 ;;
    *check-sat*) touch busy; while test -f busy; do sleep 0.02; done
      n=$((n+1)); test $((n % 2)) = 1 && echo unsat || echo sat ;;
  esac
done
)sh");
  const Result r = run(
      "cat my.rules > two.rules; sed 's/absorb/again/' my.rules >> two.rules\n"
      "$quarv rules check two.rules --overlaps -j 1 --max-width 1 --solver 'bash slow.sh' > found & pid=$!\n"
      "while ! test -f busy; do sleep 0.02; done; rm busy\n"
      "while ! test -f busy; do sleep 0.02; done; kill -TERM $pid; sleep 0.1\n"
      "rm busy; wait $pid; echo $?");
  EXPECT_EQ(r.err, "quarv: interrupted; what was found until then is written\n");
  EXPECT_EQ(r.out, "143\n");
  EXPECT_TRUE(has(read("found"), "  1 absorb: ")) << read("found");
  EXPECT_FALSE(has(read("found"), "  2 again: ")) << read("found");
  EXPECT_TRUE(has(read("found"), "1 rules: 1 proved, 0 refuted, 0 undecided\n")) << read("found");
}

}  // namespace
