/// \file
/// `quarv report`: the data in the page. That the page shows it is tested in a browser.
#include <functional>
#include <map>

#include <nlohmann/json.hpp>

#include "program_fixture.h"

namespace {

using Json = nlohmann::json;

class Report : public Program {
 protected:
  Json data(const std::string& page) const { return script(page, "id=\"data\""); }
  /// What the first script of data with this attribute says.
  Json script(const std::string& page, const std::string& attribute) const {
    const std::string begin = "<script type=\"application/json\" " + attribute + '>';
    const std::size_t start = page.find(begin) + begin.size();
    return Json::parse(page.substr(start, page.find("</script>", start) - start));
  }
};

/// Rows of terms: head, size, what it became, arguments.
TEST_F(Report, ShowsFormulasAsTrees) {
  write("in.smt2",
        "(declare-const x (_ BitVec 8))\n(assert (= x #x01))\n"
        "(assert (= ((_ extract 7 0) (bvadd x #x00)) (bvsub #x02 #x01)))\n");
  EXPECT_EQ(run("$quarv report in.smt2 -o page.html").status, 0);
  const std::string page = read("page.html");
  const Json tree = data(page)["tree"];
  const Json rows = script(page, "class=\"terms\"");
  const std::function<std::string(std::size_t)> text = [&](std::size_t i) {
    std::string t = tree["heads"][rows[i][0].get<std::size_t>()];
    for (std::size_t k = 3; k < rows[i].size(); ++k) t += ' ' + text(rows[i][k]);
    return rows[i].size() == 3 ? t : '(' + t + ')';
  };
  ASSERT_EQ(tree["formulas"].size(), 2u);
  const auto formula = [&](std::size_t i) { return rows[tree["formulas"][i][0].get<std::size_t>()]; };
  EXPECT_EQ(text(tree["formulas"][0][0]), "(= x #x01)");
  EXPECT_EQ(formula(0)[2], tree["formulas"][0][0]);
  EXPECT_EQ(text(tree["formulas"][1][0]), "(= ((_ extract 7 0) (bvadd x #x00)) (bvsub #x02 #x01))");
  EXPECT_EQ(formula(1)[1], 8);
  EXPECT_EQ(formula(1)[2], tree["formulas"][0][0]);
  EXPECT_EQ(tree["formulas"][1], Json({tree["formulas"][1][0], 8, 3}));
  EXPECT_EQ(text(rows[formula(1)[3].get<std::size_t>()][2]), "x");
  EXPECT_EQ(text(rows[formula(1)[4].get<std::size_t>()][2]), "#x01");
}

TEST_F(Report, ShowsAScript) {
  write("in.smt2",
        "(declare-const p Bool)\n(declare-const |</script>| Bool)\n(assert (not (not p)))\n"
        "(assert (or p |</script>|))\n(assert (and p p p |</script>| (not (not |</script>|)) true))\n");
  EXPECT_EQ(run("$quarv report in.smt2 -o page.html").status, 0);
  const std::string page = read("page.html");
  EXPECT_EQ(run("$quarv report in.smt2 | grep -c '<main id'").out, "1\n");
  for (const char* load : {"src=", "http://", "@import", "url("}) {
    std::string_view markup = std::string_view(page).substr(0, page.find("application/json"));
    EXPECT_EQ(markup.find(load), std::string::npos) << load;
  }
  const Json d = data(page);
  EXPECT_EQ(d["kind"], "file");
  EXPECT_EQ(d["rows"].size(), 1u);
  ASSERT_EQ(d["examples"].size(), 2u);  // what does not shrink is none
  EXPECT_EQ(d["examples"][0]["assertion"], 3);
  const Json& e = d["examples"][1];
  EXPECT_EQ(e["terms"], Json({3, 1}));
  EXPECT_EQ(e["steps"][0]["before"], "\1(not (not p))\2");
  EXPECT_EQ(e["steps"][0]["after"], "\1p\2");
  EXPECT_EQ(e["result"], "p");
  if (std::system("dot -V 2> /dev/null") == 0) {
    EXPECT_TRUE(e["graphs"]["whole"]);
    EXPECT_EQ(e["graphs"]["before"].get<std::string>().rfind("<svg", 0), 0u);
  }
  EXPECT_EQ(data(run("$quarv report in.smt2 --examples 1").out)["examples"].size(), 1u);
  EXPECT_EQ(data(run("$quarv report in.smt2 --examples 0").out)["examples"].size(), 0u);
}

TEST_F(Report, SaysWhatRulesCostAndSave) {
  const std::string declared = "(declare-const x (_ BitVec 8))\n(declare-const y (_ BitVec 8))\n";
  write("in.smt2", declared + "(assert (bvult (bvxor x (bvxor y x)) #x07))\n");
  const Json d = data(run("$quarv report in.smt2").out);
  ASSERT_EQ(d["costs"].size(), 2u) << d["costs"];  // one puts operands in order
  const Json& cost = d["costs"][0];
  // Once in one script; without it two terms more are left: both exclusive ors.
  EXPECT_EQ(cost[0], "bvxor-cancel");
  EXPECT_EQ(cost[1], 1);
  EXPECT_EQ(cost[2], 1);
  EXPECT_GE(cost[3], 1);
  EXPECT_EQ(cost[4], 2);
  EXPECT_EQ(d["costs"][1][4], 0);
  const std::vector<std::string> silent = d["silent"];
  EXPECT_EQ(std::count(silent.begin(), silent.end(), "bvxor-cancel"), 0);
  EXPECT_EQ(std::count(silent.begin(), silent.end(), "bvxor-self"), 1);
  EXPECT_EQ(std::count(silent.begin(), silent.end(), "bvsdiv-self"), 0);  // it is off
  EXPECT_FALSE(data(run("$quarv report --no-rules in.smt2").out).contains("costs"));

  run("mkdir many; cp in.smt2 many/a.smt2; cp in.smt2 many/b.smt2; $quarv batch many --results all");
  const Json batch = data(run("$quarv report all").out);
  EXPECT_EQ(batch["costs"][0], Json({"bvxor-cancel", 2, 2, 2 * cost[3].get<int>(), 4}));
  run("rm many/b.smt2");
  EXPECT_FALSE(data(run("$quarv report all").out).contains("costs"));
  // The same from the command line.
  const Result counted = run("$quarv rules list --count many --by saved | head -1");
  EXPECT_EQ(counted.out.find("        1      1 "), 0U) << counted.out;
  EXPECT_NE(counted.out.find("  bvxor-cancel: "), std::string::npos) << counted.out;
}

TEST_F(Report, ShowsABatch) {
  write("a.smt2", "(declare-const p Bool)\n(assert (not (not p)))\n");
  write("bad.smt2", "(assert p)\n");
  run("mkdir x; cp a.smt2 x/b.smt2; echo '(check-sat)' >> x/b.smt2; gzip x/b.smt2; tar cf t.tar x; rm -r x; "
      "$quarv batch --results all a.smt2 bad.smt2 t.tar");
  Json d = data(run("$quarv report all").out);
  EXPECT_EQ(d["kind"], "batch");
  EXPECT_EQ(d["rows"].size(), 3u);
  EXPECT_EQ(d["simplifications"].dump(), "[[\"not\",2]]");
  EXPECT_EQ(d["examples"].size(), 1u);  // the other one would look the same
  EXPECT_EQ(d["notes"].size(), 0u);
  run("rm a.smt2");
  d = data(run("$quarv report all").out);
  EXPECT_EQ(d["examples"][0]["file"], "t.tar/x/b.smt2.gz");
  EXPECT_EQ(d["notes"].size(), 1u);
  write("my.rules", "rewrite(bvnot(bvneg(t)), ) >> bvsub(t, 1)\n");
  run("$quarv batch --rules my.rules --results ruled t.tar");
  EXPECT_EQ(data(run("$quarv report ruled").out)["examples"].size(), 0u);
  EXPECT_EQ(data(run("$quarv report --rules my.rules ruled").out)["examples"].size(), 1u);
}

TEST_F(Report, ShowsWhatRulesSay) {
  write("in.smt2",
        "(declare-const a (_ BitVec 8))\n(declare-const b (_ BitVec 8))\n"
        "(assert (= (bvsub a a) b))\n(assert (= (bvnot (bvneg a)) #x03))\n");
  write("my.rules", "mine: rewrite(bvnot(bvneg(t)), ) >> bvsub(t, 1)\n");
  const Json d = data(run("$quarv report in.smt2 --rules-only-standard --rules my.rules").out);
  std::map<std::string, std::string> sentences;
  for (const Json& rule : d["rules"]) {
    EXPECT_NE(rule[2], "") << rule;
    sentences[rule[0]] = rule[3];
  }
  EXPECT_EQ(sentences["bvsub-self"], "t - t becomes 0.");
  EXPECT_EQ(sentences["mine"], "~-t becomes t - 1.");
  std::size_t steps_by_rules = 0;
  for (const Json& example : d["examples"]) {
    for (const Json& step : example["steps"])
      steps_by_rules += sentences.contains(step["rule"].get<std::string>()) ? 1 : 0;
  }
  EXPECT_GT(steps_by_rules, 0u);
}

TEST_F(Report, SaysForWhatRulesAreProved) {
  write("in.smt2",
        "(declare-const a (_ BitVec 8))\n(declare-const b (_ BitVec 8))\n"
        "(declare-const p Bool)\n(declare-const q Bool)\n(declare-const r Bool)\n"
        "(declare-const x (_ FloatingPoint 5 11))\n(declare-const y (_ FloatingPoint 5 11))\n"
        "(assert (= (bvsub a a) b))\n(assert (= (bvmul a (bvxor (bvand b a) (bvor b a))) b))\n"
        "(assert (ite p (not q) (not r)))\n(assert (= (fp.rem x (fp.abs y)) x))\n");
  write("my.rules",
        "mine: unordered(bvxor(bvand(t, u), bvor(t_0, u_0)), identity(t, t_0), identity(u, u_0)) >> bvxor(t, "
        "u)\n");
  std::map<std::string, std::string> proofs;
  const Json d = data(run("$quarv report in.smt2 --rules my.rules").out);
  for (const Json& rule : d["rules"]) {
    const std::string text = rule[2];
    const std::size_t at = text.find(" (proof: ");
    proofs[rule[0]] = at == std::string::npos ? "none" : text.substr(at);
  }
  EXPECT_EQ(proofs["bvsub-self"], " (proof: for all widths)");
  EXPECT_EQ(proofs["mine"], "none");
  EXPECT_EQ(proofs["ite-not"], " (proof: for all values, by a solver: there are no widths)");
  EXPECT_EQ(proofs["fp-rem-abs"], " (proof: for all values of the formats 2+3, 3+3, 3+5, 5+11, by a solver)");
}

TEST_F(Report, ReadsResultsFromAPipe) {
  write("a.smt2", "(declare-const p Bool)\n(assert (not (not p)))\n");
  EXPECT_EQ(data(run("$quarv batch a.smt2 2> said | $quarv report -").out)["rows"].size(), 1u);
}

/// Results that were written before rules had names have numbers.
TEST_F(Report, KnowsRulesByNumber) {
  write("a.smt2", "(assert true)\n");
  run("$quarv batch a.smt2 --results good; head -1 good > rows");
  for (const char* rules : {R"({"31":2,"999999":1})", R"({"bvsub-self":3,"of-another-version":5})"}) {
    write("row", R"({"file":")" + std::to_string(std::strlen(rules)) + R"(","status":"ok","rules":)" + rules +
                     "}\n");
    run("cat row >> rows");
  }
  Json counts = Json::object();
  const Json shown = data(run("$quarv report rows").out);
  for (const Json& rule : shown["rules"]) counts[rule[0].get<std::string>()] = rule[1];
  EXPECT_EQ(counts, Json::parse(R"({"bvsub-self":5,"999999":1,"of-another-version":5})"));
}

TEST_F(Report, RefusesRowsThatAreNone) {
  write("a.smt2", "(assert true)\n");
  run("$quarv batch a.smt2 --results good; head -1 good > head");
  for (const char* row :
       {R"({"file":"x"})", R"({"file":1,"status":"ok"})", R"({"file":"x","status":"ok","rules":{"x y":1}})",
        R"({"file":"x","status":"ok","rules":{"99999999999999999999999":1}})",
        R"({"file":"x","status":"ok","terms":1})", R"({"file":"x","status":"ok","bytes":{"before":"1"}})",
        R"({"file":"x","status":"ok","message":[]})", R"([])"}) {
    write("row", std::string(row) + "\n");
    for (const char* command : {"report rows", "batch --merge rows"}) {
      const Result r = run("cat head row > rows; $quarv " + std::string(command));
      EXPECT_EQ(r.status, 1) << row;
      EXPECT_EQ(r.err, "quarv: error: rows:2: this is not the result of a file\n") << command << row;
    }
  }
}

TEST_F(Report, ReportsFaults) {
  write("bad.smt2", "(assert p)\n");
  const Result bad = run("$quarv report bad.smt2 -o page.html");
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.err, "bad.smt2:1:9: error: unknown symbol p\n  (assert p)\n          ^\n");
  EXPECT_FALSE(fs::exists(path("page.html")));
  write("cut", "{\"results\":\"quarv batch\"}\n");
  EXPECT_EQ(run("$quarv report cut").err, "quarv: error: cut:1: these are not results of quarv batch\n");
  write("begun", "{\"results\":\"quarv batch\"");
  EXPECT_EQ(run("$quarv report begun").err, "quarv: error: begun:1: these are not results of quarv batch\n");
  EXPECT_EQ(run("$quarv report").status, 2);
  EXPECT_EQ(run("$quarv report bad.smt2 --disable-rule 9999").status, 2);
}

}  // namespace
