// Simplifies and explains what the page sends, beside the page: it is terminated when that takes too long.
import { load } from './quarv.mjs';

const mostSteps = 50;  // of an assertion
let quarv;

onmessage = async ({ data: { module, text, options } }) => {
  try {
    quarv ??= await load(module);
    const start = performance.now();
    const output = quarv.simplify(text, options);
    postMessage({ output, milliseconds: performance.now() - start });
    postMessage({ explanations: quarv.explain(text, { ...options, steps: mostSteps }) });
  } catch (e) {
    postMessage({ error: { message: e.message, line: e.line, column: e.column } });
  }
};
