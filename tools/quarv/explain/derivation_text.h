#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

#include "explain/derivation.h"
#include "explain/term_text.h"

namespace quarv::cli {

/// Prints the term that a derivation has begun with, at most so many of its steps, and the result.
void print_derivation(Derivation& derivation, TermText& text, std::size_t most_steps, std::ostream& out);

/// Shows how one term is simplified that uses names of `context`, a script. Throws InputError.
void explain_term(const std::string& context, const std::string& term, const SessionOptions& options,
                  const Marks& marks, std::ostream& out);

}  // namespace quarv::cli
