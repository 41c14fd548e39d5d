"""Puts the C++ samples of all pages into one program, which prints what each of them prints.

usage: cpp_samples.py SOURCE_DIR OUTPUT.cpp

A sample is a complete program, which is compiled and not run, or a piece of the body of a function in which
`mgr`, `simplifier` and two constants `x` and `y` of 32 bits are there already.
"""
import pathlib
import re
import sys

import pages

PRELUDE = '''  quarv::TermManager mgr;
  quarv::StdTermSimplifier simplifier;
  quarv::termsimpl::register_standard_simplifications(&mgr, &simplifier);
  mgr.set_simplifier(&simplifier);
  const quarv::Term* x = mgr.make_constant("x", mgr.get_bv_type(32));
  const quarv::Term* y = mgr.make_constant("y", mgr.get_bv_type(32));
  static_cast<void>(x);
  static_cast<void>(y);
'''

HEADERS = {
    '#include <iostream>',
    '#include <quarv/simpl/register_standard_simplifications.h>',
    '#include <quarv/simpl/std_term_simplifier.h>',
    '#include <quarv/term/term_manager.h>',
}


def samples(source):
    """(name, text) of each sample; name is "page.md:line"."""
    for page in pages.pages(source).values():
        for fence in page.fences:
            if fence.language == 'cpp':
                yield f'{page.name}:{fence.line}', fence.text


def expected_output(text):
    """What the comments `// prints ...` promise."""
    return re.findall(r'// prints (.*)', text)


def program(source):
    headers = set(HEADERS)
    bodies = []
    calls = []
    for number, (name, text) in enumerate(samples(source)):
        headers.update(re.findall(r'^#include .*', text, re.MULTILINE))
        text = re.sub(r'^#include .*\n', '', text, flags=re.MULTILINE)
        bodies.append(f'// {name}\nnamespace sample_{number} {{\n')
        if re.search(r'^int main\(', text, re.MULTILINE):
            bodies.append(text)
        else:
            bodies.append(f'void run() {{\n{PRELUDE}{text}}}\n')
            calls.append(f'  std::cout << "== {name}\\n";\n  sample_{number}::run();\n')
        bodies.append('}\n\n')
    return '\n'.join(sorted(headers)) + '\n\n' + ''.join(bodies) + 'int main() {\n' + ''.join(calls) + '}\n'


if __name__ == '__main__':
    pathlib.Path(sys.argv[2]).write_text(program(sys.argv[1]), encoding='utf-8')
