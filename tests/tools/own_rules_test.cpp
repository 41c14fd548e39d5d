/// \file
/// Rules of a user's own are checked before they are applied.
#include "program_fixture.h"

namespace {

const std::string script_for_rules =
    "(declare-const a (_ BitVec 8))\n(declare-const b (_ BitVec 8))\n(assert (= (bvashr a (bvnot b)) "
    "#x00))\n";
const std::string wrong = "wrong: rewrite(bvashr(t, bvnot(u)), ) >> t\n";
const std::string refusal =
    "wrong.rules:1:1: error: the rule does not hold: t = #b0, u = #b0: the pattern is #b0, the result #b1";

class OwnRules : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    if (run("z3 --version").status != 0) GTEST_SKIP() << "z3 is not installed";
    write("in.smt2", script_for_rules);
    write("two.smt2", script_for_rules);
    write("wrong.rules", wrong);
    write("good.rules", "good: rewrite(bvashr(t, bvnot(t_0)), identity(t, t_0), (size(t) == 1)) >> t\n");
  }
  std::string cached() const { return run("ls $XDG_CACHE_HOME/quarv/rules").out; }
  /// A folder in which no solver is.
  static constexpr const char* without_solvers = "mkdir -p bin; PATH=$PWD/bin ";
};

TEST_F(OwnRules, AreRefusedIfTheyDoNotHold) {
  for (const char* command :
       {"simplify in.smt2 -o out", "simplify in.smt2 two.smt2 --in-place", "explain in.smt2",
        "certify in.smt2", "report in.smt2 -o out", "batch in.smt2 --out out", "replay in.smt2", "repl"}) {
    const Result r = run("$quarv " + std::string(command) + " --rules wrong.rules");
    EXPECT_EQ(r.status, 1) << command;
    EXPECT_TRUE(has(r.err, "wrong.rules:1:1: error: the rule does not hold: t = ")) << command << '\n'
                                                                                    << r.err;
    EXPECT_TRUE(has(r.err, " (--trust-rules applies it all the same)\n  wrong: rewrite(")) << r.err;
    EXPECT_FALSE(fs::exists(path("out"))) << command;
  }
  const Result trusted = run("$quarv simplify --canonical in.smt2 --rules wrong.rules --trust-rules");
  EXPECT_EQ(trusted.status, 0);
  EXPECT_EQ(trusted.err, "");
  EXPECT_TRUE(has(trusted.out, "(assert (= a #x00))")) << trusted.out;
  const Result typed = run("$quarv repl", "(rule \"rewrite(bvashr(t, bvnot(u)), ) >> t\")\n");
  EXPECT_TRUE(has(typed.out, "the rule does not hold")) << typed.out;
  EXPECT_EQ(run("$quarv repl --trust-rules", "(rule \"rewrite(bvashr(t, bvnot(u)), ) >> t\")\n").status, 0);
}

TEST_F(OwnRules, AreWarnedOfInOneLineEach) {
  write("loop.rules",
        "# 1\n\nback: rewrite(bvmul(t1, bvadd(t2, t3)), ) >> bvadd(bvmul(t1, t2), bvmul(t1, t3))\n"
        "never: rewrite(bvurem(t, c), const(c), (c > 5), (c < 4)) >> t\n");
  const Result r = run("$quarv simplify in.smt2 --rules loop.rules");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(num_lines(r.err), 2u) << r.err;
  EXPECT_TRUE(
      has(r.err, "loop.rules:4:1: warning: the rule is not proved: nothing was found that it applies to\n"))
      << r.err;
  EXPECT_TRUE(
      has(r.err, "loop.rules:3:1: warning: applying the rule may not end: it loops on (declare-const t1 "))
      << r.err;
  // The place is that of the file at hand, also where the text is known.
  EXPECT_EQ(run("cp loop.rules other.rules; $quarv simplify in.smt2 --rules other.rules -o out").err,
            run("sed 's/^/x/' /dev/null; $quarv simplify in.smt2 --rules loop.rules 2>&1 >out | sed "
                "s/loop/other/ >&2")
                .err);
  EXPECT_EQ(run("$quarv simplify in.smt2 --rules loop.rules --trust-rules").err, "");
}

TEST_F(OwnRules, AreCheckedOnce) {
  // Whether the solver is asked again shows in what it leaves.
  write("z3", "#!/bin/sh\necho asked >> " + path("asked").string() + "\nexec " +
                  run("command -v z3 | tr -d '\\n'").out + " \"$@\"\n");
  const std::string command =
      "chmod +x z3; PATH=$PWD:$PATH; $quarv simplify in.smt2 -o out.smt2 --rules good.rules";
  EXPECT_EQ(run(command).err, "");
  const auto asked = [this] {
    const bool any = fs::exists(path("asked"));
    fs::remove(path("asked"));
    return any;
  };
  EXPECT_TRUE(asked());
  EXPECT_EQ(num_lines(cached()), 1u);
  EXPECT_EQ(run(command).status, 0);
  EXPECT_FALSE(asked());
  EXPECT_EQ(run(command + " --canonical --no-simplifiers").status, 0);
  EXPECT_FALSE(asked());
  // Other rules, and another solver.
  EXPECT_EQ(run("echo '# more' >> good.rules; " + command).status, 0);
  EXPECT_TRUE(asked());
  EXPECT_EQ(num_lines(cached()), 2u);
  EXPECT_EQ(run("echo '# another' >> z3; " + command).status, 0);
  EXPECT_TRUE(asked());
  EXPECT_EQ(num_lines(cached()), 3u);
}

TEST_F(OwnRules, AreCheckedAnewIfWhatWasKeptIsNotToBeTrusted) {
  const std::string command = "$quarv simplify in.smt2 -o out.smt2 --rules wrong.rules";
  const std::string refused = run(command).err;
  EXPECT_TRUE(has(refused, "does not hold")) << refused;
  const std::string file = "$XDG_CACHE_HOME/quarv/rules/$(ls $XDG_CACHE_HOME/quarv/rules)";
  EXPECT_EQ(run("cp " + file + " kept").status, 0);
  EXPECT_EQ(run("stat -c %a " + file).out, "600\n");
  for (const char* damage :
       {"true", "head -c 100 kept > FILE",
        // Says that nothing was found; with the digest of what it says; for other rules.
        R"(sed -z 's/"findings": \[.*\]/"findings": []/' kept > FILE)", "cp kept FILE; chmod 666 FILE",
        "rm FILE; mkfifo FILE", "rm FILE; ln -s $PWD/kept FILE", "rm FILE; mkdir FILE"}) {
    std::string damaging = damage;
    for (std::size_t at; (at = damaging.find("FILE")) != std::string::npos;) damaging.replace(at, 4, "$f");
    const Result r = run("f=" + file + "; " + damaging + "; " + command);
    EXPECT_EQ(r.status, 1) << damage;
    EXPECT_EQ(r.err, refused) << damage;
  }
}

TEST_F(OwnRules, NeedNoCache) {
  for (const char* where : {"XDG_CACHE_HOME=/dev/null/x", "XDG_CACHE_HOME= HOME=",
                            "XDG_CACHE_HOME=here HOME=/dev/null", "XDG_CACHE_HOME=$PWD/in.smt2"}) {
    const Result r = run(std::string(where) + " $quarv simplify in.smt2 -o out.smt2 --rules good.rules");
    EXPECT_EQ(r.status, 0) << where;
    EXPECT_EQ(r.err, "") << where;
  }
  EXPECT_FALSE(fs::exists(path("here")));
  EXPECT_EQ(read("in.smt2"), script_for_rules);
  EXPECT_EQ(run("XDG_CACHE_HOME= HOME=$PWD/home $quarv simplify in.smt2 -o out.smt2 --rules good.rules; "
                "mkdir home; XDG_CACHE_HOME= HOME=$PWD/home $quarv simplify in.smt2 -o out.smt2 --rules "
                "good.rules; "
                "ls home/.cache/quarv/rules | wc -l")
                .out,
            "1\n");
}

TEST_F(OwnRules, AreAppliedUncheckedWithoutASolver) {
  const Result none =
      run(std::string(without_solvers) + "$quarv simplify --canonical in.smt2 --rules wrong.rules");
  EXPECT_EQ(none.status, 0);
  EXPECT_EQ(none.err,
            "quarv: warning: rules of your own are applied unchecked: neither z3 nor cvc5 is installed\n");
  EXPECT_TRUE(has(none.out, "(assert (= a #x00))")) << none.out;
  // One that dies, and one that is none.
  for (const char* solver : {"exit 1", "echo nonsense; read -r line"}) {
    const Result r =
        run("mkdir -p bin; printf '#!/bin/sh\\n" + std::string(solver) +
            "\\n' > bin/z3; chmod +x bin/z3; PATH=$PWD/bin:/nowhere $quarv simplify in.smt2 -o out.smt2 "
            "--rules wrong.rules");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(num_lines(r.err), 1u) << r.err;
    EXPECT_TRUE(has(r.err, "quarv: warning: rules of your own are applied unchecked: the solver z3 "))
        << r.err;
  }
  EXPECT_EQ(cached(), "");
}

}  // namespace
