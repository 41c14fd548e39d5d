#!/usr/bin/env python3
"""Does the documentation tell the truth?

usage: docs_test.py SOURCE_DIR PROGRAM [--cpp PROGRAM [--cpp-only]] [--build DIR] [--update]

Runs the commands of all pages, in a folder of its own for each page, and compares what they print. `cat FILE` of
a file that is not there yet writes it. A line `...` of the output stands for any lines. Where a program is not
installed that a command needs, the command is passed over.

--cpp PROGRAM  the samples in C++, built: what they print is compared
--build DIR    a build tree to install, for the commands that build a program against quarv; else they are passed over
--cpp-only     no commands: under sanitizers these take long, and the tests of the program run such ones
--update       writes what the commands print into the pages instead of comparing it
"""
import argparse
import difflib
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

import cpp_samples
import pages

PLACEHOLDER = '...'
NEEDS = ('z3', 'cvc5', 'cmake', 'pkg-config')  # Programs whose absence excuses a command.


class Checker:
    def __init__(self, arguments):
        self.arguments = arguments
        self.source = pathlib.Path(arguments.source)
        self.pages = pages.pages(self.source)
        self.faults = []
        self.checked = 0
        self.prefix = None
        self.cache = tempfile.TemporaryDirectory(prefix='quarv_cache_')

    def fault(self, place, message):
        self.faults.append(f'{place}: {message}')

    # Commands.

    def environment(self):
        environment = dict(os.environ, LC_ALL='C.UTF-8')
        program = pathlib.Path(self.arguments.program).resolve()
        environment['PATH'] = f'{program.parent}:{environment["PATH"]}'
        environment['XDG_CACHE_HOME'] = self.cache.name  # what other runs have found out is not to be seen
        if self.prefix:
            environment['CMAKE_PREFIX_PATH'] = self.prefix
            environment['PYTHONPATH'] = str(self.python_path())
            environment['PKG_CONFIG_PATH'] = self.pkg_config_path()
        return environment

    def pkg_config_path(self):
        """What the page on the library says, for the folder where it is installed."""
        start = 'PKG_CONFIG_PATH='
        spans = [span for _, span in self.pages['library.md'].code_spans() if span.startswith(start)]
        if len(spans) != 1:
            raise ValueError('library.md does not say once what PKG_CONFIG_PATH is to be')
        path = spans[0][len(start):].replace('DIR', shlex.quote(self.prefix))
        return subprocess.run(['bash', '-c', 'printf %s ' + path], text=True, stdout=subprocess.PIPE, check=True).stdout

    def python_path(self):
        return pathlib.Path(self.prefix) / 'lib' / 'python3' / 'dist-packages'

    def missing(self, command):
        words = set(re.findall(r'[\w-]+', command.text))
        if 'cmake' in words and not self.prefix:
            return True
        if 'python3' in words and not (self.prefix and self.python_path().exists()):
            return True
        if {'python3', 'z3'} <= words and subprocess.run(['python3', '-c', 'import z3'], env=self.environment(),
                                                         stderr=subprocess.DEVNULL, check=False).returncode != 0:
            return True
        solver = command.text.startswith(('quarv rules check', 'quarv certify')) and 'cvc5' not in words
        return any((n in words or (n == 'z3' and solver)) and not shutil.which(n) for n in NEEDS)

    def run_page(self, page):
        with tempfile.TemporaryDirectory(prefix='quarv_docs_') as folder:
            passed_over = False
            for command in page.commands():
                # What follows a command that was passed over may need what it would have written.
                passed_over = passed_over or self.missing(command)
                if not passed_over:
                    self.run_command(page, command, pathlib.Path(folder))

    def run_command(self, page, command, folder):
        place = f'{page.name}:{command.line}'
        self.checked += 1
        words = shlex.split(command.text)
        if len(words) == 2 and words[0] == 'cat' and not (folder / words[1]).exists():
            file = folder / words[1]
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text('\n'.join(command.output) + '\n', encoding='utf-8')
            return
        result = subprocess.run(['bash', '-c', command.text], cwd=folder, env=self.environment(), text=True,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                timeout=120)
        printed = [line.rstrip() for line in result.stdout.rstrip('\n').split('\n')] if result.stdout else []
        if self.arguments.update:
            self.update(page, command, printed)
        elif not matches(command.output, printed):
            diff = '\n'.join(difflib.unified_diff(command.output, printed, 'page', 'printed', lineterm=''))
            self.fault(place, f'$ {command.text}\n{diff}')
        if result.returncode != 0:
            self.fault(place, f'$ {command.text}\nends with status {result.returncode}')

    def update(self, page, command, printed):
        """Shifts no line numbers: pages are updated from their end."""
        if not matches(command.output, printed):
            self.updates.setdefault(page.name, []).append((command, printed))

    def write_updates(self):
        for name, updates in self.updates.items():
            lines = self.pages[name].lines
            for command, printed in reversed(updates):
                first = command.line + command.text.count('\n')
                indented = [(pages.INDENT + line).rstrip() for line in printed]
                lines[first:first + len(command.output)] = indented
            self.pages[name].path.write_text('\n'.join(lines) + '\n', encoding='utf-8')

    def check_commands(self):
        self.updates = {}
        with tempfile.TemporaryDirectory(prefix='quarv_installed_') as prefix:
            if self.arguments.build and shutil.which('cmake'):
                self.prefix = prefix
                subprocess.run(['cmake', '--install', self.arguments.build, '--prefix', prefix], check=True,
                               stdout=subprocess.DEVNULL)
            for page in self.pages.values():
                self.run_page(page)
        self.write_updates()

    # C++.

    def check_cpp(self):
        result = subprocess.run([self.arguments.cpp], text=True, stdout=subprocess.PIPE, timeout=120, check=False)
        if result.returncode != 0:
            self.fault(self.arguments.cpp, f'ends with status {result.returncode}')
        printed = {}
        for line in result.stdout.splitlines():
            if line.startswith('== '):
                printed[line[3:]] = current = []
            else:
                current.append(line)
        for name, text in cpp_samples.samples(self.source):
            self.checked += 1
            if name in printed and printed[name] != cpp_samples.expected_output(text):
                self.fault(name, 'the sample prints\n' + '\n'.join(printed[name]))

    # Rules.

    def check_rules(self):
        """All rules that stand in prose, and code blocks of rules, are rules."""
        rules = []
        for page in self.pages.values():
            for line, span in page.code_spans():
                if span.startswith('rewrite('):
                    rules.append((f'{page.name}:{line}', span))
            for fence in page.fences:
                if fence.language == 'rules':
                    rules += [(f'{page.name}:{fence.line}', rule) for rule in fence.text.splitlines()]
        text = '\n'.join(rule for _, rule in rules) + '\n'
        self.checked += len(rules)
        with tempfile.NamedTemporaryFile('w', suffix='.rules', encoding='utf-8') as file:
            file.write(text)
            file.flush()
            # A script without commands: the rules are read, and that is all.
            result = subprocess.run([self.arguments.program, 'simplify', '--rules', file.name, os.devnull],
                                    text=True, capture_output=True, check=False)
        if result.returncode != 0:
            number = re.search(r':(\d+):\d+: ', result.stderr)
            place = rules[int(number.group(1)) - 1][0] if number else 'rules'
            self.fault(place, result.stderr.strip())

    # The command line.

    def help(self, *command):
        result = subprocess.run([self.arguments.program, *command, '--help'], text=True, capture_output=True,
                                check=True)
        return result.stdout

    def subcommands(self, *command):
        """All commands below `command`, as tuples of words."""
        section = re.search(r'^Subcommands:\n((?: +\S.*\n)*)', self.help(*command), re.MULTILINE)
        if not section:
            return [command]
        found = []
        for name in re.findall(r'^  (\S+)', section.group(1), re.MULTILINE):
            found += self.subcommands(*command, name)
        return found

    def check_help(self):
        """Each command has a section `## quarv COMMAND`, which names each of its options and no other ones."""
        text = '\n'.join(self.pages['command-line.md'].lines)
        sections = dict(re.findall(r'^## `(quarv [a-z -]+)`\n(.*?)(?=^## |\Z)', text, re.MULTILINE | re.DOTALL))
        commands = {' '.join(('quarv', *c)): c for c in self.subcommands()}
        for name, command in commands.items():
            self.checked += 1
            if name not in sections:
                self.fault('command-line.md', f'there is no section "## `{name}`"')
                continue
            section = sections[name]
            has = set(re.findall(r'^  (?:-\w,)?(--[a-z][a-z-]*)', self.help(*command), re.MULTILINE)) - {'--help'}
            table = '\n'.join(line for line in section.splitlines() if line.startswith('|'))
            tells = set(re.findall(r'(?<![\w-])--[a-z][a-z-]*', re.sub(r'\|[^|]*\|?$', '', table, flags=re.MULTILINE)))
            if 'options of `quarv simplify`' in section:
                simplify = set(re.findall(r'^  (?:-\w,)?(--[a-z][a-z-]*)', self.help('simplify'), re.MULTILINE))
                has -= simplify - tells
            for option in sorted(has - tells):
                self.fault('command-line.md', f'the table of `{name}` says nothing of {option}')
            for option in sorted(tells - has):
                self.fault('command-line.md', f'`{name}` has no option {option}')
        for name in sections.keys() - commands.keys():
            self.fault('command-line.md', f'there is no command {name}')

    # Links.

    def check_links(self):
        made = {page.path: page for page in [self.rules_page()]}
        files = [*self.pages.values(), *made.values(), pages.Page(self.source / 'README.md')]
        for page in files:
            for line, target in page.links():
                self.checked += 1
                place = f'{page.name}:{line}'
                if re.match(r'[a-z]+://', target):
                    continue
                path, _, anchor = target.partition('#')
                if path == 'api/index.html':  # made with the site
                    continue
                file = page.path.parent / path if path else page.path
                if file not in made and not file.is_file():
                    self.fault(place, f'there is no file {path}')
                elif anchor and anchor not in set((made.get(file) or pages.Page(file)).anchors()):
                    self.fault(place, f'{file.name} has no heading {anchor}')

    def check_navigation(self):
        """Every page can be reached on the site."""
        navigation = (self.source / 'docs' / 'mkdocs.yml').read_text(encoding='utf-8')
        for name in self.pages.keys() - {'api.md'}:  # the start page of the C++ interface
            self.checked += 1
            if f': {name}\n' not in navigation:
                self.fault('mkdocs.yml', f'the navigation does not have {name}')

    def rules_page(self):
        """The page of the standard rules, which is made with the site: its links, and the headings for those of others."""
        script = self.source / 'docs' / 'rules_page.py'
        result = subprocess.run([sys.executable, str(script), self.arguments.program], text=True,
                                capture_output=True, check=True)
        with tempfile.TemporaryDirectory(prefix='quarv_docs_') as folder:
            file = pathlib.Path(folder) / 'rules.md'
            file.write_text(result.stdout, encoding='utf-8')
            page = pages.Page(file)
        page.path = self.source / 'docs' / 'rules.md'
        return page


def matches(shown, printed):
    """Whether the lines `printed` are those `shown`, where PLACEHOLDER stands for any number of lines."""
    if PLACEHOLDER not in shown:
        return shown == printed
    at = shown.index(PLACEHOLDER)
    if shown[:at] != printed[:at]:
        return False
    rest = shown[at + 1:]
    return any(matches(rest, printed[i:]) for i in range(at, len(printed) + 1))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('source')
    parser.add_argument('program')
    parser.add_argument('--cpp')
    parser.add_argument('--cpp-only', action='store_true')
    parser.add_argument('--build')
    parser.add_argument('--update', action='store_true')
    checker = Checker(parser.parse_args())
    if checker.arguments.cpp:
        checker.check_cpp()
    if not checker.arguments.cpp_only:
        checker.check_commands()
        checker.check_rules()
        checker.check_help()
        checker.check_links()
        checker.check_navigation()
    for fault in checker.faults:
        print(fault, end='\n\n')
    print(f'{checker.checked} checks, {len(checker.faults)} faults')
    return 1 if checker.faults else 0


if __name__ == '__main__':
    sys.exit(main())
