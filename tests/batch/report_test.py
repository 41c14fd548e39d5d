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
CELLS = '[...document.querySelectorAll("#files tbody tr")].map(r => r.cells[%d].firstChild.textContent)'


def cells(browser, column):
    return browser.evaluate(CELLS % column)


def click_head(browser, column):
    browser.evaluate(f'document.querySelectorAll("#files th button")[{column}].click()')


def check_page(browser, page):
    assert page.stat().st_size < MOST_BYTES, f'{page.stat().st_size} bytes'
    browser.open(page.as_uri())
    assert browser.evaluate('document.documentElement.dataset.ready') == 'yes'
    assert not browser.faults(), browser.faults()
    milliseconds = browser.evaluate('performance.getEntriesByType("navigation")[0].loadEventStart')
    print(f'{page.name}: {page.stat().st_size} bytes, ready after {milliseconds:.0f} ms')


def check_table(browser):
    statuses = cells(browser, 1)
    assert 'ok' not in statuses[:statuses.count('rejected')], 'failures are not the first'
    click_head(browser, 2)
    sizes = [int(text.replace(',', '')) for text in cells(browser, 2)]
    assert sizes == sorted(sizes)
    click_head(browser, 2)
    sizes = [int(text.replace(',', '')) for text in cells(browser, 2)]
    assert sizes == sorted(sizes, reverse=True) and sizes[0] > sizes[-1]
    click_head(browser, 0)
    names = cells(browser, 0)
    assert names == sorted(names)
    browser.evaluate('search.value = document.querySelector("#files td").textContent; search.oninput()')
    assert cells(browser, 0) == names[:1]
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
    for look, width, height, scheme in (('light', 1280, 2400, 'light'), ('dark', 1280, 2400, 'dark'), ('narrow', 380, 2400, 'light')):
        browser.look(width, height, scheme, pathlib.Path(pictures) / f'{name}-{look}.png' if pictures else None)
        grounds.add(browser.evaluate('getComputedStyle(document.body).backgroundColor'))
        overflow = browser.evaluate('document.documentElement.scrollWidth - document.documentElement.clientWidth')
        assert overflow <= 0, f'{name}, {look}: {overflow} pixels do not fit'
    assert len(grounds) == 2, grounds


def test(folder, quarv):
    batch.write_queries(folder)
    inputs = batch.CORPUS if batch.CORPUS.is_dir() else folder / 'queries'
    subprocess.run([quarv, 'batch', '--results', 'results.jsonl', inputs], cwd=folder, check=False,
                   stderr=subprocess.DEVNULL)
    subprocess.run([quarv, 'report', 'results.jsonl', '-o', 'batch.html'], cwd=folder, check=True)
    subprocess.run([quarv, 'report', 'queries/1/7.smt2', '-o', 'script.html'], cwd=folder, check=True)
    with Browser() as browser:
        check_page(browser, folder / 'batch.html')
        check_looks(browser, 'batch')
        check_table(browser)
        assert not browser.faults(), browser.faults()
        check_page(browser, folder / 'script.html')
        assert browser.evaluate('document.querySelectorAll("mark").length') > 0
        check_looks(browser, 'script')
        assert not browser.faults(), browser.faults()


if __name__ == '__main__':
    batch.main(test)
