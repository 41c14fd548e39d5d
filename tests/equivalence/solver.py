"""z3 and cvc5 as programs: do they accept a script, and what do they answer to the queries of a comparison?"""

import dataclasses
import os
import resource
import subprocess
import tempfile
import time

from comparison import Query
from smt_text import head

PROVED, REFUTED, UNDECIDED, UNSUPPORTED = "proved", "REFUTED", "undecided", "unsupported"
VERDICTS = (PROVED, REFUTED, UNDECIDED, UNSUPPORTED)

# Commands that make a solver work or talk, but change nothing.
SILENT_WITHOUT = {"check-sat", "check-sat-assuming", "get-model", "get-value", "get-proof", "get-unsat-core",
                  "get-unsat-assumptions", "get-assignment", "get-assertions", "get-info", "get-option", "echo",
                  "simplify"}
START_SECONDS = 20  # more than a solver needs to read what comes before the first query
SOLVER_BYTES = 4 << 30  # of address space: a hard query must not starve the machine
OUT_OF_RESOURCES = ("cancel", "timeout", "out of memory", "interrupted")


@dataclasses.dataclass
class Verdict:
    word: str
    detail: str = ""


class Solver:
    """A solver on the PATH. Limits: milliseconds for each query, seconds for a whole session."""

    def __init__(self, name, query_limit=2000):
        self.name = name
        self._query_limit = query_limit

    def _session_command(self):
        if self.name == "z3":
            return ["z3", "-smt2"]
        return ["cvc5", "--incremental", f"--tlimit-per={self._query_limit}", "--lang=smt2"]

    def _preamble(self):
        if self.name == "z3":
            return f"(set-option :timeout {self._query_limit})\n(set-option :produce-models true)"
        return "(set-option :produce-models true)\n(set-logic ALL)"

    def first_error(self, commands, file, seconds=120):
        """The solver's first complaint about a script, given as commands; None when it accepts it."""
        arguments = ["z3", "-smt2"] if self.name == "z3" else ["cvc5", "--parse-only", "--lang=smt2"]
        kept = commands if self.name == "cvc5" else [c for c in commands if head(c) not in SILENT_WITHOUT]
        file.write_text("\n".join(kept) + "\n", encoding="latin-1")
        text, status = _run([*arguments, str(file)], seconds)
        if status is None:
            return f"killed by a signal or not done within {seconds} s"
        errors = [line for line in text.splitlines() if "error" in line.lower()]
        if errors:
            return errors[0]
        return f"exit status {status}" if status != 0 else None

    def ask(self, comparison, queries, file, seconds):
        """Verdicts by query number. A session that ends early is started again behind the query that ended it."""
        end = time.monotonic() + seconds
        verdicts = {}
        pending = list(queries)
        while pending and time.monotonic() < end:
            text = self._run_session(comparison, pending, file, end - time.monotonic())
            answers, fatal = _answers(text)
            verdicts |= answers
            rest = [q for q in pending if q.number not in verdicts]
            if fatal is not None and len(rest) == len(pending):
                return verdicts | {q.number: Verdict(UNSUPPORTED, fatal) for q in rest}
            pending = rest
        for query in pending:
            verdicts[query.number] = Verdict(UNDECIDED, f"not asked within {seconds:.0f} s")
        for query in queries:
            if verdicts[query.number].word == REFUTED:
                text = self._run_session(comparison, [query], file, seconds, with_model=True)
                verdicts[query.number].detail = text.partition("\nsat\n")[2].partition("@end")[0]
        return verdicts

    def _run_session(self, comparison, queries, file, seconds, with_model=False):
        file.write_text(self.session(comparison, queries, with_model), encoding="latin-1")
        # A solver may overrun its own limit, in preprocessing for instance, even for ever.
        silence = 2 * self._query_limit / 1000 + START_SECONDS
        return _run([*self._session_command(), str(file)], seconds, silence)[0]

    def session(self, comparison, queries, with_model=False):
        """The script that asks these queries, each between two marks that carry its number."""
        asked = {q.number for q in queries}
        lines = [self._preamble()]
        for step in comparison.steps:
            if not isinstance(step, Query):
                lines.append(step)
                if step == "(reset)":
                    lines.append(self._preamble())
            elif step.number in asked:
                lines += [f'(echo "@{step.number}") ; {step.label}', "(push 1)",
                          f"(assert {step.difference()})", "(check-sat)", *["(get-model)"] * with_model, "(pop 1)",
                          f'(echo "@end {step.number}")']
        lines.append('(echo "@done")\n')
        return "\n".join(lines)


def _answers(text):
    """Verdicts by query number, and what ended the session outside of a query (None if nothing did)."""
    verdicts, number, answer = {}, None, []
    for line in text.splitlines():
        mark = line.strip().strip('"')
        if mark == "@done":
            return verdicts, None
        if mark.startswith("@end "):
            verdicts[number] = _verdict(answer)
            number, answer = None, []
        elif mark.startswith("@"):
            number, answer = int(mark[1:]), []
        else:
            answer.append(line)
    if number is not None:
        verdicts[number] = _verdict(answer or ["the solver gave no answer"])
        return verdicts, None
    return verdicts, " ".join(answer)[:200] or "the solver ended"


def _verdict(answer):
    errors = [line for line in answer if "error" in line.lower()]
    if errors:
        is_limit = any(word in errors[0].lower() for word in OUT_OF_RESOURCES)
        return Verdict(UNDECIDED if is_limit else UNSUPPORTED, errors[0])
    if "unsat" in answer:
        return Verdict(PROVED)
    return Verdict(REFUTED if "sat" in answer else UNDECIDED, " ".join(answer)[:200])


def _run(command, seconds, silence=None):
    """Standard output and error together, and the exit status: None when the program had to be killed, because time
    was up or, for so many seconds, it had said nothing more."""
    with tempfile.TemporaryFile() as output:
        process = subprocess.Popen(
            command,
            stdin=subprocess.DEVNULL,
            stdout=output,
            stderr=subprocess.STDOUT,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (SOLVER_BYTES, SOLVER_BYTES)),
        )
        end, size, heard = time.monotonic() + seconds, 0, time.monotonic()
        while process.poll() is None:
            try:
                process.wait(0.5)
            except subprocess.TimeoutExpired:
                now, said = time.monotonic(), os.fstat(output.fileno()).st_size
                heard, size = (now, said) if said != size else (heard, size)
                if now > end or (silence is not None and now - heard > silence):
                    process.kill()
                    process.wait()
                    break
        output.seek(0)
        text = output.read().decode("latin-1")
    return text, process.returncode if process.returncode >= 0 else None
