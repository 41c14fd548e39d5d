/// \file
/// Fuzzes the reader with any bytes. It accepts the text or throws an error that names a place in it; what it
/// accepts, it also accepts with simplification; what is printed, it reads, and prints alike; and it goes on
/// behind errors up to the end.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/write/printer.h>

namespace quarv::fuzz {

namespace {

using smtlib::SimplifyOptions;

[[noreturn]] void fail(const std::string& message) {
  std::fputs((message + '\n').c_str(), stderr);
  std::abort();
}

void check_error(const InputError& e, std::string_view text) {
  const std::string message = e.what();
  const auto num_lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  if (e.line() < 1 || e.line() > num_lines || e.column() < 1 || e.column() > text.size() + 1 ||
      !message.starts_with("input:") || message.find(": error: ") == std::string::npos ||
      message.find_first_of("\n\r") != std::string::npos) {
    fail("misshapen message: " + message);
  }
}

/// The text as it is read and printed without simplification; none when it has an error.
std::optional<std::string> read_and_print(std::string_view text) {
  SimplifyOptions plain;
  plain.simplify = false;
  Session session(plain);
  try {
    const smtlib::Script script = smtlib::Reader(session).read(text, "input");
    std::ostringstream out;
    smtlib::print(session.manager(), script, out);
    return std::move(out).str();
  } catch (const InputError& e) {
    check_error(e, text);
    return std::nullopt;
  }
}

std::optional<std::string> simplified(std::string_view text) {
  try {
    std::ostringstream out;
    smtlib::simplify_script(text, "input", out);
    return std::move(out).str();
  } catch (const InputError& e) {
    check_error(e, text);
    return std::nullopt;
  }
}

/// Reads command after command, past errors, as an interactive session does.
void read_on(std::string_view text) {
  Session session({.simplify = false});
  smtlib::Reader reader(session);
  smtlib::Script script;
  reader.set_input(text, "input");
  for (std::size_t num_errors = 0; num_errors <= text.size();) {
    try {
      if (!reader.next_command(script)) return;
    } catch (const InputError& e) {
      check_error(e, text);
      ++num_errors;
    }
  }
  fail("more errors than bytes");
}

}  // namespace

int run_reader(std::string_view text) {
  if (const std::optional<std::string> printed = read_and_print(text)) {
    const std::optional<std::string> again = read_and_print(*printed);
    if (!again) fail("what is printed is not read:\n" + *printed);
    if (*again != *printed) fail("what is printed changes:\n" + *printed + "becomes\n" + *again);
    const std::optional<std::string> simple = simplified(text);
    if (!simple) fail("an error is found only with simplification");
    if (!read_and_print(*simple)) fail("the simplified text is not read:\n" + *simple);
  }
  read_on(text);
  return 0;
}

}  // namespace quarv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return quarv::fuzz::run_reader({reinterpret_cast<const char*>(data), size});
}
