#!/usr/bin/env python3
"""Changes a genuine trace at random, many times. Whatever was changed, `quarv replay` must end soon and properly, and a
step that it still justifies must hold: its two terms are written here as the trace has them, and z3 is asked whether they
can differ. What replay takes for well-sorted, z3 must take for well-sorted, too.

usage: forge_traces.py PROGRAM [--rounds N] [--seed S] [--script FILE.smt2]
"""
import argparse
import copy
import json
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile

SCRIPT = '''(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))(declare-const p Bool)(declare-const q Bool)
(declare-const i Int)(declare-const j Int)(declare-const r Real)(declare-fun f (Int) Int)
(declare-const a (Array Int Int))(declare-const s (_ FloatingPoint 2 3))(declare-const b (Array (_ FloatingPoint 2 3) Bool))
(assert (= (bvadd x #x0) (bvmul y (bvnot #xf))))
(assert (= x (bvmul #x4 (bvsub y x))))
(assert (= ((_ rotate_left 3) #xd) (bvashr x (bvsdiv #xe #x3))))
(assert (= (concat x y) (concat ((_ sign_extend 2) #b10) (bvurem #xd #x5))))
(assert (bvult (bvand y x) ((_ zero_extend 2) ((_ extract 2 1) x))))
(assert (or (<= (+ i i 3) (* 2 (f (+ j i i 1)))) (not (not p))))
(assert (ite (< (* 6 i) (+ (* 9 j) 5)) (= (* 3 r) 2.0) (= (* 2 i) (+ 7 (* 4 j)))))
(assert (= (ite (= (bvsub x x) #x0) (to_real i) r) (/ r 2.0)))
(assert (= (to_int (+ r 2.5 (to_real i))) (mod (+ i 17) 5)))
(assert (= (select (store (store a i 1) i 2) (+ j 1 i)) (select ((as const (Array Int Int)) 4) 3)))
(assert (= (store ((as const (Array Int Int)) 1) 3 4) (store ((as const (Array Int Int)) 1) 3 5)))
(assert (= ((_ int2bv 6) (bv2nat x)) ((_ int2bv 6) 50)))
(assert (= s (fp.add RNE (fp #b0 #b01 #b10) (fp #b1 #b00 #b11))))
(assert (fp.lt (fp.div RTP (fp #b0 #b01 #b10) (fp #b1 #b00 #b11)) (fp.neg (fp.sqrt RTZ (fp #b0 #b10 #b11)))))
(assert (= #b101 ((_ fp.to_sbv 3) RNE (fp #b0 #b10 #b11))))
(assert (= b (store ((as const (Array (_ FloatingPoint 2 3) Bool)) false) (_ NaN 2 3) (and p q p (not q)))))
(declare-const m RoundingMode)(declare-const n RoundingMode)
(assert (or (not (and p (= i 3))) (and q (= (f (ite p (ite (not q) i j) (f i))) (f j)))))
(assert (= (ite p (+ i j) (ite q i (f j))) i))
(assert (= (ite p a (store a 3 j)) a))
(assert (= (abs (mod i 2)) (+ (div j 3) (* (- 4) (div j 12)))))
(assert (and (<= 0 (+ (div j 3) (* (- 4) (div j 12)))) (or q (<= (mod i 2) 0))))
'''

class Trace:
    """The terms that a trace speaks of, as it says them, in SMT-LIB."""

    def __init__(self, lines):
        self.sorts, self.terms = {}, {}
        for line in lines:
            if 'step' in line:
                continue
            if 'name' in line:
                self.sorts.setdefault(line['sort'], line)
            elif 'sort' in line and 'term' in line:
                self.terms.setdefault(line['term'], line)

    def sort(self, number):
        line = self.sorts[number]
        if line['name'] == 'Array':
            return f'(Array {" ".join(self.sort(n) for n in line["args"])})'
        known = re.fullmatch(r'Bool|Int|Real|RoundingMode|\(_ (BitVec|FloatingPoint) [0-9 ]+\)', line['name'])
        if known:
            return line['name']
        self.commands[f'(declare-sort S{number} 0)'] = None
        return f'S{number}'

    def question(self, step):
        """Commands that ask whether the two terms of a step can differ."""
        self.commands, self.written = {}, {}
        before = self.term(step['before']) if 'rule' in step else self.expression(step)
        after = self.term(step['after'])
        self.commands[f'(assert (not (= {self.real(before)} {self.real(after)})))'] = None
        return '\n'.join(self.commands)

    def term(self, name):
        """A name for the term, defined before, and its sort."""
        if name not in self.written:
            line = self.terms[name]
            text, sort = self.expression(line)
            self.commands[f'(define-fun t{name} () {sort} {text})'] = None
            self.written[name] = f't{name}', sort
        return self.written[name]

    @staticmethod
    def real(term):
        return f'(to_real {term[0]})' if term[1] == 'Int' else term[0]

    def wanted(self, term, sort):
        """An integer where a real number is wanted."""
        return self.real(term) if sort == 'Real' else term[0]

    def declared(self, key, args, sort):
        name = f'|{json.dumps(key)} {" ".join(a[1] for a in args)} {sort}|'.replace('\\', '_')
        self.commands[f'(declare-fun {name} ({" ".join(a[1] for a in args)}) {sort})'] = None
        return f'({name} {" ".join(a[0] for a in args)})' if args else name

    def expression(self, line):
        sort = self.sort(line['sort'])
        if 'value' in line:
            return self.literal(line['value'], sort), sort
        args = [self.term(a) for a in line.get('args', [])]
        if 'fun' in line:
            return self.declared(['fun', line['fun'], line.get('copy', 0)], args, sort), sort
        return self.application(line, args, sort), sort

    @staticmethod
    def literal(value, sort):
        if sort == 'Int':
            return value if value[0] != '-' else f'(- {value[1:]})'
        if sort == 'Real':
            top, bottom = value.removeprefix('-').split('/')
            return f'({"- " if value[0] == "-" else "+ "}(/ {top}.0 {bottom}.0))'
        widths = [int(n) for n in re.findall(r'\d+', sort)]
        bits = f'(_ bv{value} {sum(widths)})'
        return bits if len(widths) == 1 else f'((_ to_fp {widths[0]} {widths[1]}) {bits})'

    def application(self, line, args, sort):
        op = line['op']
        texts = [a[0] for a in args]
        if op in ('=', '<=', '/', 'to_int') or (op in ('+', '*') and sort == 'Real'):
            texts = [self.real(a) for a in args]
        elif op == 'ite' and len(args) == 3:
            texts = [texts[0], *(self.wanted(a, sort) for a in args[1:])]
        elif op in ('select', 'store', 'const'):
            index, element = [self.sort(n) for n in self.sorts[self.array_sort(line)]['args']]
            texts = [self.wanted(a, want) for a, want in
                     zip(args, [element] if op == 'const' else [None, index, element])]
            op = f'(as const {sort})' if op == 'const' else op
        elif op.startswith('(_ divisible ') and len(args) == 2:
            return f'(= (mod (- {texts[0]} {texts[1]}) {op[13:-1]}) 0)'
        elif op == 'sbv_to_int' and len(args) == 1:
            width = int(re.findall(r'\d+', args[0][1])[0])
            return f'(- (bv2nat (bvxor {texts[0]} (_ bv{2 ** (width - 1)} {width}))) {2 ** (width - 1)})'
        elif op not in Forger.OPERATORS and not re.fullmatch(r'\(_ [a-z_.0-9 ]+\)', op) or op in ('forall', '!'):
            return self.declared([op, line.get('variables'), line.get('attributes')], args, sort)
        return f'({op} {" ".join(texts)})' if texts else op

    def array_sort(self, line):
        return line['sort'] if line['op'] == 'const' else self.terms[line['args'][0]]['sort']


def refutations(questions):
    """For each question: why the step does not hold; None if no reason was found."""
    script = '(set-option :timeout 2000)\n(set-option :print-success false)\n'
    for question in questions:
        script += f'(push)\n{question}\n(check-sat)\n(pop)\n(echo "next")\n'
    run = subprocess.run(['z3', '-in'], input=script, capture_output=True, text=True, check=False)
    answers = [answer.split('\n') for answer in run.stdout.split('next\n')[:-1]]
    assert len(answers) == len(questions), run.stdout
    return [next((line for line in answer if line.startswith('(error') or line == 'sat'), None) for answer in answers]


class Forger:
    VALUES = ['0', '1', '-1', '15', '16', '2', '3', '1/2', '2/2', '13', '14', '1' + '0' * 50, '', '0x1', '1\0', '3/0']
    NUMBERS = [0, 1, 2, 7, 10, 2**64 - 1, 2**64, -1, 1.0, 1.5, 1e300, True, None, 'x', [1], {}, []]
    SORTS = ['Bool', 'Int', 'Real', 'RoundingMode', 'Array', '(_ BitVec 4)', '(_ BitVec 5)', '(_ BitVec 0)', '(_ BitVec 1)',
             '(_ FloatingPoint 2 3)', '(_ FloatingPoint 5 0)', '(_ FloatingPoint 3 2)', '(_ FloatingPoint 1 1)',
             '(_ BitVec 999999999)', '(_ BitVec 99999999999)', 'U', '', 'Bool\0']
    OPERATORS = """not and or = ite true false + * <= to_int select store const bvnot bvneg bvand bvor bvxor bvadd bvsub
        bvmul bvudiv bvsdiv bvurem bvsrem bvshl bvlshr bvashr bvult bvule bvslt bvsle bvcomp concat bv2nat sbv_to_int div mod
        RNE RNA RTP RTN RTZ fp.abs fp.neg fp.add fp.sub fp.mul fp.div fp.sqrt fp.rem fp.min fp.max fp.eq fp.lt fp.leq
        fp.isNaN fp.isInfinite fp.isZero fp.isNormal fp.isSubnormal fp.isNegative fp.isPositive fp.roundToIntegral
        fp.to_real fp.to_ieee_bv / forall !""".split()
    OPS = [*OPERATORS, '(_ divisible 3)', '(_ divisible 0)', '(_ extract 1 0)', '(_ extract 0 1)', '(_ zero_extend 0)',
           '(_ zero_extend 2)', '(_ sign_extend 2)', '(_ rotate_left 1)', '(_ int2bv 4)', '(_ int2bv 6)',
           '(_ to_fp 2 3)', '(_ to_fp 3 2)', '(_ fp.to_sbv 3)', '(_ fp.to_ubv 4)', 'divisible', 'unknown', 'and 1 2', '']

    def __init__(self, lines, rules, seed):
        self.lines, self.rules, self.random = lines, rules, random.Random(seed)

    def forged(self):
        lines = copy.deepcopy(self.lines)
        names = [l['term'] for l in lines if 'term' in l and 'sort' in l]
        for _ in range(self.random.choice([1, 1, 1, 2, 3, 10])):
            n = self.random.randrange(1, len(lines))
            self.change(lines, n, names)
        for n, line in enumerate(lines):
            if isinstance(line, dict) and 'step' in line:
                line['step'] = n + 1  # so that what is said of it can be found
        return lines

    def change(self, lines, n, names):
        r, line = self.random, lines[n]
        what = r.randrange(10)
        if what == 0:
            lines.insert(r.randrange(1, len(lines)), lines.pop(n))
        elif what == 1:
            lines.insert(n, copy.deepcopy(line))
            if 'term' in line and 'sort' in line:
                line['term'] = max(names) + r.randrange(1, 1000)
        elif what == 2 and r.randrange(4) == 0:
            line[r.choice(list(line))] = r.choice(self.NUMBERS)
        elif not isinstance(line.get('args', []), list):
            pass  # changed before
        elif 'value' in line:
            line['value'] = r.choice([*self.VALUES, str(r.randrange(32))])
        elif 'name' in line:
            line['name'] = r.choice(self.SORTS)
        elif what == 3 and 'op' in line:
            line['op'] = r.choice(self.OPS)
        elif what == 4 and 'rule' in line:
            line['rule'] = r.randrange(1, len(self.rules) + 1)
            line['signature'] = self.rules[line['rule'] - 1]
        elif what == 5 and 'args' in line:
            r.shuffle(line['args'])
        elif what == 6 and 'args' in line:
            line['args'].insert(r.randrange(len(line['args']) + 1), r.choice(names))
        elif what == 7 and 'sort' in line:
            line['sort'] = r.randrange(12)
        elif 'args' in line and (what == 8 or 'step' not in line):
            line['args'][r.randrange(len(line['args']))] = r.choice(names)
        elif 'after' in line:
            line[r.choice(['before', 'after', 'after'] if 'before' in line else ['after'])] = r.choice(names)


def trace_of(program, script, folder):
    own = os.path.join(folder, 'in.smt2')
    with open(own, 'w', encoding='utf-8') as file:
        file.write(SCRIPT)
    trace = os.path.join(folder, 'trace')
    subprocess.run([program, 'simplify', script or own, '-o', os.path.join(folder, 'out'), '--trace', trace], check=True)
    with open(trace, encoding='utf-8') as file:
        lines = [json.loads(line) for line in file]
    parts = [n for n, line in enumerate(lines) if 'trace' in line]
    return lines[:parts[1]]  # how the input is simplified


def replay(program, data):
    run = subprocess.run([program, 'replay', '-'], input=data, capture_output=True, timeout=60, check=False)
    refused = {int(n) for n in re.findall(rb'^<stdin>:(\d+): error: ', run.stderr, re.M)}
    rejected = {int(n) for n in re.findall(rb'^step (\d+) of assertion \d+: .*: not justified', run.stdout, re.M)}
    return run, refused | rejected


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('program')
    parser.add_argument('--rounds', type=int, default=200 * int(os.environ.get('QUARV_TEST_SCALE', 1)))
    parser.add_argument('--seed', type=int, default=1)
    parser.add_argument('--script', help='whose trace is changed; there is one for the test')
    options = parser.parse_args()
    if not shutil.which('z3'):
        return 77
    with tempfile.TemporaryDirectory() as folder:
        lines = trace_of(options.program, options.script, folder)
    rules = [line[16:] for line in
             subprocess.run([options.program, 'rules', 'list'], capture_output=True, text=True, check=True).stdout.splitlines()
             if line[:3].strip().isdigit()]
    # Questions about steps that replay justifies, and why the steps do not hold.
    known, faults = {}, []

    def judge(lines, caught, place):
        trace = Trace([line for n, line in enumerate(lines) if n + 1 not in caught])
        asked = {}
        for step in [line for n, line in enumerate(lines) if 'step' in line and n + 1 not in caught]:
            try:
                asked[trace.question(step)] = step
            except (AttributeError, IndexError, KeyError, RecursionError, TypeError, ValueError) as error:
                faults.append(f'{place}: justified, but makes no sense: {error!r}\n{step}')
        new = [question for question in asked if question not in known]
        for question, why in zip(new, refutations(new)):
            known[question] = why
            if why:
                faults.append(f'{place}: justified, but {why}\n{asked[question]}\n{question}')

    judge(lines, set(), 'genuine')
    num_genuine = len(known)
    forger = Forger(lines, rules, options.seed)
    for round_number in range(options.rounds):
        forged = forger.forged()
        text = ''.join(json.dumps(line) + '\n' for line in forged).encode()
        run, caught = replay(options.program, text)
        if run.returncode not in (0, 1):
            faults.append(f'round {round_number}: exit status {run.returncode}\n{text.decode()}')
        judge(forged, caught, f'round {round_number}')
        # Bytes that are no JSON any more, or none that was meant.
        data = bytearray(text)
        for _ in range(forger.random.choice([1, 3, 30])):
            data[forger.random.randrange(len(data))] = forger.random.choice(b'\0"{}[]:,0129 -\\\n\xff')
        run, _ = replay(options.program, bytes(data))
        if run.returncode not in (0, 1):
            faults.append(f'round {round_number}: exit status {run.returncode} for changed bytes\n{bytes(data)}')
    print(f'{options.rounds} forgeries of {num_genuine} steps: {len(known) - num_genuine} other steps were justified')
    for fault in faults[:5]:
        print(fault)
    print(f'{len(faults)} faults')
    return 1 if faults else 0


if __name__ == '__main__':
    sys.exit(main())
