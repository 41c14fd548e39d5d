// quarv.mjs in Node: the same bytes as the program, errors with their place, and an instance that stays usable.
//
// usage: node node_test.mjs FOLDER PROGRAM [CORPUS]
//
// FOLDER has quarv.wasm and quarv.mjs. Without CORPUS it reads the folder that the variable QUARV_CORPUS names, one beside the
// tree, or the few scripts that are part of it. Status 77: there is no module, or it is older than its sources.
import { spawnSync } from 'node:child_process';
import { existsSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, rmSync, statSync, symlinkSync, writeFileSync } from 'node:fs';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { tmpdir } from 'node:os';
import path from 'node:path';
import assert from 'node:assert/strict';

const source = path.resolve(fileURLToPath(import.meta.url), '../../..');
const [folder, program] = process.argv.slice(2, 4).map(p => path.resolve(p));
skipWithoutModule();
const { load, QuarvError } = await import(pathToFileURL(path.join(folder, 'quarv.mjs')));
const quarv = await load();

function skip(reason) {
  console.log(`skipped: ${reason}`);
  process.exit(77);
}
function filesIn(folder) {
  return readdirSync(folder, { withFileTypes: true }).flatMap(entry => {
    const file = path.join(folder, entry.name);
    return entry.isDirectory() ? filesIn(file) : [file];
  });
}
function skipWithoutModule() {
  const module = path.join(folder, 'quarv.wasm');
  if (!existsSync(module)) skip(`there is no ${module}: scripts/wasm.sh builds it`);
  const made = statSync(module).mtimeMs;
  const sources = ['src/quarv', 'tools/quarv/explain', 'tools/quarv/replay/trace_terms.cpp', 'wasm'].map(name => path.join(source, name));
  const newer = sources.flatMap(name => statSync(name).isDirectory() ? filesIn(name) : [name])
    .find(file => /\.(h|cpp|rules|mjs)$/.test(file) && statSync(file).mtimeMs > made);
  if (newer) skip(`the module is older than ${path.relative(source, newer)}: scripts/wasm.sh builds it anew`);
}

/** What the program prints for a script, and of its errors the first line, from the place on. */
function native(text, ...options) {
  const run = spawnSync(program, [...options, '-'], { input: text, encoding: 'utf8', maxBuffer: 1 << 28 });
  if (run.status === 0) return { output: run.stdout };
  return { error: run.stderr.split('\n')[0].replace(/^.*?:(\d+:\d+): error: /, '$1: ').replace(/ \(--lenient .*\)$/, '') };
}
function outcome(call) {
  try {
    return { output: call() };
  } catch (e) {
    assert(e instanceof QuarvError, e);
    return { error: e.message };
  }
}
/** The same for a script with a large index, which the module may refuse. */
function compareIndex(text, what) {
  const found = outcome(() => quarv.simplify(text));
  if (!/^\d+:\d+: the index \d+ is too large$/.test(found.error)) assert.deepEqual(found, native(text, 'simplify'), what);
}
/** Compares with the program, as it is, as the normal form and, where it is wrong, leniently. */
function compare(text, what) {
  const found = [[[], {}], [['--canonical'], { canonical: true }]].map(([option, options]) => {
    const result = outcome(() => quarv.simplify(text, options));
    assert.deepEqual(result, native(text, 'simplify', ...option), `${what} ${option}`);
    return result;
  });
  if (!found[0].error) return;  // only what is wrong has another result
  assert.deepEqual(outcome(() => quarv.simplify(text, { lenient: true })), native(text, 'simplify', '--lenient'), `${what} --lenient`);
}
function fails(call, kind, pattern, line, column) {
  assert.throws(call, e => {
    assert(e instanceof QuarvError, e);
    assert.deepEqual([e.kind, e.line, e.column], [kind, line, column], e.message);
    assert.match(e.message, pattern);
    return !e.message.includes('\n');
  });
}

const sum = '(declare-const x Int)\n(assert (= (+ x 0 1) 3))\n(check-sat)\n';

function testCalls() {
  assert.equal(quarv.simplify(sum), '(declare-const x Int)\n(assert (= x 2))\n(check-sat)\n');
  assert.equal(quarv.simplify(new TextEncoder().encode(sum)), quarv.simplify(sum));
  assert.equal(quarv.simplify(''), '');
  assert.equal(quarv.simplify('; \u00fc\ud83d\ude00\n'), native('; \u00fc\ud83d\ude00\n', 'simplify').output);
  assert.match(quarv.version, /^\d+\.\d+\.\d+$/);
  assert.equal(`quarv ${quarv.version}`, spawnSync(program, ['--version'], { encoding: 'utf8' }).stdout.trim().split(',')[0]);
  const explained = native(sum, 'explain', '--json').output.trim().split('\n').map(line => JSON.parse(line));
  assert.deepEqual(quarv.explain(sum), explained);
  assert.equal(quarv.explain(sum)[0].steps.length, 2);
  assert.equal(quarv.explain(sum, { steps: 1 })[0].steps.length, 1);
  assert.equal(quarv.explain(sum, { steps: 1 })[0].ending, 'cut short');
  assert.deepEqual(quarv.explain('(check-sat)'), []);
}

// Words of 64 bits, around them and around those of 32: as numbers, bits, widths, indices and shifts.
function testWords() {
  const edges = [31n, 32n, 33n, 62n, 63n, 64n, 65n].flatMap(k => [(1n << k) - 1n, 1n << k, (1n << k) + 1n]);
  for (const n of edges) {
    compare(`(declare-const x Int)(declare-const r Real)(declare-const b (_ BitVec 70))(declare-const c (_ BitVec 33))
      (assert (= (* x ${n}) (+ ${n} ${n})))
      (assert (< (/ r ${n}) (- ${n}.5 (/ 1 ${n}))))
      (assert (= (div x ${n}) (mod (- ${n}) 1000003)))
      (assert ((_ divisible ${n}) x))
      (assert (= (bvadd b (_ bv${n} 70)) (bvmul (_ bv${n} 70) (_ bv${n} 70)) (bvshl b (_ bv${n} 70))))
      (assert (bvult (bvlshr b (_ bv${n} 70)) (bvashr b (_ bv${n} 70))))
      (assert (= c ((_ extract 40 8) (bvudiv b (_ bv${n} 70))) (bvsrem c ((_ extract 32 0) (_ bv${n} 70)))))
      (assert (= ((_ to_fp 11 53) RNE ${n}.0) ((_ to_fp 8 24) RTZ (_ bv${n} 70))))`, `2^k around ${n}`);
    for (const term of [`((_ rotate_left ${n}) b)`, `((_ repeat ${n}) b)`, `((_ zero_extend ${n}) b)`, `((_ extract ${n} 1) b)`,
      `((_ int_to_bv ${n}) 5)`, `(_ bv3 ${n})`]) {
      compareIndex(`(declare-const b (_ BitVec 8))(assert (= b ${term}))`, term);
    }
    compareIndex(`(declare-const b (_ BitVec ${n}))(assert (= b b))`, `a width of ${n}`);
    compareIndex(`(push ${n})`, `push ${n}`);
  }
}

function testErrors() {
  fails(() => quarv.simplify('(declare-const x Int)\n(assert (= y 1))'), 'input', /^2:12: /, 2, 12);
  fails(() => quarv.explain('(declare-const x Int)\n(assert (= y 1))'), 'input', /^2:12: /, 2, 12);
  fails(() => quarv.simplify('(assert'), 'input', /^1:8: /, 1, 8);
  fails(() => quarv.simplify('\0'), 'input', /^1:1: /, 1, 1);
  assert.equal(quarv.simplify('(set-option :x (y))(minimize z)', { lenient: true }),
    native('(set-option :x (y))(minimize z)', 'simplify', '--lenient').output);
  fails(() => quarv.simplify('(minimize z)'), 'input', /minimize/, 1, 2);
  assert.equal(quarv.simplify(sum, { canonical: true }), native(sum, 'simplify', '--canonical').output);
}

// No call recurses on the depth of a term, nor keeps what it has used.
function testDepthAndRepetition() {
  const depth = 100000;
  const nested = levels => `(declare-const p Bool)(declare-const q Bool)(assert ${'(xor q (and p '.repeat(levels)}p${'))'.repeat(levels)})`;
  const deep = nested(depth);
  assert.equal(quarv.simplify(deep), native(deep, 'simplify').output);
  assert.equal(quarv.simplify(deep, { canonical: true }), native(deep, 'simplify', '--canonical').output);
  assert.equal(quarv.explain(nested(depth / 5), { steps: 1 }).length, 1);
  const open = '(assert ' + '(not '.repeat(depth);
  assert.deepEqual(outcome(() => quarv.simplify(open)), native(open, 'simplify'));
  for (let i = 0; i < 2000; ++i) quarv.simplify(sum);
}

// What is too large for the memory, as an input or within the library, is an error, after which the instance is as new.
function testTooLarge() {
  fails(() => quarv.simplify(new Uint8Array(2 ** 30 - 1)), 'memory', /^out of memory$/);
  assert.equal(quarv.simplify(sum), native(sum, 'simplify').output);
  const script = new Uint8Array(600_000_000).fill('a'.charCodeAt(0));
  script.set(new TextEncoder().encode('(declare-const |'));
  script.set(new TextEncoder().encode('| Bool)'), script.length - 7);
  fails(() => quarv.simplify(script), 'memory', /^out of memory$/);
  assert.equal(quarv.simplify(sum), native(sum, 'simplify').output);
  const literal = `#b${'10'.repeat(10000)}`;
  compare(`(declare-const b (_ BitVec 20000))(assert (= b (bvmul ${literal} ${literal})))`, 'a large literal');
}

// The sample of the documentation, in a folder that has the package.
function testDocumentation() {
  const page = readFileSync(path.join(source, 'docs/javascript.md'), 'utf8');
  const [, sample, printed] = /```js\n(.*?)```\n\nprints\n\n```text\n(.*?)```/s.exec(page);
  const user = mkdtempSync(path.join(tmpdir(), 'quarv_wasm_'));
  try {
    mkdirSync(path.join(user, 'node_modules'));
    symlinkSync(folder, path.join(user, 'node_modules', 'quarv'));
    writeFileSync(path.join(user, 'sample.mjs'), sample);
    const run = spawnSync(process.execPath, [path.join(user, 'sample.mjs')], { encoding: 'utf8' });
    assert.equal(run.stdout, printed, run.stderr);
  } finally {
    rmSync(user, { recursive: true });
  }
}

/** Compares every script up to a size. */
function testCorpus(largest) {
  const beside = path.join(source, '..', 'shared', 'corpus');
  const own = path.join(source, 'tests', 'data', 'corpus');
  const corpus = process.argv[4] || process.env.QUARV_CORPUS || (existsSync(beside) ? beside : own);
  if (corpus === own) console.log('no corpus beside the tree: only the few scripts that are part of it are compared');
  let compared = 0, wrong = 0;
  for (const file of filesIn(corpus).filter(name => name.endsWith('.smt2') && statSync(name).size <= largest)) {
    const text = readFileSync(file);
    compare(text, file);
    ++compared;
    if (text.length > 20_000) continue;
    const explained = native(text, 'explain', '--json');
    if (explained.error) ++wrong;
    const lines = explained.output?.split('\n').filter(Boolean).map(line => JSON.parse(line));
    assert.deepEqual(outcome(() => quarv.explain(text)), explained.error ? explained : { output: lines }, `${file} explain`);
  }
  assert(compared > 20 && wrong > 0, `${corpus}: only ${compared} scripts, ${wrong} of them wrong`);
  return `${compared} scripts, ${wrong} of them with errors`;
}

testCalls();
testWords();
testErrors();
testDepthAndRepetition();
testTooLarge();
testDocumentation();
console.log(`quarv.mjs does as the program does, on ${testCorpus(100_000)}`);
