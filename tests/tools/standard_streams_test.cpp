/// \file
/// What every command does when its standard streams are full or missing.
#include "program_fixture.h"
#include "support/test_scale.h"

namespace {

class StandardStreams : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    write("in.smt2", "(declare-const p Bool)\n(assert (not (not p)))\n(simplify p)\n");
    write("own.rules", "rewrite(bvnot(bvnot(t)), ) >> t\n");
    ASSERT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace steps").status, 0);
    ASSERT_EQ(run("$quarv batch in.smt2 > results.jsonl").status, 0);
  }
};

TEST_F(StandardStreams, WhatCannotBePrintedIsAFailure) {
  std::string commands[] = {"simplify in.smt2",
                            "simplify in.smt2 -o x --trace -",
                            "explain in.smt2",
                            "replay steps",
                            "replay -q steps",
                            "repl in.smt2",
                            "batch in.smt2",
                            "report in.smt2",
                            "report results.jsonl",
                            "rules list",
                            "rules show 1",
                            "--help",
                            "--version",
                            "simplify --help",
                            "rules check --help",
                            "explain in.smt2 --why-not 2 p",
                            "certify in.smt2",
                            "certify --steps in.smt2",
                            "rules check own.rules"};
  const bool solver = run("z3 --version").status == 0;
  for (const std::string& command : quarv::one_in_when_sanitized(3, commands)) {
    const bool asks = command.starts_with("certify") || command == "rules check own.rules";
    if (asks && !solver) continue;
    EXPECT_EQ(run("$quarv " + command).status, 0) << command;
    for (const char* nowhere : {"> /dev/full", ">&-"}) {
      const Result r = run("$quarv " + command + ' ' + nowhere);
      EXPECT_EQ(r.status, 1) << command << nowhere;
      EXPECT_NE(r.err.find("quarv: error: cannot write standard output: "), std::string::npos)
          << command << nowhere << r.err;
    }
  }
}

/// The lowest free number is given to the file that is opened next.
TEST_F(StandardStreams, NoFileTakesThePlaceOfAMissingOne) {
  ASSERT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace steps").status, 0);
  const std::string out = read("out.smt2"), steps = read("steps");
  EXPECT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace steps <&- >&- 2>&-").status, 0);
  EXPECT_EQ(read("out.smt2"), out);
  EXPECT_EQ(read("steps"), steps);
  EXPECT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace - >&-").status, 1);
  EXPECT_EQ(read("out.smt2"), out);
  EXPECT_EQ(run("$quarv simplify <&-").status, 1);
}

}  // namespace
