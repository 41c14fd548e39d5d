'use strict';
// The box in which a formula is typed, and below it what it becomes and why. The work is done by worker.mjs.
(() => {
const place = document.getElementById('try');
const example = `(set-logic ALL)
(declare-const x (_ BitVec 8))
(declare-const y (_ BitVec 8))
(declare-const n Int)
(assert (= (bvadd x #x05) (bvadd #x07 y)))
(assert (not (not (bvule (bvmul x #x01) (bvnot (bvnot y))))))
(assert (< (+ n 1 (* 2 3)) (+ 10 n n)))
(check-sat)
`;
const pause = 400;  // milliseconds without a key, until what is typed is simplified

function make(tag, properties, ...children) {
  const element = document.createElement(tag);
  for (const [key, value] of Object.entries(properties)) {
    if (key.startsWith('on')) element[key] = value;
    else element.setAttribute(key, value);
  }
  element.append(...children);
  return element;
}

if (location.protocol === 'file:') {
  place.replaceChildren(make('p', {}, 'Browsers run WebAssembly in pages of a server alone, not in pages from a file: ',
    make('code', {}, 'python3 -m http.server -d build/docs/site'), ' serves these pages at ', make('code', {}, 'http://localhost:8000'), '.'));
  return;
}

const base = new URL('try/', location.href);
const lines = make('div', { class: 'lines', 'aria-hidden': 'true' });
const input = make('textarea', { id: 'try-input', spellcheck: 'false', autocapitalize: 'off', autocomplete: 'off', wrap: 'off', rows: '10', 'aria-label': 'A script' });
const canonical = make('input', { type: 'checkbox' });
const lenient = make('input', { type: 'checkbox' });
const cancel = make('button', { id: 'try-cancel', disabled: '' }, 'Cancel');
const status = make('span', { class: 'status', role: 'status' });
const fault = make('p', { class: 'fault', role: 'alert', hidden: '' });
const output = make('pre', { id: 'try-output', 'aria-label': 'The script, simplified' });
const steps = make('div', { id: 'try-steps' });
place.replaceChildren(
  make('div', { class: 'editor' }, lines, input), fault,
  make('div', { class: 'controls' },
    make('label', {}, canonical, ' canonical'), make('label', {}, lenient, ' lenient'), cancel, status),
  make('h3', {}, 'Simplified'), output, make('h3', {}, 'Step by step'), steps);
input.value = example;

let module = null;     // a promise of it, compiled
let worker = null;
let timer = 0;
let started = 0;       // when the work began, or 0

function say(text) { status.textContent = text; }
function setBusy(busy) {
  started = busy ? performance.now() : 0;
  cancel.disabled = !busy;
  place.classList.toggle('busy', busy);
}

// Lines of the input have numbers; a wrong one is marked.
function numberLines(wrong) {
  const count = input.value.split('\n').length;
  const numbers = (from, to) => Array.from({ length: Math.max(0, to - from + 1) }, (_, i) => `${from + i}\n`).join('');
  lines.replaceChildren(numbers(1, (wrong || count + 1) - 1));
  if (wrong) lines.append(make('span', { class: 'wrong' }, String(wrong)), '\n' + numbers(wrong + 1, count));
  lines.scrollTop = input.scrollTop;
}

// Where a line and a column are in the input; columns count bytes of UTF-8.
function offsetOf(line, column) {
  const all = input.value.split('\n');
  const before = all.slice(0, line - 1).reduce((sum, text) => sum + text.length + 1, 0);
  const bytes = new TextEncoder().encode(all[line - 1] || '').slice(0, column - 1);
  return before + new TextDecoder().decode(bytes).length;
}
function showFault(error) {
  fault.hidden = !error;
  fault.replaceChildren();
  numberLines(error?.line);
  if (!error) return;
  const message = error.message.replace(/^\d+:\d+: /, '');
  if (error.line === undefined) { fault.append(message); return; }
  const at = offsetOf(error.line, error.column);
  const text = input.value.split('\n')[error.line - 1] || '';
  const column = at - offsetOf(error.line, 1);
  fault.append(make('a', { href: '#try-input', onclick: event => {
    event.preventDefault();
    input.focus();
    input.setSelectionRange(at, at);
  } }, `line ${error.line}, column ${error.column}`), `: ${message}`,
    make('code', { class: 'line' }, text.slice(0, column), make('mark', {}, text.slice(column, column + 1) || ' '), text.slice(column + 1)));
}

// What is replaced stands between marks.
function marked(text, part) {
  const start = text.indexOf(`«${part}»`);
  const [from, to] = start >= 0 ? [start, start + part.length + 1] : [text.indexOf('«'), text.lastIndexOf('»')];
  if (from < 0 || to < from) return make('code', {}, text);
  return make('code', {}, text.slice(0, from), make('mark', {}, text.slice(from + 1, to)), text.slice(to + 1));
}
function titleOf(step) {
  if (step.kind === 'rule') return [make('a', { href: `rules.html#${step.name}` }, step.name), make('code', { class: 'rule' }, step.text)];
  if (step.kind === 'reordering') return ['arguments of ', make('code', {}, step.name), ', each once and in order'];
  return [`${step.kind} of `, make('code', {}, step.name)];
}
function showExplanation(e) {
  if (e.ending === 'unchanged') return make('div', { class: 'explained' }, make('b', {}, `Assertion ${e.assertion}`), ' is left as it is');
  const count = e.counts.reduce((sum, c) => sum + c.times, 0);
  const rest = e.ending === 'untold' ? 'the reader, or the limit on growth, does the rest'
    : e.ending === 'cut short' ? `${count - e.steps.length} further steps` : '';
  const names = Object.entries(e.names || {}).map(([name, text]) => make('div', {}, make('code', {}, `${name} = ${text}`)));
  return make('details', { class: 'explained', open: '' },
    make('summary', {}, make('b', {}, `Assertion ${e.assertion}`), ` in ${count} ${count === 1 ? 'step' : 'steps'}`),
    make('p', {}, make('code', {}, e.before)),
    make('ol', {}, ...e.steps.map(step => make('li', {}, make('div', { class: 'how' }, ...titleOf(step)),
      make('div', {}, marked(step.whole_before, step.before)), make('div', {}, '= ', marked(step.whole_after, step.after))))),
    ...(rest ? [make('p', {}, rest)] : []),
    make('p', {}, 'becomes ', make('code', {}, e.after)),
    ...(names.length ? [make('p', {}, 'where'), ...names] : []));
}

function received({ data }) {
  if (data.output !== undefined) {
    output.textContent = data.output;
    say(`${data.milliseconds < 10 ? data.milliseconds.toFixed(1) : Math.round(data.milliseconds)} ms`);
    showFault(null);
  } else if (data.explanations) {
    steps.replaceChildren(...data.explanations.map(showExplanation));
    if (data.explanations.length === 0) steps.append('there is no assertion');
    place.classList.remove('stale');
    setBusy(false);
  } else {
    say('');
    showFault(data.error);
    setBusy(false);
  }
}
function stop() {
  worker?.terminate();
  worker = null;
  setBusy(false);
}
async function compile() {
  const response = await fetch(new URL('quarv.wasm', base));
  if (!response.ok) throw new Error(`quarv.wasm: ${response.status} ${response.statusText}`);
  return WebAssembly.compile(await response.arrayBuffer());
}
async function run() {
  clearTimeout(timer);
  if (started) stop();  // what is being worked on is no longer what is asked
  place.classList.add('stale');
  setBusy(true);
  const asked = started;
  if (!module) say('loading …');
  module ??= compile();
  try {
    const compiled = await module;
    if (started !== asked) return;
    if (!worker) {
      worker = new Worker(new URL('worker.mjs', base), { type: 'module' });
      worker.onmessage = received;
      worker.onerror = event => { say(event.message || 'the worker does not start'); stop(); };
    }
    say('simplifying …');
    worker.postMessage({ module: compiled, text: input.value, options: { canonical: canonical.checked, lenient: lenient.checked } });
  } catch (e) {
    say(String(e.message));
    module = null;
    setBusy(false);
  }
}

input.oninput = () => {
  showFault(null);
  clearTimeout(timer);
  timer = setTimeout(run, pause);
};
input.onscroll = () => { lines.scrollTop = input.scrollTop; };
canonical.onchange = lenient.onchange = run;
cancel.onclick = () => {
  const seconds = (performance.now() - started) / 1000;
  stop();
  say(`cut off after ${seconds.toFixed(1)} s`);
};
numberLines();
run();
})();
