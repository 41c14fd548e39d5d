#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

/// The formulas of a script as trees for people to open, and what became of each part.
///
/// Every term, as it is written and as it became, is a row of numbers; arguments have smaller numbers than
/// the term. The rows are cut into texts of JSON, so that a page reads those alone that someone looks at.
struct TermTree {
  static constexpr std::size_t rows_in_part = 4096;

  struct Formula {
    std::size_t row;
    std::size_t terms_before;  ///< distinct sub-terms
    std::size_t terms_after;
  };

  std::vector<std::string> heads;  ///< operators, constants
  /// Each an array of rows: head, how many terms it is when written out (0 for the constants: one), the row
  /// of what it became by itself, its arguments' rows.
  std::vector<std::string> parts;
  std::vector<Formula> formulas;  ///< of assertions and `check-sat-assuming`, in their order
};

/// Throws InputError.
TermTree make_term_tree(std::string_view text, const std::string& name, smtlib::SimplifyOptions options);

}  // namespace quarv::cli
