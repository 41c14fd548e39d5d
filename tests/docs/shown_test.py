#!/usr/bin/env python3
"""Is each public function shown in an example that is run? Names those of the C interface, of the Python package and of
C++ that no page, and no program of examples/, calls.

usage: shown_test.py SOURCE_DIR
"""
import ast
import pathlib
import re
import sys

import pages

# What Python calls by itself, or by a sign, begins with an underscore and is left out.
CODE_BLOCK = '    '


def c_functions(source):
    header = (source / 'src/quarv/c_api.h').read_text(encoding='utf-8')
    header = re.sub(r'/\*.*?\*/', '', header, flags=re.S)
    return re.findall(r'^QUARV_API [^;(]*?\b(quarv_\w+)\(', header, flags=re.M)


def python_names(source):
    """(name, pattern by which it is used)"""
    for node in ast.parse((source / 'python/quarv/__init__.pyi').read_text(encoding='utf-8')).body:
        if isinstance(node, ast.FunctionDef):
            yield node.name, rf'\b{node.name}\b'
        elif isinstance(node, ast.ClassDef):
            for member in node.body:
                if isinstance(member, ast.FunctionDef) and not member.name.startswith('_'):
                    yield f'{node.name}.{member.name}', rf'\.{member.name}\b'


# What people do with C++ passes through these: classes with the names of all their public functions, and headers with
# those of the functions and operators that stand by themselves.
CPP_CLASSES = {'term/term_manager.h': 'TermManager', 'term/substitution.h': 'Substitution', 'term/translation.h': 'Translator',
               'session/session.h': 'Session', 'session/model.h': 'Model'}
CPP_HEADERS = ['term/walk.h', 'term/dag_size.h', 'term/substitution.h', 'term/translation.h', 'smtlib/composed.h', 'smtlib/text.h',
               'smtlib/simplify_script.h', 'smtlib/write/printer.h', 'smtlib/write/script_text.h', 'smtlib/read/assertions.h']
# The library calls these itself, across its layers; they are of no use to others.
CPP_OWN_USE = {'Session::count_wasted', 'Session::set_named_builder', 'visit_unchecked'}


def public_part(text, name):
    """The body of a class up to what is private, without its nested classes and the bodies of its functions."""
    body = re.search(rf'^class (?:QUARV_API )?{name}\b[^;]*?{{\n public:\n(.*?)^(?: private:|}};)', text, flags=re.M | re.S)[1]
    return re.sub(r'^  (?:  .*|}.*)$', '', body, flags=re.M)


def cpp_names(source):
    """(name, pattern by which it is used)"""
    def without_comments(header):
        return re.sub(r'//.*', '', (source / 'src/quarv' / header).read_text(encoding='utf-8'))

    found = {}
    for header, name in CPP_CLASSES.items():
        for function in re.findall(r'^  \S[^(=\n]*?\b(?!operator\b)([a-z]\w*)\(', public_part(without_comments(header), name), flags=re.M):
            found[f'{name}::{function}'] = rf'(?:\.|->|::){function}\b'
    for header in CPP_HEADERS:
        text = without_comments(header)
        for function in re.findall(r'^(?:QUARV_API |void )[^;(=]*?\b([a-z]\w*)\(', text, flags=re.M):
            found[function] = rf'(?<!\.)\b{function}\('
        for function in re.findall(r'^inline constinit const \w+ (\w+){', text, flags=re.M):
            found[f'{function} {{}}'] = rf'(?<![.:])\b{function}(?:\(|\b[,}}])'
    return sorted((name, use) for name, use in found.items() if name not in CPP_OWN_USE)


def cpp_code(source, all_pages):
    """The samples of all pages, which are compiled and run, and the programs of examples/."""
    fences = [f.text for page in all_pages.values() for f in page.fences if f.language == 'cpp']
    blocks = [line for line in all_pages['library.md'].lines if line.startswith(CODE_BLOCK)]
    files = [f.read_text(encoding='utf-8') for f in sorted((source / 'examples').glob('*')) if f.suffix in ('.cpp', '.h')]
    return '\n'.join(fences + blocks + files)


def shown(source, page, examples):
    """What readers of the page see of code that is run: its blocks, and the programs of examples/."""
    blocks = [line for line in page.lines if line.startswith(CODE_BLOCK)]
    return '\n'.join(blocks + [f.read_text(encoding='utf-8') for f in sorted((source / 'examples').glob(examples))])


def main(source):
    all_pages = pages.pages(source)
    c_code = shown(source, all_pages['c-api.md'], '*.c')
    python_code = shown(source, all_pages['python.md'], '*.py')
    c = c_functions(source)
    python = list(python_names(source))
    missing = [f'C: {name}' for name in c if not re.search(rf'\b{name}\(', c_code)]
    missing += [f'Python: {name}' for name, use in python if not re.search(use, python_code)]
    cpp = cpp_names(source)
    code = cpp_code(source, all_pages)
    missing += [f'C++: {name}' for name, use in cpp if not re.search(use, code)]
    for name in missing:
        print('in no example:', name)
    print(f'{len(c)} functions in C, {len(python)} names in Python, {len(cpp)} in C++, {len(missing)} without an example')
    return 1 if missing or not c or not python or not cpp else 0


if __name__ == '__main__':
    sys.exit(main(pathlib.Path(sys.argv[1])))
