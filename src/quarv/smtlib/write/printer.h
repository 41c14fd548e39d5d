#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include <quarv/export.h>
#include <quarv/smtlib/script.h>

namespace quarv::smtlib {

/// How the printer shows that a sub-term occurs more than once.
enum class Sharing : std::uint8_t {
  automatic,  ///< `let` within an assertion, `define-fun` for what several assertions share: linear in the
              ///< DAG
  let,        ///< `let` only: linear in the DAG of each assertion
  none        ///< not at all: the size of the tree, which can be exponential
};

struct PrintResult {
  std::size_t bytes = 0;              ///< length of the text
  std::size_t length_of_telling = 0;  ///< by how much names that tell are longer than numbers
  bool defines = false;               ///< there are definitions that the script has not
};

/// Prints a script in SMT-LIB 2.6: the same commands in the same order. Throws std::runtime_error when the
/// stream fails, and when without sharing the text would exceed 4 GiB.
QUARV_API PrintResult print(const TermManager& manager, const Script& script, std::ostream& out,
                            Sharing sharing = Sharing::automatic);

/// One term on one line, shared sub-terms as `let`. The printer's names differ from those of `script`. Here
/// and below \throws SortError for a null pointer
QUARV_API PrintResult print_term(const TermManager& manager, const Term* t, std::ostream& out,
                                 Sharing sharing = Sharing::automatic, const Script& script = {});
QUARV_API std::string term_text(const TermManager& manager, const Term* t);

}  // namespace quarv::smtlib
