/// \file
/// Traces that somebody wrote, to have something justified that does not hold, or to break the program.
#include "program_fixture.h"
#include "support/test_scale.h"

namespace {

class Forgery : public Program {
 protected:
  static constexpr const char* sorts = R"json({"trace":"quarv","version":1}
{"sort":0,"name":"Bool"}
{"sort":1,"name":"Int"}
{"sort":2,"name":"Real"}
{"sort":3,"name":"(_ FloatingPoint 2 3)"}
{"sort":4,"name":"Array","args":[3,0]}
{"term":1,"op":"true","sort":0}
{"term":2,"op":"false","sort":0}
{"term":3,"value":"1","sort":1}
{"term":4,"value":"1/2","sort":2}
)json";
  Result replay_text(const std::string& lines) { return run("$quarv replay -", sorts + lines); }
  static std::string equality(int a, int b, int after) {
    return R"({"step":1,"assertion":1,"simplifier":"=","op":"=","sort":0,"args":[)" + std::to_string(a) +
           ',' + std::to_string(b) + "],\"after\":" + std::to_string(after) + "}\n";
  }
};

TEST_F(Forgery, EncodingsOfNaNAreOneIndex) {
  const std::string arrays = R"json({"term":5,"value":"13","sort":3}
{"term":6,"value":"14","sort":3}
{"term":7,"op":"const","sort":4,"args":[2]}
{"term":8,"op":"store","sort":4,"args":[7,5,1]}
{"term":9,"op":"store","sort":4,"args":[7,6,1]}
)json";
  EXPECT_EQ(replay_text(arrays + equality(8, 9, 1)).status, 0);
  EXPECT_EQ(replay_text(arrays + equality(8, 9, 2)).status, 1);
}

TEST_F(Forgery, RefusesWhatNoTraceSays) {
  struct {
    const char* line;
    const char* reason;
  } const cases[] = {
      {R"json({"term":9,"value":"1","sort":1})json", "the value 1 already has another name"},
      {R"json({"term":9,"value":"1/2","sort":2})json", "the value 1/2 already has another name"},
      {R"json({"term":9,"value":"2/4","sort":2})json", "this value is not a number"},
      {R"json({"term":9,"value":"1","sort":2})json", "this is not a value of its sort"},
      {R"json({"term":9,"value":"1 2","sort":1})json", "this value is not a number"},
      {R"json({"term":9,"value":"+2","sort":1})json", "this value is not a number"},
      {R"json({"term":9,"value":"2\u0000","sort":1})json", "this value is not a number"},
      {R"json({"term":9,"value":"","sort":1})json", "this value is not a number"},
      {R"json({"term":9,"op":"ite","sort":1,"args":[1,3,4]})json",
       "ite: the sorts of the arguments do not fit"},
      {R"json({"term":9,"op":"+","sort":1,"args":[3,4]})json", "+: the sorts of the arguments do not fit"},
      {R"json({"term":9,"op":"fp.neg","sort":0,"args":[1]})json",
       "fp.neg: the sorts of the arguments do not fit"},
      {R"json({"term":9,"op":"and","sort":0,"args":[1,2],"variables":[1]})json",
       "and: the sorts of the arguments do not fit"},
      {R"json({"term":9,"op":"and 1 2","sort":0})json", "this is not an operator"},
      {R"json({"term":9,"op":"(_ extract  0)","sort":0})json", "this is not an operator"},
      {R"json({"term":9,"op":"","sort":0})json", "this is not an operator"},
      {R"json({"term":9,"op":"not","sort":0,"args":[1.0]})json", "expected a number"},
      {R"json({"term":9,"op":"not","sort":0,"args":[true]})json", "expected a number"},
      {R"json({"term":-9,"op":"not","sort":0,"args":[1]})json", "expected a number"},
      {R"json({"term":18446744073709551616,"op":"not","sort":0,"args":[1]})json", "expected a number"},
      {R"json({"term":9,"op":"not","sort":0,"args":1})json", "args is not a list"},
      {R"json({"term":9,"op":"not","sort":0,"args":{"a":1}})json", "args is not a list"},
      {R"json({"term":3,"op":"not","sort":0,"args":[1]})json", "the term 3 is defined twice"},
      {R"json({"term":9,"op":"not","sort":17,"args":[1]})json", "there is no sort 17"},
      {R"json({"sort":5,"name":"(_ FloatingPoint 5 0)"})json", "there is no sort (_ FloatingPoint 5 0)"},
      {R"json({"sort":5,"name":"(_ FloatingPoint 0 9)"})json", "there is no sort (_ FloatingPoint 0 9)"},
      {R"json({"sort":5,"name":"(_ FloatingPoint 5)"})json", "there is no sort (_ FloatingPoint 5)"},
      {R"json({"sort":5,"name":"(_ BitVec 0)"})json", "there is no sort (_ BitVec 0)"},
      {R"json({"sort":5,"name":"(_ BitVec 08)"})json", "there is no sort (_ BitVec 08)"},
      {R"json({"sort":5,"name":"(_ BitVec 999999999)"})json", "there is no sort (_ BitVec 999999999)"},
      {R"json({"sort":5,"name":"(_ BitVec 8 8)"})json", "there is no sort (_ BitVec 8 8)"},
      {R"json({"sort":5,"name":"Bool","args":[1]})json", "Bool has 0 arguments"},
      {R"json({"sort":5,"name":"Array","args":[1]})json", "Array has 2 arguments"},
      {R"json({"sort":5,"name":"Array","args":[1,5]})json", "there is no sort 5"},
      {R"json({"sort":5,"name":"Array","args":[3,0]})json", "the sort Array is defined twice"},
      {"{\"term\":9,\"fun\":\"f\xff\",\"sort\":0}", "this is not a line of a trace"},
  };
  for (const auto& [line, reason] : quarv::one_in_when_sanitized(3, cases)) {
    const Result r = replay_text(std::string(line) + '\n' + equality(1, 1, 1) + equality(1, 2, 1));
    EXPECT_EQ(r.status, 1) << line;
    EXPECT_EQ(r.err, "<stdin>:11: error: " + std::string(reason) + '\n') << line;
    // What can be checked is checked.
    EXPECT_EQ(r.out,
              "step 1 of assertion 1: =: not justified\n"
              "2 steps: 1 justified, 1 not justified; 1 lines make no sense\n"
              "  =: 1 justified, 1 not justified\n")
        << line;
  }
  const Result deep =
      replay_text("{\"step\":" + std::string(200'000, '[') + std::string(200'000, ']') + "}\n");
  EXPECT_EQ(deep.err, "<stdin>:11: error: this is not a line of a trace\n");
}

/// The number of comparisons would double with each level.
TEST_F(Forgery, ComparesNestedArraysOnce) {
  std::string text;
  int sort = 1;
  int name = 10;
  int a = 3, b = 3;
  for (int level = 0; level < 60; ++level) {
    const std::string of_sort = ",\"sort\":" + std::to_string(5 + level);
    text += "{\"sort\":" + std::to_string(5 + level) + R"(,"name":"Array","args":[1,)" +
            std::to_string(sort) + "]}\n";
    sort = 5 + level;
    const auto add = [&](const std::string& op, const std::string& args) {
      text += "{\"term\":" + std::to_string(name) + ",\"op\":\"" + op + '"' + of_sort + ",\"args\":[" + args +
              "]}\n";
      return name++;
    };
    const int first = add("const", std::to_string(a));
    const int second = add("const", std::to_string(b));
    a = level == 0 ? first : add("store", std::to_string(first) + ",3," + std::to_string(a));
    b = add("store", std::to_string(second) + ",3," + std::to_string(b));
  }
  const Result r = replay_text(text + equality(a, b, 1));
  EXPECT_EQ(r.status, 0) << r.out << r.err;
  EXPECT_EQ(replay_text(text + equality(a, b, 2)).status, 1);
}

TEST_F(Forgery, BelievesNothingThatWasNotShown) {
  // The second step would follow from the first one.
  const Result r = replay_text(R"json({"sort":5,"name":"Array","args":[1,1]}
{"term":5,"fun":"x","sort":1}
{"term":6,"op":"const","sort":5,"args":[3]}
{"term":7,"op":"const","sort":5,"args":[5]}
{"term":8,"fun":"p","sort":0}
)json" + equality(3, 5, 8) + equality(6, 7, 8));
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(r.out.find("2 steps: 0 justified, 2 not justified\n") != std::string::npos) << r.out;
}

/// Of neither side it is known which of its branches it is.
TEST_F(Forgery, TwoUnknownTermsNeedNotBeEqual) {
  const std::string terms = R"json({"term":5,"fun":"x","sort":1}
{"term":6,"fun":"y","sort":1}
{"term":7,"fun":"z","sort":1}
{"term":8,"fun":"p","sort":0}
{"term":9,"op":"ite","sort":1,"args":[8,5,6]}
{"term":10,"op":"=","sort":0,"args":[9,7]}
{"term":11,"op":"ite","sort":1,"args":[10,5,6]}
{"term":12,"op":"ite","sort":1,"args":[8,6,5]}
{"term":13,"op":"=","sort":0,"args":[12,7]}
{"term":14,"op":"ite","sort":1,"args":[13,6,7]}
)json";
  for (const int other : {14, 5}) {
    const Result r = replay_text(terms + equality(11, other, 1));
    EXPECT_EQ(r.err, "");
    EXPECT_NE(r.out.find("1 steps: 0 justified, 1 not justified\n"), std::string::npos) << r.out;
  }
}

/// Only what does not speak of the variable leaves a quantifier.
TEST_F(Forgery, WhatSpeaksOfAVariableStaysInside) {
  const std::string terms = R"json({"term":5,"fun":"x","sort":1}
{"term":6,"fun":"p","sort":0}
{"term":7,"fun":"q","sort":0,"args":[5]}
{"term":8,"fun":"r","sort":0,"args":[5]}
{"term":9,"op":"or","sort":0,"args":[6,7]}
{"term":10,"op":"or","sort":0,"args":[7,8]}
{"term":11,"op":"forall","sort":0,"args":[7],"variables":[5]}
{"term":12,"op":"forall","sort":0,"args":[8],"variables":[5]}
{"term":13,"op":"or","sort":0,"args":[6,11]}
{"term":14,"op":"or","sort":0,"args":[7,12]}
{"term":15,"op":"or","sort":0,"args":[11,12]}
{"term":16,"op":"exists","sort":0,"args":[7],"variables":[5]}
{"term":17,"op":"or","sort":0,"args":[6,16]}
)json";
  const auto quantified = [](const char* op, int body, int after) {
    return "{\"step\":1,\"assertion\":1,\"simplifier\":\"q\",\"op\":\"" + std::string(op) +
           "\",\"sort\":0,\"variables\":[5],\"args\":[" + std::to_string(body) +
           "],\"after\":" + std::to_string(after) + "}\n";
  };
  const auto status = [&](const std::string& step) { return replay_text(terms + step).status; };
  EXPECT_EQ(status(quantified("forall", 9, 13)), 0);   // p or q(x)
  EXPECT_EQ(status(quantified("forall", 6, 6)), 0);    // p
  EXPECT_EQ(status(quantified("forall", 9, 9)), 1);    // not for any x, but for all
  EXPECT_EQ(status(quantified("forall", 9, 17)), 1);   // nor for some
  EXPECT_EQ(status(quantified("forall", 10, 14)), 1);  // q(x) or r(x)
  EXPECT_EQ(status(quantified("forall", 10, 15)), 1);
  EXPECT_EQ(status(quantified("exists", 7, 7)), 1);
}

TEST_F(Forgery, PrintsNamesOnOneLine) {
  const Result r = replay_text(
      R"({"step":1,"assertion":1,"simplifier":"=\n9 steps: 9 justified, 0 not justified","op":"=","sort":0,)"
      R"("args":[1,2],"after":1})"
      "\n");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(num_lines(r.out), 3u) << r.out;
}

}  // namespace
