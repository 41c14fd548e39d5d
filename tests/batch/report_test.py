#!/usr/bin/env python3
"""Opens the pages of `quarv report` in Chromium: no errors, sorting, filtering, dark and narrow windows.

usage: report_test.py PROGRAM

The batch is the corpus, where it is there. QUARV_SCREENSHOTS=FOLDER keeps pictures of what was seen.
"""
import os
import pathlib
import subprocess

import batch_fixture as batch
from browser import Browser

MOST_BYTES = 5 << 20
CELLS = '[...document.querySelectorAll("#files tbody tr")].map(r => r.cells[%d].textContent && r.cells[%d].firstChild.textContent)'
SIDEWAYS = '[...document.querySelectorAll("html, .scroll")].map(e => e.scrollWidth - e.clientWidth)'


def cells(browser, column):
    return browser.evaluate(CELLS % (column, column))


def term_counts(browser):
    """Of files that failed, nothing is shown."""
    return [int(text.replace(',', '') or '0') for text in cells(browser, 2)]


def click_head(browser, column):
    browser.evaluate(f'document.querySelectorAll("#files th button")[{column}].click()')


def check_page(browser, page):
    assert page.stat().st_size < MOST_BYTES, f'{page.stat().st_size} bytes'
    browser.open(page.as_uri())
    assert browser.evaluate('document.documentElement.dataset.ready') == 'yes'
    assert not browser.faults(), browser.faults()
    words = browser.evaluate('document.body.innerText').split()
    assert not {'null', 'undefined'} & set(words), 'a value that is not there is shown'
    milliseconds = browser.evaluate('performance.getEntriesByType("navigation")[0].loadEventStart')
    print(f'{page.name}: {page.stat().st_size} bytes, ready after {milliseconds:.0f} ms')


def check_table(browser):
    statuses = cells(browser, 1)
    assert 'ok' not in statuses[:statuses.count('rejected')], 'failures are not the first'
    click_head(browser, 2)
    sizes = term_counts(browser)
    assert sizes == sorted(sizes)
    click_head(browser, 2)
    sizes = term_counts(browser)
    assert sizes == sorted(sizes, reverse=True) and sizes[0] > sizes[-1]
    click_head(browser, 0)
    names = cells(browser, 0)
    assert names == sorted(names)
    browser.evaluate('search.value = document.querySelector("#files td").textContent; search.oninput()')
    found = cells(browser, 0)
    assert names[0] in found and all(names[0] in name for name in found), found
    browser.evaluate('search.value = ""; search.oninput(); statusChoice.value = "failures"; statusChoice.onchange()')
    assert set(cells(browser, 1)) == {'rejected'}
    browser.evaluate('statusChoice.value = ""; statusChoice.onchange()')
    everything = browser.evaluate('selected().length')
    browser.evaluate('[...document.querySelectorAll(".histogram .hit")].find(h => h.previousSibling).onclick()')
    assert 0 <= browser.evaluate('selected().length') < everything
    browser.evaluate('rangeButton.click()')
    assert browser.evaluate('selected().length') == everything


def check_looks(browser, name):
    pictures = os.environ.get('QUARV_SCREENSHOTS')
    grounds = set()
    for width in (1400, 400):
        for scheme in ('light', 'dark'):
            browser.look(width, 2400, scheme, pathlib.Path(pictures) / f'{name}-{width}-{scheme}.png' if pictures else None)
            grounds.add(browser.evaluate('getComputedStyle(document.body).backgroundColor'))
            overflow = max(browser.evaluate(SIDEWAYS))
            assert overflow <= 0, f'{name}, {width}, {scheme}: {overflow} pixels do not fit'
    browser.look(1400, 2400, 'light')
    assert len(grounds) == 2, grounds


def check_words(browser):
    """Of the small batch: what grew, what shrank, which rule did it."""
    tiles = dict(browser.evaluate('[...document.querySelectorAll(".tile")].map(t => [t.firstChild.textContent, t.querySelector("b").textContent])'))
    assert tiles['Terms'].startswith('−') and tiles['Bytes'].startswith('+'), tiles
    assert cells(browser, 0) == ['shrinks.smt2', 'grows.smt2'], cells(browser, 0)
    assert browser.evaluate('document.querySelector("#grown code").textContent') == 'grows.smt2'
    assert cells(browser, 4) == ['−75.0 %', '±0.0 %'], cells(browser, 4)
    assert [text[0] for text in cells(browser, 7)] == ['−', '+'], cells(browser, 7)
    sentences = browser.evaluate('[...document.querySelectorAll(".rule div")].map(d => d.textContent)')
    assert 't - t becomes 0.' in sentences, sentences
    browser.evaluate('statusChoice.value = "grown"; statusChoice.onchange()')
    assert cells(browser, 0) == ['grows.smt2'], cells(browser, 0)


SUMMARIES = '[...document.querySelectorAll("#tree > details > summary")].map(s => s.textContent)'


def check_tree(browser):
    """Parts are there when they are opened; the search leaves those in which there is something of the name."""
    first = 'document.querySelector("#tree > details")'
    assert browser.evaluate(f'{first}.querySelectorAll("details, .leaf").length') == 0
    browser.evaluate(f'{first}.open = true')
    while not browser.evaluate(f'{first}.querySelectorAll("details, .leaf").length'):
        pass
    summaries = browser.evaluate(SUMMARIES)
    sizes = [int(text.split('→')[0].split()[-1].replace(',', '')) for text in summaries]
    assert sizes == sorted(sizes, reverse=True) and 'Assertion' in summaries[0], summaries
    assert browser.evaluate('document.querySelectorAll("#tree .became").length') > 0
    find = 'field = document.getElementById("find-terms"); field.value = %r; field.onchange()'
    browser.evaluate(find % 'bvadd')
    found = browser.evaluate(SUMMARIES)
    assert 0 < len(found) <= len(summaries), found
    browser.evaluate(find % 'no such name')
    assert browser.evaluate(SUMMARIES) == []
    browser.evaluate(find % '')
    assert browser.evaluate(SUMMARIES) == summaries


def write_small_batch(folder):
    """One file shrinks by a rule, one grows: a number is printed with all its digits."""
    inner = folder / 'small' / 'a' / 'long' / 'path'
    inner.mkdir(parents=True)
    (inner / 'shrinks.smt2').write_text('(declare-const a (_ BitVec 8))\n(assert (= (bvsub a a) #x01))\n')
    (inner / 'grows.smt2').write_text('(declare-const b (_ BitVec 512))\n(assert (= b (_ bv1 512)))\n')


def test(folder, quarv):
    batch.write_queries(folder)
    inputs = batch.CORPUS if batch.CORPUS.is_dir() else folder / 'queries'
    subprocess.run([quarv, 'batch', '--results', 'results.jsonl', inputs], cwd=folder, check=False,
                   stderr=subprocess.DEVNULL)
    subprocess.run([quarv, 'report', 'results.jsonl', '-o', 'batch.html'], cwd=folder, check=True)
    subprocess.run([quarv, 'report', 'queries/1/7.smt2', '-o', 'script.html'], cwd=folder, check=True)
    write_small_batch(folder)
    subprocess.run([quarv, 'batch', '--canonical', '--results', 'small.jsonl', 'small'], cwd=folder, check=True, stderr=subprocess.DEVNULL)
    subprocess.run([quarv, 'report', 'small.jsonl', '-o', 'small.html'], cwd=folder, check=True)
    (folder / 'none.jsonl').write_text((folder / 'small.jsonl').read_text().splitlines()[0] + '\n')  # a share without files
    subprocess.run([quarv, 'report', 'none.jsonl', '-o', 'none.html'], cwd=folder, check=True)
    with Browser() as browser:
        check_page(browser, folder / 'none.html')
        check_page(browser, folder / 'small.html')
        check_looks(browser, 'small')
        check_words(browser)
        check_page(browser, folder / 'batch.html')
        check_looks(browser, 'batch')
        check_table(browser)
        assert not browser.faults(), browser.faults()
        check_page(browser, folder / 'script.html')
        assert browser.evaluate('document.querySelectorAll("mark").length') > 0
        # What steps lead to, which may be larger than what the file becomes.
        assert 'in the normal form (−' in browser.evaluate('document.querySelector(".example div").textContent')
        assert browser.evaluate('count(-1234)') == '−1,234'  # of terms that a rule saves
        check_tree(browser)
        check_looks(browser, 'script')
        assert not browser.faults(), browser.faults()


if __name__ == '__main__':
    batch.main(test)
