/**
 * quarv in Node and in browsers: simplifies SMT-LIB 2 scripts and explains how.
 *
 *     import { load } from './quarv.mjs';
 *     const quarv = await load();
 *     console.log(quarv.simplify('(declare-const x Int) (assert (= (+ x 0) 1))'));
 *
 * A call runs to its end. Where it is to be cut off, run it in a worker and terminate that. What is exported is described
 * in quarv.d.mts.
 */

export class QuarvError extends Error {
  constructor(message, kind, line, column) {
    super(message);
    this.name = 'QuarvError';
    this.kind = kind;
    this.line = line;
    this.column = column;
  }
}

const kinds = [undefined, 'input', 'memory', 'failure'];
const longestInput = 2 ** 30;  // more than the module can have in memory
const encoder = new TextEncoder();
const decoder = new TextDecoder('utf-8', { ignoreBOM: true });

/** The module, compiled, from where it lies beside this file. */
async function compile() {
  const url = new URL('quarv.wasm', import.meta.url);
  if (url.protocol === 'file:') {
    const { readFile } = await import('node:fs/promises');
    return WebAssembly.compile(await readFile(url));
  }
  const response = await fetch(url);
  if (!response.ok) throw new Error(`${url}: ${response.status} ${response.statusText}`);
  return WebAssembly.compile(await response.arrayBuffer());
}

/** An instance of the module. Of what that asks its host for it needs a clock alone, so all else is refused. */
function instanceOf(module) {
  const notSupported = 52;  // WASI's errno
  const host = {};
  for (const { module: space, name } of WebAssembly.Module.imports(module)) {
    host[space] ??= {};
    host[space][name] = () => notSupported;
  }
  host.wasi_snapshot_preview1.clock_time_get = (_clock, _precision, place) => {
    const nanoseconds = BigInt(Math.round(performance.now() * 1e6));
    new DataView(exports.memory.buffer).setBigUint64(place >>> 0, nanoseconds, true);
    return 0;
  };
  const { exports } = new WebAssembly.Instance(module, host);
  exports._initialize();
  return exports;
}

function errorOf(message, kind) {
  const place = kind === 'input' ? /^(\d+):(\d+): /.exec(message) : null;
  return new QuarvError(message, kind, ...(place ? [Number(place[1]), Number(place[2])] : []));
}

export class Quarv {
  #module;
  #exports;

  constructor(module) {
    this.#module = module;
    this.#start();
  }

  #start() {
    this.#exports = instanceOf(this.#module);
  }

  /** Calls an exported function with a text and options; gives its result. */
  #call(name, text, ...options) {
    const bytes = typeof text === 'string' ? encoder.encode(text) : text;
    let status, result;
    try {
      const start = bytes.length < longestInput ? this.#exports.quarv_allocate(bytes.length + 1) >>> 0 : 0;
      if (start === 0) throw errorOf('out of memory', 'memory');
      new Uint8Array(this.#exports.memory.buffer, start, bytes.length).set(bytes);
      status = this.#exports[name](start, bytes.length, ...options);
      result = decoder.decode(new Uint8Array(this.#exports.memory.buffer, this.#exports.quarv_result() >>> 0,
        this.#exports.quarv_result_size() >>> 0));
      this.#exports.quarv_free(start);
    } catch (e) {
      this.#start();  // a trap leaves the instance in an unknown state
      throw e instanceof QuarvError ? e : errorOf(e.message, 'failure');
    }
    if (status === 0) return result;
    if (kinds[status] !== 'input') this.#start();  // memory that has grown does not shrink
    throw errorOf(result, kinds[status]);
  }

  simplify(text, options) {
    return this.#call('quarv_simplify', text, flagsOf(options));
  }

  explain(text, options) {
    const lines = this.#call('quarv_explain', text, flagsOf(options), options?.steps ?? 20);
    return lines.split('\n').filter(Boolean).map(line => JSON.parse(line));
  }

  get version() {
    this.#exports.quarv_version();
    return decoder.decode(new Uint8Array(this.#exports.memory.buffer, this.#exports.quarv_result() >>> 0,
      this.#exports.quarv_result_size() >>> 0));
  }
}

function flagsOf({ canonical = false, lenient = false } = {}) {
  return (canonical ? 1 : 0) | (lenient ? 2 : 0);
}

export async function load(source) {
  const module = source === undefined ? await compile()
    : source instanceof WebAssembly.Module ? source : await WebAssembly.compile(source);
  return new Quarv(module);
}
