/// \file
/// Finding rules in scripts, and whether rules come to an end, from the command line.
#include "program_fixture.h"

namespace {

constexpr const char* no_z3 = "z3 is not installed";
constexpr const char* data = QUARV_SOURCE_DIR "/tests/data/mining";

class Mining : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    if (run("z3 --version").status != 0) GTEST_SKIP() << no_z3;
    fs::copy(data, path("scripts"));
  }
  /// A solver that gives this many answers, all of them right ones of false and true, and then ends.
  void write_dying_solver(int answers) const {
    write("dies.sh",
          "n=0\nwhile read -r line; do\n  case $line in\n    *echo*) echo \"$line\" | cut -d '\"' -f 2 ;;\n"
          "    *check-sat*) n=$((n+1)); test $n -gt " +
              std::to_string(answers) +
              " && exit; case $n in 1) echo unsat;; 2) echo sat;; *) echo unsat;; esac ;;\n  esac\ndone\n");
  }
};

TEST_F(Mining, FindsRulesThatHoldAndPay) {
  const Result r = run("$quarv rules mine scripts -o mined.rules -j 1");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "");
  const std::string mined = read("mined.rules");
  EXPECT_TRUE(
      has(mined,
          "\n# proved for widths 1-5, 8, 13, 16, 24, 32, 48, 64; used 2 times in 2 scripts; terms saved: 1\n"
          "mined-bvxor-1: rewrite(bvxor(t1, bvor(t2, bvnot(t1_0))), identity(t1, t1_0)) >> "
          "bvnot(bvand(t1, t2))\n"))
      << mined;
  EXPECT_EQ(run("$quarv rules check mined.rules").status, 0);
  const Result check = run("$quarv rules check mined.rules --max-width 4 --assignments 20000");
  EXPECT_TRUE(has(check.out, " go down, 0 rearrange operands, 0 without\n")) << check.out;
  run("$quarv simplify --canonical scripts/sum.smt2 -o without.smt2");
  const Result with = run("$quarv simplify --canonical --rules mined.rules scripts/sum.smt2 -o with.smt2");
  EXPECT_EQ(with.status, 0) << with.err;
  EXPECT_LT(read("with.smt2").size(), read("without.smt2").size());
}

TEST_F(Mining, FindsTheSameWithAnyNumberOfThreadsAndInPieces) {
  const std::string one = run("$quarv rules mine scripts -j 1").out;
  EXPECT_GT(num_lines(one), 3u);
  EXPECT_EQ(run("$quarv rules mine scripts -j 3 --state state").out, one);
  // All is in the state: the solver has only to be there.
  EXPECT_EQ(run("$quarv rules mine scripts --state state").out, one);
  // The state is about other scripts.
  fs::remove(path("scripts/sum.smt2"));
  const Result fewer = run("$quarv rules mine scripts --state state");
  EXPECT_EQ(fewer.status, 0);
  EXPECT_TRUE(has(fewer.out, "# Found by quarv rules mine in 1 scripts.")) << fewer.out;
  write("state", "{\"file\":");
  const Result broken = run("$quarv rules mine scripts --state state -o x.rules");
  EXPECT_EQ(broken.status, 1);
  EXPECT_EQ(broken.err, "state:1:1: error: not a state of quarv rules mine\n");
  EXPECT_FALSE(fs::exists(path("x.rules")));
}

TEST_F(Mining, RefusesAStateThatWasChanged) {
  ASSERT_EQ(run("$quarv rules mine scripts -j 1 --size 3 --state state -o x.rules").status, 0);
  const std::string state = read("state");
  const std::string rules = read("x.rules");
  const std::string again = "$quarv rules mine scripts -j 1 --size 3 --state state -o y.rules";
  std::string changed = state;
  changed.replace(changed.find("rewrite("), 8, "rewrite( ");
  write("state", changed);
  const Result r = run(again);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "state:1:1: error: the state was changed since it was written\n");
  EXPECT_FALSE(fs::exists(path("y.rules")));
  EXPECT_EQ(read("state"), changed);
  write("state", state.substr(0, state.size() / 2));
  EXPECT_EQ(run(again).err, "state:1:1: error: not a state of quarv rules mine\n");
  write("state", state);
  EXPECT_EQ(run(again).status, 0);
  EXPECT_EQ(read("y.rules"), rules);
}

TEST_F(Mining, SaysHowConstantsAreRelated) {
  fs::create_directory(path("masks"));
  // One field of a word and another one beside it; the sign of a byte; products by an odd number.
  write("masks/x.smt2", R"((declare-const x (_ BitVec 32))
(declare-const y (_ BitVec 32))
(assert (bvult (bvxor #x00ff0000 (bvand #x0000ff00 (bvnot x))) y))
(assert (bvult (bvadd #xffffff80 (bvxor #x00000080 ((_ zero_extend 24) ((_ extract 7 0) y)))) x))
(assert (= (bvmul #x00000011 x) (bvmul #x00000011 y)))
)");
  const Result r = run("$quarv rules mine masks --size 3 -j 1 -o mined.rules");
  EXPECT_EQ(r.status, 0) << r.err;
  const std::string mined = read("mined.rules");
  EXPECT_TRUE(has(mined, "_2 ^ ")) << mined;
  EXPECT_TRUE(has(mined, ">> sext(")) << mined;
  EXPECT_TRUE(has(mined, "(_c1 & 1_ == 1)")) << mined;
  EXPECT_FALSE(has(mined, " == 128)")) << mined;
  EXPECT_EQ(run("$quarv rules check mined.rules --max-width 5 --assignments 10000").status, 0);
}

/// An answer in the last moment is one, though what follows it comes too late.
TEST_F(Mining, WaitsForWhatFollowsAnAnswer) {
  // The second answer of all is sat, to what can be satisfied; what follows the third one comes late.
  write("slow.sh", R"sh(while read -r line; do
  case $line in
    *echo*) test $(wc -l < asked) -eq 3 && sleep 1; echo "$line" | cut -d '"' -f 2 ;;
    *check-sat*) echo >> asked; test $(wc -l < asked) -eq 2 && echo sat || echo unsat ;;
  esac
done
)sh");
  write("true.rules", "rewrite(not(not(p)), ) >> p\n");
  const Result r = run("$quarv rules check true.rules -j 1 --timeout 0.02 --solver 'bash slow.sh'");
  EXPECT_GE(num_lines(read("asked")), 3u);
  EXPECT_FALSE(has(r.err, "did not echo")) << r.err;
}

TEST_F(Mining, ReportsWhatCannotBeMined) {
  fs::create_directory(path("empty"));
  for (const char* arguments : {"empty", "nothing", "scripts --solver false"}) {
    const Result r = run("$quarv rules mine -o x.rules " + std::string(arguments));
    EXPECT_EQ(r.status, 1) << arguments;
    EXPECT_EQ(num_lines(r.err), 1u) << r.err;
    EXPECT_FALSE(fs::exists(path("x.rules"))) << arguments;
  }
  EXPECT_EQ(run("$quarv rules mine empty").err, "quarv: error: there is no script that can be read\n");
  EXPECT_EQ(run("PATH=. $quarv rules mine scripts --solver cvc5").err,
            "quarv: error: the solver cvc5 cannot be run: No such file or directory\n");
  EXPECT_EQ(run("$quarv rules mine scripts --size 0").status, 2);
  EXPECT_EQ(run("$quarv rules mine scripts -o x --state x").status, 2);
  // One term, and nothing to be found.
  fs::create_directory(path("one"));
  write("one/x.smt2", "(declare-const x (_ BitVec 8))\n(assert (bvult x #x10))\n");
  const Result one = run("$quarv rules mine one");
  EXPECT_EQ(one.status, 0);
  EXPECT_EQ(one.out, "# Found by quarv rules mine in 1 scripts. With all of these rules 3 terms become 3.\n");
}

TEST_F(Mining, FindsRulesAmongAllTermsOfSomeOperators) {
  const std::string command = "$quarv rules mine --operators bvlshr,bvnot --size 2 --timeout 100 ";
  const Result r = run(command + "-o found.rules -j 1");
  EXPECT_EQ(r.status, 0) << r.err;
  const std::string found = read("found.rules");
  // For each number of operators: all ways to group operands, and to name them.
  EXPECT_TRUE(has(found, "# Found by quarv rules mine among 134 terms.\n\n# proved for widths 1-")) << found;
  EXPECT_TRUE(has(found, "rewrite(bvlshr(bvlshr(t1, t2), t1_0), identity(t1, t1_0)) >> 0")) << found;
  EXPECT_EQ(run("$quarv rules check found.rules --max-width 3 --assignments 1000").status, 0);
  EXPECT_EQ(run(command + "-j 3").out, found);
  EXPECT_TRUE(
      has(run("$quarv rules mine --operators bvnot,bvlshr --size 1 --width 5").out, " among 9 terms"));

  const std::pair<const char*, const char*> wrong[] = {
      {"--operators bvplus", "there is no operator \"bvplus\""},
      {"--operators bvand,,bvor", "there is no operator \"\""},
      {"--operators concat", "terms with concat are not enumerated: it is not on bit-vectors of one width"},
      {"--operators bvrol", "terms with bvrol are not enumerated"},
      {"--operators fp.add", "terms with fp.add are not enumerated"},
      {"--operators bvand,bvor,bvxor,bvadd,bvmul --size 6", "there are more than 262144 terms: name fewer"},
      {"--operators bvand --width 0", "--width"},
      {"--operators bvand --width 65", "--width"},
      {"--operators bvand scripts", "name scripts to look at, or --operators"},
      {"--width 8 scripts", "goes with --operators"},
      {"", "name scripts to look at, or --operators"},
  };
  for (const auto& [arguments, message] : wrong) {
    const Result refused = run("$quarv rules mine -o x.rules " + std::string(arguments));
    EXPECT_EQ(refused.status, 2) << arguments;
    EXPECT_EQ(num_lines(refused.err), 1u) << refused.err;
    EXPECT_TRUE(has(refused.err, message)) << refused.err;
    EXPECT_FALSE(fs::exists(path("x.rules"))) << arguments;
  }
}

TEST_F(Mining, KeepsWhatWasFoundWhenTheSolverDies) {
  write_dying_solver(6);
  const Result r = run("$quarv rules mine scripts --solver 'bash dies.sh' -o x.rules --state state -j 1");
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.err, "quarv: the solver bash dies.sh ")) << r.err;
  EXPECT_TRUE(has(r.err, "; what was found until then is written, and the same command goes on from state\n"))
      << r.err;
  EXPECT_TRUE(has(read("x.rules"), "# Found by quarv rules mine in 2 scripts."));
  EXPECT_TRUE(has(read("state"), "state of quarv rules mine"));
}

TEST_F(Mining, KeepsWhatWasFoundWhenInterrupted) {
  // A solver that lets itself be waited for, so that the signal comes in the middle.
  write("slow.sh", R"sh(n=0
while read -r line; do
  case $line in
    *echo*) echo "$line" | cut -d '"' -f 2 ;;
    *check-sat*) n=$((n+1)); test $n -gt 2 && { touch busy; sleep 0.2; }
      case $n in 2) echo sat ;; *) echo unsat ;; esac ;;
  esac
done
)sh");
  const Result r =
      run("$quarv rules mine scripts --solver 'bash slow.sh' -o x.rules --state state -j 1 & pid=$!\n"
          "while ! test -f busy; do sleep 0.05; done; kill -TERM $pid; wait $pid; echo $?");
  EXPECT_TRUE(has(r.err, "quarv: interrupted; what was found until then is written")) << r.err;
  EXPECT_EQ(r.out, "143\n");
  EXPECT_TRUE(has(read("x.rules"), "# Found by quarv rules mine in 2 scripts."));
  EXPECT_TRUE(has(read("state"), "state of quarv rules mine"));
  EXPECT_EQ(run("$quarv rules mine scripts -o x.rules --state state").status, 0);
}

TEST_F(Mining, OrdersRules) {
  const auto check = [this](const std::string& rules) {
    return run("$quarv rules check - --max-width 2", rules).out;
  };
  const std::string standard = run("$quarv rules check --max-width 1 --timeout 0.5").out;
  EXPECT_TRUE(has(standard, "order: 162 go down, 14 rearrange operands, 8 without\n")) << standard;
  EXPECT_TRUE(has(standard,
                  "      ends all the same: masks move below concatenations, and nothing moves them back\n"));
  EXPECT_FALSE(has(standard, "no loop was found")) << standard;
  const std::string extended = run("$quarv rules check --extended --max-width 1 --timeout 0.3").out;
  EXPECT_TRUE(has(extended, " go down, 0 rearrange operands, 0 without\n")) << extended;

  EXPECT_TRUE(
      has(check("rewrite(bvadd(t, bvmul(2, u)), (2 == 2)) >> bvadd(t, bvadd(u, u))\n"), "1 without\n"));
  // Against a standard rule.
  const std::string loop =
      check("back: rewrite(bvmul(t1, bvadd(t2, t3)), ) >> bvadd(bvmul(t1, t2), bvmul(t1, t3))\n");
  EXPECT_TRUE(has(loop, "order: 0 go down, 0 rearrange operands, 1 without\n")) << loop;
  EXPECT_TRUE(has(loop, "  1 without an order: back: rewrite(")) << loop;
  EXPECT_TRUE(has(loop, "      loops: (declare-const t1 (_ BitVec ")) << loop;
  // Each alone would go down.
  const std::string pair = check(
      "rewrite(bvand(t, bvor(u, v)), ) >> bvor(bvand(t, u), bvand(t, v))\n"
      "rewrite(bvor(bvand(t, u), bvand(t_0, v)), identity(t, t_0)) >> bvand(t, bvor(u, v))\n");
  EXPECT_TRUE(has(pair, "order: 1 go down, 0 rearrange operands, 1 without\n")) << pair;
  EXPECT_TRUE(has(pair, "      loops: ")) << pair;
  // Of other sorts than bit-vectors, and with a constant that has a name on both sides.
  const std::string floats = check(
      "rewrite(fp.min(+oo, t), ) >> fp.min(t, +oo)\n"
      "rewrite(fp.min(t, +oo), ) >> fp.min(+oo, t)\n");
  EXPECT_TRUE(has(floats, "order: 0 go down, 0 rearrange operands, 2 without\n")) << floats;
  EXPECT_TRUE(has(floats, "      loops: (declare-const t1 (_ FloatingPoint 2 3)) (simplify (fp.min "))
      << floats;
  EXPECT_TRUE(has(check("rewrite(bvor(t, u), prec(u, t), ~const(t)) >> bvor(u, t)\n"),
                  "order: 0 go down, 1 rearrange operands, 0 without\n"));
}

TEST_F(Mining, TriesRulesOnNumbers) {
  // Beyond the widths that the solver is asked about.
  const std::string wrong = "rewrite(bvnot(t), (t == 300)) >> bvneg(t)\n";
  EXPECT_FALSE(has(run("$quarv rules check - --max-width 4", wrong).out, "refuted:"));
  const Result r = run("$quarv rules check - --max-width 4 --assignments 1000", wrong);
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "      refuted: t (9 bits) = 300: the pattern is 211, the result 212\n")) << r.out;
  EXPECT_TRUE(has(run("$quarv rules check - --max-width 4 --assignments 1000",
                      "rewrite(bvudiv(t, u), (u == 0), (size(t) > 40)) >> 1\n")
                      .out,
                  "      refuted: t (41 bits) = "));
}

TEST_F(Mining, CountsUses) {
  write("x.smt2",
        "(declare-const x (_ BitVec 8))\n(assert (bvule x (bvnot (bvnot x))))\n(assert (bvule x #x05))\n");
  const Result r = run("$quarv rules list --count x.smt2 scripts");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(has(r.out, "\n        1      1         1      -1         -  bvule-to-bvult: rewrite("))
      << r.out;
  EXPECT_TRUE(has(r.out, "\n        0      0         0       0         -  bvsdiv-self: rewrite(")) << r.out;
  EXPECT_TRUE(has(r.out, "\nuses, scripts, tries, terms saved, tries for each of them, rule; 3 scripts; "))
      << r.out;
  const Result none = run("$quarv rules list --count nothing");
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.err, "quarv: error: there is no script that can be read\n");
}

TEST_F(Mining, CountsUsesUntilItIsInterrupted) {
  // A script that is waited for while the signal comes.
  write("x.smt2", "(declare-const x (_ BitVec 8))\n(assert (bvule x #x05))\n");
  EXPECT_EQ(run("mkfifo endless.smt2").status, 0);
  for (const char* signal : {"INT", "TERM"}) {
    const Result r =
        run(std::string("set -m; $quarv rules list --count x.smt2 endless.smt2 2> says & pid=$!\n"
                        "exec 3> endless.smt2; kill -") +
            signal + " $pid; exec 3>&-; wait $pid; echo $?");
    EXPECT_EQ(read("says"), "quarv: interrupted; what was counted until then is written\n") << signal;
    EXPECT_TRUE(has(r.out, " rules were never applied\n")) << r.out;
    EXPECT_TRUE(r.out.ends_with(signal[0] == 'I' ? "130\n" : "143\n")) << r.out;
  }
}

TEST_F(Mining, FindsRulesAboutChoices) {
  // Both factors, whichever comes first.
  fs::create_directory(path("choices"));
  for (const int width : {8, 16, 24}) {
    const std::string sort = "(_ BitVec " + std::to_string(width) + ")";
    write("choices/" + std::to_string(width) + ".smt2",
          "(declare-const a " + sort + ")(declare-const b " + sort + ")(declare-const p Bool)\n" +
              "(assert (bvult (bvmul (ite p a b) (ite p b a)) a))\n");
  }
  const Result r = run("$quarv rules mine choices --size 3 -j 1");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(has(r.out, "rewrite(bvmul(ite(t1, t2, t3), ite(t1_0, t3_0, t2_0)), ")) << r.out;
  EXPECT_TRUE(has(r.out, ") >> bvmul(t2, t3)\n")) << r.out;
}

TEST_F(Mining, ProvesRulesForAllWidths) {
  const Result without = run("PATH=/nowhere $quarv rules mine scripts --coq -o x.rules");
  EXPECT_EQ(without.status, 1);
  EXPECT_EQ(without.err, "quarv: error: Coq is not installed: there is no program coqc\n");
  EXPECT_FALSE(fs::exists(path("x.rules")));
  if (run("coqc --version").status != 0) GTEST_SKIP() << "Coq is not installed";
  const Result r = run("$quarv rules mine scripts --coq");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(has(r.out, "terms saved: 1\n# proved with Coq for all widths\nmined-bvxor-1: ")) << r.out;
  EXPECT_TRUE(has(r.err, " rules proved for all widths\n")) << r.err;
}

}  // namespace
