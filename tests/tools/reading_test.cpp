/// \file
/// What the program makes of the beginnings, the names and the faults of scripts, whichever command reads
/// them.
#include "program_fixture.h"

namespace {

TEST_F(Program, EveryCommandSkipsAByteOrderMark) {
  const std::string script = "\xEF\xBB\xBF(declare-const p Bool)\n(assert (and p p))\n(simplify p)\n";
  EXPECT_EQ(run("$quarv simplify", script).out, "(declare-const p Bool)\n(assert p)\n(simplify p)\n");
  EXPECT_EQ(run("$quarv explain -", script).status, 0);
  EXPECT_EQ(run("$quarv repl", script).out, "p\n");
  write("solver.sh", "while read -r line; do case $line in '(check-sat)') echo unsat ;; esac; done");
  EXPECT_EQ(run("$quarv certify --solver 'bash solver.sh'", script).err, "");
}

}  // namespace
