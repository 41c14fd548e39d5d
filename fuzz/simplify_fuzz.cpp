/// \file
/// Fuzzes simplification. The input becomes a script over all theories; under each of many assignments every
/// term has the same value as it was written, as it is read without simplification, and as the simplified
/// script is printed and read again. The evaluator has its own arithmetic.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "byte_source.h"
#include "reference/library_terms.h"
#include "script_generator.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::fuzz {

namespace {

using reference::Evaluation;

constexpr std::size_t num_assignments = 8;

/// The terms of a script after one way of treating it.
struct Variant {
  const char* name;
  std::string text;  // that was read
  Expressions expressions{};
  std::vector<std::size_t> roots{};
};

[[noreturn]] void fail(const std::string& message) {
  std::fputs((message + '\n').c_str(), stderr);
  std::abort();
}

/// Reads a script and takes what it asserts and simplifies.
Variant read(const char* name, const std::string& text, const smtlib::SimplifyOptions& options,
             Sorts& sorts) {
  Variant variant{name, text};
  Session session(options);
  smtlib::Script script;
  try {
    script = smtlib::Reader(session).read(variant.text, name);
  } catch (const InputError& e) {
    fail(variant.text + e.what());
  }
  reference::LibraryTerms terms(session.manager(), sorts, variant.expressions);
  for (const smtlib::Command& command : script.commands) {
    using Kind = smtlib::Command::Kind;
    if (command.kind != Kind::assertion && command.kind != Kind::simplify) continue;
    for (const Term* t : script.terms_of(command)) variant.roots.push_back(terms.place(t));
  }
  return variant;
}

void compare(const Variant& original, const Variant& variant) {
  if (original.roots.size() != variant.roots.size()) {
    fail(original.text + "lost or gained assertions as it was " + variant.name + ":\n" + variant.text);
  }
  Evaluation before(original.expressions, num_assignments), after(variant.expressions, num_assignments);
  for (std::size_t i = 0; i < original.roots.size(); ++i) {
    const Sort* sort = original.expressions[original.roots[i]].sort;
    const auto& x = before[original.roots[i]];
    const auto& y = after[variant.roots[i]];
    const std::size_t different = first_difference(sort, x, y);
    if (different == num_assignments) continue;
    std::string values;
    for (std::size_t p = 0; p < original.expressions.size(); ++p) {
      const Expression& e = original.expressions[p];
      if (e.kind != Expression::variable) continue;
      values += "  " + e.name + " = " + to_string(e.sort, before[p].value(different)) + '\n';
    }
    fail(original.text + "is changed as it is " + variant.name + ":\n" + variant.text + "term " +
         std::to_string(i) + " had the value " + to_string(sort, x.value(different)) + " and has " +
         to_string(sort, y.value(different)) + " for\n" + values);
  }
}

std::string simplified(const std::string& text, const smtlib::SimplifyOptions& options) {
  std::ostringstream out;
  smtlib::simplify_script(text, "script", out, options);
  return std::move(out).str();
}

}  // namespace

int run_simplify(const std::uint8_t* data, std::size_t size) {
  ByteSource source(data, size);
  smtlib::SimplifyOptions plain, simplifying;
  plain.simplify = false;
  simplifying.rules = !source.one_in(8);
  if (source.one_in(4)) simplifying.sharing = smtlib::Sharing::let;
  const bool check_again = source.one_in(4);

  Sorts sorts;
  GeneratedScript script = ScriptGenerator(source, sorts).generate();
  if (script.roots.empty()) return 0;
  const Variant original{"written", script.text, std::move(script.expressions), std::move(script.roots)};
  compare(original, read("read", original.text, plain, sorts));
  const std::string output = simplified(original.text, simplifying);
  compare(original, read("simplified", output, plain, sorts));
  if (!check_again) return 0;
  const std::string again = simplified(output, simplifying);
  if (again != output) fail(original.text + "becomes\n" + output + "which becomes\n" + again);
  return 0;
}

}  // namespace quarv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return quarv::fuzz::run_simplify(data, size);
}
