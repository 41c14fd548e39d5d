#!/usr/bin/env python3
"""Types formulas into the page of the documentation in Chromium: what they become and why, errors, work that is cut off, looks.

usage: page_test.py SITE PROGRAM

QUARV_SCREENSHOTS=FOLDER keeps pictures of what was seen. Status 77: the site was made without the module, or there is no Chromium.
"""
import functools
import http.server
import os
import pathlib
import subprocess
import sys
import threading
import time

sys.path += [str(pathlib.Path(__file__).resolve().parent.parent / folder) for folder in ('batch', 'docs')]
import batch_fixture as batch  # noqa: E402
from browser import Browser  # noqa: E402
from site_test import CONTRAST, OVERFLOW  # noqa: E402

SCRIPT = '''(declare-const x Int)
(declare-const a (_ BitVec 8))
(assert (= (+ x 0 1) 3))
(assert (= (bvand a #x0f (bvnot #xf0)) (bvadd a a)))
'''
OUTPUT = 'document.getElementById("try-output").textContent'
STATUS = 'document.querySelector("#try .status").textContent'
FAULT = 'document.querySelector("#try .fault")'
CANCEL = 'document.getElementById("try-cancel")'


class Handler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


def wait_for(browser, expression, seconds=60):
    end = time.monotonic() + seconds
    while not browser.evaluate(expression):
        assert time.monotonic() < end, f'{expression} does not become true'
        time.sleep(0.05)


def wait_until_done(browser):
    wait_for(browser, f'{CANCEL}.disabled && (!document.querySelector("#try.stale") || !{FAULT}.hidden)')


def type_script(browser, text):
    """As a person does who replaces all that is there."""
    browser.evaluate('{ const box = document.getElementById("try-input"); box.focus(); box.select(); }')
    browser.call('Input.insertText', text=text)


def simplified(program, text, *options):
    return subprocess.run([program, 'simplify', *options, '-'], input=text, capture_output=True, text=True, check=True).stdout


def check_result(browser, program):
    type_script(browser, SCRIPT)
    expected = simplified(program, SCRIPT)
    wait_for(browser, f'{OUTPUT} === {expected!r}')
    wait_until_done(browser)
    assert browser.evaluate(STATUS).endswith(' ms'), browser.evaluate(STATUS)
    steps = browser.evaluate('[...document.querySelectorAll("#try li")].map(e => e.innerText)')
    assert len(steps) == 7, steps
    assert steps[0] == 'simplifier of +\n(= (+ x (+ 0 1)) 3)\n= (= (+ x 1) 3)', steps[0]
    assert browser.evaluate('[...document.querySelectorAll("#try li:first-child mark")].map(e => e.textContent)')[:2] == ['(+ 0 1)', '1']
    assert any(step.startswith('bvadd-double\nrewrite(bvadd(t, t_0)') for step in steps), steps
    link = browser.evaluate('document.querySelector("#try li a").href')
    assert 'rules.html#' in link, link
    # Each rule that is named is on the page of rules.
    names = browser.evaluate('[...document.querySelectorAll("#try li a")].map(a => a.hash.slice(1))')
    browser.evaluate('fetch("rules.html").then(r => r.text()).then(t => { rulesPage = t; }); 0')
    wait_for(browser, 'typeof rulesPage === "string"')
    text = browser.evaluate('rulesPage')
    assert all(f'id="{name}"' in text for name in names), names


def check_options(browser, program):
    for index, option in enumerate(('--canonical', '--lenient')):
        script = SCRIPT + ('; a comment\n' if option == '--canonical' else '(declare-datatype D ((d)))\n')
        box = f'document.querySelectorAll("#try .controls input")[{index}]'
        browser.evaluate(f'{box}.click()')
        type_script(browser, script)
        wait_for(browser, f'{OUTPUT} === {simplified(program, script, option)!r}')
        browser.evaluate(f'{box}.click()')


def check_error(browser):
    type_script(browser, SCRIPT + '; \u00fc \U0001f600\n(assert (= "\u00fc" y))\n')
    wait_for(browser, f'{FAULT}.innerText.startsWith("line 6, column 12: ")')
    assert browser.evaluate('document.querySelector("#try .lines .wrong").textContent') == '6'
    type_script(browser, SCRIPT + '(assert (= x\n   yy))\n')
    wait_for(browser, f'{FAULT}.innerText.startsWith("line 6, column 4: ")')
    assert browser.evaluate(f'{FAULT}.querySelector("mark").textContent') == 'y'
    browser.evaluate(f'{FAULT}.querySelector("a").click()')
    place = browser.evaluate('{ const box = document.getElementById("try-input"); box.value.slice(box.selectionStart); }')
    assert place == 'yy))\n', place
    wait_until_done(browser)


def check_cancel(browser, program):
    """A long work is cut off, by hand and by typing on; then all is as before."""
    browser.evaluate('''{
      const terms = Array.from({length: 60000}, (_, i) => `(assert (< (+ (* ${i + 2} x) y (* ${i} z)) (+ ${i} (* ${i % 7} z) (f (+ x ${i})))))`);
      const box = document.getElementById("try-input");
      box.value = "(declare-const x Int)(declare-const y Int)(declare-const z Int)(declare-fun f (Int) Int)\\n" + terms.join("\\n");
      box.dispatchEvent(new Event("input"));
    }''')
    wait_for(browser, f'!{CANCEL}.disabled && {STATUS} === "simplifying …"')
    time.sleep(0.3)
    browser.evaluate(f'{CANCEL}.click()')
    assert browser.evaluate(STATUS).startswith('cut off after '), browser.evaluate(STATUS)
    assert browser.evaluate(f'{CANCEL}.disabled')
    browser.evaluate('document.getElementById("try-input").dispatchEvent(new Event("input"))')
    wait_for(browser, f'!{CANCEL}.disabled && {STATUS} === "simplifying …"')
    type_script(browser, SCRIPT)
    wait_for(browser, f'{OUTPUT} === {simplified(program, SCRIPT)!r}')
    wait_until_done(browser)


def check_looks(browser):
    pictures = os.environ.get('QUARV_SCREENSHOTS')
    for state, script in (('result', SCRIPT), ('error', SCRIPT + '(assert (= x y))\n')):
        type_script(browser, script)
        wait_for(browser, f'{FAULT}.hidden === {"true" if state == "result" else "false"}')
        wait_until_done(browser)
        for width in (1400, 400):
            for scheme in ('light', 'dark'):
                file = pathlib.Path(pictures) / f'try-{state}-{width}-{scheme}.png' if pictures else None
                browser.look(width, 1800, scheme)
                browser.evaluate('setScheme()')
                browser.look(width, 1800, scheme, file)
                place = f'{state}, {width}, {scheme}'
                assert browser.evaluate(OVERFLOW) <= 0, f'{place}: {browser.evaluate(OVERFLOW)} pixels do not fit'
                contrast, text = browser.evaluate(CONTRAST)
                assert contrast >= 4.5, f'{place}: contrast {contrast:.2f} of "{text}"'


def main(site, program):
    if not (site / 'try' / 'quarv.wasm').is_file():
        raise batch.Skip('the site was made without build/wasm/quarv.wasm, which scripts/wasm.sh builds')
    server = http.server.ThreadingHTTPServer(('127.0.0.1', 0), functools.partial(Handler, directory=site))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    address = f'http://127.0.0.1:{server.server_port}/'
    with Browser() as browser:
        browser.open(address + 'javascript.html')
        wait_for(browser, f'{OUTPUT}.includes("(assert ")')  # of the example that is there from the beginning
        wait_until_done(browser)
        check_result(browser, program)
        check_options(browser, program)
        check_error(browser)
        check_cancel(browser, program)
        check_looks(browser)
        faults = [fault for fault in browser.faults() if not str(fault).startswith(address)]
        assert not faults, faults
        browser.open((site / 'javascript.html').as_uri())
        assert 'http.server' in browser.evaluate('document.getElementById("try").innerText')
        assert not browser.faults(), browser.faults()
    server.shutdown()


if __name__ == '__main__':
    try:
        main(pathlib.Path(sys.argv[1]).resolve(), sys.argv[2])
    except batch.Skip as reason:
        print(f'skipped: {reason}')
        sys.exit(77)
