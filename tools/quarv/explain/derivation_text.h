#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

#include "explain/derivation.h"
#include "explain/term_text.h"

namespace quarv::cli {

/// Which steps of a derivation are shown.
struct ShownSteps {
  std::size_t most = 100;
  std::size_t only = 0;   ///< the one of this number, from 1; 0: all
  std::string rule = {};  ///< those of the rule that is called so; empty: all

  bool shows(std::size_t number, const Derivation::Step& step) const {
    return (only == 0 || only == number) && (rule.empty() || rule == step.rule_label);
  }
};

/// Prints the term that a derivation has begun with, those of its steps that are to be shown, the result and,
/// of a longer derivation, what was done how often and how many sub-terms that took away. A step of which the
/// text shows nothing does not count. Returns how many steps were shown.
std::size_t print_derivation(const TraceTerms& terms, Derivation& derivation, TermText& text,
                             const ShownSteps& shown, std::ostream& out);

/// Shows how one term is simplified that uses names of `context`, a script. Throws InputError.
void explain_term(const std::string& context, const std::string& term, const SessionOptions& options,
                  const Marks& marks, std::ostream& out);

}  // namespace quarv::cli
