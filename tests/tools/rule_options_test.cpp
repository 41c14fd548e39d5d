/// \file
/// Rules of a user's own, and rules left out, from the command line.
#include "program_fixture.h"

namespace {

const std::string shift_by_not = "(declare-const a (_ BitVec 8))\n(assert (= (bvashr a (bvnot a)) #x00))\n";
const std::string my_rule = "rewrite(bvashr(t, bvnot(t_0)), identity(t, t_0)) >> bvashr(t, bvneg(t))\n";
const std::string rewritten = "(declare-const a (_ BitVec 8))\n(assert (= (bvashr a (bvneg a)) #x00))\n";

class RuleOptions : public Program {
 protected:
  /// The number of the first rule beside the standard ones: their list ends in a line of remarks.
  std::string own_number() const { return std::to_string(num_lines(run("$quarv rules list").out)); }
};

TEST_F(RuleOptions, AppliesTheUsersRules) {
  write("my.rules", "# a comment\n\n" + my_rule);
  write("none.rules", "");
  const std::string plain = run("$quarv simplify --canonical", shift_by_not).out;
  EXPECT_NE(plain.find("bvnot"), std::string::npos);
  EXPECT_EQ(run("$quarv simplify --canonical --rules my.rules", shift_by_not).out, rewritten);
  EXPECT_EQ(run("$quarv simplify --canonical --rules none.rules --rules my.rules", shift_by_not).out,
            rewritten);
  const std::string number = own_number();
  EXPECT_EQ(run("$quarv simplify --canonical - --rules=my.rules --disable-rule " + number, shift_by_not).out,
            plain);
  EXPECT_EQ(
      run("cat my.rules | $quarv simplify --canonical --rules - /dev/fd/3 3<<<'" + shift_by_not + "'").out,
      rewritten);
  const Result stats = run("$quarv simplify --canonical --rules my.rules --stats", shift_by_not);
  EXPECT_NE(stats.err.find("  rule " + number + ' '), std::string::npos) << stats.err;
}

TEST_F(RuleOptions, CallsNamedRulesByTheirNames) {
  write("my.rules", "shift-by-complement: " + my_rule);
  const std::string plain = run("$quarv simplify --canonical", shift_by_not).out;
  const std::string command = "$quarv simplify --canonical --rules my.rules ";
  EXPECT_EQ(run(command, shift_by_not).out, rewritten);
  EXPECT_EQ(run(command + "--disable-rule shift-by-complement", shift_by_not).out, plain);
  EXPECT_EQ(run(command + "--disable-rule " + own_number(), shift_by_not).out, plain);
  const Result text = run(command + "--stats", shift_by_not);
  EXPECT_NE(text.err.find("\n  rule shift-by-complement         1\n"), std::string::npos) << text.err;
  const Result json = run(command + "--stats=json", shift_by_not);
  EXPECT_NE(json.err.find(R"("rules":{"shift-by-complement":1})"), std::string::npos) << json.err;
}

TEST_F(RuleOptions, NamesTheRuleThatWasPerhapsMeant) {
  write("my.rules", "shift-by-complement: " + my_rule);
  const Result own = run("$quarv simplify --rules my.rules --disable-rule shift-by-compliment", shift_by_not);
  EXPECT_EQ(own.status, 2);
  EXPECT_EQ(
      own.err,
      "quarv: there is no rule \"shift-by-compliment\"; the nearest is \"shift-by-complement\" (see quarv "
      "rules list)\n");
  EXPECT_TRUE(has(run("$quarv simplify --disable-rule bvxor-cancle", shift_by_not).err,
                  "; the nearest is \"bvxor-cancel\" ("));
  EXPECT_EQ(run("$quarv simplify --disable-rule zzzz", shift_by_not).err,
            "quarv: there is no rule \"zzzz\" (see quarv rules list)\n");
}

TEST_F(RuleOptions, KeepsTheNamesOfExtendedRules) {
  write("my.rules", "bvxor-cancel: " + my_rule);
  for (const char* options : {"", " --rules-only-standard"}) {
    const Result r = run(std::string("$quarv simplify --rules my.rules") + options, shift_by_not);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.substr(0, r.err.find('\n')), "my.rules:1:1: error: another rule already has this name");
  }
  const std::string input = "(declare-const a (_ BitVec 8))\n(declare-const b (_ BitVec 8))\n";
  const std::string twice = input + "(assert (bvult (bvxor b a b) #x07))\n";
  EXPECT_EQ(run("$quarv simplify", twice).out, input + "(assert (bvult a #x07))\n");
  EXPECT_EQ(run("$quarv simplify --disable-rule bvxor-cancel", twice).out, twice);
}

TEST_F(RuleOptions, HasNoTwoRulesOfOneName) {
  write("my.rules", "# mine\n bvnot-involution: rewrite(bvnot(t), ) >> bvneg(t)\n");
  const std::string error =
      "my.rules:2:2: error: another rule already has this name\n"
      "   bvnot-involution: rewrite(bvnot(t), ) >> bvneg(t)\n"
      "   ^\n";
  for (const char* command :
       {"simplify - --rules my.rules", "explain in.smt2 --rules my.rules --why-not 1 true",
        "replay - --rules my.rules"}) {
    write("in.smt2", "");
    const Result r = run("$quarv " + std::string(command), "");
    EXPECT_EQ(r.status, 1) << command;
    EXPECT_EQ(r.err, error) << command;
  }
  write("a.rules", "mine: " + my_rule);
  write("b.rules", "mine: " + my_rule);
  EXPECT_EQ(run("$quarv simplify --canonical --rules a.rules --rules b.rules", "").status, 1);
}

TEST_F(RuleOptions, ReportsFaultsOfRuleFiles) {
  write("my.rules", my_rule + "  rewrite(bvnot(t), ) >> u\n");
  const Result r = run("$quarv simplify --canonical --rules my.rules -o out.smt2", shift_by_not);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err,
            "my.rules:2:26: error: the variable \"u\" of the result is not bound\n"
            "    rewrite(bvnot(t), ) >> u\n"
            "                           ^\n");
  EXPECT_EQ(num_files(), 1u);
  EXPECT_EQ(run("$quarv simplify --canonical --rules nowhere.rules").err,
            "quarv: error: cannot read nowhere.rules: No such file or directory\n");
  // Only when it is applied does it show that the result has another sort.
  write("wide.rules", "\nrewrite(bvashr(t, t2), ) >> zext(1, t)\n");
  const Result wide = run("$quarv simplify --canonical --rules wide.rules", shift_by_not);
  EXPECT_EQ(wide.status, 1);
  EXPECT_EQ(wide.err.substr(0, 27), "wide.rules:2:1: error: the ") << wide.err;
  write("ill.rules", "rewrite(bvashr(t, t2), ) >> bvadd(t, zext(1, t))\n");
  EXPECT_EQ(run("$quarv simplify --canonical --rules ill.rules", shift_by_not).err.substr(0, 23),
            "ill.rules:1:1: error: t");
}

TEST_F(RuleOptions, LeavesOutDisabledRules) {
  const std::string input = "(declare-const a (_ BitVec 8))\n(assert (bvule a #x07))\n";
  const std::string with = run("$quarv simplify --canonical", input).out;
  const std::string without = run("$quarv simplify --canonical --no-rules", input).out;
  ASSERT_NE(with, without);
  EXPECT_EQ(run("$quarv simplify --canonical --disable-rule 10", input).out, without);
  EXPECT_EQ(run("$quarv simplify --canonical --disable-rule bvule-to-bvult", input).out, without);
  EXPECT_EQ(
      run("$quarv simplify --canonical --disable-rule 'rewrite(bvule(t1, t2), ) >> ~(bvult(t2, t1))'", input)
          .out,
      without);
  EXPECT_EQ(run("$quarv simplify --canonical --disable-rule 1 --disable-rule 10", input).out, without);
  EXPECT_EQ(run("$quarv simplify --canonical --disable-rule 1 --disable-rule 2", input).out, with);
}

TEST_F(RuleOptions, AppliesRulesAlone) {
  const std::string input = "(declare-const a (_ BitVec 8))\n(assert (bvule a (bvadd #x01 #x02)))\n";
  EXPECT_EQ(run("$quarv simplify --canonical --no-simplifiers", input).out,
            "(declare-const a (_ BitVec 8))\n"
            "(assert (not (bvult (bvadd #x01 #x02) a)))\n");
  // Without the simplifiers and this rule, the rules on extensions would see an extension by no bits.
  const std::string command =
      "$quarv simplify --canonical --no-simplifiers --disable-rule zero-extend-by-zero";
  const std::string extension = "(declare-const a (_ BitVec 8))\n(assert (= ((_ zero_extend 0) a) #xff))\n";
  EXPECT_EQ(run(command, extension).out, extension);
  const std::string replaced = run(command + " --library-semantics", extension).out;
  EXPECT_NE(replaced, extension);
  // The option's former name, which no help tells.
  EXPECT_EQ(run(command + " --standard", extension).out, replaced);
  EXPECT_EQ(run("$quarv simplify --help").out.find("--standard"), std::string::npos);
  EXPECT_EQ(run("$quarv simplify --canonical --no-simplifiers --no-rules", "").status, 2);
}

TEST_F(RuleOptions, AnswersUnknownRulesWithStatusTwo) {
  for (const char* rule :
       {"0", "185", "99999", "99999999999999999999", "-1", "x", "", "rewrite(bvnot(t), ) >> t"}) {
    const Result r =
        run("$quarv simplify --canonical -o out.smt2 --disable-rule='" + std::string(rule) + "'", "");
    EXPECT_EQ(r.status, 2) << rule;
    EXPECT_EQ(r.out, "") << rule;
    EXPECT_EQ(num_lines(r.err), 1u) << r.err;
    EXPECT_EQ(num_files(), 0u) << rule;
  }
  EXPECT_EQ(run("$quarv simplify --canonical --disable-rule 185").err,
            "quarv: there is no rule 185: rules are numbered from 1 to 184 (see quarv rules list)\n");
  EXPECT_EQ(run("$quarv simplify --canonical --disable-rule bvnot").err,
            "quarv: there is no rule \"bvnot\" (see quarv rules list)\n");
  EXPECT_EQ(run("$quarv simplify --canonical --rules x --no-rules").status, 2);
}

}  // namespace
