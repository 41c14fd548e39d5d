/// \file
/// What `quarv batch` makes of folders with everything in them, of archives made to fool it, and of places
/// where its output must not go.
#include <map>

#include <nlohmann/json.hpp>

#include "program_fixture.h"
#include "support/test_scale.h"

namespace {

using Json = nlohmann::json;

class BatchInputs : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    write("a.smt2", redundant_script);
  }

  /// The rows of results: each file's message, or "ok".
  std::map<std::string, std::string> rows(const std::string& text) const {
    std::map<std::string, std::string> rows;
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
      const Json row = Json::parse(line);
      const std::string status = row["status"];
      rows[row["file"]] = status == "ok" ? status : status + ": " + row.value("message", "");
    }
    return rows;
  }

  void expect_refusal(const std::string& arguments, const std::string& reason) const {
    const Result r = run("$quarv batch " + arguments);
    EXPECT_EQ(r.status, 2) << arguments;
    EXPECT_EQ(r.err, "quarv: " + reason + "\n") << arguments;
    EXPECT_EQ(read("a.smt2"), redundant_script) << arguments;
  }
};

using Rows = std::map<std::string, std::string>;

TEST_F(BatchInputs, AreNotWhatIsNoFile) {
  // To open a pipe is to wait for its writer; the first process would wait with its signals held.
  run("mkdir in; cp a.smt2 in; mkfifo in/pipe.smt2 in/pipe.tar; ln -s /dev/zero in/zero.smt2; ln -s . "
      "in/loop; "
      "ln -s self.smt2 in/self.smt2");
  const Result r = run("timeout 20 $quarv batch --time 10 in 2> said");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(rows(r.out),
            (Rows{{"in/a.smt2", "ok"},
                  {"in/pipe.smt2", "unreadable: cannot read in/pipe.smt2: it is not a regular file"},
                  {"in/pipe.tar", "unreadable: cannot read in/pipe.tar: it is not a regular file"},
                  {"in/self.smt2", "unreadable: cannot read in/self.smt2: Too many levels of symbolic links"},
                  {"in/zero.smt2", "unreadable: cannot read in/zero.smt2: it is not a regular file"}}));
  EXPECT_EQ(run("timeout 20 $quarv batch in/pipe.tar 2> said").status, 1);
  // A pipe that the user names is read.
  const Result named = run("$quarv batch --out out <(cat a.smt2) 2> said; cat out/dev/fd/*");
  EXPECT_EQ(named.out, simplified_script);
}

TEST_F(BatchInputs, AreMissedWherePathsHaveNone) {
  run("mkdir -p empty/deep other; touch empty/deep/notes; cp a.smt2 other; tar cf none.tar empty");
  const std::string endings = ": names end in .smt2, .gz, .xz, .zst";
  const Result r = run("$quarv batch empty none.tar nowhere other 2> said");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(rows(r.out), (Rows{{"empty", "unreadable: no script in empty" + endings},
                               {"none.tar", "unreadable: no script in none.tar" + endings},
                               {"nowhere", "unreadable: cannot read nowhere: No such file or directory"},
                               {"other/a.smt2", "ok"}}));
  const Result alone = run("$quarv batch empty");
  EXPECT_EQ(alone.status, 1);
  EXPECT_NE(alone.err.find("unreadable: no script in empty"), std::string::npos) << alone.err;
  EXPECT_EQ(rows(run("$quarv batch --out other other 2> said; cat other/results.jsonl").out),
            (Rows{{"other", "unreadable: other is where output goes"}}));
  EXPECT_EQ(run("$quarv batch a.smt2 ./a.smt2 other/../a.smt2 2> said").status, 0);
}

TEST_F(BatchInputs, InArchivesAreNotLostWhenTheirPathsCollapse) {
  run("mkdir in; cp a.smt2 in; cd in; echo '(assert false)' > ../b; tar cPf ../up.tar a.smt2 ../a.smt2; "
      "tar cPf ../root.tar a.smt2 --transform 's,^/.*/,/,' \"${PWD%/*}/a.smt2\"; "
      "tar cf ../dot.tar ./a.smt2; cp ../b a.smt2; tar rf ../dot.tar a.smt2");
  expect_refusal("up.tar", "a.smt2 and ../a.smt2 in up.tar would have the same output");
  expect_refusal("root.tar", "a.smt2 and /a.smt2 in root.tar would have the same output");
  // That one is the same file, of which the last version counts.
  EXPECT_EQ(run("$quarv batch dot.tar --out out 2> said; cat out/dot.tar/a.smt2").out, "(assert false)\n");
}

TEST_F(BatchInputs, HaveNamesOfAnyBytes) {
  // The names end in a byte that is no UTF-8, and differ in nothing else.
  run("mkdir in; cp a.smt2 $'in/x\\xfe.smt2'; cp a.smt2 $'in/x\\xff.smt2'; cp a.smt2 $'in/two\\nlines.smt2'; "
      "cp a.smt2 'in/a b.smt2'; echo '(assert q)' > $'in/bad\\nname.smt2'; tar cf in.tar in; "
      "tar --format=pax -cf pax.tar in");
  const Result r = run("$quarv batch in --out out; cat out/results.jsonl");
  const Rows expected = {{"in/a b.smt2", "ok"},
                         {"in/bad\nname.smt2", "rejected: in/bad\nname.smt2:1:9: error: unknown symbol q"},
                         {"in/two\nlines.smt2", "ok"},
                         {"in/x\\xfe.smt2", "ok"},
                         {"in/x\\xff.smt2", "ok"}};
  EXPECT_EQ(rows(r.out), expected);
  EXPECT_NE(r.err.find("rejected: in/bad\\nname.smt2:1:9: error: unknown symbol q\n"), std::string::npos)
      << r.err;
  EXPECT_EQ(run("cat $'out/in/x\\xfe.smt2' $'out/in/x\\xff.smt2'").out,
            simplified_script + simplified_script);
  // Results that are read again are those of the same files.
  const std::string before = read("out/results.jsonl");
  EXPECT_EQ(run("$quarv batch in --out out --resume").status, 1);
  std::istringstream lines(before);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("rejected") == std::string::npos) {
      EXPECT_NE(read("out/results.jsonl").find(line), std::string::npos) << line;
    }
  }
  for (const char* archive : {"in.tar", "pax.tar"}) {
    EXPECT_EQ(rows(run("$quarv batch " + std::string(archive) + " 2> said").out).size(), 5u) << archive;
  }
  run("cp a.smt2 'in/x\\xff.smt2'");
  expect_refusal("in", "two files would be called in/x\\xff.smt2 in the results");
}

TEST_F(BatchInputs, AreNotReplaced) {
  run("gzip < a.smt2 > b.smt2.gz; mkdir sub; cp a.smt2 sub; tar cf t.tar a.smt2; ln -s a.smt2 link; "
      "mkdir -p in/sub; cp a.smt2 in/sub; gzip < a.smt2 > results.jsonl.gz");
  expect_refusal("a.smt2 --results a.smt2", "a.smt2 would be replaced by the results");
  expect_refusal("a.smt2 --results link", "a.smt2 would be replaced by the results");
  expect_refusal("t.tar --results t.tar", "t.tar would be replaced by the results");
  expect_refusal("a.smt2 --out .", "a.smt2 would be replaced by its own output");
  expect_refusal("b.smt2.gz --out . --compress gz", "b.smt2.gz would be replaced by its own output");
  expect_refusal("--out in sub/a.smt2 in/sub/a.smt2",
                 "in/sub/a.smt2 would be replaced by the output of sub/a.smt2");
  expect_refusal("results.jsonl.gz --out out",
                 "the output of results.jsonl.gz and the results would be the same file");
  EXPECT_FALSE(fs::exists(path("out")));
}

TEST_F(BatchInputs, ResultsGoToDevicesAndPipes) {
  const Result null = run("$quarv batch a.smt2 --results /dev/null");
  EXPECT_EQ(null.status, 0) << null.err;
  EXPECT_EQ(null.err.find("files "), 0u) << null.err;
  EXPECT_EQ(rows(run("mkfifo pipe; cat pipe & $quarv batch a.smt2 --results pipe; wait").out),
            (Rows{{"a.smt2", "ok"}}));
  EXPECT_EQ(rows(run("$quarv batch a.smt2 --results /dev/stdout").out), (Rows{{"a.smt2", "ok"}}));
  const Result full = run("$quarv batch a.smt2 --results /dev/full");
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(full.err, "quarv: error: cannot write /dev/full: No space left on device\n");
  EXPECT_EQ(run("$quarv batch a.smt2 --results .").err, "quarv: error: cannot write .: Is a directory\n");
  expect_refusal("a.smt2 --resume --results /dev/null",
                 "--resume: needs results in a regular file: /dev/null is not one (see quarv batch --help)");
  EXPECT_EQ(run("$quarv batch a.smt2 --out a.smt2").err,
            "quarv: error: cannot create a.smt2: Not a directory\n");
  EXPECT_EQ(run("$quarv batch a.smt2 --results no/where").err,
            "quarv: error: cannot write no/where: No such file or directory\n");
}

TEST_F(BatchInputs, LeaveNothingHalfWrittenWhenTheRestIsGivenUp) {
  std::string large = "(declare-fun f (Bool Bool) Bool)\n(declare-const p Bool)\n";
  for (int i = 0; i < quarv::num_cases(30000); ++i) large += "(assert (f p (f p p)))\n";
  write("in.smt2", large);
  // Signals often come in pairs; a further one must not end the program before the file is removed.
  for (int i = 0; i < 5; ++i) {
    const Result r =
        run("shopt -s dotglob nullglob; rm -rf out\n$quarv batch in.smt2 --out out 2> said & program=$!\n"
            "until files=(out/*.new); [ ${#files[@]} -gt 0 ] || ! kill -0 $program; do :; done\n"
            "for n in {1..200}; do kill -TERM $program || break; done 2> said; wait $program; find out -name "
            "'*.new'");
    EXPECT_EQ(r.out, "");
  }
}

}  // namespace
