/// \file
/// The dialogue as a person has it: terms without a command, help, explanations, what is remembered.
#include "program_fixture.h"

namespace {

TEST_F(Program, DialogueSimplifiesBareTerms) {
  const Result r = run("$quarv repl",
                       "(declare-const x (_ BitVec 8))\n(declare-fun |f g| ((_ BitVec 8)) Bool)\n"
                       "(bvadd x #x01 #x02)\nx\n#x0f\n((_ extract 3 0) #xab)\n(let ((y x)) (bvand y y))\n"
                       "(|f g| x) (bvor x\n x)\n(_ bv3 8)\n(push 1)(and (|f g| x) true)(pop 1)\n");
  EXPECT_EQ(r.out, "(bvadd #x03 x)\nx\n#x0f\n#xb\nx\n(|f g| x)\nx\n#x03\n(|f g| x)\n");
  EXPECT_EQ(r.status, 0);
}

TEST_F(Program, DialogueTellsTermsFromCommands) {
  const Result r = run("$quarv repl",
                       "(declare-const p Bool)\n"
                       "(asert p)\n  (and p\n  q)\n(and p q) p p\n(set-logic\n)\n(and p #x00)\n"
                       "(declare-datatypes ((T 0)) (((a))))\n()\n");
  std::istringstream lines(r.out);
  std::string line;
  for (const char* expected :
       {"(error \"line 2, column 2: unknown command or operator asert\")",
        "(error \"line 4, column 3: unknown symbol q\")", "(error \"line 5, column 8: unknown symbol q\")",
        "(error \"line 5, column 13: expected the end of the input, found p\")",
        "(error \"line 7, column 1: ", "(error \"line 8, column 8: and: argument 2",
        "(error \"line 9, column 2: datatypes are not supported",
        "(error \"line 10, column 2: expected a command"}) {
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(line.substr(0, std::string(expected).size()), expected);
  }
  EXPECT_FALSE(std::getline(lines, line)) << line;
  EXPECT_EQ(r.status, 1);
}

TEST_F(Program, DialogueSaysWhatIsShownWhateverItsName) {
  const Result r = run(
      "$quarv repl",
      "(declare-const p Bool)\n(check-sat)\n(assert (! (or p (not p)) :named a))\n(check-sat)\n"
      "(check-sat-assuming (p))\n(check-sat-assuming (a (or (not p) p)))\n"
      "(check-sat-assuming (p false))\n(check-sat-assuming ((and p (not p))))\n"
      "(push 1)\n(assert (! (! (and p (not p)) :named b) :named c))\n(check-sat)\n(pop 1)\n(check-sat)\n");
  EXPECT_EQ(r.out, "sat\nsat\nunknown\nsat\nunsat\nunsat\nunsat\nsat\n");
  EXPECT_EQ(r.status, 0);
}

TEST_F(Program, DialogueCompletesWordsAtATerminal) {
  const std::string typed = "(declare-const speed Int)\n(+ spe\t 0)\n(bvno\t #x0f)\n(exit)\n";
  const Result r = run("HOME=$PWD TERM=xterm script -qec \"$quarv repl\" /dev/null", typed);
  EXPECT_NE(r.out.find("\nspeed\r"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\n#xf0\r"), std::string::npos) << r.out;
}

TEST_F(Program, DialogueHasHelpAndAnEnd) {
  const Result help = run("$quarv repl", "help\n");
  EXPECT_NE(help.out.find("(explain TERM)"), std::string::npos) << help.out;
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(run("$quarv repl", "help \n").out, help.out);
  EXPECT_EQ(run("$quarv repl", "exit\ntrue\n").out, "");
  EXPECT_EQ(run("$quarv repl", "quit\ntrue\n").out, "");
  // They are names like others.
  EXPECT_EQ(run("$quarv repl", "(declare-const help Int)\n(declare-const exit Int)\nhelp\nexit\n").out,
            "help\n|exit|\n");
  EXPECT_EQ(run("$quarv repl", "help me\n").status, 1);
}

TEST_F(Program, DialogueExplainsTerms) {
  const Result r = run("$quarv repl", "(declare-const x (_ BitVec 8))\n(explain (bvadd x (bvsub x x)))\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(r.out.starts_with("  (bvadd x (bvsub x x))\nbecomes\n  x\n1. ")) << r.out;
  EXPECT_NE(r.out.find("rule bvsub-self"), std::string::npos) << r.out;
  EXPECT_TRUE(r.out.ends_with("= \u00abx\u00bb\n")) << r.out;
  EXPECT_EQ(run("$quarv repl", "(declare-const x Int)\n(explain x)\n").out, "  x\nis left as it is\n");
}

TEST_F(Program, DialogueExplainsWithWhatIsInForce) {
  const Result r = run("$quarv repl",
                       "(declare-sort S 0)\n(declare-const a S)\n(define-fun same ((b S)) Bool (= a b))\n"
                       "(push 1)\n(declare-const p Int)\n(pop 1)\n(push 2)\n(declare-const p Bool)\n"
                       "(assert (! (or p (same a)) :named n))\n(explain (and n n p))\n(pop 2)\n(explain p)\n"
                       "(reset)\n(declare-const a Int)\n(explain (+ a 0))\n");
  EXPECT_NE(r.out.find("(error \"line 12, column 10: unknown symbol p\")"), std::string::npos) << r.out;
  EXPECT_EQ(r.out.find("(error"), r.out.rfind("(error")) << r.out;
  EXPECT_NE(r.out.rfind("\n  (+ a 0)\nbecomes\n  a\n"), std::string::npos) << r.out;
  const Result bad = run("$quarv repl", "(explain\n  (and true 1))\n(explain)\n");
  EXPECT_TRUE(bad.out.starts_with("(error \"line 2, column 13: and: argument 2")) << bad.out;
  EXPECT_EQ(num_lines(bad.out), 2u) << bad.out;
}

TEST_F(Program, DialogueSaysWhyARuleDoesNotApply) {
  const std::string declared = "(declare-const x (_ BitVec 8))\n";
  const Result r =
      run("$quarv repl", declared + "(why-not bvor-zero (bvor x #x01))\n(why-not bvor-zero (bvor #x00 x))\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("does not apply: "), std::string::npos) << r.out;
  EXPECT_TRUE(r.out.ends_with("applies to (bvor #x00 x)\nyields     x\n")) << r.out;
  const Result bad = run("$quarv repl", declared + "(why-not none x)\n(why-not bvor-zero\n y)\n(why-not)\n");
  EXPECT_TRUE(bad.out.starts_with("(error \"there is no rule \"\"none\"\"")) << bad.out;
  EXPECT_NE(bad.out.find("(error \"line 4, column 2: unknown symbol y\")"), std::string::npos) << bad.out;
  EXPECT_EQ(num_lines(bad.out), 3u) << bad.out;
  EXPECT_EQ(bad.status, 1);
}

TEST_F(Program, DialogueTakesNoDefinitionOfAFunctionForTrue) {
  const Result r =
      run("$quarv repl",
          "(define-fun-rec f ((i Int)) Int (+ 1 (f i)))\n(check-sat)\n(check-sat-assuming (true))\n"
          "(assert false)\n(check-sat)\n");
  EXPECT_EQ(r.out, "unknown\nunknown\nunsat\n");
  EXPECT_EQ(r.status, 0);
}

TEST_F(Program, DialogueTakesOneRuleAtATime) {
  const std::string rule = "\"rewrite(bvxor(t, t_0), identity(t, t_0)) >> 0\"";
  const Result r =
      run("$quarv repl", "(rule)\n(rule r)\n(rule " + rule + ' ' + rule + ")\n(rule " + rule + " x)\n");
  const std::string error = "(error \"rule needs the text of one rule, between quotation marks\")\n";
  EXPECT_EQ(r.out, error + error + error + error);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(run("$quarv repl", "(declare-fun rule (Bool) Bool)\n(rule true)\n").out, "(rule true)\n");
}

TEST_F(Program, DialogueTakesRulesOfOnesOwn) {
  const std::string rule = "(rule \"half: rewrite(bvmul(bvneg(t1), bvneg(t2)), ) >> bvmul(t1, t2)\")\n";
  const std::string declared = "(declare-const x (_ BitVec 8))\n(declare-fun rule (Bool) Bool)\n";
  const Result r =
      run("$quarv repl", declared + rule +
                             "(bvmul (bvneg x) (bvneg x))\n(explain (bvmul (bvneg x) (bvneg x)))\n" +
                             "(why-not half (bvmul x x))\n(rule true)\n");
  EXPECT_TRUE(r.out.starts_with("(bvmul x x)\n")) << r.out;
  EXPECT_NE(r.out.find("rule half: "), std::string::npos) << r.out;
  EXPECT_TRUE(r.out.ends_with("(rule true)\n")) << r.out;
  EXPECT_EQ(r.status, 0);
  const Result bad = run("$quarv repl", rule + "\n" + rule + "(rule\n \"rewrite(bvmul(t, t)\")\n");
  EXPECT_TRUE(bad.out.starts_with("(error \"line 3, column 8: another rule already has this name"))
      << bad.out;
  EXPECT_NE(bad.out.find("(error \"line 5, column "), std::string::npos) << bad.out;
  write("my.rules", "half: rewrite(bvmul(bvneg(t1), bvneg(t2)), ) >> bvmul(t1, t2)\n");
  EXPECT_EQ(run("$quarv repl --rules my.rules", declared + "(bvmul (bvneg x) (bvneg x))\n").out,
            "(bvmul x x)\n");
}

/// What a terminal shows.
class Terminal : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    ASSERT_EQ(run("script --version").status, 0) << "script is part of bsdutils";
  }
  Result type(const std::string& text, const std::string& environment) const {
    return run("export HOME=$PWD TERM=dumb; unset XDG_STATE_HOME; " + environment +
                   " script -qec \"$quarv repl\" /dev/null",
               text);
  }
};

TEST_F(Terminal, ShowsErrorsWithACaret) {
  const Result r = type("(and true nothing)\nexit\n", "");
  EXPECT_NE(r.out.find("unknown symbol nothing\")\r\n  (and true nothing)\r\n            ^\r\n"),
            std::string::npos)
      << r.out;
}

TEST_F(Terminal, RemembersLines) {
  type("(and true true)\nexit\n", "");
  EXPECT_NE(read(".local/state/quarv/history").find("true"), std::string::npos);
  EXPECT_EQ(run("stat -c %a .local/state/quarv/history").out, "600\n");
  type("(or false false)\nexit\n", "");
  const std::string both = read(".local/state/quarv/history");
  EXPECT_NE(both.find("and"), std::string::npos) << both;
  EXPECT_NE(both.find("or"), std::string::npos) << both;
  type("(xor true true)\nexit\n", "XDG_STATE_HOME=$PWD/state");
  EXPECT_NE(read("state/quarv/history").find("xor"), std::string::npos);
  EXPECT_EQ(read(".local/state/quarv/history"), both);
}

TEST_F(Program, RemembersNothingOfAPipe) {
  run("export HOME=$PWD; unset XDG_STATE_HOME; $quarv repl", "(and true true)\n");
  EXPECT_EQ(num_files(), 0u);
}

}  // namespace
