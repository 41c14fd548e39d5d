#!/usr/bin/env python3
"""Do the statements follow the rules' text, and are they the ones that were proved? Coq is not needed.

usage: proofs_test.py SOURCE_DIR RULE_THEOREMS
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

SOURCE, PROGRAM = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2]
HERE = SOURCE / 'tests/proofs'
sys.path.insert(0, str(SOURCE / 'proofs'))
sys.dont_write_bytecode = True
import check  # noqa: E402


def run(*arguments):
    return subprocess.run([PROGRAM, *map(str, arguments)], text=True, capture_output=True, check=False)


def digests(rules):
    """Digest and text of each rule, by number."""
    lines = [line.split('\t') for line in run(rules, '--digests').stdout.splitlines()]
    return {int(number): (digest, text) for number, digest, text in lines}


class Statements(unittest.TestCase):
    def test_are_those_that_were_proved(self):
        for rules in check.STANDARD:
            table = (SOURCE / 'proofs' / f'{rules.stem}.tsv').read_text().splitlines()
            proved = {int(row[0]): row[1] for row in (line.split('\t') for line in table if line[0] != '#')}
            now = {number: digest for number, (digest, _) in digests(rules).items()}
            # A new rule may be without a proof; then the program says so.
            self.assertEqual({number: now.get(number) for number in proved}, proved,
                             'a rule changed: run scripts/proofs.sh --update')
            self.assertIn(f'# sources {check.sources_digest(rules)}', table,
                          'a file of proofs changed: run scripts/proofs.sh --update')

    def test_follow_the_text(self):
        self.assertEqual(run(HERE / 'sample.rules').stdout, (HERE / 'sample.v').read_text())

    def test_change_with_the_text(self):
        rules = check.STANDARD[0]
        before = digests(rules)
        lines = [line for line in rules.read_text().splitlines() if line and not line.startswith('#')]
        with tempfile.TemporaryDirectory() as folder:
            changed = pathlib.Path(folder) / 'changed.rules'
            for number, old, new in [(23, 'bvmul(2, t)', 'bvmul(3, t)'), (55, '<=', '<'), (12, '- 1', '- 2')]:
                text = lines[number - 1].replace(old, new)
                self.assertNotEqual(text, lines[number - 1])
                changed.write_text('\n'.join(lines[:number - 1] + [text] + lines[number:]) + '\n')
                after = digests(changed)
                self.assertEqual([n for n in before if before[n] != after[n]], [number])

    def test_have_an_error_where_the_rule_has(self):
        with tempfile.TemporaryDirectory() as folder:
            wrong = pathlib.Path(folder) / 'wrong.rules'
            wrong.write_text('rewrite(bvnot(t), ) >> u\n')
            result = run(wrong)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stdout, '')
        self.assertEqual(result.stderr,
                         f'{wrong}:1:24: error: the variable "u" of the result is not bound\n')
        self.assertEqual(run().returncode, 2)
        self.assertEqual(run('/nowhere.rules').returncode, 1)

    def test_are_marked_in_a_file(self):
        text = ('# Found.\n\n# proved for widths 1-5\none: rewrite(bvnot(t), ) >> t\r\n  # more\n'
                '# proved with Coq for all widths\ntwo: rewrite(bvneg(t), ) >> t\n\n'
                '# proved with Coq for all widths\nthree: rewrite(bvneg(bvneg(t)), ) >> t\n'
                'four: rewrite(ite(p, q, r), ) >> p\n  rewrite(bvand(t, u), ) >> u')
        wanted = ('# Found.\n\n# proved for widths 1-5\n# proved with Coq for all widths\n'
                  'one: rewrite(bvnot(t), ) >> t\r\n  # more\ntwo: rewrite(bvneg(t), ) >> t\n\n'
                  '# proved with Coq for all widths where t is 0\nthree: rewrite(bvneg(bvneg(t)), ) >> t\n'
                  'four: rewrite(ite(p, q, r), ) >> p\n# proved with Coq: it never applies\n'
                  '  rewrite(bvand(t, u), ) >> u')
        statuses = {1: 'tactic', 2: 'none', 3: 'where', 5: 'never'}  # the fourth is not of bit-vectors
        marked = check.mark(text, statuses, {3: 't is 0'})
        self.assertEqual(marked, wanted)
        self.assertEqual(check.mark(marked, statuses, {3: 't is 0'}), wanted)
        self.assertEqual(check.mark(marked, {}, {}).count(check.MARK), 0)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
