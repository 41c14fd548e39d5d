/// \file
/// The catalogue of rules, and checking rules with a solver, from the command line.
#include "program_fixture.h"

namespace {

constexpr const char* no_z3 = "z3 is not installed";

TEST_F(Program, ListsAndShowsRules) {
  const Result list = run("$quarv rules list");
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(num_lines(list.out), 185u);
  EXPECT_EQ(std::count(list.out.begin(), list.out.end(), '!'), 5);  // four rules and what it means
  const Result extended = run("$quarv rules list --extended");
  EXPECT_TRUE(has(extended.out, "    * bvxor     bvxor-cancel: unordered(")) << extended.out;
  // The mark says how far each is proved.
  EXPECT_TRUE(has(extended.out, "\n    * ite       ite-bvadd: ")) << extended.out;
  EXPECT_TRUE(has(extended.out, "\n    + ite       ite-not: "));
  EXPECT_TRUE(has(extended.out, "\n    + <=        square-below: "));
  EXPECT_TRUE(has(extended.out, "\n    f fp.rem    fp-rem-abs: "));
  const auto proof = [this](const std::string& rule) {
    const std::string text = run("$quarv rules show " + rule).out;
    const std::size_t at = text.find("\nproof      ");
    return text.substr(at + 12, text.find('\n', at + 1) - at - 12);
  };
  EXPECT_EQ(proof("bvxor-cancel"), "for all widths");
  EXPECT_EQ(proof("ite-bvadd"), "for all widths");
  EXPECT_EQ(proof("ite-not"), "for all values, by a solver: there are no widths");
  EXPECT_EQ(proof("square-below"), "for all values, by a solver: there are no widths");
  EXPECT_EQ(proof("fp-rem-abs"), "for all values of the formats 2+3, 3+3, 3+5, 5+11, by a solver");
  EXPECT_TRUE(has(run("$quarv rules show bvxor-cancel").out, "number     none: an extended rule\n"));
  EXPECT_TRUE(has(run("$quarv rules show bvxor-cancel").out,
                  "reads      (t1 ^ t2) ^ t1, with operands in any order, becomes t2.\n"));
  const Result one = run("$quarv rules show 46");
  EXPECT_EQ(one.status, 0);
  EXPECT_TRUE(has(one.out,
                  "number     46\nname       bvsdiv-self\napplicant  bvsdiv\n"
                  "text       rewrite(bvsdiv(t, t_0), identity(t, t_0)) >> 1\n"
                  "class      GeneratedRewriteRule_bvsdiv_t_t_0__WITH_t_ID_t_0_TO_1\n"
                  "sound      no: t = 0: "))
      << one.out;
  EXPECT_EQ(run("$quarv rules show bvsdiv-self").out, one.out);
  EXPECT_TRUE(
      has(list.out, "\n 46 ! bvsdiv    bvsdiv-self: rewrite(bvsdiv(t, t_0), identity(t, t_0)) >> 1\n"));
  EXPECT_TRUE(has(run("$quarv rules show 2").out, "\nsound      yes: proved for widths 1 to 5 "));
  EXPECT_TRUE(has(run("$quarv rules show int2bv-of-ubv").out, " widths 1 to 5 and larger ones up to 8 ("));
  EXPECT_TRUE(has(run("$quarv rules show 96").out,
                  "\nsound      yes: it never applies, (c2 == 1) and (c2 == 0) exclude each other\n"));
  EXPECT_TRUE(has(list.out, "\n  2 * bvnot "));
  EXPECT_TRUE(has(list.out, "\n 46 ! bvsdiv "));
  EXPECT_TRUE(has(list.out, "\n 71   rotate_left "));
  EXPECT_TRUE(has(run("$quarv rules show 2").out, "\nproof      for all widths\n"));
  EXPECT_TRUE(has(one.out, "\nproof      for all widths where t is not 0\n"));
  EXPECT_TRUE(has(run("$quarv rules show 96").out, "\nproof      for all widths: it never applies\n"));
  EXPECT_TRUE(has(run("$quarv rules show 2").out, "\nreads      ~~t becomes t.\n"));
  for (const char* arguments : {"", "show", "show 0", "show 185", "show x", "list 1", "check --jobs 0"}) {
    const Result r = run("$quarv rules " + std::string(arguments));
    EXPECT_EQ(r.status, 2) << arguments;
    EXPECT_EQ(num_lines(r.err), 1u) << r.err;
  }
}

TEST_F(Program, ListsAndShowsTheUsersRules) {
  write("my.rules",
        "my-double: rewrite(bvshl(t, 1), (1 == 1)) >> bvadd(t, t)\n"
        "rewrite(bvnot(bvneg(t)), ) >> bvneg(bvnot(t))\n");
  const Result behind = run("$quarv rules list --rules my.rules");
  EXPECT_EQ(behind.status, 0) << behind.err;
  EXPECT_EQ(num_lines(behind.out), 188u);
  EXPECT_TRUE(has(behind.out, "\n185 ? bvshl     my-double: rewrite(")) << behind.out;
  EXPECT_TRUE(has(behind.out, "\n186 ? bvnot     rewrite(bvnot(bvneg(t)), ")) << behind.out;
  EXPECT_EQ(run("$quarv rules --rules my.rules list").out, behind.out);
  EXPECT_TRUE(has(run("$quarv rules list --extended --rules my.rules").out, "\n185 ? bvshl     my-double: "));
  const Result shown = run("$quarv rules show my-double --rules my.rules");
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_TRUE(has(shown.out, "number     185\nname       my-double\n")) << shown.out;
  EXPECT_TRUE(has(shown.out, "\nsound      a rule of your own: see quarv rules check FILE\n")) << shown.out;
  EXPECT_TRUE(has(shown.out, "\nreads      t << 1 becomes t + t.\n")) << shown.out;
  EXPECT_FALSE(has(shown.out, "proof")) << shown.out;
  EXPECT_EQ(run("$quarv rules --rules my.rules show my-double").out, shown.out);
  EXPECT_EQ(run("$quarv rules show --rules my.rules 185").out, shown.out);
  EXPECT_TRUE(has(run("$quarv rules show 186 --rules my.rules").out, "\nname       none\n"));
  // Extended rules keep their proofs when others stand before them.
  EXPECT_EQ(run("$quarv rules show ite-bvadd --rules my.rules").out, run("$quarv rules show ite-bvadd").out);
  const Result misspelled = run("$quarv rules show my-duoble --rules my.rules");
  EXPECT_EQ(misspelled.status, 2);
  EXPECT_EQ(misspelled.err,
            "quarv: there is no rule \"my-duoble\"; the nearest is \"my-double\" (see quarv rules list)\n");
  const Result elsewhere = run("$quarv rules --rules my.rules check my.rules");
  EXPECT_EQ(elsewhere.status, 2);
  EXPECT_EQ(num_lines(elsewhere.err), 1u) << elsewhere.err;
  EXPECT_EQ(run("$quarv rules list --rules none.rules").status, 1);
}

TEST_F(Program, ChecksTheStandardRules) {
  if (run("z3 --version").status != 0) GTEST_SKIP() << no_z3;
  const Result r = run("$quarv rules check --max-width 4");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_TRUE(has(r.out, "184 rules: 179 proved, 4 refuted, 0 undecided, 1 never applicable\n")) << r.out;
  EXPECT_TRUE(
      has(r.out, "t_0)) >> 1\n      refuted, as is known: t = #b00: the pattern is #b11, the result #b01\n"));
  EXPECT_TRUE(has(r.out, "\n      refuted, as is known: n = 0, t = #b1, t2 = #b1: the pattern is true, "));
  EXPECT_TRUE(has(r.out, "\n      never applicable: (c2 == 1) and (c2 == 0) exclude each other\n"));
}

TEST_F(Program, ChecksTheUsersRules) {
  if (run("z3 --version").status != 0) GTEST_SKIP() << no_z3;
  write("good.rules", "# sound\nrewrite(bvadd(1, bvnot(t)), (1 == 1)) >> bvneg(t)\n");
  const Result good = run("$quarv rules check good.rules -j 3");
  EXPECT_EQ(good.status, 0);
  EXPECT_EQ(good.out,
            "  1 rewrite(bvadd(1, bvnot(t)), (1 == 1)) >> bvneg(t)\n"
            "      proved for widths 1-5, 8, 13, 16, 24, 32, 48, 64\n"
            "order: 1 go down, 0 rearrange operands, 0 without\n"
            "1 rules: 1 proved, 0 refuted, 0 undecided\n");
  // Wrong only from width 9 on.
  const Result bad =
      run("$quarv rules check - --solver 'z3 -in'", "rewrite(bvnot(t), (t == 300)) >> bvneg(t)\n");
  EXPECT_EQ(bad.status, 1);
  EXPECT_TRUE(has(bad.out, "refuted: t = #b100101100: the pattern is #b011010011, the result #b011010100\n"))
      << bad.out;
  const Result sort = run("$quarv rules check -", "rewrite(zext(n, t), ) >> t\n");
  EXPECT_TRUE(has(sort.out, "refuted: n = 1, t = #b0: the result does not have the sort of the pattern\n"))
      << sort.out;
  // What is known of a standard rule excuses no other.
  EXPECT_EQ(run("$quarv rules check -", "rewrite(bvsdiv(t, t_0), identity(t, t_0)) >> 1").status, 1);
  EXPECT_EQ(run("$quarv rules check /dev/null").status, 0);
}

TEST_F(Program, ChecksRulesWhereTheyApply) {
  if (run("z3 --version").status != 0) GTEST_SKIP() << no_z3;
  const auto check = [this](const std::string& rules) { return run("$quarv rules check -", rules); };
  // At one width, which is not among those that are tried for every rule.
  const Result wrong = check("rewrite(bvmul(t1, t2), (size(t1) == 20)) >> t1\n");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_TRUE(has(wrong.out, "      refuted: t1 = #x")) << wrong.out;
  EXPECT_TRUE(has(check("rewrite(bvor(t1, t2), (size(t1) == 20)) >> bvor(t2, t1)\n").out,
                  "      proved for width 20\norder: "));
  EXPECT_TRUE(
      has(check("rewrite(concat(t1, t2), (size(t1) == 20), (size(t2) == 33)) >> concat(t2, t1)\n").out,
          "      refuted: t1 = #x"));
  EXPECT_TRUE(has(check("rewrite(extract(n, m, t), (n == 40), (m == 13)) >> extract(40, 12, t)\n").out,
                  ": the result does not have the sort of the pattern\n"));
  EXPECT_TRUE(has(check("rewrite(bvmul(t1, t2), pow2(t1, n), (n == 37)) >> t2\n").out, "refuted: n = 37, "));
  EXPECT_TRUE(has(check("rewrite(bvrol(n, t), (n == 500)) >> t\n").out, "refuted: n = 500, "));
  // Too wide a one to be tried.
  const Result nowhere = check("rewrite(bvand(t1, t2), (size(t1) == 2000)) >> t1\n");
  EXPECT_EQ(nowhere.status, 1);
  EXPECT_TRUE(has(nowhere.out,
                  "undecided: it applied at no width that was tried, widths 1-5, 8, 13, 16, 24, 32, 48, 64\n"
                  "order: 1 go down, 0 rearrange operands, 0 without\n"
                  "1 rules: 0 proved, 0 refuted, 1 undecided\n"))
      << nowhere.out;
  EXPECT_EQ(
      run("$quarv rules check - --max-width 19", "rewrite(bvand(t1, t2), (size(t1) == 20)) >> t1\n").status,
      1);
  // Nowhere, for a reason that holds at every width. All ones may be 1.
  const Result never = check("rewrite(bvor(c, t), const(c), (c == 1), (c == 2)) >> t\n");
  EXPECT_EQ(never.status, 0);
  EXPECT_TRUE(has(never.out,
                  "never applicable: (c == 1) and (c == 2) exclude each other\n"
                  "order: 1 go down, 0 rearrange operands, 0 without\n"
                  "1 rules: 0 proved, 0 refuted, 0 undecided, 1 never applicable\n"))
      << never.out;
  EXPECT_TRUE(
      has(check("rewrite(bvor(c, t), const(c), (c == 1), (c == -1)) >> t\n").out, "refuted: c = #b1, "));
}

/// z3 says that all integers survive the way into a float and back.
TEST_F(Program, BelievesNoSolverAboutConversionsOfRealNumbers) {
  if (run("z3 --version").status != 0) GTEST_SKIP() << "z3 is not installed";
  write("real.rules",
        "back: rewrite(fp.to_real(to_fp_real(e, s, r, to_real(i))), ) >> to_real(i)\n"
        "nan: rewrite(fp.isNaN(to_fp_real(e, s, r, t)), ) >> false\n");
  const Result r = run("$quarv rules check real.rules --timeout 1 -j 1 --solver z3");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "      refuted: e = ")) << r.out;
  EXPECT_TRUE(has(r.out, "      undecided for formats 2+3, ")) << r.out;
  EXPECT_TRUE(has(r.out, "2 rules: 0 proved, 1 refuted, 1 undecided\n")) << r.out;
}

TEST_F(Program, BelievesNoSolverThatProvesEverything) {
  write("fake.sh", R"sh(while read -r line; do
  case $line in
    *echo*) echo "$line" | cut -d '"' -f 2 ;;
    *check-sat*) echo unsat ;;
  esac
done
)sh");
  const Result r = run("$quarv rules check - --solver 'bash fake.sh'", "rewrite(bvnot(bvnot(t)), ) >> t\n");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "1 rules: 0 proved, 0 refuted, 1 undecided\n")) << r.out;
}

// As z3 4.8.12 does for conversions to tiny floats.
TEST_F(Program, BelievesNoCounterexampleThatIsNone) {
  write("fake.sh", R"sh(while read -r line; do
  case $line in
    *echo*) echo "$line" | cut -d '"' -f 2 ;;
    *check-sat*) echo sat ;;
    *"get-value (t.)"*) echo "((t. $VALUE))" ;;
    *get-value*) echo "((x #b1))" ;;
  esac
done
)sh");
  const auto check = [this](const std::string& value, const std::string& rule) {
    return run("VALUE='" + value + "' $quarv rules check - --max-width 1 --solver 'bash fake.sh'", rule);
  };
  const Result none = check("#b1", "rewrite(bvnot(bvnot(t)), ) >> t\n");
  EXPECT_EQ(none.status, 1);
  EXPECT_TRUE(has(none.out, "\n      undecided for width 1: the solver's counterexample is none, t = #b1\n"))
      << none.out;
  EXPECT_TRUE(has(none.out, "1 rules: 0 proved, 0 refuted, 1 undecided\n"));
  EXPECT_TRUE(
      has(check("#b1", "rewrite(bvnot(t), ) >> t\n").out, "      refuted: t = #b1: the pattern is #b1"));
  const std::string positive = "rewrite(fp.isPositive(t), ) >> not(fp.isNegative(t))\n";
  EXPECT_TRUE(has(check("(_ +zero 2 3)", positive).out,
                  ": the solver's counterexample is none, t = (_ +zero 2 3)\n"));
  EXPECT_TRUE(has(check("(_ NaN 2 3)", positive).out, "      refuted: t = (_ NaN 2 3): "));
  // What the standard leaves open, and what is not known here, is for the solver to know.
  EXPECT_TRUE(has(check("0", "rewrite(div(t, 0), ) >> t\n").out, "      refuted: t = 0: "));
  EXPECT_TRUE(has(check("Sort0!val!0", "rewrite(ite(p, t, u), ) >> t\n").out, "      refuted: "));
}

// The search for an order has no bar: it is one question.
TEST_F(Program, TellsAtATerminalThatItLooksForAnOrder) {
  write("slow.sh", R"sh(while read -r line; do
  case $line in
    *w.extract*) order=yes ;;
    *echo*) echo "$line" | cut -d '"' -f 2 ;;
    *check-sat*) [ -z "$order" ] || sleep 3; echo unknown ;;
  esac
done
)sh");
  write("my.rules", "rewrite(bvnot(bvnot(t)), ) >> t\n");
  const std::string command = "$quarv rules check my.rules --max-width 1 --solver 'bash slow.sh'";
  const Result r = run("script -qec \"" + command + "\" /dev/null < /dev/null");
  EXPECT_TRUE(has(r.out, "\rlooking for an order of the rules: 1 s")) << r.out;
  EXPECT_FALSE(has(run(command).err, "looking"));
}

TEST_F(Program, ReportsFaultsOfRulesAndSolvers) {
  write("my.rules", "\n rewrite(bvnot(t), ) >> u\n");
  const Result wrong = run("$quarv rules check my.rules");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_EQ(wrong.err,
            "my.rules:2:25: error: the variable \"u\" of the result is not bound\n   rewrite(bvnot(t), ) >> "
            "u\n                          ^\n");
  const std::string rule = "rewrite(bvnot(bvnot(t)), ) >> t\n";
  for (const char* solver : {"true", "cat", "false"}) {
    const Result r = run("$quarv rules check - --solver '" + std::string(solver) + "'", rule);
    EXPECT_EQ(r.status, 1) << solver;
    EXPECT_EQ(num_lines(r.err), 1u) << r.err;
    EXPECT_TRUE(has(r.err, "quarv: error: the solver " + std::string(solver) + ' ')) << r.err;
  }
  EXPECT_EQ(run("PATH=. $quarv rules check - --solver cvc5", rule).err,
            "quarv: error: the solver cvc5 cannot be run: No such file or directory\n");
  // A solver that never answers is not waited for.
  const Result silent = run("$quarv rules check - --timeout 0.001 --solver 'sleep 100'", rule);
  EXPECT_EQ(silent.status, 1);
  EXPECT_TRUE(has(silent.out, "undecided for widths 1-4\n")) << silent.out;
}

TEST_F(Program, RulesAreCountedOnScripts) {
  fs::create_directory(path("empty"));
  const Result none = run("$quarv rules list --count empty");
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.err, "quarv: error: there is no script that can be read\n");
  fs::create_directory(path("in"));
  write("in/bad.smt2", "(assert x)\n");
  write("in/a.smt2",
        "(declare-const x (_ BitVec 8))\n(assert (bvult (bvxor x (bvxor x #x07) (bvadd #x00 x)) (bvsub x "
        "#x01)))\n");
  const Result one = run("$quarv rules list --count in");
  EXPECT_EQ(one.status, 0);
  EXPECT_NE(one.out.find("\nuses, scripts, tries, terms saved, tries for each of them, rule; 1 scripts; "),
            std::string::npos)
      << one.out;
  // Each order has all rules, and the same figures.
  const std::string sorted = run("$quarv rules list --count in | sort").out;
  for (const char* by : {"saved", "cost"}) {
    EXPECT_EQ(run("$quarv rules list --count in --by " + std::string(by) + " | sort").out, sorted) << by;
  }
  EXPECT_EQ(run("$quarv rules list --count in --by name").status, 2);
}

}  // namespace
