/// \file
/// What the program makes of the words that it is given, and of what the shell leaves it: closed files,
/// closed pipes, limits.
#include <csignal>

#include "program_fixture.h"

namespace {

const std::string script = "(declare-const p Bool)\n(assert (and p true p))\n(check-sat)\n";
const std::string simplified = "(declare-const p Bool)\n(assert p)\n(check-sat)\n";

using CommandLine = Program;

TEST_F(CommandLine, EndsAsFiltersDoWhenTheReaderLeaves) {
  write("in.smt2", script);
  run("mkdir in; cp in.smt2 in");
  // The reader is gone before the program begins.
  const std::string closed = "env --default-signal=PIPE $quarv ";
  for (const char* command :
       {"--help", "simplify in.smt2", "simplify in.smt2 -o out.smt2 --trace -", "explain in.smt2",
        "batch in 2> /dev/null", "report in.smt2", "rules list", "repl - <<< '(simplify true)'"}) {
    const Result r = run("{ sleep 0.1; " + closed + command + "; echo $? > status; } | true");
    EXPECT_EQ(read("status"), std::to_string(128 + SIGPIPE) + "\n") << command;
    EXPECT_EQ(r.err, "") << command;
  }
  EXPECT_EQ(run("ls -A").out, "in\nin.smt2\nstatus\n");
  // Whoever ignores the signal asks for a message.
  const Result r = run("trap '' PIPE; { sleep 0.1; $quarv simplify in.smt2; echo $? > status; } | true");
  EXPECT_EQ(read("status"), "1\n");
  EXPECT_EQ(r.err, "quarv: error: cannot write standard output: Broken pipe\n");
}

TEST_F(CommandLine, KeepsClosedStandardFilesApart) {
  // A number that is free would be given to the next file that is opened.
  write("in.smt2", script);
  const std::string no_output = "quarv: error: cannot write standard output: Bad file descriptor\n";
  for (const char* command :
       {"simplify in.smt2", "batch in.smt2", "explain in.smt2", "report in.smt2", "--help"}) {
    const Result r = run("$quarv " + std::string(command) + " >&-");
    EXPECT_EQ(r.status, 1) << command;
    EXPECT_EQ(r.err, no_output) << command;
  }
  const Result r = run("$quarv batch in.smt2 2>&-");
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("\"status\":\"ok\""), std::string::npos) << r.out;
  EXPECT_EQ(run("$quarv simplify nowhere 2>&-").status, 1);
  EXPECT_EQ(run("$quarv simplify - <&- >&- 2>&-").status, 1);
  EXPECT_EQ(run("$quarv simplify in.smt2 <&-").out, simplified);
  EXPECT_EQ(run("$quarv simplify <&-").err, "quarv: error: cannot read <stdin>: Bad file descriptor\n");
}

TEST_F(CommandLine, ReportsTheLimitOnTheSizeOfFiles) {
  std::string large;
  for (int i = 0; i < 20000; ++i) large += "(declare-const p" + std::to_string(i) + " Bool)\n";
  write("in.smt2", large);
  write("out.smt2", "old\n");
  const Result r = run("ulimit -f 100; $quarv simplify in.smt2 -o out.smt2");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "quarv: error: cannot write out.smt2: File too large\n");
  EXPECT_EQ(read("out.smt2"), "old\n");
  const Result batch = run("ulimit -f 100; $quarv batch in.smt2 --out out");
  EXPECT_EQ(batch.status, 1);
  EXPECT_EQ(batch.err.substr(0, batch.err.find('\n')),
            "unwritable: cannot write out/in.smt2: File too large");
  EXPECT_EQ(run("ls -A out").out, "results.jsonl\n");
  // There is no room for the results themselves.
  const Result none =
      run("mkfifo said; cat said > copy & "
          "(ulimit -f 0; exec $quarv batch in.smt2 --out none 2> said); echo $?; wait");
  EXPECT_EQ(none.out, "1\n");
  EXPECT_EQ(read("copy"), "quarv: error: cannot write none/results.jsonl: File too large\n");
  EXPECT_EQ(run("ls -A none").out, "");
}

}  // namespace
