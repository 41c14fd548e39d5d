'use strict';
// Light or dark, the menu on narrow screens, and the search. Nothing is loaded but search_index.js, when it is needed.
const base = document.currentScript.dataset.base;
const root = document.documentElement;

function remembered() {
  try { return localStorage.getItem('quarv-scheme'); } catch { return null; }  // a page in a file may have no storage
}
const systemScheme = matchMedia('(prefers-color-scheme: dark)');
function setScheme() {
  root.dataset.scheme = remembered() || (systemScheme.matches ? 'dark' : 'light');
}
setScheme();
systemScheme.addEventListener('change', setScheme);

// The words all stand in an entry. A title counts most, then a heading, then the text.
function search(entries, query) {
  const words = query.toLowerCase().split(/\s+/).filter(Boolean);
  const found = [];
  for (const entry of entries) {
    let score = 0;
    for (const word of words) {
      const name = entry.lowerName.indexOf(word);
      const text = entry.lowerText.indexOf(word);
      if (name < 0 && text < 0) { score = -1; break; }
      if (name >= 0) score += entry.lowerName === word ? 50 : name === 0 ? 20 : 10;
      if (text >= 0) score += 1;
    }
    if (score > 0) found.push({ entry, score: score - entry.lowerName.length / 1000 });
  }
  found.sort((a, b) => b.score - a.score);
  return { words, found: found.slice(0, 30).map(f => f.entry), count: found.length };
}

// Appends text, with the words marked.
function appendMarked(element, text, words) {
  const pattern = new RegExp('(' + words.map(w => w.replace(/[.*+?^${}()|[\]\\]/g, '\\$&')).join('|') + ')', 'gi');
  for (const [index, part] of text.split(pattern).entries()) {
    if (index % 2 === 0) { element.append(part); continue; }
    const mark = document.createElement('mark');
    mark.textContent = part;
    element.append(mark);
  }
}
function excerpt(entry, words) {
  const place = Math.max(0, Math.min(...words.map(w => entry.lowerText.indexOf(w)).filter(i => i >= 0), Infinity));
  const start = Number.isFinite(place) ? Math.max(0, place - 60) : 0;
  return (start > 0 ? '… ' : '') + entry.text.slice(start, start + 180) + (entry.text.length > start + 180 ? ' …' : '');
}

document.addEventListener('DOMContentLoaded', () => {
  const input = document.getElementById('search');
  const box = document.getElementById('found');
  const menu = document.getElementById('menu');
  const menuButton = document.getElementById('menu-button');
  let entries = null, chosen = -1;

  document.getElementById('scheme').onclick = () => {
    const other = root.dataset.scheme === 'dark' ? 'light' : 'dark';
    try { localStorage.setItem('quarv-scheme', other); } catch { /* it holds for this page */ }
    root.dataset.scheme = other;
  };
  menuButton.onclick = () => menuButton.setAttribute('aria-expanded', menu.classList.toggle('open'));
  menu.querySelector('[aria-current]')?.scrollIntoView({ block: 'nearest' });

  function choose(index) {
    const links = box.querySelectorAll('a');
    links[chosen]?.classList.remove('chosen');
    chosen = Math.max(-1, Math.min(index, links.length - 1));
    links[chosen]?.classList.add('chosen');
    links[chosen]?.scrollIntoView({ block: 'nearest' });
  }
  function show() {
    box.replaceChildren();
    chosen = -1;
    box.hidden = !input.value.trim() || !entries;
    if (box.hidden) return;
    const result = search(entries, input.value);
    for (const entry of result.found) {
      const link = document.createElement('a');
      link.href = base + entry.url;
      const name = document.createElement('b');
      appendMarked(name, entry.name, result.words);
      const text = document.createElement('span');
      appendMarked(text, entry.page + (entry.text ? ': ' + excerpt(entry, result.words) : ''), result.words);
      link.append(name, text);
      link.onclick = () => { box.hidden = true; };
      box.append(link);
    }
    const sum = document.createElement('p');
    sum.textContent = result.count === 0 ? 'Nothing found' : result.count > 30 ? `The first 30 of ${result.count}` : '';
    if (sum.textContent) box.append(sum);
    choose(0);
  }
  function load() {
    if (entries || document.getElementById('search-index')) return;
    const script = document.createElement('script');
    script.id = 'search-index';
    script.src = base + 'search_index.js';
    script.onload = () => {
      entries = searchIndex.map(([url, page, name, text]) =>
        ({ url, page, name, text, lowerName: name.toLowerCase(), lowerText: text.toLowerCase() }));
      show();
    };
    document.head.append(script);
  }
  input.onfocus = load;
  input.oninput = () => { load(); show(); };
  input.onkeydown = event => {
    if (event.key === 'ArrowDown') choose(chosen + 1);
    else if (event.key === 'ArrowUp') choose(Math.max(0, chosen - 1));
    else if (event.key === 'Enter') box.querySelectorAll('a')[chosen]?.click();
    else if (event.key === 'Escape') { box.hidden = true; input.blur(); }
    else return;
    event.preventDefault();
  };
  document.addEventListener('keydown', event => {
    if (event.key !== '/' || event.ctrlKey || event.metaKey || /^(INPUT|TEXTAREA|SELECT)$/.test(event.target.tagName)) return;
    event.preventDefault();
    input.focus();
  });
  document.addEventListener('click', event => {
    if (!event.target.closest('.search')) box.hidden = true;
  });
});
