/// \file
/// Compressed files, which every command reads, and writes where the output's name says so.
#include "program_fixture.h"

namespace {

struct Kind {
  const char* suffix;
  const char* tool;
};
constexpr Kind kinds[] = {{".gz", "gzip"}, {".xz", "xz"}, {".zst", "zstd"}};

class Compressed : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    write("in.smt2", redundant_script);
  }
};

TEST_F(Compressed, IsReadFromFilesAndStreams) {
  for (const auto& [suffix, tool] : kinds) {
    const std::string file = std::string("in.smt2") + suffix;
    ASSERT_EQ(run(std::string(tool) + " -c < in.smt2 > " + file).status, 0);
    EXPECT_EQ(run("$quarv simplify " + file).out, simplified_script) << tool;
    EXPECT_EQ(run("$quarv simplify < " + file).out, simplified_script) << tool;
    EXPECT_EQ(run("cat " + file + " | $quarv simplify -").out, simplified_script) << tool;
    // The first bytes tell, if the name does not.
    EXPECT_EQ(run("cp " + file + " plain; $quarv simplify plain").out, simplified_script) << tool;
    EXPECT_EQ(run("$quarv simplify <(cat " + file + ")").out, simplified_script) << tool;
    EXPECT_EQ(run("$quarv explain plain").out, run("$quarv explain in.smt2").out) << tool;
    EXPECT_EQ(run("$quarv batch plain 2>&1 | sed -n 's/.*\"digest\":\"\\([^\"]*\\).*/\\1/p'").out,
              run("sha256sum in.smt2").out.substr(0, 64) + "\n");
  }
}

TEST_F(Compressed, IsReadByEveryCommand) {
  run("$quarv simplify in.smt2 -o out --trace steps; gzip steps; gzip in.smt2");
  EXPECT_EQ(run("$quarv replay steps.gz").status, 0);
  EXPECT_EQ(run("$quarv replay - < steps.gz").status, 0);
  EXPECT_EQ(run("$quarv report in.smt2.gz | grep -c '<title>'").out, "1\n");
  EXPECT_EQ(run("$quarv certify -q in.smt2.gz").status, 0);
  write("commands", "(simplify (and true\n  false))");
  EXPECT_EQ(run("xz commands; $quarv repl commands.xz").out, "false\n");
  EXPECT_EQ(run("$quarv repl < commands.xz").out, "false\n");
  write("my.rules", "rewrite(bvor(t1, bvand(t2, t1_0)), identity(t1, t1_0)) >> t1\n");
  EXPECT_EQ(run("zstd -q my.rules; $quarv simplify --rules my.rules.zst in.smt2.gz").out, simplified_script);
  write("faulty.smt2", "(assert\n  p)\n");
  EXPECT_EQ(run("gzip faulty.smt2; $quarv simplify faulty.smt2.gz").err,
            "faulty.smt2.gz:2:3: error: unknown symbol p\n    p)\n    ^\n");
}

TEST_F(Compressed, IsReportedWhenDamaged) {
  write("plain.smt2.gz", redundant_script);
  EXPECT_EQ(run("$quarv simplify plain.smt2.gz").err,
            "quarv: error: cannot read plain.smt2.gz: it is not compressed as its name says\n");
  EXPECT_EQ(run("$quarv repl plain.smt2.gz").status, 1);
  write("empty.xz", "");
  EXPECT_EQ(run("$quarv simplify empty.xz").status, 1);
  EXPECT_EQ(run("$quarv repl empty.xz").status, 1);
  for (const auto& [suffix, tool] : kinds) {
    for (const char* command : {"simplify", "repl"}) {
      const Result r = run("yes '(assert true)' | head -1000 | " + std::string(tool) + " | head -c 25 > cut" +
                           suffix + "; $quarv " + command + " cut" + suffix);
      EXPECT_EQ(r.status, 1) << tool << command;
      EXPECT_EQ(r.out, "") << tool << command;
      EXPECT_EQ(r.err.find("quarv: error: cannot read cut" + std::string(suffix) + ": "), 0u) << r.err;
      EXPECT_EQ(num_lines(r.err), 1u) << r.err;
    }
  }
}

/// A few kilobytes from which more comes than should be kept in memory.
TEST_F(Compressed, IsNotReadWhereTooMuchWouldComeOfIt) {
  write("limited.smt2", redundant_script + std::string(2000, '\n'));
  run("$quarv simplify in.smt2 -o out --trace steps; gzip steps; gzip limited.smt2");
  const std::string limit = "export QUARV_DECOMPRESSED_LIMIT=1KiB; ";
  const std::string reason =
      "it decompresses to more than 1024 bytes, which QUARV_DECOMPRESSED_LIMIT can raise\n";
  for (const char* command : {"simplify", "certify", "explain", "report", "repl", "replay"}) {
    const Result r = run(limit + "$quarv " + command + " limited.smt2.gz");
    EXPECT_EQ(r.status, 1) << command;
    EXPECT_EQ(r.out, "") << command;
    EXPECT_EQ(r.err, "quarv: error: cannot read limited.smt2.gz: " + reason) << command;
  }
  EXPECT_EQ(run(limit + "$quarv simplify --rules limited.smt2.gz in.smt2").err,
            "quarv: error: cannot read limited.smt2.gz: " + reason);
  EXPECT_EQ(run(limit + "$quarv simplify < limited.smt2.gz").err,
            "quarv: error: cannot read <stdin>: " + reason);
  EXPECT_EQ(run("QUARV_DECOMPRESSED_LIMIT=0 $quarv simplify limited.smt2.gz").status, 0);
  EXPECT_EQ(run("QUARV_DECOMPRESSED_LIMIT=2100 $quarv simplify limited.smt2.gz").status, 0);
  EXPECT_EQ(run("QUARV_DECOMPRESSED_LIMIT=much $quarv simplify limited.smt2.gz").err,
            "quarv: error: QUARV_DECOMPRESSED_LIMIT: much is not a number of bytes\n");
  // What is not compressed has no such limit.
  EXPECT_EQ(run(limit + "gzip -d limited.smt2.gz; $quarv simplify limited.smt2").status, 0);
}

TEST_F(Compressed, HasALimitByDefault) {
  const Result r = run("head -c 300M /dev/zero | zstd -q -o zeros.zst; $quarv simplify zeros.zst");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err,
            "quarv: error: cannot read zeros.zst: it decompresses to more than 256 MiB, which "
            "QUARV_DECOMPRESSED_LIMIT can raise\n");
}

TEST_F(Compressed, MembersOfArchivesThatAreTooLargeLeaveTheOthers) {
  write("large.smt2", redundant_script + std::string(2000, '\n'));
  const Result r = run(
      "tar czf all.tgz large.smt2 in.smt2; QUARV_DECOMPRESSED_LIMIT=1KiB $quarv batch all.tgz --out done; "
      "cat done/results.jsonl");
  EXPECT_TRUE(has(r.out, "cannot read all.tgz/large.smt2: it decompresses to more than 1024 bytes")) << r.out;
  EXPECT_EQ(read("done/all.tgz/in.smt2"), simplified_script);
}

TEST_F(Compressed, IsWrittenWhereTheNameSaysSo) {
  for (const auto& [suffix, tool] : kinds) {
    const std::string file = std::string("out.smt2") + suffix;
    EXPECT_EQ(run("$quarv simplify in.smt2 -o " + file + " --trace steps" + suffix).status, 0) << tool;
    EXPECT_EQ(run(std::string(tool) + " -dc < " + file).out, simplified_script) << tool;
    EXPECT_EQ(run("$quarv simplify " + file + " -o " + file + " && $quarv simplify " + file).out,
              simplified_script)
        << tool;
    EXPECT_EQ(run("$quarv replay steps" + std::string(suffix)).status, 0) << tool;
  }
  // Rows are added one by one, so that they outlive the program.
  EXPECT_EQ(run("$quarv batch in.smt2 --results rows.gz").status, 2);
  EXPECT_FALSE(fs::exists(path("rows.gz")));
}

}  // namespace
