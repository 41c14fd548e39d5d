/// \file
/// `quarv simplify` on several files, and on files that are to stay simplified.
#include "program_fixture.h"

namespace {

class SimplifyFiles : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    write("long.smt2", redundant_script);
    write("short.smt2", simplified_script);
    write("faulty.smt2", "(assert q)\n");
  }
};

const std::string fault = "faulty.smt2:1:9: error: unknown symbol q\n  (assert q)\n          ^\n";

TEST_F(SimplifyFiles, PrintsOneAfterTheOther) {
  const Result r = run("$quarv simplify long.smt2 short.smt2 -", redundant_script);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, simplified_script + simplified_script + simplified_script);
  EXPECT_EQ(r.err, "");
}

TEST_F(SimplifyFiles, GoesOnBehindAFileWithAnError) {
  const Result r = run("$quarv simplify faulty.smt2 nowhere.smt2 long.smt2");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, simplified_script);
  EXPECT_EQ(r.err, fault + "quarv: error: cannot read nowhere.smt2: No such file or directory\n");
}

TEST_F(SimplifyFiles, SaysOnceWhatIsNoFilesFault) {
  write("bad.rules", "rewrite(\n");
  const Result rules = run("$quarv simplify --rules bad.rules long.smt2 short.smt2");
  EXPECT_EQ(rules.status, 1);
  EXPECT_EQ(rules.out, "");
  EXPECT_EQ(rules.err, run("$quarv simplify --rules bad.rules long.smt2").err);
  EXPECT_NE(rules.err.find("bad.rules:"), std::string::npos) << rules.err;
  const Result unknown = run("$quarv simplify --disable-rule no-such-rule long.smt2 short.smt2");
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(num_lines(unknown.err), 1u) << unknown.err;
  const Result full = run("$quarv simplify long.smt2 short.smt2 > /dev/full");
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(full.err, "quarv: error: cannot write standard output: No space left on device\n");
}

TEST_F(SimplifyFiles, CheckNamesWhatWouldChange) {
  const Result same = run("$quarv simplify --check short.smt2");
  EXPECT_EQ(same.status, 0);
  EXPECT_EQ(same.out + same.err, "");
  const Result changes = run("$quarv simplify --check long.smt2 short.smt2 - faulty.smt2", redundant_script);
  EXPECT_EQ(changes.status, 1);
  EXPECT_EQ(changes.out, "");
  EXPECT_EQ(changes.err,
            "long.smt2: simplification would change it\n<stdin>: simplification would change it\n" + fault);
  EXPECT_EQ(run("$quarv simplify --check", simplified_script).status, 0);
  EXPECT_EQ(run("$quarv simplify --check short.smt2 faulty.smt2").status, 1);
  EXPECT_EQ(read("long.smt2"), redundant_script);
}

TEST_F(SimplifyFiles, CheckAgreesWithWhatIsPrinted) {
  for (const char* how : {"", " --canonical", " --no-rules", " --share none"}) {
    for (const char* file : {"long.smt2", "short.smt2"}) {
      const std::string with_options = std::string("$quarv simplify ") + file + how;
      const bool same = run(with_options).out == read(file);
      EXPECT_EQ(run(with_options + " --check").status, same ? 0 : 1) << with_options;
      run(with_options + " -o out.smt2");
      EXPECT_EQ(run(std::string("$quarv simplify --check out.smt2") + how).status, 0) << with_options;
    }
  }
}

TEST_F(SimplifyFiles, InPlaceReplacesWhatChanges) {
  const Result r =
      run("chmod 640 long.smt2; touch -d 2001-01-01 short.smt2; ln -s long.smt2 link\n"
          "$quarv simplify -i faulty.smt2 nowhere.smt2 link short.smt2");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, fault + "quarv: error: cannot read nowhere.smt2: No such file or directory\n");
  EXPECT_EQ(read("long.smt2"), simplified_script);
  EXPECT_TRUE(fs::is_symlink(path("link")));
  EXPECT_EQ(read("faulty.smt2"), "(assert q)\n");
  EXPECT_EQ(run("stat -c %a long.smt2; date -r short.smt2 +%Y").out, "640\n2001\n");
  EXPECT_EQ(num_files(), 4u);
  EXPECT_EQ(run("$quarv simplify --in-place long.smt2 short.smt2").status, 0);
}

TEST_F(SimplifyFiles, InPlaceKeepsCompression) {
  for (const auto& [tool, suffix] :
       {std::pair("gzip", ".gz"), std::pair("xz", ".xz"), std::pair("zstd -q", ".zst")}) {
    const std::string file = std::string("long.smt2") + suffix;
    const std::string pack = std::string(tool) + " -c long.smt2 > ";
    EXPECT_EQ(run(pack + file + "; $quarv simplify -i " + file).status, 0);
    EXPECT_EQ(run(std::string(tool) + " -dc < " + file).out, simplified_script) << tool;
    const Result hidden = run(pack + "packed; cp packed old; $quarv simplify -i packed; cmp packed old");
    EXPECT_EQ(hidden.err,
              "quarv: error: cannot replace packed: it is compressed, but its name does not say how\n");
    EXPECT_EQ(hidden.out, "");
    EXPECT_EQ(run("$quarv simplify -i packed").status, 1);
  }
}

TEST_F(SimplifyFiles, InPlaceNeedsAFile) {
  EXPECT_EQ(run("$quarv simplify -i .").err, "quarv: error: cannot replace .: it is not a regular file\n");
  EXPECT_EQ(run("mkfifo pipe; $quarv simplify -i pipe").err,
            "quarv: error: cannot replace pipe: it is not a regular file\n");
  for (const char* arguments :
       {"-i", "-i -", "-i long.smt2 -", "-i long.smt2 --check", "-i long.smt2 -o out"}) {
    EXPECT_EQ(run(std::string("$quarv simplify ") + arguments, redundant_script).status, 2) << arguments;
  }
  EXPECT_EQ(read("long.smt2"), redundant_script);
}

TEST_F(SimplifyFiles, DiffShowsWhatChanges) {
  const std::string diff =
      "--- long.smt2\n+++ long.smt2\n@@ -1,3 +1,3 @@\n (declare-const p Bool)\n-(assert (and p true p))\n"
      "+(assert p)\n (check-sat)\n";
  const Result r = run("$quarv simplify --diff short.smt2 long.smt2");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, diff);
  EXPECT_EQ(r.err, "");
  const Result check = run("$quarv simplify --diff --check short.smt2 long.smt2");
  EXPECT_EQ(check.status, 1);
  EXPECT_EQ(check.out, diff);
  EXPECT_EQ(check.err, "long.smt2: simplification would change it\n");
  EXPECT_EQ(run("$quarv simplify --diff --color always long.smt2").out,
            "\033[1m--- long.smt2\033[0m\n\033[1m+++ long.smt2\033[0m\n\033[36m@@ -1,3 +1,3 @@\033[0m\n"
            " (declare-const p Bool)\n\033[31m-(assert (and p true p))\033[0m\n\033[32m+(assert p)\033[0m\n"
            " (check-sat)\n");
  EXPECT_EQ(run("$quarv simplify --diff -i long.smt2").status, 2);
}

TEST_F(SimplifyFiles, DiffTellsOfAMissingNewline) {
  EXPECT_EQ(run("$quarv simplify --diff", "(assert (and true\n true))").out,
            "--- <stdin>\n+++ <stdin>\n@@ -1,2 +1 @@\n-(assert (and true\n- true))\n"
            "\\ No newline at end of file\n+(assert true)\n");
}

/// Levels that look alike, with what changes, stays, is added and goes in between.
std::string levels(int seed, int number) {
  std::string text = "(declare-const p Bool)\n(declare-const q Bool)\n(declare-fun f (Bool Bool) Bool)\n";
  for (int i = 0; i < number; ++i) {
    seed = (seed * 7 + 5) % 101;
    text += "(push 1)\n";
    if (seed % 2 == 0) text += "(assert (and (f p q)\n  (f p q)))\n; why\n";
    if (seed % 3 == 0) text += "(assert p)\n";
    if (seed % 5 == 0) text += "(assert (or q true))\n(assert (or p q p))\n";
    text += "(check-sat)\n(pop 1)\n";
  }
  return text;
}

TEST_F(SimplifyFiles, DiffIsWhatPatchNeeds) {
  for (const char* how : {"", " --canonical"}) {
    for (int number : {1, 3, 20, 200}) {
      write("in.smt2", levels(number, number));
      const Result r = run(std::string("$quarv simplify in.smt2 -o out.smt2") + how +
                           "; $quarv simplify --diff in.smt2" + how + " > diff; patch -s in.smt2 diff");
      EXPECT_EQ(r.status, 0) << r.out << r.err;
      EXPECT_EQ(read("in.smt2"), read("out.smt2"));
      // Only what has changed is shown, though most lines occur often.
      EXPECT_EQ(run("grep -c '^[-+](push' diff").out, "0\n") << how << number;
    }
  }
}

TEST_F(SimplifyFiles, RefusesWhatIsForASingleScript) {
  for (const char* arguments : {"long.smt2 short.smt2 -o out", "long.smt2 short.smt2 --trace steps",
                                "long.smt2 short.smt2 --stats", "--check long.smt2 -o out"}) {
    const Result r = run(std::string("$quarv simplify ") + arguments);
    EXPECT_EQ(r.status, 2) << arguments;
    EXPECT_NE(r.err.find("it is for a single script that is printed"), std::string::npos) << r.err;
    EXPECT_EQ(num_lines(r.err), 1u);
  }
  EXPECT_EQ(num_files(), 3u);
}

TEST_F(SimplifyFiles, PassesThroughWhatIsNotUnderstoodOnlyWhenAsked) {
  const std::string strings = "(declare-const s String)\n";
  const std::string sum =
      "(declare-const p Bool)\n(assert (and p true (= (str.len s)\n  1)))\n(assert (and p p))\n";
  const std::string text = strings + sum;
  write("strings.smt2", text);
  const std::string refused =
      "strings.smt2:1:18: error: sorts String are not supported (--lenient prints it as it is)\n  "
      "(declare-const s String)\n"
      "                   ^\n";
  for (const char* how : {"", "--check ", "-i "}) {
    const Result r = run(std::string("$quarv simplify ") + how + "strings.smt2");
    EXPECT_EQ(r.err, refused) << how;
    EXPECT_EQ(r.status, 1);
  }
  const Result r = run("$quarv simplify --lenient --stats strings.smt2");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, text.substr(0, text.size() - 19) + "(assert p)\n");
  EXPECT_NE(r.err.find("passed through                     2\n"), std::string::npos) << r.err;
  EXPECT_NE(run("$quarv batch strings.smt2 2> /dev/null").out.find("--lenient"), std::string::npos);
  EXPECT_EQ(run("$quarv batch --lenient strings.smt2 --out small").status, 0);
  EXPECT_EQ(read("small/strings.smt2"), r.out);
}

TEST_F(SimplifyFiles, LeavesWhatItDoesNotChange) {
  const std::string text =
      "; a comment\n(declare-const\n  p Bool)\n\n(assert (or p ; or not\n  (not\tp) p))\n(check-sat)\n";
  write("in.smt2", text);
  const Result r = run("$quarv simplify in.smt2");
  EXPECT_EQ(r.out, "; a comment\n(declare-const\n  p Bool)\n\n(assert\n  ; or not\n  true)\n(check-sat)\n");
  EXPECT_EQ(run("$quarv simplify --check -", r.out).status, 0);
  EXPECT_EQ(run("$quarv simplify --width 0 in.smt2").out,
            "(declare-const p Bool)\n(assert true)\n(check-sat)\n");
  EXPECT_EQ(run("$quarv simplify --canonical in.smt2").out, run("$quarv simplify --width 0 in.smt2").out);
  EXPECT_EQ(run("$quarv simplify --canonical --width 9 in.smt2").out,
            "; a comment\n(declare-const\n  p Bool)\n\n(assert\n  ; or not\n  true)\n(check-sat)\n");
}

}  // namespace
