#!/usr/bin/env python3
"""The check itself is checked: with a program that works well nothing is found, with one that does not, its fault."""

import os
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

from check_equivalence import SKIPPED, sample_of
from comparison import Comparison, Mismatch
from fake_simplifier import FAULTS
from smt_text import NEWER_NAMES, StandaloneTerms, head, items, normal, split

HERE = Path(__file__).resolve().parent
DATA = HERE / "data"

FINDINGS = {
    "share_wrong": "REFUTED: assertion 1",
    "meaning": "REFUTED: assertion 1",
    "definition": "REFUTED: definition of next",
    "assumption": "REFUTED: check-sat-assuming (not q)",
    "drop": "instead of (assert",
    "drop_check": "instead of (check-sat)",
    "swap": "REFUTED: assertion 2",
    "declare": "instead of (declare-const p Bool)",
    "unknown": "z3 rejects the output",
    "unbalanced": "parenthesis is missing",
    "grow": "a command too many",
    "unstable": "no fixed point",
    "exit": "exit status 1 of the program: script.smt2:1:1: error: made up",
}

# What the newer operators say of 4-bit operands, in integers wide enough never to overflow.
DEFINITIONS = {
    "(bvnego x)": "(= x #x8)",
    "(bvuaddo x y)": "(bvugt (bvadd ((_ zero_extend 4) x) ((_ zero_extend 4) y)) #x0f)",
    "(bvumulo x y)": "(bvugt (bvmul ((_ zero_extend 4) x) ((_ zero_extend 4) y)) #x0f)",
    "(bvusubo x y)": "(bvslt (bvsub ((_ zero_extend 4) x) ((_ zero_extend 4) y)) #x00)",
    "(bvsaddo x y)": "(out (bvadd ((_ sign_extend 4) x) ((_ sign_extend 4) y)))",
    "(bvssubo x y)": "(out (bvsub ((_ sign_extend 4) x) ((_ sign_extend 4) y)))",
    "(bvsmulo x y)": "(out (bvmul ((_ sign_extend 4) x) ((_ sign_extend 4) y)))",
    "(bvsdivo x y)": "(and (distinct y #x0) (out (bvsdiv ((_ sign_extend 4) x) ((_ sign_extend 4) y))))",
    "(= (sbv_to_int x) (ubv_to_int y))":
        "(= (ite (bvslt x #x0) (- (bv2nat x) 16) (bv2nat x)) (bv2nat y))",
}


def run(*arguments, fault="", program=HERE / "fake_simplifier.py"):
    command = [sys.executable, str(HERE / "check_equivalence.py"), "--program", str(program), *map(str, arguments)]
    environment = os.environ | {"QUARV_FAKE_FAULT": fault}
    return subprocess.run(command, env=environment, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


class SplitterTest(unittest.TestCase):
    def test_strings_quoted_symbols_and_comments(self):
        text = '(a "x )"" ( " b) ; ) (\n|( "| ((c)\n|;|)'
        self.assertEqual(split(text), ['(a "x )"" ( " b)', '|( "|', "((c)\n|;|)"])
        self.assertEqual(items(split(text)[2]), ["(c)", "|;|"])

    def test_wrong_parentheses(self):
        for text in ("(a", "a)", "(a))"):
            self.assertRaises(ValueError, split, text)

    def test_a_deep_term_needs_no_stack(self):
        depth = 200_000
        command = f"(assert {'(not ' * depth}p{')' * depth})"
        self.assertEqual(split(command), [command])
        self.assertEqual(len(items(command)), 2)

    def test_normal_form(self):
        self.assertEqual(normal("(|a| ; comment\n |b c|\t|1|)"), "( a |b c| |1| )")
        self.assertEqual(head("( ; comment\n assert x)"), "assert")


class StandaloneTermsTest(unittest.TestCase):
    def test_names_are_taken_away_and_bound_where_they_are_used(self):
        terms = StandaloneTerms()
        self.assertEqual(terms.standalone("(! (or a b) :named n)"), "(or a b)")
        self.assertEqual(terms.standalone("(not n)"), "(let ((n (or a b))) (not n))")
        self.assertEqual(terms.standalone("(and (! (f n) :named m) c)"), "(let ((n (or a b))) (and (f n) c))")
        self.assertEqual(terms.standalone("m"), "(let ((m (let ((n (or a b))) (f n)))) m)")
        terms.forget("n")
        self.assertEqual(terms.standalone("n"), "n")

    def test_other_annotations_stay(self):
        terms = StandaloneTerms()
        self.assertEqual(terms.standalone("(! p :named n :pattern ((f x)))"), "(! p :pattern ((f x)))")

    @unittest.skipUnless(shutil.which("z3"), "z3 is not installed")
    def test_newer_operators_mean_what_their_definitions_say(self):
        script = ["(declare-const x (_ BitVec 4))", "(declare-const y (_ BitVec 4))",
                  "(define-fun out ((z (_ BitVec 8))) Bool (or (bvsgt z #x07) (bvslt z #xf8)))"]
        for operator, definition in DEFINITIONS.items():
            script += ["(push)", f"(assert (distinct {StandaloneTerms().standalone(operator)} {definition}))", "(check-sat)",
                       "(pop)"]
        done = subprocess.run(["z3", "-smt2", "-in"], input="\n".join(script), text=True, stdout=subprocess.PIPE)
        self.assertEqual(done.stdout.split(), ["unsat"] * len(DEFINITIONS))
        self.assertEqual(StandaloneTerms().standalone("((_ int_to_bv 4) i)"), f"((_ {NEWER_NAMES['int_to_bv']} 4) i)")
        self.assertEqual(StandaloneTerms().standalone("(not ((_ divisible 3) i))"), "(not (= (mod i 3) 0))")


class ComparisonTest(unittest.TestCase):
    def test_an_added_definition_is_none_of_the_users(self):
        before = ["(define-fun $1 () Bool true)", "(assert $1)"]
        after = ["(define-fun $2 () Bool false)", "(define-fun $1 () Bool (not $2))", "(assert $1)"]
        labels = [q.label for q in Comparison(before, after).queries()]
        self.assertEqual(labels, ["definition of $1", "assertion 1"])
        self.assertRaises(Mismatch, Comparison, after, before)

    def test_a_name_that_was_simplified_away_is_defined(self):
        before = ["(assert (or true (! (not (not p)) :named n)))", "(get-value (n))"]
        after = ["(assert true)", "(define-fun n () Bool p)", "(get-value (n))"]
        query = Comparison(before, after).queries()[1]
        self.assertEqual((query.before, query.after), ("(let ((n (not (not p)))) n)", "(let ((n p)) n)"))
        self.assertRaises(Mismatch, Comparison, ["(get-value (n))"], after[1:])

    def test_parameters_may_have_other_names(self):
        before = ["(define-fun f ((a Int) (b Int)) Bool (< a b))"]
        after = ["(define-fun f ((b Int) (c Int)) Bool (not (<= c b)))"]
        query = Comparison(before, after).queries()[0]
        self.assertEqual(query.difference(), "(exists ((a Int) (b Int)) (not (= (< a b) "
                         "(let ((b a) (c b)) (not (<= c b))))))")
        for other in ("(define-fun f ((b Int)) Bool true)", "(define-fun g ((a Int) (b Int)) Bool (< a b))"):
            self.assertRaises(Mismatch, Comparison, before, [other])


@unittest.skipUnless(shutil.which("z3"), "z3 is not installed")
class CheckTest(unittest.TestCase):
    def test_right_programs_pass(self):
        for fault in ("", "share"):
            with self.subTest(fault=fault):
                done = run(DATA, "--ask-all", fault=fault)
                self.assertEqual(done.returncode, 0, done.stdout)
                self.assertIn("11 of 11 assertions, 100.00 %", done.stdout)

    def test_the_other_solver_can_be_asked(self):
        if not shutil.which("cvc5"):
            self.skipTest("cvc5 is not installed")
        self.assertIn("4 of 4 assertions", run(DATA / "bit_vectors.smt2", "--solver", "cvc5").stdout)
        self.assertIn("REFUTED", run(DATA / "bit_vectors.smt2", "--solver", "cvc5", fault="meaning").stdout)

    def test_every_fault_is_found(self):
        self.assertEqual(set(FAULTS) - {"", "share"} | {"exit"}, set(FINDINGS))
        for fault, finding in FINDINGS.items():
            with self.subTest(fault=fault):
                done = run(DATA / "bit_vectors.smt2", fault=fault)
                self.assertEqual(done.returncode, 1, done.stdout)
                self.assertIn(finding, done.stdout)

    def test_what_is_absent_is_said(self):
        done = run(HERE / "no_such_folder")
        self.assertEqual(done.returncode, SKIPPED)
        self.assertIn("skipped: no such file or folder", done.stdout)
        done = run(DATA, program=HERE / "no_such_program")
        self.assertEqual(done.returncode, 2)

    def test_the_limit_on_assertions_is_kept(self):
        done = run(DATA / "bit_vectors.smt2", "--assertions-per-file", 2, "-v")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("left out", done.stdout)


class SampleTest(unittest.TestCase):
    def test_each_folder_comes_first(self):
        files = [*DATA.glob("*.smt2"), HERE / "solver.py"]
        chosen = sample_of(files, 2)
        self.assertEqual({f.parent for f in chosen}, {DATA, HERE})
        self.assertEqual(sample_of(reversed(files), 2), chosen)


if __name__ == "__main__":
    unittest.main()
