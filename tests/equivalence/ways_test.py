#!/usr/bin/env python3
"""The comparisons of ways and of builds are checked: with programs of which some do wrong, that is found."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from check_equivalence import SKIPPED

HERE = Path(__file__).resolve().parent

# Understands the options that the comparisons use. What goes wrong is put in for {fault}.
PROGRAM = """#!{python} -IS
import os, sys
if sys.argv[1:3] == ["rules", "list"]:
    print("  1   bvnot  a\\n  2 ! =      b\\n! means something")
    sys.exit()
file, options = [(a, [b for b in sys.argv[2:] if b != a]) for a in sys.argv[2:] if a.endswith(".smt2")][0]
text = open(file).read()
if "--stats=json" in options:
    sys.stderr.write('{{"rules": {{"2": 1}}}}')
    sys.exit()
{fault}
sys.stdout.write(text)
"""
SCRIPT = "(declare-const p Bool)\n(declare-const q Bool)\n(assert (or p q))\n(assert q)\n"
OTHER_TEXT = 'text = text.replace("(or p q)", "(or q p q)") if "q p" not in text else text\n'


class WithPrograms(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        (self.folder / "in.smt2").write_text(SCRIPT)

    def program(self, name, fault=""):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(PROGRAM.format(python=sys.executable, fault=fault))
        path.chmod(0o755)
        return path

    def run_script(self, script, *arguments):
        command = [sys.executable, str(HERE / script), *map(str, arguments)]
        return subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


@unittest.skipUnless(shutil.which("z3"), "z3 is not installed")
class MetamorphicTest(WithPrograms):
    def metamorphic(self, fault):
        return self.run_script("metamorphic.py", "--program", self.program("quarv", fault), self.folder / "in.smt2", "-v")

    def test_programs_that_do_right(self):
        done = self.metamorphic("")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("1 files, up to 8 ways: 8 outputs, 1 different texts, 0 too large.", done.stdout)
        self.assertIn("2 terms: 2 as in the input, 0 as in another text; asked: 0,", done.stdout)

    def test_only_rules_that_are_applied_are_left_out(self):
        done = self.run_script("metamorphic.py", "--program", self.program("quarv"), self.folder / "in.smt2", "--only-fired")
        self.assertIn("1 files, up to 8 ways: 7 outputs,", done.stdout)

    def test_each_term_is_asked_for_once(self):
        done = self.metamorphic(OTHER_TEXT + 'if "2" in options: text += "; 2\\n"')
        self.assertEqual(done.returncode, 1, done.stdout)  # grows
        done = self.metamorphic(OTHER_TEXT + 'if "2" in options and "; 2" not in text: text += "; 2\\n"')
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("4 terms: 2 as in the input, 1 as in another text; asked: 1, 1 proved,", done.stdout)

    def test_what_one_way_changes_is_found(self):
        for option in ("--no-rules", "--no-simplifiers", "--library-semantics", "let", "none", "2"):
            with self.subTest(option=option):
                done = self.metamorphic(f'if "{option}" in options: text = text.replace("assert q", "assert p")')
                self.assertEqual(done.returncode, 1, done.stdout)
                self.assertIn(f"{option}: assertion 2\n", done.stdout)
                self.assertIn("REFUTED with ", done.stdout)

    def test_what_changes_again_is_found(self):
        done = self.metamorphic('if "let" in options: text = text.replace("(or ", "(or false ")')
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertIn("no fixed point with --share let:\n    first  (assert (or false p q))", done.stdout)

    def test_a_program_that_fails_is_found(self):
        done = self.metamorphic('if "--no-rules" in options: sys.exit("wrong")')
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertIn("exit status 1 with --no-rules: wrong", done.stdout)

    def test_a_text_without_end_is_left(self):
        done = self.metamorphic('while "none" in options: print("(assert p)" * 1000)')
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("7 outputs, 1 different texts, 1 too large.", done.stdout)
        done = self.metamorphic('if "none" in options: sys.exit("error: without sharing, the output would exceed 4 GiB")')
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("7 outputs, 1 different texts, 1 too large.", done.stdout)


class SameOutputTest(WithPrograms):
    def same_output(self, *arguments):
        return self.run_script("same_output.py", self.folder / "in.smt2", *arguments)

    def test_equal_programs(self):
        done = self.same_output("--program", self.program("a"), "--also", self.program("b"))
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("1 files, 2 programs", done.stdout)

    def test_builds_are_found_unless_they_are_old(self):
        first = self.program("one/bin/quarv")
        self.program("two/bin/quarv", 'text = "other"')
        old = self.program("three/bin/quarv", 'text = "other"')
        os.utime(old, (0, 0))
        done = self.same_output("--program", first, "--builds", self.folder)
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertIn(f"left out, since it is older than the sources: {old}\n", done.stdout)
        self.assertIn(f"{self.folder}/in.smt2: the script differs from {self.folder}/two/bin/quarv\n", done.stdout)
        self.assertIn("1 files, 2 programs", done.stdout)

    def test_other_texts_messages_and_orders(self):
        for fault, what in (('if not options: text += " "', "the script"), ('sys.stderr.write("!")', "the script"),
                            ('if "--trace" in options: text += " "', "the trace"),
                            ('if "--library-semantics" in options: sys.exit(1)', "the library's script")):
            with self.subTest(fault=fault):
                other = self.program("b", fault)
                done = self.same_output("--program", self.program("a"), "--also", other)
                self.assertEqual(done.returncode, 1, done.stdout)
                self.assertIn(f"in.smt2: {what} differs from {other}\n", done.stdout)

    def test_a_program_that_is_not_always_the_same(self):
        done = self.same_output("--program", self.program("a", "text = str(os.getpid())"))
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertIn("the script differs from run to run", done.stdout)

    def test_what_is_absent_is_said(self):
        done = self.run_script("same_output.py", self.folder / "nothing")
        self.assertEqual(done.returncode, SKIPPED)
        self.assertIn("skipped: no such file or folder", done.stdout)
        self.assertEqual(self.same_output("--program", self.folder / "nothing").returncode, 2)


if __name__ == "__main__":
    unittest.main()
