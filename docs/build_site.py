#!/usr/bin/env python3
"""Builds the site of the documentation: the pages with mkdocs, the C++ interface with doxygen.

usage: docs/build_site.py PROGRAM [FOLDER]

PROGRAM is quarv, which knows the page of the standard rules. The site is FOLDER/site (build/docs/site). Any warning is an
error. Status 77: doxygen or mkdocs is not installed.
"""
import pathlib
import re
import shutil
import subprocess
import sys

SOURCE = pathlib.Path(__file__).resolve().parent.parent


def public_headers():
    """The headers that stand at the top, and all that they include."""
    source = SOURCE / 'src'
    found = set()
    pending = list(source.glob('quarv/*.h'))
    while pending:
        header = pending.pop()
        if header not in found:
            found.add(header)
            text = header.read_text(encoding='utf-8')
            pending += [source / name for name in re.findall(r'^#include <(quarv/[^>]*)>', text, re.MULTILINE)]
    return sorted(str(header.relative_to(SOURCE)) for header in found)


def api_pages(folder):
    """Has doxygen write to `folder`/api."""
    settings = (SOURCE / 'docs' / 'Doxyfile').read_text(encoding='utf-8')
    settings += f'\nINPUT += {" ".join(public_headers())}\nOUTPUT_DIRECTORY = "{folder}"\n'
    subprocess.run(['doxygen', '-'], cwd=SOURCE, input=settings, text=True, check=True)


def check_offline(site):
    """The pages load nothing from elsewhere."""
    load = re.compile(r'<(?:script|img|link)\b[^>]*\b(?:src|href)="(?:https?:)?//[^"]*"')
    for page in site.rglob('*.html'):
        found = load.search(page.read_text(encoding='utf-8'))
        if found and 'rel="canonical"' not in found.group():
            sys.exit(f'{page}: loads {found.group()}')


def main(program, folder):
    for tool in ('doxygen', 'mkdocs'):
        if not shutil.which(tool):
            print(f'{tool} is not installed')
            return 77
    shutil.rmtree(folder, ignore_errors=True)
    pages = folder / 'pages'
    pages.mkdir(parents=True)
    for page in (SOURCE / 'docs').glob('*.md'):
        if page.name != 'api.md':
            shutil.copy(page, pages)
    page = subprocess.run([sys.executable, SOURCE / 'docs' / 'rules_page.py', program], text=True, capture_output=True,
                          check=True)
    (pages / 'rules.md').write_text(page.stdout, encoding='utf-8')
    api_pages(pages)
    shutil.copy(SOURCE / 'docs' / 'mkdocs.yml', folder)
    subprocess.run(['mkdocs', 'build', '--strict', '--quiet'], cwd=folder, check=True)
    shutil.rmtree(pages)
    check_offline(folder / 'site')
    return 0


if __name__ == '__main__':
    try:
        if len(sys.argv) not in (2, 3):
            sys.exit(__doc__)
        folder = pathlib.Path(sys.argv[2] if len(sys.argv) == 3 else SOURCE / 'build' / 'docs')
        sys.exit(main(pathlib.Path(sys.argv[1]).resolve(), folder.resolve()))
    except subprocess.CalledProcessError as e:
        sys.exit(f'{e.cmd[0]} ends with status {e.returncode}')
