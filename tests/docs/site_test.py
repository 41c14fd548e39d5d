#!/usr/bin/env python3
"""Looks at the site of the documentation in Chromium: search, light and dark, narrow and wide windows, the C++ interface.

usage: site_test.py SITE

QUARV_SCREENSHOTS=FOLDER keeps pictures of what was seen. Status 77: there is no site, or no Chromium.
"""
import os
import pathlib
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / 'batch'))
import batch_fixture as batch  # noqa: E402
from browser import Browser  # noqa: E402

OVERFLOW = 'document.documentElement.scrollWidth - document.documentElement.clientWidth'
FOUND = '[...document.querySelectorAll("#found a")].map(a => [a.querySelector("b").textContent, a.href])'
# The least contrast of text and what is behind it, of all places where there is text.
CONTRAST = '''(() => {
  const numbers = colour => colour.match(/[\\d.]+/g).map(Number);
  const luminance = c => [0.2126, 0.7152, 0.0722].reduce((sum, weight, i) => {
    const v = c[i] / 255;
    return sum + weight * (v <= 0.03928 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
  }, 0);
  const ground = element => {
    for (let e = element; e; e = e.parentElement) {
      const c = numbers(getComputedStyle(e).backgroundColor);
      if (c.length < 4 || c[3] === 1) return c;
    }
    return [255, 255, 255];
  };
  let least = [99, ''];
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  while (walker.nextNode()) {
    const element = walker.currentNode.parentElement;
    if (!walker.currentNode.textContent.trim() || !element.offsetParent) continue;
    const a = luminance(numbers(getComputedStyle(element).color)), b = luminance(ground(element));
    const contrast = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
    if (contrast < least[0]) least = [contrast, walker.currentNode.textContent.trim().slice(0, 60)];
  }
  return least;
})()'''


def wait_for(browser, expression):
    """The browser loads scripts in its own time; each question gives it some."""
    for _ in range(10000):
        if browser.evaluate(expression):
            return
    raise AssertionError(f'{expression} does not become true')


def check_looks(browser, page):
    """Pictures; nothing sticks out, nothing is hard to read, and dark is dark."""
    pictures = os.environ.get('QUARV_SCREENSHOTS')
    grounds = []
    for width in (1400, 400):
        for scheme in ('light', 'dark'):
            file = pathlib.Path(pictures) / f'site-{page.parent.name}-{page.stem}-{width}-{scheme}.png' if pictures else None
            browser.look(width, 1600, scheme)
            browser.evaluate('setScheme()')  # the page hears of a change with its next frame, which nobody asks for
            browser.look(width, 1600, scheme, file)
            grounds.append(browser.evaluate('getComputedStyle(document.body).backgroundColor'))
            place = f'{page.name}, {width}, {scheme}'
            assert browser.evaluate(OVERFLOW) <= 0, f'{place}: {browser.evaluate(OVERFLOW)} pixels do not fit'
            contrast, text = browser.evaluate(CONTRAST)
            assert contrast >= 4.5, f'{place}: contrast {contrast:.2f} of "{text}"'
    assert len(set(grounds)) == 2, grounds
    assert not browser.faults(), browser.faults()


def look_for(browser, words):
    browser.evaluate('document.getElementById("search").focus()')
    browser.evaluate(f'search_ = document.getElementById("search"); search_.value = {words!r}; search_.oninput()')
    wait_for(browser, '!document.getElementById("found").hidden')
    return browser.evaluate(FOUND)


def check_search(browser, page, site):
    """Text, headings and the interface are found, from each kind of page; what is found is there."""
    browser.open(page.as_uri())
    for words, name, target in [('in-place', '', 'command-line.html'), ('bvmul-power-of-two-first', 'bvmul-power-of-two-first', 'rules.html'),
                                ('session::simplify', 'quarv::Session::simplify', 'api/classquarv_1_1Session.html')]:
        found = look_for(browser, words)
        assert any(name in title and target in address for title, address in found), (words, found)
        file, _, anchor = found[0][1].removeprefix('file://').partition('#')
        text = pathlib.Path(file).read_text(encoding='utf-8')
        assert not anchor or f'id="{anchor}"' in text or f'name="{anchor}"' in text, found[0]
    assert look_for(browser, 'no such word anywhere') == []
    assert 'Nothing found' in browser.evaluate('document.getElementById("found").textContent')
    found = look_for(browser, 'replay trace')
    assert found and browser.evaluate('document.querySelectorAll("#found mark").length') >= 2
    browser.evaluate('search_.dispatchEvent(new KeyboardEvent("keydown", {key: "Escape"}))')
    assert browser.evaluate('document.getElementById("found").hidden')
    assert not browser.faults(), browser.faults()
    assert (site / 'search_index.js').stat().st_size < 2 << 20


def check_controls(browser, site):
    """The button for light and dark, the menu on narrow screens."""
    browser.open((site / 'index.html').as_uri())
    browser.look(400, 800, 'light')
    browser.evaluate('setScheme()')
    ground = 'getComputedStyle(document.body).backgroundColor'
    light = browser.evaluate(ground)
    browser.evaluate('document.getElementById("scheme").click()')
    assert browser.evaluate(ground) != light
    browser.evaluate('document.getElementById("scheme").click()')
    assert browser.evaluate(ground) == light
    assert browser.evaluate('document.getElementById("menu").offsetHeight') == 0
    browser.evaluate('document.getElementById("menu-button").click()')
    assert browser.evaluate('document.getElementById("menu").offsetHeight') > 0
    browser.evaluate('localStorage.removeItem("quarv-scheme")')


def check_code(browser, site):
    """Code is coloured: prompts, keywords of scripts, C++ and Python."""
    for page, words in [('command-line.html', {'$', 'assert', 'declare-const'}), ('library.html', {'const', '#include'}),
                        ('python.html', {'import', 'for'}), ('rule-language.html', {'rewrite', '>>'})]:
        browser.open((site / page).as_uri())
        coloured = browser.evaluate('[...document.querySelectorAll("pre .k, pre .p, pre .m")].map(e => e.textContent.trim())')
        assert words <= set(coloured), (page, words - set(coloured))


def main(site):
    if not (site / 'search_index.js').is_file():
        raise batch.Skip('there is no site')
    with Browser() as browser:
        pages = [site / name for name in ('index.html', 'command-line.html', 'library.html', 'rules.html', 'comparison.html',
                                          'performance.html', 'tutorial.html', 'files.html', 'javascript.html',
                                          'api/index.html', 'api/annotated.html',
                                          'api/classquarv_1_1Session.html', 'api/c__api_8h.html')]
        for page in pages:
            browser.open(page.as_uri())
            check_looks(browser, page)
        browser.look(1400, 1600, 'light')
        check_search(browser, site / 'index.html', site)
        check_search(browser, site / 'api' / 'classquarv_1_1Session.html', site)
        check_code(browser, site)
        check_controls(browser, site)


if __name__ == '__main__':
    try:
        main(pathlib.Path(sys.argv[1]).resolve())
    except batch.Skip as reason:
        print(f'skipped: {reason}')
        sys.exit(77)
