/** What is wrong with a script, or what went wrong. The message is one line, for a script "LINE:COLUMN: what is wrong". */
export class QuarvError extends Error {
  /** `input`: the script is not right; `memory`: there was not enough for it; `failure`: anything else. */
  readonly kind: 'input' | 'memory' | 'failure';
  /** Where the script is not right, from 1, columns in bytes of UTF-8; for `input` alone. */
  readonly line: number | undefined;
  readonly column: number | undefined;
}

export interface Options {
  /** The normal form, for comparing, instead of the smallest form in the words of the input. */
  canonical?: boolean;
  /** Commands that are not understood stay as they are. */
  lenient?: boolean;
}

export interface ExplainOptions extends Options {
  /** The most steps that are told of an assertion; 20 unless told otherwise. */
  steps?: number;
}

/** One replacement in an assertion. In `whole_before` and `whole_after` it stands between « and ». */
export interface Step {
  step: number;
  kind: 'simplifier' | 'rule' | 'definition' | 'reordering';
  /** The operator of a simplifier, the name of a rule. */
  name: string;
  /** The rule itself. */
  text?: string;
  before: string;
  after: string;
  whole_before: string;
  whole_after: string;
}

/** How an assertion is simplified: a line of `quarv explain --json`. */
export interface Explanation {
  /** Counted from 1. */
  assertion: number;
  before: string;
  steps: Step[];
  after: string;
  /** `cut short`: there are more steps than were asked for; `untold`: the last ones are not known. */
  ending: 'unchanged' | 'complete' | 'cut short' | 'untold';
  counts: { name: string; times: number; terms_saved: number }[];
  /** What short names in these terms stand for. */
  names?: Record<string, string>;
}

/** An instance of the module, with a memory of its own of at most a gigabyte. After an error it can be used as before. */
export class Quarv {
  constructor(module: WebAssembly.Module);
  /** The script, simplified, as `quarv simplify` prints it. Throws QuarvError. */
  simplify(script: string | Uint8Array, options?: Options): string;
  /** How each assertion is simplified. Throws QuarvError. */
  explain(script: string | Uint8Array, options?: ExplainOptions): Explanation[];
  /** The version of the library. */
  readonly version: string;
}

/** `source`: quarv.wasm, compiled or not, where it does not lie beside this file. */
export function load(source?: WebAssembly.Module | BufferSource): Promise<Quarv>;
