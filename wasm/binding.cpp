// What the WebAssembly module offers to quarv.mjs. Text comes and goes as bytes in the module's memory; a
// call returns what became of it, and `quarv_result` is the text or the error.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <string_view>

#include "explain/derivation.h"
#include "explain/derivation_text.h"
#include <quarv/smtlib/simplify_script.h>
#include <quarv/util/byte_order_mark.h>
#include <quarv/util/input_error.h>

#define QUARV_WASM(name) extern "C" [[gnu::used, gnu::visibility("default"), clang::export_name(name)]]

/// How aborting ends: in a trap, which no handler of exceptions catches, unlike what an exit would throw in
/// JavaScript.
extern "C" void _Exit(int) {
  __builtin_trap();
}

namespace quarv {

namespace {

enum Status : std::int32_t { success, input_error, out_of_memory, failure };
enum Flags : std::uint32_t { canonical = 1, lenient = 2 };

/// What the place of an error begins with.
constexpr const char* input_name = "input";

std::string result;

/// Calls `work`, which makes the result, and turns what it throws into an error.
template <class Work>
Status attempt(Work work) {
  result = std::string();
  try {
    work();
    return success;
  } catch (const InputError& e) {
    result = std::to_string(e.line()) + ':' + std::to_string(e.column()) + ": " + e.message();
    return input_error;
  } catch (const std::bad_alloc&) {
    result = "out of memory";
    return out_of_memory;
  } catch (const std::exception& e) {
    result = e.what();
    return failure;
  }
}

smtlib::SimplifyOptions options_of(std::uint32_t flags) {
  constexpr std::size_t usual_width = 100;  // as of the program
  smtlib::SimplifyOptions options;
  options.smallest = (flags & canonical) == 0;
  options.width = options.smallest ? usual_width : 0;
  options.lenient = (flags & lenient) != 0;
  return options;
}

std::string simplified(std::string_view text, std::uint32_t flags) {
  std::ostringstream out;
  out.exceptions(std::ios::badbit);  // lack of memory must not look like an error of the stream
  smtlib::simplify_script(text, input_name, out, options_of(flags));
  return out.str();
}

/// A JSON object a line for each assertion, as `quarv explain --json` prints them.
std::string explained(std::string_view text, std::uint32_t flags, std::size_t most_steps) {
  constexpr std::size_t length = 300;  // of a term, as the program shows it
  smtlib::SimplifyOptions options = options_of(flags);
  const std::string simplified = cli::trace_of(text, input_name, options);
  options.simplify = false;
  const std::string written = cli::trace_of(without_byte_order_mark(text), input_name, options);
  cli::TraceTerms terms;
  cli::TermText term_text(terms, length, cli::quotation_marks);
  cli::Derivation derivation(terms, written, simplified);
  std::string lines;
  for (std::size_t i = 1; i <= derivation.num_assertions(); ++i) {
    derivation.begin(i);
    cli::Json json = {{"assertion", i}};
    json.update(as_json(follow(derivation, term_text, {.most = most_steps})));
    lines += json.repaired_text();
    lines += '\n';
  }
  return lines;
}

}  // namespace

QUARV_WASM("quarv_allocate") void* quarv_allocate(std::size_t size) {
  return std::malloc(size);
}
QUARV_WASM("quarv_free") void quarv_free(void* block) {
  std::free(block);
}
QUARV_WASM("quarv_result") const char* quarv_result() {
  return result.data();
}
QUARV_WASM("quarv_result_size") std::size_t quarv_result_size() {
  return result.size();
}

QUARV_WASM("quarv_simplify")
std::int32_t quarv_simplify(const char* text, std::size_t size, std::uint32_t flags) {
  return attempt([&] { result = simplified({text, size}, flags); });
}

QUARV_WASM("quarv_explain")
std::int32_t quarv_explain(const char* text, std::size_t size, std::uint32_t flags, std::size_t most_steps) {
  return attempt([&] { result = explained({text, size}, flags, most_steps); });
}

QUARV_WASM("quarv_version") std::int32_t quarv_version() {
  return attempt([] { result = QUARV_VERSION; });
}

}  // namespace quarv
