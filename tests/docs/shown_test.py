#!/usr/bin/env python3
"""Is each public function shown in an example that is run? Names those of the C interface and of the Python package
that no page, and no program of examples/, calls.

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
    for name in missing:
        print('in no example:', name)
    print(f'{len(c)} functions in C, {len(python)} names in Python, {len(missing)} without an example')
    return 1 if missing or not c or not python else 0


if __name__ == '__main__':
    sys.exit(main(pathlib.Path(sys.argv[1])))
