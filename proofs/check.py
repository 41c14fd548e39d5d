#!/usr/bin/env python3
"""Proves the rewrite rules for all widths, from nothing, with Coq.

usage: proofs/check.py [--build FOLDER] [--update] [--mark] [FILE.rules...]

Without files: the rules that come with quarv; what is found must be what proofs/*.tsv say (--update writes them). Of
other files, rules are tried with the tactic `rule` alone, unless a file of proofs of the same name stands beside them;
with --mark, a comment above each rule that is proved says so.
"""
import argparse
import hashlib
import pathlib
import re
import resource
import shutil
import subprocess
import sys
import time

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent
STANDARD = [ROOT / f'src/quarv/rules/{name}.rules' for name in ('bitvector', 'extended')]
LIBRARY = ['Bv', 'Tables', 'Lemmas', 'Rotations', 'Division', 'Tactics', 'Foldings']
IMPORTS = 'From Coq Require Import ZArith Bool Lia.\nFrom Quarv Require Import Bv Lemmas Tactics {}.\n'
SECONDS_FOR_A_RULE, SECONDS_FOR_A_FILE = 60, 600  # of processor time: what is proved must not depend on what else runs
MARK = '# proved with Coq'


class Failure(Exception):
    pass


def coq(folder, program, *arguments, seconds=resource.RLIM_INFINITY):
    """What a program of Coq prints, which it has so many seconds for."""
    run = subprocess.run(['nice', '-n', '10', program, '-Q', '.', 'Quarv', *arguments], cwd=folder, text=True,
                         capture_output=True, check=False,
                         preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds)))
    if run.returncode:
        raise Failure(run.stdout + run.stderr)
    return run.stdout + run.stderr  # coqchk reports on standard error


def output(program, *arguments):
    """What a program of quarv prints."""
    run = subprocess.run([str(program), *map(str, arguments)], text=True, capture_output=True, check=False)
    if run.returncode:
        raise Failure(run.stderr.strip() or f'{program} failed')
    return run.stdout


def compile_text(folder, name, text, seconds=resource.RLIM_INFINITY):
    (folder / f'{name}.v').write_text(text)
    return coq(folder, 'coqc', '-q', f'{name}.v', seconds=seconds)


def sources_digest(rules):
    """Of all that people wrote, so that a status is known to be that of these very files."""
    own = HERE / f'{rules.stem}.v'
    digest = hashlib.sha256()
    for path in [*(HERE / f'{name}.v' for name in LIBRARY), *([own] if own.exists() else [])]:
        digest.update(path.read_bytes())
    return digest.hexdigest()[:16]


class Set:
    """The rules of a file."""

    def __init__(self, rules, folder, program):
        self.rules, self.folder = rules, folder
        self.name = re.sub(r'\W', '_', rules.stem)
        self.statements = output(program, rules)
        self.witnesses = output(program, rules, '--witnesses')
        lines = output(program, rules, '--digests').splitlines()
        self.digests = {int(number): digest for number, digest, _ in (line.split('\t') for line in lines)}
        self.texts = {int(number): text for number, _, text in (line.split('\t') for line in lines)}
        self.by_hand, self.wheres = set(), {}

    def prove(self):
        """Status of each rule by number: how it is proved."""
        name = self.name
        compile_text(self.folder, f'{name}_rules', self.statements)
        own = self.rules.with_suffix('.v') if self.rules not in STANDARD else HERE / f'{name}.v'
        modules = [f'{name}_rules', f'{name}_auto']
        if own.exists():
            text = own.read_text()
            compile_text(self.folder, name, text)
            modules.append(name)
            self.by_hand = set(re.findall(r'^(?:Theorem|Lemma) ((?:proof|refuted)_\d+\w*) :', text, re.MULTILINE))
            self.wheres = {int(n): where for n, where in re.findall(r'^\(\*\* Rule (\d+) holds where (.*)\. \*\)$', text,
                                                                    re.MULTILINE)}
        automatic = self.automatic()
        statuses = {number: self.status(number, automatic) for number in self.digests}
        self.certify(statuses, modules)
        self.find_witnesses(statuses)
        return statuses

    def automatic(self):
        """The numbers of the rules that the tactic closes; their theorems are a module of their own."""
        tried = [n for n in self.digests if not self.by_hand & {f'proof_{n}', f'proof_{n}_where', f'proof_{n}_never'}]
        if self.rules in STANDARD and self.write_theorems('auto', tried, SECONDS_FOR_A_FILE):
            return set(tried)
        proved = [n for n in tried if self.write_theorems('try', [n], SECONDS_FOR_A_RULE)]
        if not self.write_theorems('auto', proved, resource.RLIM_INFINITY):
            raise Failure(f'{self.rules.name}: what is proved rule by rule is not proved at once')
        return set(proved)

    def write_theorems(self, name, numbers, seconds):
        """Does the tactic close all of them?"""
        text = IMPORTS.format(f'{self.name}_rules') + ''.join(
            f'Theorem proof_{n} : holds_{n}.\nProof. rule. Qed.\n' for n in numbers)
        try:
            compile_text(self.folder, f'{self.name}_{name}', text, seconds)
        except Failure:
            return False
        return True

    def status(self, number, automatic):
        if f'proof_{number}_never' in self.by_hand:
            return 'never'
        if f'proof_{number}' in self.by_hand:
            return 'hand'
        if f'proof_{number}_where' in self.by_hand:
            if number not in self.wheres or f'refuted_{number}' not in self.by_hand:
                raise Failure(f'rule {number}: no "Rule {number} holds where ..." or no theorem refuted_{number}')
            return 'where'
        return 'tactic' if number in automatic else 'none'

    def certify(self, statuses, modules):
        """Are the theorems about the statements, and do they suppose nothing?"""
        claims = []
        generated = f'{self.name}_rules'  # qualified: a file of proofs might define the same names
        for number, status in statuses.items():
            if status == 'never':
                claims.append(f'proof_{number}_never : {generated}.never_{number}')
            elif status == 'where':
                claims += [f'proof_{number}_where : {generated}.holds_{number}_where _',
                           f'refuted_{number} : ~ {generated}.holds_{number}']
            elif status != 'none':
                claims.append(f'proof_{number} : {generated}.holds_{number}')
        if not claims:
            return
        parts = ''.join(f'Definition part_{i} := ({claim}).\n' for i, claim in enumerate(claims))
        whole = ' '.join(f'(conj part_{i}' for i in range(len(claims))) + ' I' + ')' * len(claims)
        out = compile_text(self.folder, f'{self.name}_certificate',
                           IMPORTS.format(' '.join(modules)) + parts + f'Definition whole := {whole}.\n'
                           'Print Assumptions whole.\n')
        if out.strip() != 'Closed under the global context':
            raise Failure(f'{self.rules.name}: the proofs suppose more than Coq\'s logic:\n{out}')

    def find_witnesses(self, statuses):
        """A statement may be true for want of cases; each rule is shown to have one."""
        compile_text(self.folder, f'{self.name}_witnesses', IMPORTS.format(f'{self.name}_rules')
                     + 'Local Open Scope Z_scope.\n' + self.witnesses)
        found = set(map(int, re.findall(r'^Theorem witness_(\d+) :', self.witnesses, re.MULTILINE)))
        for number in statuses.keys() - found:
            if statuses[number] not in ('never', 'none'):
                raise Failure(f'{self.rules.name}: rule {number} is not known to apply to anything')

    def table(self, statuses):
        lines = [f'# How each rule of {self.rules.name} is proved for all widths: number, digest of the statement, proof,',
                 '# and where it holds. Written by proofs/check.py --update.', f'# sources {sources_digest(self.rules)}']
        for number, status in statuses.items():
            where = self.wheres[number] if status == 'where' else ''
            lines.append(f'{number}\t{self.digests[number]}\t{status}\t{where}'.rstrip())
        return '\n'.join(lines) + '\n'


def check_again(folder, sets):
    """Everything, Coq's own library included, by Coq's separate checker."""
    modules = ['Foldings', *(f'{rules.name}_{part}' for rules in sets for part in ('certificate', 'witnesses'))]
    out = coq(folder, 'coqchk', '-silent', '-o', *(f'Quarv.{module}' for module in modules))
    listed = re.findall(r'^\* (?:Axioms|Constants|Inductives)[^:]*:(.*)$', out, re.MULTILINE)
    if len(listed) != 4 or any(item.strip() != '<none>' for item in listed):
        raise Failure('coqchk does not find the proofs free of assumptions:\n' + out)


SAYINGS = {
    'hand': 'proved for all widths (by hand)',
    'tactic': 'proved for all widths',
    'never': 'proved that it never applies',
    'none': 'not proved',
}


def saying(rules, number, status):
    return SAYINGS.get(status) or f'refuted; proved for all widths where {rules.wheres[number]}'


def report(rules, statuses):
    for number, status in statuses.items():
        print(f'{number:>3} {saying(rules, number, status)}: {rules.texts[number]}')
    proved = sum(status != 'none' for status in statuses.values())
    refuted = sum(status == 'where' for status in statuses.values())
    print(f'{rules.rules.name}: {len(statuses)} rules on bit-vectors: {proved} proved for all widths, {refuted} of them '
          f'under a further condition; {len(statuses) - proved} not proved; axioms: none')


def mark(text, statuses, wheres):
    """The text of a file of rules, with a comment above each rule that is proved."""
    lines, number = [], 0
    for line in text.split('\n'):
        if line.startswith(MARK):
            continue  # of an earlier time
        if line.strip() and not line.lstrip().startswith('#'):
            number += 1
            status = statuses.get(number, 'none')
            if status == 'where':
                lines.append(f'{MARK} for all widths where {wheres[number]}')
            elif status != 'none':
                lines.append(MARK + (': it never applies' if status == 'never' else ' for all widths'))
        lines.append(line)
    return '\n'.join(lines)


def write_marks(rules, statuses):
    """The file is written whole or not at all."""
    new = rules.rules.with_name(rules.rules.name + '.new')
    new.write_bytes(mark(rules.rules.read_bytes().decode(), statuses, rules.wheres).encode())
    new.replace(rules.rules)


def check_foldings(folder):
    """Their theorems are proved when the library is compiled; do they suppose nothing?"""
    theorems = re.findall(r'^Theorem (\w+) :', (HERE / 'Foldings.v').read_text(), re.MULTILINE)
    out = compile_text(folder, 'foldings_certificate', 'From Quarv Require Import Foldings.\n'
                       + ''.join(f'Print Assumptions {theorem}.\n' for theorem in theorems))
    if out.split('\n') != ['Closed under the global context'] * len(theorems) + ['']:
        raise Failure(f'Foldings.v: the proofs suppose more than Coq\'s logic:\n{out}')
    print(f'Foldings.v: {len(theorems)} theorems on what constants are folded to, for all widths; axioms: none')


def check(arguments):
    build = arguments.build.resolve()
    program, tables = build / 'bin/rule_theorems', build / 'bin/operator_tables'
    folder = build / 'proofs'
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for name in LIBRARY:
        compile_text(folder, name, (HERE / f'{name}.v').read_text())
    if not arguments.rules:
        compile_text(folder, 'operator_tables', output(tables))
        print('Bv.v: the operators have the values that the reference evaluator gives them')
        check_foldings(folder)
    standard = []
    for path in arguments.rules or STANDARD:
        rules = Set(path.resolve(), folder, program)
        statuses = rules.prove()
        report(rules, statuses)
        if arguments.mark:
            write_marks(rules, statuses)
        if rules.rules in STANDARD:
            standard.append((rules, statuses))
    if standard:
        check_again(folder, [rules for rules, _ in standard])
        print('coqchk: all theorems hold; axioms: none')
    same = [is_in_table(rules, statuses, arguments.update) for rules, statuses in standard]
    return not all(same)


def is_in_table(rules, statuses, update):
    """Does the table say what was found? Writes it if it is to be updated."""
    table = HERE / f'{rules.name}.tsv'
    text = rules.table(statuses)
    if update:
        table.write_text(text)
    elif not table.exists() or table.read_text() != text:
        print(f'{table}: error: differs from what was found; --update writes it', file=sys.stderr)
        return False
    return True


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--build', type=pathlib.Path, default=ROOT / 'build/release', metavar='FOLDER')
    parser.add_argument('--update', action='store_true')
    parser.add_argument('--mark', action='store_true')
    parser.add_argument('rules', nargs='*', type=pathlib.Path, metavar='FILE.rules')
    arguments = parser.parse_args()
    if arguments.mark and (not arguments.rules or any(path.resolve() in STANDARD for path in arguments.rules)):
        parser.error('--mark is for files of your own')
    start = time.monotonic()
    try:
        failed = check(arguments)
    except Failure as e:
        print(f'check.py: error: {e}', file=sys.stderr)
        failed = True
    print(f'{time.monotonic() - start:.0f} seconds')
    return failed


if __name__ == '__main__':
    sys.exit(main())
