/// \file
/// What a script becomes.
#pragma once

#include <sstream>
#include <string>
#include <utility>

#include <quarv/smtlib/simplify_script.h>

namespace quarv::smtlib {

/// The text of the script, simplified.
inline std::string simplified_script(const std::string& text, const SimplifyOptions& options = {}) {
  std::ostringstream out;
  simplify_script(text, "in.smt2", out, options);
  return std::move(out).str();
}

}  // namespace quarv::smtlib
