/// \file
/// Traces are checked: right ones are justified, and what is wrong in a trace is found.
#include <fstream>
#include <functional>
#include <set>
#include <vector>

#include <nlohmann/json.hpp>

#include "program_fixture.h"
#include "support/test_scale.h"

namespace {

using Json = nlohmann::json;

/// Steps of every theory but floating point.
const std::string replayed_script = R"((declare-const x (_ BitVec 8))
(declare-const y (_ BitVec 8))
(declare-const i Int)
(declare-const j Int)
(declare-const r Real)
(declare-const p Bool)
(declare-const a (Array Int Int))
(declare-fun f (Int) Int)
(assert (= (bvadd x #x00) (bvmul y (bvnot #xff))))
(assert (= x (bvmul #x04 (bvsub y x))))
(assert (= ((_ rotate_left 3) #xd1) (bvashr x (bvsdiv #xf0 #x03))))
(assert (= (concat x y) (concat ((_ sign_extend 4) #xa) (bvurem #x35 #x0a))))
(assert (bvult (bvand y x) ((_ zero_extend 4) ((_ extract 6 3) x))))
(assert (or (<= (+ i i 3) (* 2 (f (+ j i i 1)))) (not (not p))))
(assert (ite (< (* 6 i) (+ (* 9 j) 5)) (= (* 3 r) 2.0) (= (* 2 i) (+ 7 (* 4 j)))))
(assert (= (to_int (+ r 2.5 (to_real i))) (mod (+ i 17) 5)))
(assert (= (select (store (store a i 1) i 2) (+ j 1 i)) (select ((as const (Array Int Int)) 4) 3)))
(assert (= (store ((as const (Array Int Int)) 1) 3 4) (store ((as const (Array Int Int)) 1) 3 5)))
(assert (= ((_ int2bv 12) (bv2nat x)) ((_ int2bv 12) 5000)))
)";

class Replay : public Program {
 protected:
  std::vector<Json> trace_of(const std::string& text, const std::string& options = "") {
    return parts_of(text, options)[0];
  }

  /// How the input is simplified, the input as it is written, and the same of the output, behind what lies
  /// between.
  std::vector<std::vector<Json>> parts_of(const std::string& text, const std::string& options) {
    write("in.smt2", text);
    EXPECT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace trace.jsonl" + options).status, 0);
    std::vector<std::vector<Json>> parts;
    std::istringstream in(read("trace.jsonl"));
    for (std::string line; std::getline(in, line);) {
      Json json = Json::parse(line);
      if (json.contains("trace")) parts.emplace_back();
      parts.back().push_back(std::move(json));
    }
    EXPECT_GE(parts.size(), 4u);
    return parts;
  }

  Result replay(const std::vector<std::vector<Json>>& parts) {
    std::vector<Json> lines;
    for (const auto& part : parts) lines.insert(lines.end(), part.begin(), part.end());
    return replay(lines);
  }

  Result replay(const std::vector<Json>& lines) {
    std::string text;
    for (const Json& line : lines) text += line.dump() + '\n';
    return run("$quarv replay -", text);
  }

  /// Each step that `change` changes (it answers whether it did) must be reported, and the trace refused.
  void expect_caught(const std::function<bool(Json&, const std::vector<Json>&)>& change) {
    expect_caught_in(replayed_script, " --rules-only-standard", change);
  }
  void expect_caught_in(const std::string& text, const std::string& options,
                        const std::function<bool(Json&, const std::vector<Json>&)>& change) {
    std::vector<Json> lines = trace_of(text, options);
    const std::vector<Json> original = lines;
    std::set<std::uint64_t> changed;
    for (Json& line : lines) {
      if (line.contains("step") && change(line, original)) changed.insert(line["step"].get<std::uint64_t>());
    }
    EXPECT_FALSE(changed.empty());
    const Result r = replay(lines);
    EXPECT_EQ(r.status, 1);
    for (std::uint64_t step : changed) {
      EXPECT_NE(r.out.find("step " + std::to_string(step) + " of"), std::string::npos)
          << lines[step] << " was not caught";
    }
  }
};

TEST_F(Replay, JustifiesWhatTheSimplifierDoes) {
  const Result r = replay(trace_of(replayed_script));
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find(", 0 not justified\n"), std::string::npos) << r.out;
  EXPECT_EQ(num_lines(r.out), 1u) << r.out;
}

const std::string chosen = R"((declare-const i Int)
(declare-const j Int)
(declare-const p Bool)
(declare-const q Bool)
(declare-const x (_ BitVec 8))
(declare-const y (_ BitVec 8))
(assert (< (- i j) 3))
(assert (or (not p) (not q) (bvuge x y)))
(assert (=> (and p (not (not q))) (= (bvsub x y) (bvadd #x00 (bvmul #x02 y)))))
(assert (=> p (bvult (bvadd x #x00) (bvmul #x02 y))))
(assert (not (and p (<= (* 2 i) 7))))
(push 1)
(assert (xor p (= ((_ extract 3 0) x) #x5)))
(check-sat-assuming (p (= (bvadd x #x00) y)))
)";

TEST_F(Replay, ShowsThatTheOutputIsEqualToTheInput) {
  for (const char* options : {"", " --canonical", " --rules-only-standard", " --library-semantics"}) {
    const Result r = replay(parts_of(chosen, options));
    EXPECT_EQ(r.status, 0) << options << r.out;
    EXPECT_NE(r.out.find("\n8 assertions, 8 in the output: 8 shown to be equal\n"), std::string::npos)
        << options << r.out;
  }
}

TEST_F(Replay, CatchesAnotherOutput) {
  const auto parts = parts_of(chosen, "");
  std::vector<std::size_t> assertions;
  for (std::size_t i = 0; i < parts[3].size(); ++i) {
    if (parts[3][i].contains("assertion")) assertions.push_back(i);
  }
  ASSERT_EQ(assertions.size(), 8u);
  // Each assertion says what the one before it says.
  for (std::size_t i = 1; i < assertions.size(); ++i) {
    auto changed = parts;
    changed[3][assertions[i]]["term"] = parts[3][assertions[i - 1]]["term"];
    const Result r = replay(changed);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(
        r.out.rfind("assertion " + std::to_string(i + 1) + ": not shown to be equal to the output's\n", 0),
        0u)
        << r.out;
  }
  auto fewer = parts;
  fewer[3].erase(fewer[3].begin() + static_cast<std::ptrdiff_t>(assertions.back()));
  EXPECT_NE(replay(fewer).out.find("8 assertions, 7 in the output: 7 shown to be equal\n"),
            std::string::npos);
  EXPECT_EQ(replay(fewer).status, 1);
}

/// Without the steps between, nothing ties the two together.
TEST_F(Replay, CatchesMissingSteps) {
  auto parts = parts_of("(declare-const x (_ BitVec 8))(assert (= (bvand x (bvnot x)) (bvmul x #x04)))", "");
  EXPECT_EQ(replay(parts).status, 0);
  for (auto& part : parts) std::erase_if(part, [](const Json& line) { return line.contains("step"); });
  const Result r = replay(parts);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out,
            "assertion 1: not shown to be equal to the output's\n0 steps: 0 justified, 0 not justified\n"
            "1 assertions, 1 in the output: 0 shown to be equal\n");
}

/// What definitions say of arguments; the variable of a quantifier that would catch another has a new name.
const std::string defining_script = R"((declare-const x Int)
(declare-const y Int)
(define-fun sub ((p Int) (q Int)) Int (- p q))
(define-fun max ((a Int) (b Int)) Int (ite (>= a b) a b))
(define-fun twice ((a Int)) Int (max (+ a a) (sub (* 2 a) 1)))
(define-fun below ((n Int)) Bool (forall ((i Int)) (=> (< (* i i) n) (< (* i n) n))))
(assert (= (sub x x) (twice y)))
(assert (forall ((i Int)) (or (below (+ i 0)) (= (* i i) (max 3 (sub i i))))))
(assert (< (max x (+ y 0)) (twice 3)))
)";

TEST_F(Replay, JustifiesWhatDefinitionsSay) {
  const auto parts = parts_of(defining_script, "");
  const Result r = replay(parts);
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("4 definitions: 4 shown to be equal\n3 assertions, 3 in the output: 3 shown"),
            std::string::npos)
      << r.out;
  const auto uses = std::ranges::count_if(parts[0], [](const Json& line) {
    return line.contains("step") && line.value("simplifier", "") == "definition";
  });
  EXPECT_GE(uses, 6);
}

/// Another definition, or another result, is not believed.
TEST_F(Replay, CatchesWhatDefinitionsDoNotSay) {
  const auto parts = parts_of(defining_script, "");
  std::size_t changes = 0;
  for (std::size_t i = 0; i < parts[0].size(); ++i) {
    if (!parts[0][i].contains("definition")) continue;
    for (const std::size_t part : {0, 1, 3}) {
      auto changed = parts;
      for (Json& line : changed[part]) {
        if (!line.contains("definition") || line["definition"] != parts[0][i]["definition"]) continue;
        if (line["fun"] == "below") continue;
        line["term"] = line["parameters"][0];
        ++changes;
      }
      if (changed != parts) {
        EXPECT_EQ(replay(changed).status, 1);
      }
    }
  }
  EXPECT_EQ(changes, 9u);
  auto recursive = parts;
  for (Json& line : recursive[0]) {
    if (line.contains("step") && line.value("simplifier", "") == "definition") line["fun"] = "below";
  }
  EXPECT_EQ(replay(recursive).status, 1);
}

/// Steps of the simplifiers beside the standard ones are justified where they can be evaluated; the others
/// are named, not believed.
TEST_F(Replay, NamesStepsThatItCannotEvaluate) {
  const std::string sums = "(declare-const i Int)(declare-const p Bool)(assert (= (- (+ i 3) i) 3))";
  EXPECT_EQ(replay(trace_of(sums, "")).status, 0);
  // Of sums it can; not every number is a product.
  std::vector<Json> trace =
      trace_of("(declare-const x (_ BitVec 8))(assert (exists ((k (_ BitVec 8))) (= (bvadd k x) #x03)))", "");
  for (Json& line : trace) {
    if (line.value("op", "") == "bvadd") line["op"] = "bvmul";
  }
  const Result r = replay(trace);
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find(" of assertion 1: exists: not justified\n"), std::string::npos) << r.out;
}

/// A line of the file is a formula over the constants below.
TEST_F(Replay, ShowsWhatBecomesOfEachOperator) {
  const std::string declared = R"((declare-sort U 0)
(declare-const p Bool)
(declare-const q Bool)
(declare-const x Int)
(declare-const y Int)
(declare-const r Real)
(declare-const b (_ BitVec 4))
(declare-const c (_ BitVec 1))
(declare-const a (Array Int Bool))
(declare-const e (_ FloatingPoint 3 4))
(declare-const m RoundingMode)
(declare-const u U)
(declare-fun g (Bool) Bool)
(declare-fun f (Int) Int)
)";
  std::ifstream file(QUARV_SOURCE_DIR "/tests/data/replay_formulas.txt");
  std::size_t num_formulas = 0;
  std::string all = declared;
  for (std::string formula; std::getline(file, formula); ++num_formulas) {
    all += "(assert " + formula + ")\n";
  }
  EXPECT_GT(num_formulas, 100u);
  const Result r = replay(parts_of(all, ""));
  EXPECT_EQ(r.status, 0) << r.out;
}

/// What holds in each case of the atoms is justified; what does not hold in one is not.
TEST_F(Replay, LooksAtCases) {
  const std::string cases = R"((declare-const x (_ BitVec 8))
(declare-const p Bool)
(declare-const q Bool)
(declare-const r Bool)
(assert (and p (or (not p) (and q (or r p)))))
(assert (= (ite p #x01 #x00) #x01))
(assert (bvult x (ite p (ite (and p q) #x07 #x09) #x07)))
)";
  const Result r = replay(trace_of(cases, ""));
  EXPECT_EQ(r.status, 0) << r.out;
  expect_caught_in(cases, "", [](Json& step, const std::vector<Json>&) {
    if (step.value("simplifier", "") != "and" || step["args"].size() != 2) return false;
    if (step["after"] == step["args"][1]) return false;
    step["after"] = step["args"][1];
    return true;
  });
}

TEST_F(Replay, ReadsTracesFromBeforeRulesHadNames) {
  std::vector<Json> lines = trace_of(replayed_script);
  std::size_t named = 0;
  for (Json& line : lines) {
    if (line.contains("rule")) named += line.erase("name");
  }
  EXPECT_GT(named, 0u);
  EXPECT_EQ(replay(lines).status, 0);
}

TEST_F(Replay, CatchesAnotherResult) {
  // Any other term of the same sort that is there already.
  for (std::size_t distance : {1, 2, 5}) {
    expect_caught([distance](Json& step, const std::vector<Json>& lines) {
      std::vector<std::uint64_t> terms;
      std::uint64_t sort = 0;
      for (const Json& line : lines) {
        if (line.contains("term") && line.contains("sort") && line["term"] == step["after"])
          sort = line["sort"];
      }
      for (const Json& line : lines) {
        if (line.contains("step") && line["step"] == step["step"]) break;
        if (line.contains("term") && line.contains("sort") && line["sort"] == sort)
          terms.push_back(line["term"]);
      }
      const auto own = std::find(terms.begin(), terms.end(), step["after"].get<std::uint64_t>());
      if (terms.size() <= distance || own == terms.end()) return false;
      step["after"] = terms[(static_cast<std::size_t>(own - terms.begin()) + distance) % terms.size()];
      return true;
    });
  }
}

TEST_F(Replay, CatchesAnotherRule) {
  expect_caught([](Json& step, const std::vector<Json>&) {
    if (!step.contains("rule")) return false;
    step["rule"] = step["rule"].get<int>() + 1;
    return true;
  });
  expect_caught([](Json& step, const std::vector<Json>&) {
    if (!step.contains("rule")) return false;
    step["rule"] = 3;
    step["signature"] = "rewrite(bvult(t, 0), (0 == 0)) >> false";
    return true;
  });
  expect_caught([](Json& step, const std::vector<Json>&) {
    if (!step.contains("rule")) return false;
    step["signature"] = "rewrite(bvadd(t1, t2), ) >> t1";
    return true;
  });
}

TEST_F(Replay, CatchesAnotherNumber) {
  std::vector<Json> lines = trace_of("(declare-const x (_ BitVec 8))(assert (= x (bvmul #x07 #x09)))");
  std::size_t changed = 0;
  for (Json& line : lines) {
    if (line.value("value", "") == "63") line["value"] = "64", ++changed;
  }
  EXPECT_EQ(changed, 1u);
  EXPECT_EQ(replay(lines).status, 1);
  EXPECT_NE(replay(lines).out.find("step 1 of assertion 1: bvmul: not justified\n"), std::string::npos);
}

/// What a step that the program makes says, and the same step with any other of the numbers around.
TEST_F(Replay, EvaluatesFloatingPoint) {
  const std::vector<std::string> numbers = {"#x0000", "#x8000", "#x0001", "#x03ff", "#x0400",
                                            "#x3c00", "#xbc01", "#x3555", "#x7bff", "#xfbff",
                                            "#x7c00", "#xfc00", "#x7e00"};
  std::string text = "(declare-const x (_ FloatingPoint 5 11))(declare-const s (_ FloatingPoint 3 4))";
  std::size_t next = 0;
  for (const std::string& a : numbers) {
    const std::string x = "((_ to_fp 5 11) " + a + ")";
    for (const char* op : {"fp.isNormal", "fp.isSubnormal", "fp.isNegative", "fp.isInfinite", "fp.isNaN"}) {
      text += "(assert (" + std::string(op) + " " + x + "))";
    }
    text += "(assert (= x (fp.neg (fp.abs " + x + "))))";
    text += "(assert (bvult #x0003 (fp.to_ieee_bv " + x + ")))";
    for (const std::string mode : {"RNE ", "RNA ", "RTP ", "RTN ", "RTZ "}) {
      text += "(assert (= s ((_ to_fp 3 4) " + mode + x + ")))(assert (= x (fp.sqrt " + mode + x + ")))";
      text += "(assert (= x ((_ to_fp 5 11) " + mode + a + ")))";
      text += "(assert (= x ((_ to_fp_unsigned 5 11) " + mode + a + ")))";
      text += "(assert (= #x05 ((_ fp.to_sbv 8) " + mode + x + ")))(assert (= #x05 ((_ fp.to_ubv 8) " + mode +
              x + ")))";
      for (const char* op : {"fp.add ", "fp.sub ", "fp.mul ", "fp.div "}) {
        const std::string y = "((_ to_fp 5 11) " + numbers[next++ % numbers.size()] + ")";
        text += "(assert (= x (" + (op + mode) + x + y + ")))(assert (fp.lt " + x + y + "))(assert (fp.eq " +
                x + y + "))(assert (= (fp.min " + x + y + ") (fp.max " + x + y + ")))";
      }
    }
  }
  const Result r = replay(trace_of(text));
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(num_lines(r.out), 1u) << r.out;
}

TEST_F(Replay, CatchesWrongFloatingPoint) {
  const std::vector<Json> lines = trace_of(R"((declare-const x (_ FloatingPoint 5 11))
(define-fun a () (_ FloatingPoint 5 11) (fp #b0 #b01111 #b0000000001))
(define-fun b () (_ FloatingPoint 5 11) (fp #b1 #b01100 #b0000100001))
(assert (= x (fp.add RNE a b)))(assert (= x (fp.sqrt RTN a)))(assert (fp.isNormal (fp.div RTP b a)))
(assert (fp.lt a b))(assert (= #x12 ((_ fp.to_sbv 8) RNE a)))(assert (= x ((_ to_fp 5 11) RNE #x0123))))");
  std::size_t changes = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    // The last bit of a literal, the rounding mode, the truth value: each change is one that matters.
    if (!lines[i].contains("step") || lines[i]["op"] == "=") continue;
    std::vector<Json> changed = lines;
    const Json after = changed[i]["after"];
    for (Json& line : changed) {
      if (line.value("term", Json()) != after || !line.contains("sort")) continue;
      if (line.contains("value")) {
        line["value"] = std::to_string(std::stoul(line["value"].get<std::string>()) ^ 1);
      } else {
        line["op"] = line["op"] == "true" ? "false" : "true";
      }
      ++changes;
    }
    const Result r = replay(changed);
    EXPECT_EQ(r.status, 1) << lines[i];
    // A literal that has become another one that is there already is refused itself.
    const bool reported = r.out.find("step " + lines[i]["step"].dump() + " of") != std::string::npos;
    EXPECT_TRUE(reported ||
                r.err.find(':' + std::to_string(i + 1) + ": error: there is no term ") != std::string::npos)
        << r.out << r.err;
  }
  EXPECT_GE(changes, 6u);
}

/// A term that has no sort proves anything.
TEST_F(Replay, RefusesTermsThatAreNotWellSorted) {
  const std::vector<Json> lines = trace_of(replayed_script);
  std::vector<std::uint64_t> sorts;
  for (const Json& line : lines) {
    if (line.contains("name") && line.contains("sort")) sorts.push_back(line["sort"]);
  }
  std::size_t changes = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (!lines[i].contains("op") || !lines[i].contains("args")) continue;
    for (std::uint64_t sort : sorts) {
      if (sort >= lines[i]["sort"] || (++changes) % (7 * quarv::one_in_when_sanitized(8)) != 0) continue;
      std::vector<Json> changed = lines;
      changed[i]["sort"] = sort;
      const Result r = replay(changed);
      EXPECT_EQ(r.status, 1) << changed[i];
      EXPECT_NE(r.err.find(" do not fit\n"), std::string::npos) << changed[i] << r.err;
    }
  }
  EXPECT_GE(changes, 100u);
  const std::string head = R"json({"trace":"quarv","version":1}
{"sort":0,"name":"(_ BitVec 8)"}
{"sort":1,"name":"(_ FloatingPoint 3 4)"}
)json";
  for (const char* value :
       {R"("256","sort":0)", R"("-1","sort":0)", R"("1/2","sort":0)", R"("128","sort":1)"}) {
    const Result r = run("$quarv replay -", head + R"({"term":1,"value":)" + value + "}\n");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("this is not a value of its sort"), std::string::npos) << value << r.err;
  }
}

TEST_F(Replay, GoesByRulesOfTheUser) {
  write("own.rules",
        "rewrite(bvxor(t1, t2), identity(t1, t2)) >> 0\nrewrite(bvor(t, bvnot(t_0)), identity(t, t_0)) >> "
        "-1\n");
  write("in.smt2", "(declare-const x (_ BitVec 8))(assert (= x (bvor x (bvnot x))))");
  ASSERT_EQ(run("$quarv simplify in.smt2 --rules own.rules -o out.smt2 --trace t").status, 0);
  EXPECT_EQ(run("$quarv replay t --rules own.rules").status, 0)
      << run("$quarv replay t --rules own.rules").out;
}

TEST_F(Replay, RefusesRulesThatDoNotHold) {
  write("in.smt2", R"((declare-const x (_ BitVec 8))
(assert (= x (bvsdiv x x)))
(assert (= #xff ((_ zero_extend 0) x)))
(assert (= #x1ff ((_ zero_extend 4) x)))
)");
  ASSERT_EQ(run("$quarv simplify in.smt2 --library-semantics -o out.smt2 --trace t").status, 0);
  const Result r = run("$quarv replay t");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("rule bvsdiv-self: not justified: the rule does not hold: t = 0"), std::string::npos)
      << r.out;
  ASSERT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace t").status, 0);
  EXPECT_EQ(run("$quarv replay t").status, 0);
}

TEST_F(Replay, SurvivesWhatIsNoTrace) {
  trace_of(replayed_script);
  const std::string text = read("trace.jsonl");
  for (std::size_t end = 0; end < text.size(); end += 1 + text.size() / 12) {
    const Result r = run("$quarv replay -", text.substr(0, end) + "{");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(num_lines(r.err), 1u) << r.err;
  }
  const std::string head = "{\"trace\":\"quarv\",\"version\":1}\n{\"sort\":0,\"name\":\"Bool\"}\n";
  for (const char* line : {
           R"json({"term":1,"op":"not","sort":0,"args":[1]})json",
           R"json({"term":1,"op":"not","sort":1,"args":[]})json",
           R"json({"term":1,"op":"true","sort":-1})json",
           R"json({"term":1,"value":"1/0","sort":0})json",
           R"json({"sort":2,"name":"Bool"})json",
           R"json({"sort":1,"name":"(_ BitVec x)"})json",
           R"json({"step":1,"assertion":1,"rule":0,"signature":"","before":1,"after":1})json",
           R"json({"assertion":1,"term":4})json",
           "[]",
           "\"step\"",
       }) {
    const Result r = run("$quarv replay -", head + line + '\n');
    EXPECT_EQ(r.status, 1) << line;
    EXPECT_EQ(num_lines(r.err), 1u) << line << r.err;
  }
  // Operators without the arguments that they must have.
  std::string odd = head;
  int name = 0;
  for (const char* op :
       {"not", "and", "=", "ite", "store", "select", "const", "to_int", "+", "bvadd", "(_ extract 1 0)"}) {
    odd += "{\"term\":" + std::to_string(++name) + ",\"op\":\"" + op + "\",\"sort\":0}\n";
  }
  const int num_ops = name;
  for (int t = 1; t <= num_ops; ++t) {
    for (const char* op : {"not", "=", "and", "store", "bvnot", "select"}) {
      const std::string arg = std::to_string(t);
      odd += R"({"step":1,"assertion":1,"simplifier":"s","sort":0,"after":)" + arg + ",\"op\":\"" + op +
             "\",\"args\":[" + arg + "," + arg + ",1]}\n";
    }
  }
  EXPECT_EQ(run("$quarv replay -", odd).status, 1);
}

TEST_F(Replay, ComputesNoPowersWithoutLimit) {
  std::string text =
      "{\"trace\":\"quarv\",\"version\":1}\n{\"sort\":0,\"name\":\"Int\"}\n"
      "{\"term\":1,\"value\":\"7\",\"sort\":0}\n";
  for (int i = 2; i < 100; ++i) {
    const std::string square = std::to_string(i - 1) + ',' + std::to_string(i - 1);
    text += "{\"term\":" + std::to_string(i) + R"(,"op":"*","sort":0,"args":[)" + square + "]}\n";
  }
  text += R"({"step":1,"assertion":1,"simplifier":"*","op":"*","sort":0,"args":[99,99],"after":1})";
  const Result r = run("$quarv replay -", text + '\n');
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("1 not justified"), std::string::npos) << r.out << r.err;
}

/// A layer's own: products of integers that were over reals, from a script that mixes both.
TEST_F(Replay, KnowsSumsThatCameToBeOverIntegers) {
  const std::string mixed = R"((declare-const i Int)(declare-const r Real)(declare-const v (_ BitVec 4))
(assert (= (ite (= (bvsub v v) #x0) (to_real i) r) (/ r 2.0)))
)";
  const Result r = replay(trace_of(mixed, " --rules-only-standard"));
  EXPECT_EQ(r.status, 0) << r.out << r.err;
  EXPECT_EQ(r.out, "5 steps: 5 justified, 0 not justified\n");
  EXPECT_EQ(run("$quarv explain in.smt2").status, 0);
}

/// What one step says of large terms: facts within operands and under negations, what both terms have in
/// common, few rounding modes, factors in another order.
TEST_F(Replay, ShowsWhatDetailsWouldHide) {
  const std::string modes =
      R"((declare-const r1 RoundingMode)(declare-const r2 RoundingMode)(declare-const r3 RoundingMode)(declare-const r4 RoundingMode)(declare-const r5 RoundingMode)(declare-const r6 RoundingMode)(declare-const r7 RoundingMode)(declare-const r8 RoundingMode)
(declare-const p Bool)
(assert (or p (not (distinct r1 r2 RNE r4 RTP r3))))
(assert (xor p (distinct r1 r2 RNE r4 r5 r6 RTP r3)))
(assert (or (not p) (and (not (= r1 r2)) (not (= r1 r3))(not (= r2 r3)) (not (= r1 r4)) (not (= r2 r4)) (not (= r3 r4))  (not (= r1 r5)) (not (= r2 r5)) (not (= r3 r5))(not (= r4 r5))  (not (= r1 r6)) (not (= r2 r6)) (not (= r3 r6))(not (= r4 r6)) (not (= r5 r6)))))
)";
  const std::string fused =
      R"((declare-const r1 RoundingMode)(declare-const r2 RoundingMode)(declare-const r3 RoundingMode)(declare-const r4 RoundingMode)(declare-const r5 RoundingMode)(declare-const r6 RoundingMode)(declare-const r7 RoundingMode)(declare-const r8 RoundingMode)
(declare-const x Float16)(declare-const y Float16)(declare-const z Float16)(declare-const p Bool)(declare-const q Bool)
(assert (or p (distinct r1 r2 r3 r4 r5 r6)))
(assert (or q (distinct r1 r2 r3 r4 r5 r6 r7)))
(assert (=> p (distinct r1 r2 r3 r4 r5 r6 r7 r8)))
(assert (distinct r1 r2 r3 r4 r5))
(assert (fp.lt (fp.fma RNE x y z) (fp.fma r1 y x z)))
(assert (= (fp.fma RNE (fp.neg x) y z) (fp.fma RNE y (fp.neg x) z)))
(assert (or p (fp.isNaN (fp.fma RNE y x z)) (fp.isZero (fp.fma RNE x y z))))
(assert (or (= (fp.fma r2 y x z) (fp.fma RNE x y z)) (not (= (fp.fma r2 x y z) (fp.fma RNE y x z)))))
)";
  const std::string context =
      R"((declare-const p Bool)(declare-const q Bool)(declare-const a Bool)(declare-const n Bool)(declare-const i Int)(declare-const j Int)(declare-const k Int)
(declare-fun f (Int) Int)(declare-fun g (Int) Int)
(assert (or (not (and p (and q n))) (and a (= (f (ite (and p (not q)) (g (ite n i j)) (ite q (g (ite p (f i) j)) i))) (g (ite (and p n) i k))))))
(assert (not (and (and p (= (f i) 3)) (not (and a (= (f (g (ite p (ite (= 3 (f i)) j k) i))) (f j)))))))
)";
  const std::string hidden =
      R"((declare-const p Bool)(declare-const q Bool)(declare-const r Bool)(declare-const s Bool)(declare-const t Bool)(declare-const i Int)
(declare-fun f (Int) Int)
(define-fun u () Int (ite t (+ 1 (ite s (+ 1 (ite r (+ i 1) i)) (ite r (+ i 1) i))) (ite s (+ 1 (ite r (+ i 1) i)) (ite r (+ i 1) i))))
(define-fun v () Int (ite (= (f i) 2) (ite s (+ 3 (ite r (+ i 2) (f i))) (ite r (+ i 5) i)) (ite (and t s) (+ i (f i)) (ite r 3 4))))
(define-fun w () Int (ite t (ite s (+ 4 (ite r (+ i 2) v)) (ite r (+ v 5) i)) (ite (= 3 (f v)) (+ i (f i)) (ite r 3 4))))
(assert (= u (ite p (+ 1 u) (ite q u w))))
(assert (= (f (ite p u (ite q u w))) 1))
)";
  for (const std::string& script : {modes, fused, context, hidden}) {
    write("in.smt2", script);
    ASSERT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace trace.jsonl").status, 0);
    const Result r = run("$quarv replay trace.jsonl");
    EXPECT_EQ(r.status, 0) << script << r.out << r.err;
  }
}

/// Nested sums of choices: under a condition each of them is a number, so that nothing is searched for.
#ifndef __SANITIZE_ADDRESS__  // under which the steps take minutes
TEST_F(Replay, ShowsWhatBecomesOfNestedChoices) {
  std::string chain = "(declare-const x Int)\n(define-fun s0 () Int x)\n";
  constexpr int num_levels = 60;
  for (int i = 1; i <= num_levels; ++i) {
    const std::string before = "s" + std::to_string(i - 1), n = std::to_string(i);
    chain +=
        "(define-fun s" + n + " () Int (ite (= x " + n + ") (abs " + before + ") (+ " + before + " x)))\n";
  }
  chain += "(assert (< (+ 0 s" + std::to_string(num_levels) + ") 7))\n";
  write("in.smt2", chain);
  ASSERT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace trace.jsonl").status, 0);
  const Result r = run("$quarv replay trace.jsonl");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(r.out.find("effort"), std::string::npos) << r.out;
}

/// Where a condition says little, much is searched for: each step alone is within its budget, all together
/// are not.
TEST_F(Replay, EndsWhenTheEffortIsUsedUp) {
  std::string chain = "(declare-const x Int)(declare-fun f (Int) Int)\n(define-fun s0 () Int x)\n";
  constexpr int num_levels = 60;
  for (int i = 1; i <= num_levels; ++i) {
    const std::string before = "s" + std::to_string(i - 1);
    chain += "(define-fun s" + std::to_string(i) + " () Int (ite (<= (f x) " + std::to_string(3 * i) +
             ") (abs " + before + ") (+ " + before + " x)))\n";
  }
  chain += "(assert (< s" + std::to_string(num_levels) + " 7))\n";
  write("in.smt2", chain);
  ASSERT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace trace.jsonl").status, 0);
  const Result r = run("$quarv replay trace.jsonl");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find(" not justified; the effort for proofs was used up\n"), std::string::npos) << r.out;
}
#endif

/// What a round printed and the next one made smaller is traced, too; its steps are checked like others.
TEST_F(Replay, ChecksWhatStandsBetweenInputAndOutput) {
  const std::string script = R"((declare-const p Bool)
(declare-const x (_ BitVec 8))(declare-const z (_ BitVec 8))
(declare-const a (_ BitVec 4))(declare-const b (_ BitVec 4))
(define-fun d0 () (_ BitVec 4) ((_ extract 3 0) ((_ rotate_left 3) x)))
(define-fun d1 () (_ BitVec 4) (bvor (bvor d0 #x2) (bvor #x0 d0)))
(assert (or (not (distinct (ite false z z) (concat a b))) (not p)))
)";
  write("in.smt2", script);
  ASSERT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace trace.jsonl").status, 0);
  const std::string trace = read("trace.jsonl");
  EXPECT_NE(trace.find("\"part\":\"between\""), std::string::npos);
  EXPECT_NE(trace.find("\"part\":\"between as written\""), std::string::npos);
  EXPECT_EQ(run("$quarv replay trace.jsonl").status, 0);
  // Without the last part it is not known what the output says.
  const Result cut = run("$quarv replay -", trace.substr(0, trace.rfind("{\"trace\":")));
  EXPECT_EQ(cut.status, 1);
  EXPECT_NE(cut.out.find("5 of 6 parts: no assertion can be shown to be equal\n"), std::string::npos)
      << cut.out;
}

TEST_F(Replay, JustifiesConversionsOfChoices) {
  write("in.smt2",
        "(declare-const i Int)\n(declare-const p Bool)\n(declare-const x (_ BitVec 8))\n"
        "(assert (= ((_ int2bv 8) (ite p 0 7)) x))\n"
        "(assert (= ((_ int2bv 8) (ite p (ite (< i 3) 0 1) (- 7))) x))\n");
  const Result r = run("$quarv simplify in.smt2 --trace trace.jsonl > out.smt2; $quarv replay trace.jsonl");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("2 assertions, 2 in the output: 2 shown to be equal"), std::string::npos) << r.out;
}

}  // namespace
