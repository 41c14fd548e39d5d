#!/usr/bin/env python3
"""Writes the page of all rules from what the program knows of them.

usage: docs/rules_page.py build/release/bin/quarv > rules.md
"""
import itertools
import re
import subprocess
import sys

HEADING = '''# The rules

All {num_rules} standard rules in the order in which they are tried, as `quarv rules list` and `quarv rules show RULE` print
them, and [the extended rules](#extended-rules). [The rule language](rule-language.md) says how to read them.

What was checked of each standard rule:

- It holds: `quarv rules check` asked a solver ({solvers})
  whether pattern and result can differ where the conditions hold, in all instances of small widths and in some of larger ones. The outcome stands under each rule.
  The tests check all these rules at widths 1 to 4 again.
- It holds for all widths, from 1 to what a machine word can count: proved with Coq, from the rule's text. How, and what
  "all" means: [proofs](proofs.md).
- Its compiled form does what its text says: for widths 1 to 70, on random terms that have the operators of its pattern,
  with all conditions met and with each one broken alone, the class and the interpreted text apply to the same terms with
  the same results, which have the values that the terms had.

{num_unsound} rules do not hold for all values: {unsound}. `quarv simplify` does not apply them where they do not hold:
[strict semantics](semantics.md).

'''


EXTENDED = '''## Extended rules

{num_rules} rules, tried after the standard ones, which make terms smaller. `quarv simplify --rules-only-standard` does without them.

Those on bit-vectors are proved for all widths, too. Those on other theories have no widths: the solver's proof is for all values,
or for all values of the floating-point formats that stand at the rule. Compiled form and text were compared, too.

'''


def quarv(program, *arguments):
    return subprocess.run([program, *arguments], text=True, capture_output=True, check=True).stdout


def known_of(program, number):
    """What `quarv rules show` says, as a dictionary."""
    return dict(line.split(None, 1) for line in quarv(program, 'rules', 'show', str(number)).splitlines())


def escaped(text):
    """Keeps Markdown from reading operators as marks."""
    return re.sub('[*_~<>|&]', lambda match: f'&#{ord(match.group())};', text)


def verdict(sound):
    if sound.startswith('no: '):
        return 'Does not hold for ' + escaped(sound.removeprefix('no: '))
    return 'Holds: ' + escaped(sound.removeprefix('yes: '))


def write_rule(rule, number):
    print(f'### {rule["name"]}\n\n{number}`{rule["text"]}`\n\n- {escaped(rule["reads"])}\n'
          f'- {verdict(rule["sound"])}.\n- Proof: {escaped(rule["proof"])}.\n')


def main(program):
    rows = [line for line in quarv(program, 'rules', 'list').splitlines() if line[:3].strip().isdigit()]
    rules = [known_of(program, number) for number in range(1, len(rows) + 1)]
    solvers = re.search(r' \((z3[^)]*)\)', rules[0]['sound']).group(1)
    names = re.findall(r'^ {4}[^ ]? *\S+ +([a-z0-9-]+): ', quarv(program, 'rules', 'list', '--extended'), re.MULTILINE)
    extended = [known_of(program, name) for name in names]
    for rule in rules + extended:
        rule['sound'] = rule['sound'].replace(f' ({solvers})', '')
    unsound = [f'[{rule["name"]}](#{rule["name"]})' for rule in rules if rule['sound'].startswith('no')]
    print(HEADING.format(num_rules=len(rules), solvers=solvers, num_unsound=len(unsound), unsound=', '.join(unsound)),
          end='')
    for applicant, group in itertools.groupby(rules, lambda rule: rule['applicant']):
        group = list(group)
        print(f'## `{applicant}` from {group[0]["number"]}\n')
        for rule in group:
            write_rule(rule, f'{rule["number"]}: ')
    print(EXTENDED.format(num_rules=len(extended)), end='')
    for rule in extended:
        write_rule(rule, '')


if __name__ == '__main__':
    main(sys.argv[1])
