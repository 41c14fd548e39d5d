#!/usr/bin/env python3
"""Tests of the programs in bench/: generated scripts are the same everywhere and can be read; figures are put in the
right relation.

usage: bench_test.py SOURCE_DIR QUARV
"""

import hashlib
import json
import subprocess
import sys
import unittest
from pathlib import Path

SOURCE_DIR, PROGRAM = Path(sys.argv[1]), sys.argv[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(SOURCE_DIR / "bench"))

import comparison_table  # noqa: E402

# The first digits of the SHA-256 of each kind of script, of 100 operations. Recorded figures are of these very bytes.
DIGESTS = {
    "bv-program": "04b0415859d1b169",
    "bv-let": "7617f0a63fcd240e",
    "arrays": "6c403d89bbd9b5ab",
    "array-writes": "0da8dc9a001c7e76",
    "linear-integer": "2090e455edc83f8b",
    "linear-rational": "b10d3313259742fc",
    "fp-constants": "d2e6efefacb869ee",
    "bv-deep": "776d70dae822c848",
    "let-deep": "0faad28707897645",
    "path-conditions": "80beef2d7405df42",
    "compiled-code": "9c29679ae859dabc",
    "device-model": "4a9a8176a1e0c46c",
    "packet-checker": "7b72b95b13a76cbc",
}


def generate(kind, *arguments):
    return subprocess.run([SOURCE_DIR / "bench" / "generate", kind, *arguments], capture_output=True, check=True).stdout


class Generate(unittest.TestCase):
    def test_bytes_are_fixed(self):
        for kind, digest in DIGESTS.items():
            with self.subTest(kind):
                self.assertEqual(hashlib.sha256(generate(kind, "100")).hexdigest()[:16], digest)

    def test_seed_counts(self):
        for kind in DIGESTS:
            with self.subTest(kind):
                self.assertNotEqual(generate(kind, "100", "1"), generate(kind, "100", "2"))

    def test_program_reads_every_kind(self):
        for kind in DIGESTS:
            for size in ("1", "2", "33"):
                with self.subTest(kind, size=size):
                    done = subprocess.run([PROGRAM, "simplify", "-"], input=generate(kind, size), capture_output=True,
                                          check=False)
                    self.assertEqual((done.returncode, done.stderr), (0, b""))

    def test_every_operation_is_used(self):
        """What is not used would be no work for a program that drops it."""
        text = generate("bv-program", "200").decode()
        for i in range(8, 208):
            with self.subTest(i):
                self.assertGreater(sum(text.count(f" t{i}{end}") for end in " )"), 1)


def row(solver, size=10**4, failure="", memory=2**20, **seconds):
    named = {name.replace("_and_", "+"): value for name, value in seconds.items()}
    return {"kind": "k", "size": size, "solver": solver, "bytes": 10**6, "seconds": named, "samples": [],
            "failure": failure, "peak_memory": memory, "terms": {}}


def results(*rows):
    return comparison_table.Results({"limit": 60, "rows": list(rows)})


class Comparison(unittest.TestCase):
    own = row("quarv", read=1, simplify=2, print=1, total=4)

    def test_fastest_peer_counts(self):
        found = results(self.own, row("a", total=40), row("b", total=8))
        self.assertEqual(found.ratio("k", 10**4, "total"), (2, False))

    def test_peer_over_the_limit_gives_a_bound(self):
        found = results(self.own, row("a", failure="over 60 s", memory=None, read=10))
        self.assertEqual(found.ratio("k", 10**4, "total"), (15, True))
        self.assertEqual(found.ratio("k", 10**4, "read"), (10, False))
        self.assertEqual(found.ratio("k", 10**4, "simplify"), (25, True))
        self.assertIsNone(found.ratio("k", 10**4, "print"))

    def test_finished_peer_is_faster_than_a_stopped_one(self):
        found = results(row("quarv", total=1), row("a", failure="over 60 s"), row("b", total=59))
        self.assertEqual(found.ratio("k", 10**4, "total"), (59, False))

    def test_printing_with_simplification_is_compared_to_both(self):
        found = results(self.own, row("a", simplify_and_print=9))
        self.assertEqual(found.ratio("k", 10**4, "simplify"), (3, False))

    def test_no_peer(self):
        self.assertIsNone(results(self.own).ratio("k", 10**4, "total"))
        self.assertIsNone(results(self.own).memory_ratio("k", 10**4))

    def test_memory(self):
        found = results(self.own, row("a", memory=2**22), row("b", memory=2**21), row("c", memory=None))
        self.assertEqual(found.memory_ratio("k", 10**4), (2, False))
        stopped = results(self.own, row("a", memory=2**22, failure="over 60 s"))
        self.assertEqual(stopped.memory_ratio("k", 10**4), (4, True))

    def test_exponent(self):
        found = results(self.own, row("quarv", size=10**5, total=40))
        self.assertAlmostEqual(found.exponent("k", "quarv", "total", 10**4, 10**5), 1)
        self.assertIsNone(found.exponent("k", "quarv", "total", 10**5, 10**6))

    def test_tables_hold_every_row(self):
        found = results(self.own, row("a", failure="over 60 s"))
        self.assertIn("over 60 s", comparison_table.measured_table(found))
        self.assertIn(">15.0", comparison_table.ratio_table(found))


class Record(unittest.TestCase):
    def test_names_compiler_and_counts(self):
        record = json.loads((SOURCE_DIR / "bench" / "instructions.json").read_text(encoding="utf-8"))
        self.assertEqual(len(record["inputs"]), 10)
        self.assertTrue(record["compiler"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
