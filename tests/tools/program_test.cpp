/// \file
/// The program as its users meet it: through a shell.
#include <nlohmann/json.hpp>

#include "program_fixture.h"
#include "support/corpus.h"

namespace {

TEST_F(Program, PrintsVersionAndHelp) {
  EXPECT_EQ(run("$quarv --version").out, "quarv " QUARV_VERSION "\n");
  const Result help = run("$quarv --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("quarv simplify query.smt2"), std::string::npos);
  EXPECT_NE(run("$quarv simplify --help").out.find("--share auto|let|none"), std::string::npos);
}

TEST_F(Program, AnswersWrongCommandLinesWithStatusTwo) {
  for (const char* arguments : {"", "frobnicate", "simplify a b -o c", "simplify --share sometimes",
                                "simplify --stats=xml", "simplify --bogus", "repl -o x", "simplify -o"}) {
    const Result r = run("$quarv " + std::string(arguments));
    EXPECT_EQ(r.status, 2) << arguments;
    EXPECT_EQ(r.out, "") << arguments;
    EXPECT_EQ(num_lines(r.err), 1u) << r.err;
  }
}

TEST_F(Program, SimplifiesFromAndToFilesAndStreams) {
  write("in.smt2", redundant_script);
  EXPECT_EQ(run("$quarv simplify in.smt2").out, simplified_script);
  EXPECT_EQ(run("$quarv simplify", redundant_script).out, simplified_script);
  EXPECT_EQ(run("$quarv simplify -", redundant_script).out, simplified_script);
  EXPECT_EQ(run("cat in.smt2 | $quarv simplify - -o - | cat").out, simplified_script);
  const Result to_file = run("$quarv simplify in.smt2 -o out.smt2");
  EXPECT_EQ(to_file.status, 0);
  EXPECT_EQ(to_file.out + to_file.err, "");
  EXPECT_EQ(read("out.smt2"), simplified_script);
  EXPECT_EQ(run("$quarv simplify in.smt2 --output in.smt2").status, 0);
  EXPECT_EQ(read("in.smt2"), simplified_script);
  EXPECT_EQ(num_files(), 2u);
}

TEST_F(Program, SimplifiesEmptyInput) {
  const Result r = run("$quarv simplify");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out + r.err, "");
}

TEST_F(Program, WritesTraces) {
  write("in.smt2", "(declare-const p Bool)\n(assert (not (not p)))\n(check-sat)\n");
  const Result r = run("$quarv simplify in.smt2 --trace steps.jsonl");
  EXPECT_EQ(r.out, simplified_script);
  EXPECT_EQ(r.err, "");
  std::istringstream lines(read("steps.jsonl"));
  std::size_t steps = 0;
  for (std::string line; std::getline(lines, line);) steps += nlohmann::json::parse(line).contains("step");
  EXPECT_EQ(steps, 1u);
  EXPECT_EQ(run("$quarv simplify in.smt2 -o out.smt2 --trace -").out, read("steps.jsonl"));
  EXPECT_EQ(read("out.smt2"), simplified_script);
  EXPECT_EQ(run("$quarv simplify in.smt2 --trace -").status, 2);
  EXPECT_EQ(run("$quarv simplify in.smt2 --trace nowhere/steps.jsonl").status, 1);
  write("bad.smt2", "(assert p)");
  EXPECT_EQ(run("$quarv simplify bad.smt2 --trace steps.bad").status, 1);
  EXPECT_FALSE(fs::exists(path("steps.bad")));
}

TEST_F(Program, WritesSharingAsAsked) {
  const std::string shared = "(let ((y (f (f (f x 1) 2) (f x 3)))) (f (f y y) (f y 4)))";
  std::string input = "(declare-fun f (Int Int) Int)\n(declare-const x Int)\n(assert (= 0 " + shared + "))\n";
  for (const char* i : {"1", "2", "3", "4"}) {
    input += std::string("(assert (= ") + i + " (f " + i + " " + shared + ")))\n";
  }
  const auto has = [](const std::string& text, const char* word) {
    return text.find(word) != std::string::npos;
  };
  const std::string automatic = run("$quarv simplify", input).out;
  const std::string by_let = run("$quarv simplify --share let", input).out;
  const std::string tree = run("$quarv simplify --share none", input).out;
  EXPECT_TRUE(has(automatic, "(define-fun "));
  EXPECT_TRUE(has(by_let, "(let "));
  EXPECT_FALSE(has(by_let, "(define-fun "));
  EXPECT_FALSE(has(tree, "(let ") || has(tree, "(define-fun "));
  EXPECT_EQ(run("$quarv simplify --share auto", input).out, automatic);
  EXPECT_EQ(run("$quarv simplify --canonical --share let", tree).out,
            run("$quarv simplify --canonical --share let", input).out);
  EXPECT_EQ(run("$quarv simplify --share none", by_let).out, tree);
}

TEST_F(Program, PrintsStatistics) {
  const std::string input = "(declare-const p Bool)\n(assert (not (not (not p))))\n";
  const std::string output = "(declare-const p Bool)\n(assert (not p))\n";
  const Result text = run("$quarv simplify --stats", input);
  EXPECT_EQ(text.out, output);
  for (const char* key : {"terms before ", "terms after ", "simplifications ", "  not ", "rule applications ",
                          "reading ", "simplifying ", "printing ", "peak memory "}) {
    EXPECT_NE(text.err.find(key), std::string::npos) << key;
  }
  const Result json = run("$quarv simplify --stats=json", input);
  EXPECT_EQ(json.out, output);
  EXPECT_EQ(num_lines(json.err), 1u);
  const auto object = nlohmann::json::parse(json.err);
  EXPECT_EQ(object["terms"]["before"], 4);  // p and three negations
  EXPECT_EQ(object["terms"]["after"], 2);
  EXPECT_EQ(object["simplifications"]["not"], 1);
  EXPECT_TRUE(object["seconds"]["read"].is_number());
  EXPECT_GT(object["peak_memory_bytes"], 1 << 20);
  const Result quantified = run("$quarv simplify --stats=json", "(assert (exists ((i Int)) (= i 1)))\n");
  EXPECT_EQ(nlohmann::json::parse(quantified.err)["simplifications"].dump(), "{\"exists\":1}");
}

TEST_F(Program, ReportsFaultsOfTheInputWithTheirLine) {
  write("out.smt2", "old\n");
  const Result r = run("$quarv simplify - -o out.smt2", "(assert\n  (and true\nx))\n");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "<stdin>:3:1: error: unknown symbol x\n  x))\n  ^\n");
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(read("out.smt2"), "old\n");
  EXPECT_EQ(num_files(), 1u);

  write("my file.smt2", ")");
  EXPECT_EQ(run("$quarv simplify 'my file.smt2'").err.substr(0, 24), "my file.smt2:1:1: error:");
}

TEST_F(Program, ReportsFilesThatCannotBeRead) {
  const Result missing = run("$quarv simplify nowhere.smt2");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "quarv: error: cannot read nowhere.smt2: No such file or directory\n");
  const Result folder = run("$quarv simplify .");
  EXPECT_EQ(folder.status, 1);
  EXPECT_EQ(folder.err, "quarv: error: cannot read .: Is a directory\n");
  EXPECT_EQ(run("$quarv simplify - <&-").status, 1);
  EXPECT_EQ(run("$quarv repl nowhere.smt2").status, 1);
  EXPECT_EQ(run("$quarv repl .").err, "quarv: error: cannot read .: Is a directory\n");
  if (geteuid() != 0) {  // root may read everything
    write("secret", redundant_script);
    EXPECT_EQ(run("chmod 0 secret; $quarv simplify secret").status, 1);
  }
}

TEST_F(Program, ReportsFilesThatCannotBeWritten) {
  const auto expect_failure = [this](const std::string& command, const std::string& reason) {
    const Result r = run(command, redundant_script);
    EXPECT_EQ(r.status, 1) << command;
    EXPECT_EQ(r.err, "quarv: error: cannot write " + reason + "\n") << command;
  };
  expect_failure("$quarv simplify > /dev/full", "standard output: No space left on device");
  expect_failure("$quarv simplify -o /dev/full", "/dev/full: No space left on device");
  expect_failure("$quarv simplify -o .", ".: Is a directory");
  expect_failure("$quarv simplify -o no/where", "no/where: No such file or directory");
  expect_failure("$quarv simplify >&-", "standard output: Bad file descriptor");
  EXPECT_EQ(run("$quarv repl > /dev/full", "(simplify true)").status, 1);
}

TEST_F(Program, LeavesTheOldFileWhenTheDiskIsFull) {
  // A limit on the size of files stands for the full disk.
  std::string large;
  for (int i = 0; i < 20000; ++i) large += "(declare-const p" + std::to_string(i) + " Bool)\n";
  write("in.smt2", large);
  write("out.smt2", "old\n");
  const Result r = run("trap '' XFSZ; ulimit -f 100; $quarv simplify in.smt2 -o out.smt2");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "quarv: error: cannot write out.smt2: File too large\n");
  EXPECT_EQ(read("out.smt2"), "old\n");
  EXPECT_EQ(num_files(), 2u);
}

TEST_F(Program, KeepsPermissionsAndFollowsLinks) {
  run("mkdir real; echo old > real/out; chmod 640 real/out; ln -s real/out link");
  EXPECT_EQ(run("$quarv simplify -o link", redundant_script).status, 0);
  EXPECT_TRUE(fs::is_symlink(path("link")));
  EXPECT_EQ(read("real/out"), simplified_script);
  EXPECT_EQ(run("stat -c %a real/out").out, "640\n");
  EXPECT_EQ(run("umask 027; $quarv simplify -o new; stat -c %a new", redundant_script).out, "640\n");
  EXPECT_EQ(run("$quarv simplify -o /dev/stdout | cat", redundant_script).out, simplified_script);
  // An open file is written where it stands, and not replaced.
  const std::string twice = "for i in 1 2; do $quarv simplify -o /dev/";
  EXPECT_EQ(run("mkdir two; cat > in; " + twice + "stdout < in; done > two/all; ls two; cat two/all",
                redundant_script)
                .out,
            "all\n" + simplified_script + simplified_script);
  EXPECT_EQ(run(twice + "fd/5 < in; done 5> two/all; ls two; cat two/all").out,
            "all\n" + simplified_script + simplified_script);
  EXPECT_EQ(run("mkfifo pipe; cat pipe & $quarv simplify -o pipe; wait", redundant_script).out,
            simplified_script);
}

// The sanitizer needs more addresses than such a limit leaves.
#ifndef __SANITIZE_ADDRESS__
TEST_F(Program, ReportsLackOfMemoryInOneLine) {
  std::string large = "(declare-const x Int)\n(assert (= x 1";
  large.append(std::size_t{30} << 20, '7');
  write("in.smt2", large + "))\n");
  write("out.smt2", "old\n");
  // Enough to start and to read the file, but not for the number that it holds.
  const Result r = run("ulimit -v 60000; $quarv simplify in.smt2 -o out.smt2");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "quarv: error: out of memory\n");
  EXPECT_EQ(read("out.smt2"), "old\n");
  EXPECT_EQ(num_files(), 2u);
}

// Each of the numerals, which are short, becomes a literal of its width, and the text would have 400 MB.
TEST_F(Program, PrintsNothingThatIsMuchTooLong) {
  constexpr int levels = 2000;
  constexpr int width = 1024;
  std::string text = "(declare-const x (_ BitVec 1024))\n(assert (= x ((_ extract 1023 0) ";
  for (int i = 0; i < levels; ++i) text += "(bvadd (concat x ";
  text += 'x';
  for (int i = 1; i <= levels; ++i) text += ") (_ bv1 " + std::to_string(width * (i + 1)) + "))";
  text += ")))\n";
  const Result r = run("ulimit -v 100000; $quarv simplify --canonical", text);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, text);
}
#endif

TEST_F(Program, LeavesNothingBehindWhenItIsKilled) {
  std::string large = "(declare-fun f (Bool Bool) Bool)\n(declare-const p Bool)\n";
  for (int i = 0; i < 30000; ++i) large += "(assert (f p (f p p)))\n";
  write("in.smt2", large);
  write("out.smt2", "old\n");
  run("for ms in 005 010 015 020 025 030 035 040 050 060; do\n"
      "  timeout -s TERM 0.$ms $quarv simplify in.smt2 -o out.smt2\ndone");
  EXPECT_EQ(num_files(), 2u);
}

TEST_F(Program, AnswersCommandsOneByOne) {
  const Result r = run("$quarv repl",
                       "(set-option :print-success true)\n"
                       "(declare-const p Bool)\n"
                       "(simplify (and p (not p)))\n"
                       "(echo \"a \"\"b\"\"\")(get-info :name)(get-model)\n"
                       "(set-option :print-success false)\n"
                       "(assert (or p true))(check-sat)(push 1)(assert p)(check-sat)\n"
                       "(assert false)(check-sat)(pop 1)(check-sat)(get-value (p))\n"
                       "(exit)(simplify true)\n");
  EXPECT_EQ(r.out,
            "success\nsuccess\nfalse\n\"a \"\"b\"\"\"\n(:name \"quarv\")\nunsupported\n"
            "sat\nunknown\nunsat\nsat\n"
            "(error \"there is no model: terms are simplified, models are not searched for\")\n");
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.status, 1);  // there was an error
}

TEST_F(Program, GoesOnAfterErrors) {
  const Result r = run("$quarv repl",
                       "(simplify\n (and true\n  nothing))\n"
                       "  (simplify \"a\nb\") ; (\n"
                       ") (simplify (or true false)) junk\n"
                       "(simplify (not | ( |))");
  std::istringstream lines(r.out);
  std::string line;
  for (const char* expected : {"(error \"line 3, column 3: unknown symbol nothing\")",
                               "(error \"line 4, column 13: ", "(error \"line 6, column 1: ", "true",
                               "(error \"line 6, column 30: ", "(error \"line 7, column 16: "}) {
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(line.substr(0, std::string(expected).size()), expected);
  }
  EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(Program, AnswersBeforeMoreIsSaid) {
  const Result r =
      run("coproc $quarv repl\n"
          "echo '(simplify (not true))' >&${COPROC[1]}; read -t 10 -u ${COPROC[0]} a\n"
          "echo -n '(simplify (not false))' >&${COPROC[1]}; read -t 10 -u ${COPROC[0]} b\n"
          "echo \"$a $b\"");
  EXPECT_EQ(r.out, "false true\n");
}

TEST_F(Program, TakesCommandsFromAFile) {
  write("in.smt2", "(simplify (=> true\n false))");
  const Result r = run("$quarv repl in.smt2");
  EXPECT_EQ(r.out, "false\n");
  EXPECT_EQ(r.status, 0);
}

TEST_F(Program, RejectsEveryMalformedFile) {
  const fs::path malformed = quarv::corpus_folder() / "malformed";
  std::ifstream expectations(malformed / "EXPECT.tsv");
  std::string line;
  std::getline(expectations, line);  // the head of the table
  std::size_t num_checked = 0;
  for (; std::getline(expectations, line); ++num_checked) {
    std::istringstream fields(line);
    std::string file, where, what;
    std::getline(std::getline(std::getline(fields, file, '\t'), where, '\t'), what);
    write("out.smt2", "old\n");
    const Result r = run("$quarv simplify '" + (malformed / file).string() + "' -o out.smt2");
    EXPECT_EQ(r.status, 1) << file;
    EXPECT_EQ(r.out, "") << file;
    EXPECT_EQ(read("out.smt2"), "old\n") << file;
    EXPECT_EQ(num_lines(r.err), 3u) << r.err;
    EXPECT_LT(r.err.find(": error: "), r.err.find('\n')) << r.err;
    EXPECT_TRUE(r.err.ends_with("^\n")) << r.err;
    // What is never closed may be noticed only at the end.
    const bool at_end = what.find("not terminated") != std::string::npos ||
                        what.find("missing closing") != std::string::npos ||
                        what.find("cut off") != std::string::npos;
    const std::string place = (malformed / file).string() + ':' + (at_end ? "" : where + ':');
    EXPECT_EQ(r.err.substr(0, place.size()), place) << what << ": " << r.err;
  }
  EXPECT_EQ(num_checked, 30u);
}

/// The lines that follow `head` in the text and begin with `indent`, without it.
std::string block_after(const std::string& text, const std::string& head, const std::string& indent) {
  std::istringstream lines(text.substr(text.find(head) + head.size()));
  std::string block;
  for (std::string line; std::getline(lines, line) && line.starts_with(indent);) {
    block += line.substr(indent.size()) + '\n';
  }
  return block;
}

TEST_F(Program, DoesWhatTheReadmeShows) {
  const std::string readme = contents(fs::path(QUARV_SOURCE_DIR) / "README.md");
  write("first.smt2", block_after(readme, "    $ cat first.smt2\n", "    "));
  const std::string shown = block_after(readme, "    $ quarv simplify first.smt2\n", "    ");
  EXPECT_NE(shown, "");
  EXPECT_EQ(run("$quarv simplify first.smt2").out, shown);

  const std::string answered = block_after(readme, "    quarv> (simplify (bvadd #xff #x02))\n", "    ");
  EXPECT_EQ(run("$quarv repl", "(simplify (bvadd #xff #x02))").out, answered);

  const std::string program = contents(fs::path(QUARV_SOURCE_DIR) / "tests" / "install" / "terms.cpp");
  EXPECT_NE(readme.find("```cpp\n" + program + "```\n"), std::string::npos);
}

}  // namespace
