#!/usr/bin/env python3
"""Stands in for the simplifier. QUARV_FAKE_FAULT says what it does wrong; without it, it does its work well."""

import os
import sys

from smt_text import head, items, split

PADDING = "(and true "


def pad(commands):
    """Right, and different from the input as text: its own output it leaves alone."""
    return [f"(assert {PADDING}{items(c)[1]}))" if head(c) == "assert" and PADDING not in c else c for c in commands]


def with_shared(commands, body):
    """Names the first assertion's term before its use, as a printer does for shared terms."""
    at = _first(commands, "assert")
    if any("$1" in c for c in commands):
        return commands
    term = items(commands[at])[1]
    return [*commands[:at], f"(define-fun $1 () Bool {body.format(term)})", "(assert $1)", *commands[at + 1 :]]


def _first(commands, kind):
    return next((i for i, c in enumerate(commands) if head(c) == kind), len(commands))


def without(commands, kind):
    at = _first(commands, kind)
    return commands[:at] + commands[at + 1 :]


def swapped(commands):
    first, second = [i for i, c in enumerate(commands) if head(c) == "assert"][:2]
    commands[first], commands[second] = commands[second], commands[first]
    return commands


def replaced(commands, old, new):
    """In the first command that has the text; the same commands where none has."""
    at = next((i for i, c in enumerate(commands) if old in c), 0)
    return [*commands[:at], commands[at].replace(old, new), *commands[at + 1 :]]


FAULTS = {
    "": pad,
    "share": lambda commands: with_shared(commands, "{}"),
    "share_wrong": lambda commands: with_shared(commands, "(not {})"),
    "meaning": lambda commands: replaced(commands, "bvult", "bvule"),
    "definition": lambda commands: replaced(commands, "(bvadd a #x01)", "(bvadd a #x02)"),
    "assumption": lambda commands: replaced(commands, "(not q)", "q"),
    "drop": lambda commands: without(commands, "assert"),
    "drop_check": lambda commands: without(commands, "check-sat"),
    "swap": swapped,
    "declare": lambda commands: replaced(commands, "Bool", "Int"),
    "unknown": lambda commands: replaced(commands, "bvult", "bvunknown"),
    "unbalanced": lambda commands: commands + ["(exit"],
    "grow": lambda commands: commands + ["(check-sat)"],
    "unstable": lambda commands: [f"; {len(commands)}", *pad(commands), f"; {os.getpid()}"],
}


def main(fault, path):
    if fault == "exit":
        return "script.smt2:1:1: error: made up"
    with open(path, encoding="latin-1") as file:
        commands = split(file.read())
    print("\n".join(FAULTS[fault](commands)))
    return 0


if __name__ == "__main__":
    sys.exit(main(os.environ.get("QUARV_FAKE_FAULT", ""), sys.argv[-1]))
