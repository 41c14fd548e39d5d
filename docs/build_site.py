#!/usr/bin/env python3
"""Builds the site of the documentation: the pages with mkdocs, the C++ interface with doxygen, both in one frame (docs/site).

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
sys.path.append(str(SOURCE / 'docs' / 'site'))
import highlight  # noqa: E402
import search_index  # noqa: E402

# Pages that doxygen makes. While mkdocs works, empty ones stand in for them, so that links to them are not taken for mistakes.
API_PAGES = ('index', 'annotated', 'namespaces', 'files', 'functions')
# mkdocs puts a page around this, and what stands before and after it is the frame for doxygen.
API_CONTENT = 'THE_PAGES_OF_THE_INTERFACE'


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
    """Has doxygen write to `folder`/site/api, in the frame of the other pages. Returns the file of all names."""
    frame = folder / 'site' / 'api' / 'frame.html'
    before, _, after = frame.read_text(encoding='utf-8').partition(f'<p>{API_CONTENT}</p>')
    frame.unlink()
    before = before.replace('index.html">C++ interface', 'index.html" aria-current="page">C++ interface')
    title = re.compile('<title>.*?</title>')
    (folder / 'header.html').write_text(title.sub('<title>$title – quarv</title>', before), encoding='utf-8')
    (folder / 'footer.html').write_text(after, encoding='utf-8')
    tags = folder / 'names.xml'
    settings = (SOURCE / 'docs' / 'Doxyfile').read_text(encoding='utf-8')
    settings += (f'\nINPUT += {" ".join(public_headers())}\nOUTPUT_DIRECTORY = "{folder}/site"\nGENERATE_TAGFILE = "{tags}"\n'
                 f'HTML_HEADER = "{folder}/header.html"\nHTML_FOOTER = "{folder}/footer.html"\n')
    subprocess.run(['doxygen', '-'], cwd=SOURCE, input=settings, text=True, check=True)
    return tags


def stand_in_for_api(pages):
    (pages / 'api').mkdir()
    for name in API_PAGES:
        (pages / 'api' / f'{name}.html').touch()
    (pages / 'api' / 'frame.md').write_text(API_CONTENT, encoding='utf-8')


def add_try(site):
    """Lets the page of JavaScript run quarv, if scripts/wasm.sh has built it for browsers."""
    module = SOURCE / 'build' / 'wasm'
    if not (module / 'quarv.wasm').is_file():
        return
    shutil.copytree(SOURCE / 'docs' / 'try', site / 'try')
    for name in ('quarv.wasm', 'quarv.mjs'):
        shutil.copy(module / name, site / 'try')
    page = site / 'javascript.html'
    page.write_text(page.read_text(encoding='utf-8').replace(
        '</head>', '<link rel="stylesheet" href="try/try.css">\n<script src="try/try.js" defer></script>\n</head>', 1), encoding='utf-8')


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
    stand_in_for_api(pages)
    shutil.copy(SOURCE / 'docs' / 'mkdocs.yml', folder)
    shutil.copytree(SOURCE / 'docs' / 'site', folder / 'theme', ignore=shutil.ignore_patterns('*.py', '__pycache__'))
    subprocess.run(['mkdocs', 'build', '--strict', '--quiet'], cwd=folder, check=True)
    site = folder / 'site'
    tags = api_pages(folder)
    made = sorted(site.glob('*.html'))
    for page in made:
        page.write_text(highlight.page(page.read_text(encoding='utf-8')), encoding='utf-8')
    search_index.write(site, made, tags)
    add_try(site)
    for left in ('header.html', 'footer.html'):
        (folder / left).unlink()
    shutil.rmtree(pages)
    shutil.rmtree(folder / 'theme')
    check_offline(site)
    return 0


if __name__ == '__main__':
    try:
        if len(sys.argv) not in (2, 3):
            sys.exit(__doc__)
        folder = pathlib.Path(sys.argv[2] if len(sys.argv) == 3 else SOURCE / 'build' / 'docs')
        sys.exit(main(pathlib.Path(sys.argv[1]).resolve(), folder.resolve()))
    except subprocess.CalledProcessError as e:
        sys.exit(f'{e.cmd[0]} ends with status {e.returncode}')
