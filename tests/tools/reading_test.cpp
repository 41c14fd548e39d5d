/// \file
/// What the program makes of the beginnings, the names and the faults of scripts, whichever command reads
/// them.
#include "program_fixture.h"

namespace {

TEST_F(Program, EveryCommandSkipsAByteOrderMark) {
  const std::string script = "\xEF\xBB\xBF(declare-const p Bool)\n(assert (and p p))\n(simplify p)\n";
  EXPECT_EQ(run("$quarv simplify", script).out, "(declare-const p Bool)\n(assert p)\n(simplify p)\n");
  EXPECT_EQ(run("$quarv explain -", script).status, 0);
  EXPECT_EQ(run("$quarv repl", script).out, "p\n");
  write("solver.sh", R"sh(while read -r line; do
  case $line in
    "(reset)") answer=unsat ;;
    "(assert x)") answer=sat ;;
    "(check-sat)") echo "$answer" ;;
    "(echo "*) echo "$line" | cut -d '"' -f 2 ;;
  esac
done
)sh");
  EXPECT_EQ(run("$quarv certify --solver 'bash solver.sh'", script).err, "");
  write("right.rules", "\xEF\xBB\xBFrewrite(bvnot(bvnot(t)), ) >> t\n");
  EXPECT_EQ(run("$quarv simplify --rules right.rules", "(check-sat)\n").out, "(check-sat)\n");
  write("wrong.rules", "\xEF\xBB\xBFrewrit(bvnot(bvnot(t)), ) >> t\n");
  EXPECT_EQ(run("$quarv simplify --rules wrong.rules", "(check-sat)\n").err,
            "wrong.rules:1:1: error: expected \"rewrite\" or \"unordered\" but found \"rewrit\"\n"
            "  rewrit(bvnot(bvnot(t)), ) >> t\n  ^\n");
}

TEST_F(Program, EveryCommandTellsFunctionsOfOneNameApart) {
  const std::string script =
      "(declare-fun f (Int) Int)\n(declare-fun f (Bool) Int)\n(declare-const i Int)\n(declare-const p Bool)\n"
      "(assert (= (f (+ i 0)) (f (and p p))))\n(assert (> (f i) (f p)))\n";
  const Result simplified = run("$quarv simplify --trace trace.jsonl", script);
  EXPECT_EQ(simplified.err, "");
  EXPECT_TRUE(simplified.out.find("(assert (= (f i) (f p)))") != std::string::npos) << simplified.out;
  EXPECT_EQ(run("$quarv simplify", simplified.out).out, simplified.out);
  EXPECT_EQ(run("$quarv replay trace.jsonl").status, 0);
  EXPECT_EQ(run("$quarv explain -", script).status, 0);
  if (run("z3 --version").status != 0) return;
  for (const char* how : {"", " --steps"}) {
    const Result r = run(std::string("$quarv certify -") + how, script);
    EXPECT_NE(r.out.find(" 0 refuted, 0 undecided, 0 unsupported\n"), std::string::npos) << r.out;
  }
}

TEST_F(Program, EveryCommandTakesFormatsWithLongExponents) {
  const std::string script =
      "(declare-const x (_ FloatingPoint 40 53))\n(declare-fun f ((_ FloatingPoint 40 53)) Bool)\n"
      "(assert (and (f x) (f x)))\n(assert (f (_ -oo 40 53)))\n";
  const Result r = run("$quarv simplify --trace trace.jsonl", script);
  EXPECT_EQ(r.out,
            "(declare-const x (_ FloatingPoint 40 53))\n(declare-fun f ((_ FloatingPoint 40 53)) Bool)\n"
            "(assert (f x))\n(assert (f (_ -oo 40 53)))\n");
  EXPECT_EQ(run("$quarv replay trace.jsonl").out.find("no sense"), std::string::npos);
}

TEST_F(Program, EveryCommandShowsTheLineAtFault) {
  const std::string script = "(declare-const x (_ BitVec 8))\n(assert (bvugt x\t#b1))\n";
  const std::string message =
      "in.smt2:2:18: error: bvugt: argument 2 has sort (_ BitVec 1), expected (_ BitVec 8)\n";
  const std::string shown = message + "  (assert (bvugt x #b1))\n                   ^\n";
  write("in.smt2", script);
  for (const char* command : {"simplify", "explain", "certify", "certify --steps"}) {
    const Result r = run(std::string("$quarv ") + command + " in.smt2");
    EXPECT_EQ(r.status, 1) << command;
    EXPECT_EQ(r.err, shown) << command;
    EXPECT_EQ(r.out, "") << command;
  }
  run("$quarv batch in.smt2 --results results.jsonl");
  EXPECT_NE(read("results.jsonl").find(message.substr(0, message.size() - 1) + '"'), std::string::npos)
      << read("results.jsonl");

  write("my.rules", "rewrite(bvor(t, t), ) >> t\n");
  const Result rules = run("$quarv rules check my.rules");
  EXPECT_EQ(num_lines(rules.err), 3u);
  EXPECT_TRUE(rules.err.ends_with("\n  rewrite(bvor(t, t), ) >> t\n                  ^\n")) << rules.err;
  EXPECT_EQ(run("$quarv simplify in.smt2 --rules my.rules").err, rules.err);
}

TEST_F(Program, ShowsTheTermAtFaultThatIsAskedAbout) {
  write("in.smt2", "(declare-const x Bool)\n");
  const std::string ask = "$quarv explain in.smt2 --why-not 1 ";
  EXPECT_EQ(run(ask + "'(not x'").err,
            "TERM:1:7: error: unexpected end of input, expected ')' to match '(' at 1:1\n  (not x\n  ^\n");
  EXPECT_EQ(run(ask + "'(not y)'").err, "TERM:1:6: error: unknown symbol y\n  (not y)\n       ^\n");
}

}  // namespace
