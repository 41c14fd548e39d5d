/// \file
/// The program when the system fails it: no memory, no disk, no reader, files that change, signals. What is
/// wrong is said in one line, the exit status is 1, and the output file is the old one or the new one, never
/// a part.
#include <csignal>

#include "program_fixture.h"
#include "support/test_scale.h"

namespace {

const std::string declarations =
    "(declare-fun f (Int) Int)(declare-const x Int)(declare-const v (_ BitVec 70))\n";

std::string many_assertions(int count) {
  std::string text = declarations;
  for (int i = 0; i < count; ++i) {
    const std::string n = std::to_string(i);
    text += "(assert (< (f (+ x " + n + ")) (* " + n + " (bv2nat (bvadd v (_ bv" + n + " 70))))))\n";
  }
  return text;
}

class Fault : public Program {
 protected:
  /// Simplifies in.smt2 to out.smt2 once for each line that `loop` (the head of a shell loop, without "do")
  /// makes, in the surroundings that `prefix` sets up, which answer 77 where there is nothing to see. What is
  /// not as it should be is printed.
  Result run_all(const std::string& loop, const std::string& prefix, const std::string& message) {
    return run("$quarv simplify in.smt2 -o expected.smt2 || exit 3\n" + loop +
               "; do\n"
               "  echo old > out.smt2\n  echo old > old.smt2\n"
               "  ( " +
               prefix +
               " $quarv simplify in.smt2 -o out.smt2 ) > said 2>&1; status=$?\n"
               "  if [ $status = 0 ]; then cmp out.smt2 expected.smt2 || echo \"$n: another result\"\n"
               "  elif [ $status = 77 ]; then :\n"
               "  elif [ $status != 1 ]; then echo \"$n: status $status: $(cat said)\"\n"
               "  elif [ \"$(cat said)\" != '" +
               message +
               "' ]; then echo \"$n: $(cat said)\"\n"
               "  elif ! cmp -s out.smt2 old.smt2; then echo \"$n: the file was written\"\n"
               "  else failures=$((failures + 1)); fi\n"
               "done 2> /dev/null\necho \"$failures\" > faults\n");
  }
  int num_faults() const { return std::atoi(read("faults").c_str()); }
};

// The sanitizer needs more addresses than such a limit leaves, and insists on being loaded first.
#ifndef __SANITIZE_ADDRESS__

TEST_F(Fault, MemoryOfEverySize) {
  write("in.smt2", many_assertions(10000));
  // Below some size the program cannot even be loaded.
  const Result r =
      run_all("for n in $(seq 15000 250 22000) $(seq 23000 3000 60000)",
              "ulimit -v $n; $quarv --version > loaded 2>&1 || exit 77; ", "quarv: error: out of memory");
  EXPECT_EQ(r.out, "");
  EXPECT_GT(num_faults(), 5);
}

TEST_F(Fault, AnyAllocation) {
  write("in.smt2",
        many_assertions(3) + "(assert (= x 123456789012345678901234567890))(push 1)(get-value (x))\n");
  ASSERT_EQ(run("COUNT_FILE=count LD_PRELOAD=" QUARV_FAULT_INJECTION " $quarv simplify in.smt2").status, 0);
  const int count = std::stoi(read("count"));
  ASSERT_GT(count, 1000);
  const std::string numbers = std::to_string(std::max(1, count / 60)) + ' ' + std::to_string(count);
  // The first allocation is the language's reserve for exceptions: without it none can be thrown in need.
  for (const char* extent : {"", "FAIL_ALL=1 "}) {
    const Result r = run_all("for n in $(seq 2 20) $(seq 21 " + numbers + ")",
                             std::string(extent) + "FAIL_ALLOCATION=$n LD_PRELOAD=" QUARV_FAULT_INJECTION,
                             "quarv: error: out of memory");
    EXPECT_EQ(r.out, "") << extent;
    EXPECT_GT(num_faults(), 30) << extent;
  }
}

TEST_F(Fault, FilesThatChangeWhileTheyAreRead) {
  write("in.smt2", many_assertions(10));
  write("out.smt2", "old\n");
  const Result r =
      run("CHANGE_FILE=in.smt2 LD_PRELOAD=" QUARV_FAULT_INJECTION " $quarv simplify in.smt2 -o out.smt2");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "quarv: error: cannot read in.smt2: it changed while being read\n");
  EXPECT_EQ(read("out.smt2"), "old\n");
}

TEST_F(Fault, InterruptedTransfers) {
  write("in.smt2", many_assertions(20));
  const std::string expected = run("$quarv simplify in.smt2").out;
  const std::string slow = "SHORT_TRANSFERS=1 LD_PRELOAD=" QUARV_FAULT_INJECTION " $quarv simplify ";
  EXPECT_EQ(run(slow + "in.smt2").out, expected);
  EXPECT_EQ(run("cat in.smt2 | " + slow).out, expected);
  EXPECT_EQ(run(slow + "in.smt2 -o out.smt2").status, 0);
  EXPECT_EQ(read("out.smt2"), expected);
}

TEST_F(Fault, DisksThatFail) {
  write("in.smt2", many_assertions(20));
  for (const char* call : {"write", "fsync", "rename", "close"}) {
    write("out.smt2", "old\n");
    const std::string failing = "FAIL_CALL=" + std::string(call) + " LD_PRELOAD=" QUARV_FAULT_INJECTION;
    const Result r = run(failing + " $quarv simplify in.smt2 -o out.smt2");
    EXPECT_EQ(r.status, 1) << call;
    EXPECT_EQ(r.err, "quarv: error: cannot write out.smt2: Input/output error\n") << call;
    EXPECT_EQ(read("out.smt2"), "old\n") << call;
    EXPECT_EQ(num_files(), 2u) << call;
  }
}

#endif

TEST_F(Fault, FullDisk) {
  write("in.smt2", many_assertions(5000));
  // A file system of its own takes rights that not every machine gives.
  const std::string mount = "mkdir disk; mount -t tmpfs -o size=64k none disk";
  if (run("unshare -rm sh -c '" + mount + "'").status != 0) GTEST_SKIP() << "no file system can be mounted";
  const Result r =
      run("rmdir disk; export quarv; unshare -rm sh -c '" + mount +
          "; echo old > disk/out; $quarv simplify in.smt2 -o disk/out; echo $?; cat disk/out; ls -A disk'");
  EXPECT_EQ(r.out, "1\nold\nout\n");
  EXPECT_EQ(r.err, "quarv: error: cannot write disk/out: No space left on device\n");
}

TEST_F(Fault, ReadersThatLeave) {
  write("in.smt2", many_assertions(5000));
  // Whoever runs the tests may have left the signal ignored.
  const Result r =
      run("env --default-signal=PIPE $quarv simplify in.smt2 | head -c 1000 > start; exit ${PIPESTATUS[0]}");
  EXPECT_EQ(r.status, 128 + SIGPIPE);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(read("start").size(), 1000u);
}

TEST_F(Fault, FilesThatCannotBeRead) {
  const Result r = run("$quarv simplify /proc/self/mem");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "quarv: error: cannot read /proc/self/mem: Input/output error\n");
}

TEST_F(Fault, FilesThatAreWrittenWhileTheyAreRead) {
  write("whole.smt2", many_assertions(2000));
  // Each outcome is possible: the old text, a part of it with an error and its line, a change that was
  // noticed.
  const Result r = run(
      "cp whole.smt2 in.smt2\n"
      "(while [ ! -e stop ]; do : > in.smt2; cat whole.smt2 > in.smt2; done) & writer=$!\n"
      "for n in $(seq " +
      std::to_string(quarv::num_cases(20)) +
      "); do\n"
      "  $quarv simplify in.smt2 > out 2> said; status=$?\n"
      "  [ $status -le 1 ] && [ $(grep -c error: said) = $status ] || { echo \"$n: $status\"; cat said; }\n"
      "done\ntouch stop; wait $writer");
  EXPECT_EQ(r.out, "");
}

TEST_F(Fault, KilledProcesses) {
  write("in.smt2", many_assertions(3000));
  const Result r =
      run("$quarv simplify in.smt2 -o expected.smt2; echo old > old.smt2; cp old.smt2 out.smt2\n"
          "for ms in 001 003 006 010 015 020 025 030 040 050 070 100; do\n"
          "  timeout -s KILL 0.$ms $quarv simplify in.smt2 -o out.smt2\n"
          "  cmp -s out.smt2 old.smt2 || cmp -s out.smt2 expected.smt2 || echo \"$ms: half-written\"\n"
          "done 2> /dev/null");
  EXPECT_EQ(r.out, "");
}

}  // namespace
