#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "explain/derivation.h"
#include "explain/term_text.h"
#include "io/json.h"

namespace quarv::cli {

/// Which steps of a derivation are shown.
struct ShownSteps {
  std::size_t most = 20;
  std::size_t only = 0;   ///< the one of this number, from 1; 0: all
  std::string rule = {};  ///< those of the rule that is called so; empty: all

  bool shows(std::size_t number, const Derivation::Step& step) const {
    return (only == 0 || only == number) && (rule.empty() || rule == step.rule_label);
  }
};

/// What is said of a derivation.
struct ShownDerivation {
  enum Ending : std::uint8_t {
    unchanged,
    complete,   ///< the steps lead to the result
    cut_short,  ///< likewise, but not all are shown
    untold      ///< the trace does not tell all
  };
  struct ShownStep {
    std::size_t number;
    Derivation::Step::Kind kind;
    std::string rule_label;                 ///< empty where no rule was applied
    std::string label;                      ///< the rule's text, the operator
    std::string before, after;              ///< what was replaced, and by what
    std::string whole_before, whole_after;  ///< all around it, with marks
  };
  /// What was done how often, and how many sub-terms that took away.
  struct Count {
    std::string name;
    std::size_t steps = 0;
    std::int64_t saved = 0;
  };

  std::string before;
  std::vector<ShownStep> steps;
  Ending ending = unchanged;
  std::string after;
  std::string printed = {};   ///< in its place, where that is known
  bool prints_anew = false;   ///< that differs from what was written
  std::size_t num_steps = 0;  ///< whether they are shown or not
  std::vector<Count> counts;
  std::vector<TermText::Name> names;
};

/// Follows a derivation that has begun to its end. A step of which no text shows anything does not count.
ShownDerivation follow(Derivation& derivation, TermText& text, const ShownSteps& shown);

/// Prints the term that it begins with, the result, what is printed in its place, of a longer derivation
/// where `with_counts` what was done, the steps that are shown, and what their names stand for.
void print(const ShownDerivation& derivation, bool with_counts, std::ostream& out);

/// The same for programs.
Json as_json(const ShownDerivation& derivation);

/// Shows how one term is simplified that uses names of `context`, a script. Throws InputError.
void explain_term(const std::string& context, const std::string& term, const SessionOptions& options,
                  const Marks& marks, std::ostream& out);

}  // namespace quarv::cli
