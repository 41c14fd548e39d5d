/// \file
/// What the program makes of the words that it is given, and of what the shell
/// leaves it: closed files, closed pipes, limits.
#include <csignal>
#include <vector>

#include "program_fixture.h"
#include "support/test_scale.h"

namespace {

class CommandLine : public Program {
 protected:
  void expect_refusal(const std::string& arguments, const std::string& reason) const {
    const Result r = run("$quarv " + arguments);
    EXPECT_EQ(r.status, 2) << arguments;
    EXPECT_EQ(r.out, "") << arguments;
    EXPECT_EQ(r.err, "quarv: " + reason + "\n") << arguments;
  }
};

TEST_F(CommandLine, SuggestsTheNearestCommand) {
  expect_refusal("simpl x", "there is no command quarv simpl; the nearest one is quarv simplify");
  expect_refusal("explian x", "there is no command quarv explian; the nearest one is quarv explain");
  expect_refusal("rule list", "there is no command quarv rule; the nearest one is quarv rules");
  expect_refusal("hlep", "there is no command quarv hlep; the nearest one is quarv help");
  expect_refusal("rules lst",
                 "there is no command quarv rules lst; the "
                 "nearest one is quarv rules list");
  expect_refusal("frobnicate", "there is no command quarv frobnicate (quarv --help lists all)");
  expect_refusal("''", "there is no command quarv  (quarv --help lists all)");
  expect_refusal("", "a command is missing (quarv --help lists them)");
  expect_refusal("rules", "a command is missing (quarv rules --help lists them)");
  expect_refusal("simplify --bogus",
                 "The following argument was not expected: --bogus (see quarv simplify --help)");
}

TEST_F(CommandLine, SaysWhichCommandTakesAFile) {
  write("in.smt2", redundant_script);
  write("plain", redundant_script);
  run("mkdir sub");
  for (const char* name : {"in.smt2", "plain", "nowhere.smt2", "-"}) {
    expect_refusal(name, "there is no command quarv " + std::string(name) +
                             "; to simplify a script: quarv simplify " + name);
  }
  expect_refusal("sub",
                 "there is no command quarv sub; to simplify what is in "
                 "a folder: quarv batch sub");
  // A file that is called like a command hides it from nobody.
  write("version", redundant_script);
  EXPECT_EQ(run("$quarv version").out, "quarv " QUARV_VERSION "\n");
}

TEST_F(CommandLine, PrintsHelpAndVersionOnRequest) {
  for (const char* version : {"version", "--version", "-V"}) {
    EXPECT_EQ(run("$quarv " + std::string(version)).out, "quarv " QUARV_VERSION "\n") << version;
  }
  for (const std::string command : {"", "simplify", "rules", "rules check", "help", "version"}) {
    const Result r = run("$quarv help " + command);
    EXPECT_EQ(r.status, 0) << command;
    EXPECT_NE(r.out.find("Usage: quarv "), std::string::npos) << command;
    EXPECT_EQ(r.out, run("$quarv " + command + " --help").out) << command;
  }
  expect_refusal("help simpl", "there is no command quarv simpl; the nearest one is quarv simplify");
  expect_refusal("help rules lost",
                 "there is no command quarv rules lost; the "
                 "nearest one is quarv rules list");
  for (const char* command : {"help", "--help", "version", "--version", "rules check --help"}) {
    EXPECT_EQ(run("$quarv " + std::string(command) + " > /dev/full").status, 1) << command;
  }
}

/// The command lines that a help gives as examples, without what is said of them.
std::vector<std::string> examples_in(const std::string& help) {
  std::vector<std::string> examples;
  std::istringstream lines(help.substr(std::min(help.find("\nExamples:\n") + 11, help.size())));
  for (std::string line; std::getline(lines, line) && line.starts_with("  ");) {
    if (line[2] != ' ') examples.push_back(line.substr(2, line.find("  ", 2) - 2));
  }
  return examples;
}

TEST_F(CommandLine, GivesExamplesOfEachCommandThatWork) {
  run("mkdir queries");
  write("query.smt2",
        "(set-logic QF_BV)(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))\n"
        "(assert (= x (bvadd x y)))(assert (= (bvmul x #x04) y))\n");
  write("queries/query.smt2", read("query.smt2"));
  write("my.rules", "my-name: rewrite(bvor(t1, bvand(t2, t1_0)), identity(t1, t1_0)) >> t1\n");
  write("dialogue.smt2", "(simplify true)");
  ASSERT_EQ(
      run("tar cJf queries.tar.xz queries && $quarv batch queries --shard 2/2 --results second.jsonl").status,
      0);
  for (const std::string command : {"", "simplify", "explain", "batch", "report", "repl", "certify", "replay",
                                    "rules", "rules list", "rules show", "rules check", "help", "version"}) {
    const std::vector<std::string> examples = examples_in(run("$quarv " + command + " --help").out);
    EXPECT_FALSE(examples.empty()) << command;
    for (const std::string& example : examples) {
      EXPECT_NE(example.find("quarv " + command), std::string::npos) << example;
      // Others may have changed it.
      if (example.find(" --at ") != std::string::npos) write("query.smt2", read("queries/query.smt2"));
#ifdef __SANITIZE_ADDRESS__  // which needs more address space than any limit leaves, and time
      if (example.find("--memory") != std::string::npos || command == "rules check") continue;
#endif
      const Result r = run("PATH=\"$(dirname $quarv):$PATH\"\n" + example);
      EXPECT_EQ(r.status, 0) << example << '\n' << r.err;
    }
  }
}

TEST_F(CommandLine, CompletesCommandsInTheShell) {
  const auto completions = [this](const std::string& words) {
    return run("source " QUARV_SOURCE_DIR "/tools/quarv/share/quarv.bash\nCOMP_WORDS=($quarv " + words +
               ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_quarv\necho ${COMPREPLY[@]}")
        .out;
  };
  EXPECT_EQ(completions("re"), "report repl replay\n");
  EXPECT_EQ(completions("rules ''"), "list show check mine\n");
  EXPECT_EQ(completions("help re"), "report repl replay\n");
  EXPECT_EQ(completions("help rules s"), "show\n");
  EXPECT_EQ(completions("simplify --share n"), "none\n");
  EXPECT_EQ(completions("certify --solver c"), "cvc5\n");
  for (const char* asked : {"rules show bvor-i", "simplify --disable-rule bvor-i", "explain --why-not bvor-i",
                            "explain in.smt2 --rule bvor-i"}) {
    EXPECT_EQ(completions(asked), "bvor-idempotent\n") << asked;
  }
  EXPECT_EQ(completions("rules show bvxor-can"), "bvxor-cancel\n");  // an extended rule
}

TEST_F(CommandLine, CompletesCommandsInFish) {
  if (run("command -v fish").status != 0) GTEST_SKIP() << "fish is not installed";
  const auto completions = [this](const std::string& words) {
    return run("PATH=$PWD/bin:$PATH fish --no-config -c \"source " QUARV_SOURCE_DIR
               "/tools/quarv/share/quarv.fish; complete -C 'quarv " +
               words + "'\" | sort")
        .out;
  };
  run("mkdir -p bin; ln -sf $quarv bin/quarv");
  EXPECT_EQ(run("PATH=$PWD/bin:$PATH quarv --version >/dev/null").status, 0);
  EXPECT_EQ(completions("rules "), "check\nlist\nmine\nshow\n");
  EXPECT_EQ(completions("certify --solver c"), "cvc5\n");
  EXPECT_EQ(completions("rules show bvxor-can"), "bvxor-cancel\n");
}

TEST_F(CommandLine, CompletesCommandsInZsh) {
  if (run("command -v zsh").status != 0) GTEST_SKIP() << "zsh is not installed";
  // What would be offered to a user is listed instead.
  const auto completions = [this](const std::string& words) {
    return run("PATH=$PWD/bin:$PATH zsh -f -c \"compadd() { shift; print -l -- \\$@; }; words=(quarv " +
               words +
               "); CURRENT=\\$#words; source " QUARV_SOURCE_DIR "/tools/quarv/share/quarv.zsh\" | sort")
        .out;
  };
  run("mkdir -p bin; ln -sf $quarv bin/quarv");
  EXPECT_EQ(completions("rules ''"), "check\nlist\nmine\nshow\n");
  EXPECT_EQ(completions("help rules ''"), "check\nlist\nmine\nshow\n");
  EXPECT_EQ(completions("certify --solver ''"), "cvc5\nz3\n");
  EXPECT_EQ(completions("simplify --share ''"), "auto\nlet\nnone\n");
  EXPECT_TRUE(has(completions("simplify --w"), "--width\n"));
  EXPECT_TRUE(has(completions("rules show b"), "\nbvxor-cancel\n"));
}

TEST_F(CommandLine, EndsAsFiltersDoWhenTheReaderLeaves) {
  write("in.smt2", redundant_script);
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
  const Result r =
      run("trap '' PIPE; { sleep 0.1; $quarv simplify in.smt2; "
          "echo $? > status; } | true");
  EXPECT_EQ(read("status"), "1\n");
  EXPECT_EQ(r.err, "quarv: error: cannot write standard output: Broken pipe\n");
}

TEST_F(CommandLine, KeepsClosedStandardFilesApart) {
  // A number that is free would be given to the next file that is opened.
  write("in.smt2", redundant_script);
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
  EXPECT_EQ(run("$quarv simpl 2>&-").status, 2);
  EXPECT_EQ(run("$quarv simplify - <&- >&- 2>&-").status, 1);
  EXPECT_EQ(run("$quarv simplify in.smt2 <&-").out, simplified_script);
  EXPECT_EQ(run("$quarv simplify <&-").err, "quarv: error: cannot read <stdin>: Bad file descriptor\n");
}

TEST_F(CommandLine, RefusesToWriteWhereItReads) {
  write("in.smt2", redundant_script);
  run("ln -s in.smt2 link");
  const std::string same =
      "--trace: the script and its trace cannot be written to the same place (see quarv simplify --help)";
  expect_refusal("simplify in.smt2 -o out --trace ./out", same);
  expect_refusal("simplify in.smt2 --trace /dev/stdout", same);
  expect_refusal("simplify in.smt2 -o out --trace link",
                 "--trace: it would replace the script (see quarv simplify --help)");
  expect_refusal("report in.smt2 -o link",
                 "--output: the page would replace what it shows (see quarv report --help)");
  EXPECT_EQ(read("in.smt2"), redundant_script);
  EXPECT_EQ(num_files(), 2u);
}

TEST_F(CommandLine, LeavesNoneOfTwoFilesBehindWhenItIsKilled) {
  std::string large = "(declare-fun f (Bool Bool) Bool)\n(declare-const p Bool)\n";
  for (std::size_t i = 0; i < 100000 / quarv::one_in_when_sanitized(4); ++i)
    large += "(assert (not (not (f p (f p p)))))\n";
  write("in.smt2", large);
  // Both are begun when there is more of them than a buffer holds; then the signal comes.
  for (const char* signal : {"TERM", "QUIT", "XCPU"}) {
    const Result r =
        run("shopt -s dotglob nullglob\n$quarv simplify in.smt2 -o out.smt2 --trace steps & program=$!\n"
            "until files=(*); [ ${#files[@]} -gt 2 ] || ! kill -0 $program; do :; done\nkill -" +
            std::string(signal) + " $program; wait $program; rm -f out.smt2 steps; ls -A");
    EXPECT_EQ(r.out, "in.smt2\n") << signal;
  }
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
          "(ulimit -f 0; exec $quarv batch in.smt2 --out none "
          "2> said); echo $?; wait");
  EXPECT_EQ(none.out, "1\n");
  EXPECT_EQ(read("copy"), "quarv: error: cannot write none/results.jsonl: File too large\n");
  EXPECT_EQ(run("ls -A none").out, "");
}

}  // namespace
