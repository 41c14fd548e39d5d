#pragma once

#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

#include <quarv/export.h>
#include <quarv/rules/simplification_observer.h>
#include <quarv/session/session.h>
#include <quarv/smtlib/write/printer.h>

namespace quarv::smtlib {

/// How a script is simplified and printed: as the program does it, unless told otherwise.
struct SimplifyOptions : SessionOptions {
  SimplifyOptions() { extended = unfold = true; }

  /// The options that print the normal form, which the standard simplifiers and rules alone lead to.
  static SimplifyOptions normal_form() {
    SimplifyOptions options;
    options.extended = options.unfold = options.smallest = false;
    return options;
  }

  /// Print each term in its smallest form, not in the normal form; never in the library's own semantics. Only
  /// then are definitions unfolded: what is larger than their names is not printed.
  bool smallest = true;
  /// Commands that are not understood are printed as they were written.
  bool lenient = false;
  Sharing sharing = Sharing::automatic;
  /// Commands are laid out to lines of so many bytes, where that can be; those that are as they were, up to
  /// spelling, are printed as they were written, and comments stay. 0: each command on one line.
  std::size_t width = 0;
  bool prints_smallest() const noexcept { return smallest && !library_semantics; }
  /// What a session needs to know.
  SessionOptions session_options() const {
    SessionOptions options = *this;
    options.unfold = unfold && prints_smallest();
    return options;
  }
  SimplificationObserver* observer = nullptr;  ///< is told of each simplification and each rule application
  std::ostream* trace = nullptr;               ///< gets the Trace, all its parts
};

/// What was done, and how long it took.
struct SimplifyReport {
  double read_seconds = 0;  ///< reading, building and simplifying
  double print_seconds = 0;
  std::size_t rounds = 1;          ///< how often the text was read until it did not change any more
  std::size_t passed_through = 0;  ///< commands of the input that were not understood
};

/// Reads `text`, simplifies it and prints it to `out`. The output is a fixed point: reading and printing it
/// gives the same text; to that end the text may be simplified in several rounds, of which observer and trace
/// see only the first, over the input. Throws InputError for errors in the input and in rule files
/// (NotUnderstood, unless `lenient`, for what means nothing here), UnknownRule, and std::runtime_error when
/// the stream fails; something may have been written then.
QUARV_API SimplifyReport simplify_script(std::string_view text, const std::string& file, std::ostream& out,
                                         const SimplifyOptions& options = {});

/// The smallest script that asserts what the formulas say, with declarations of what occurs in them. Throws
/// SortError for a term that is not Boolean, a null one and one of another manager.
QUARV_API std::string smallest_text(const TermManager& manager, std::span<const Term* const> formulas,
                                    const SimplifyOptions& options = {});

}  // namespace quarv::smtlib
