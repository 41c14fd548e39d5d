#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/simplified_script.h"
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/trace.h>

namespace quarv::smtlib {
namespace {

using Json = nlohmann::json;

struct Traced {
  std::string output;
  std::string text;
  std::vector<Json> lines;

  std::vector<Json> with(const char* key) const {
    std::vector<Json> found;
    for (const Json& line : lines) {
      if (line.contains(key)) found.push_back(line);
    }
    return found;
  }
};

Traced traced(const std::string& script, SimplifyOptions options = SimplifyOptions::normal_form()) {
  std::ostringstream out, trace;
  options.trace = &trace;
  simplify_script(script, "in.smt2", out, options);
  Traced result{out.str(), trace.str(), {}};
  std::istringstream lines(result.text);
  for (std::string line; std::getline(lines, line);) {
    Json json = Json::parse(line);
    if (json.contains("trace") && !result.lines.empty())
      break;  // the first part is how the input is simplified
    result.lines.push_back(std::move(json));
  }
  return result;
}

std::string untraced(const std::string& script) {
  return simplified_script(script, SimplifyOptions::normal_form());
}

const std::string mixed = R"((declare-const x (_ BitVec 8))
(declare-const y (_ BitVec 8))
(declare-const a (Array Int (Array Int Bool)))
(declare-const i Int)
(declare-const z (_ FloatingPoint 5 11))
(declare-fun f (Int) Int)
(assert (= (bvadd x #x00) (bvmul y (bvnot #xff))))
(define-fun s () (_ BitVec 8) (bvand (bvor x y) ((_ rotate_left 8) (bvor y x))))
(assert (forall ((k Int)) (! (<= (+ k k 3) (* 2 (f k))) :pattern ((f k)) :weight 3)))
(push 1)
(declare-const w Int)
(assert (and (< (+ w 1) w) (<= (* 2 i) 3) true))
(pop 1)
(declare-const w Bool)
(assert (or w (= (mod i 3) 1) (select (select a 0) (+ i i)) (bvult s (bvsub x #x01))))
(assert (= a (store ((as const (Array Int (Array Int Bool))) ((as const (Array Int Bool)) true)) 1 (select a 1))))
(assert (fp.lt (fp.add RNE z (fp #b0 #b00000 #b0000000001)) (fp.mul RNE z (fp.abs z))))
)";

TEST(Trace, TellsWhatFiredAndOnWhat) {
  const Traced t = traced("(declare-const x (_ BitVec 8))\n(assert (= (bvadd x #x00) (bvnot #xfe)))\n");
  EXPECT_EQ(t.text.substr(0, t.text.find("{\"trace\"", 1)),
            R"json({"trace":"quarv","version":1,"part":"input"}
{"sort":0,"name":"(_ BitVec 8)"}
{"term":10,"value":"254","sort":0}
{"term":11,"value":"1","sort":0}
{"step":1,"assertion":1,"simplifier":"bvnot","op":"bvnot","sort":0,"args":[10],"after":11}
{"term":7,"fun":"x","sort":0}
{"term":8,"value":"0","sort":0}
{"term":9,"op":"bvadd","sort":0,"args":[7,8]}
{"term":13,"op":"bvadd","sort":0,"args":[8,7]}
{"step":2,"assertion":1,"rule":15,"name":"bvadd-constant-first","signature":"rewrite(bvadd(t, c), const(c), ~const(t)) >> bvadd(c, t)","before":9,"after":13}
{"step":3,"assertion":1,"rule":17,"name":"bvadd-zero","signature":"rewrite(bvadd(0, t), (0 == 0)) >> t","before":13,"after":7}
{"sort":1,"name":"Bool"}
{"term":14,"op":"=","sort":1,"args":[7,11]}
{"assertion":1,"term":14}
)json");
}

/// Formulas of check-sat-assuming are assertions of a kind; literals, and terms of get-value, stay as they
/// are.
TEST(Trace, CountsFormulasThatAreAssumed) {
  const Traced t = traced(
      "(declare-const x (_ BitVec 8))\n(declare-const p Bool)\n(assert p)\n"
      "(check-sat-assuming (p (= x (bvadd x #x00)) (not p) (bvult x (bvnot #xfe))))\n"
      "(get-value ((bvadd x #x00)))\n(assert (not p))\n");
  EXPECT_EQ(
      t.output,
      "(declare-const x (_ BitVec 8))\n(declare-const p Bool)\n(assert p)\n"
      "(check-sat-assuming (p true (not p) (= x #x00)))\n(get-value ((bvadd x #x00)))\n(assert (not p))\n");
  std::vector<int> assertions;
  for (const Json& line : t.with("assertion")) {
    if (!line.contains("step")) assertions.push_back(line["assertion"]);
  }
  EXPECT_EQ(assertions, std::vector<int>({1, 2, 3, 4}));
  const std::vector<Json> steps = t.with("step");
  EXPECT_FALSE(steps.empty());
  for (const Json& step : steps) EXPECT_EQ(step["assertion"], 2);
}

TEST(Trace, NamesEveryTermAndSortOnceBeforeItIsUsed) {
  const Traced t = traced(mixed);
  std::set<std::uint64_t> terms, sorts;
  for (const Json& line : t.lines) {
    const bool is_sort = line.contains("sort") && line.contains("name");
    for (const char* key : {"args", "variables"}) {
      for (const Json& arg : line.value(key, Json::array())) {
        EXPECT_TRUE((is_sort ? sorts : terms).contains(arg)) << line;
      }
    }
    for (const char* key : {"before", "after"}) {
      if (line.contains(key)) {
        EXPECT_TRUE(terms.contains(line[key])) << line;
      }
    }
    if (is_sort) {
      EXPECT_TRUE(sorts.insert(line["sort"].get<std::uint64_t>()).second) << line;
    } else if (line.contains("sort")) {
      EXPECT_TRUE(sorts.contains(line["sort"])) << line;
    }
    if (line.contains("assertion") && line.contains("term")) {
      EXPECT_TRUE(terms.contains(line["term"])) << line;
    } else if (line.contains("term")) {
      EXPECT_TRUE(terms.insert(line["term"].get<std::uint64_t>()).second) << line;
    }
  }
  EXPECT_EQ(t.with("trace").size(), 1u);
  EXPECT_EQ(t.with("attributes").size(), 1u);
  EXPECT_EQ(t.with("variables").size(), 1u);
}

TEST(Trace, CountsStepsAndAssertions) {
  const Traced t = traced(mixed);
  std::uint64_t steps = 0, assertions = 0;
  for (const Json& line : t.lines) {
    if (line.contains("step")) {
      EXPECT_EQ(line["step"], ++steps);
      EXPECT_EQ(line["assertion"], assertions + 1);
    } else if (line.contains("assertion")) {
      EXPECT_EQ(line["assertion"], ++assertions);
    }
  }
  EXPECT_GT(steps, 10u);
  EXPECT_EQ(assertions, 6u);
}

TEST(Trace, ChangesNoResult) {
  EXPECT_EQ(traced(mixed).output, untraced(mixed));
  EXPECT_EQ(traced(mixed).text, traced(mixed).text);
}

TEST(Trace, TellsAnotherObserverToo) {
  struct Counter : SimplificationObserver {
    void on_rule(std::size_t, const Term*, const Term*) override { ++rules; }
    void on_simplification(const Symbol*, std::span<const Term* const>, const Term*) override {
      ++simplifications;
    }
    std::size_t rules = 0, simplifications = 0;
  } counter;
  SimplifyOptions options = SimplifyOptions::normal_form();
  options.observer = &counter;
  const Traced t = traced(mixed, options);
  EXPECT_EQ(counter.rules, t.with("rule").size());
  EXPECT_EQ(counter.simplifications, t.with("simplifier").size());
}

/// The functions that are defined where each argument's negation is said to be true.
std::vector<Json> functions_in_trace(TermManager& m, std::initializer_list<const Term*> arguments) {
  TermNormalizer rules;
  std::ostringstream out;
  Trace trace(m, rules, out);
  for (const Term* c : arguments) trace.on_simplification(m.not_symbol, {&c, 1}, m.true_term);
  trace.finish();
  std::vector<Json> functions;
  std::istringstream lines(out.str());
  for (std::string line; std::getline(lines, line);) {
    if (line.find("\"fun\"") != std::string::npos) functions.push_back(Json::parse(line));
  }
  return functions;
}

TEST(Trace, TellsFunctionsOfOneNameApart) {
  TermManager m;
  const Term* declared = m.make_constant("c", m.bool_type);
  const Term* fresh = m.make_term(m.fresh_fun("c", {}, m.bool_type));
  const Term* variable = m.fresh_bound_variable("c", m.bool_type);
  const std::vector<Json> functions = functions_in_trace(m, {declared, fresh, variable, fresh});
  ASSERT_EQ(functions.size(), 3u);
  for (const Json& f : functions) EXPECT_EQ(f["fun"], "c");
  EXPECT_FALSE(functions[0].contains("copy"));
  EXPECT_EQ(functions[1]["copy"], 1);
  EXPECT_EQ(functions[2]["variable"], 0);
}

TEST(Trace, WritesAnyNameAsJson) {
  const std::string name = "a \"b\\ \n\x01 \xc3\xa9 \xff\xc3";
  const std::string escaped = "a \"b\\ \n\x01 \xc3\xa9 \xc3\xbf\xc3\x83";
  TermManager m;
  const std::vector<Json> functions = functions_in_trace(m, {m.make_constant(name, m.bool_type)});
  ASSERT_EQ(functions.size(), 1u);
  EXPECT_EQ(functions[0]["fun"], escaped);
}

/// A tower of n additions of a term to itself is a tree of 2^n leaves.
TEST(Trace, IsLinearInTheWorkDone) {
  const auto size_of_tower = [](int n) {
    std::string script = "(declare-fun f (Bool Bool) Bool)(declare-const p Bool)(assert (let ((x0 p)) ";
    for (int i = 1; i <= n; ++i) {
      const std::string x = "x" + std::to_string(i - 1);
      script += "(let ((x" + std::to_string(i) + " (f (and " + x + " true) (not (not " + x + ")))))";
    }
    script += " x" + std::to_string(n) + std::string(static_cast<std::size_t>(n), ')') + "))";
    return traced(script).text.size();
  };
  const std::size_t small = size_of_tower(100);
  EXPECT_LT(size_of_tower(200), 3 * small);
}

}  // namespace
}  // namespace quarv::smtlib
