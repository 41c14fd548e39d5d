#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/export.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/smtlib/extra_rules.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/script.h>
#include <quarv/smtlib/strict_semantics.h>
#include <quarv/smtlib/write/printer.h>
#include <quarv/smtlib/written_forms.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

struct SimplifyOptions {
  bool simplify = true;     ///< false: plain terms, as they are written
  bool rules = true;        ///< the rewrite rules, beside the simplifiers
  bool simplifiers = true;  ///< the simplifiers of operators, beside the rules
  bool standard = false;    ///< the plain layer instead of strict SMT-LIB semantics
  bool smallest = false;    ///< print each term in its smallest form, not in the normal form
  Sharing sharing = Sharing::automatic;
  SimplificationObserver* observer = nullptr;  ///< is told of each simplification and each rule application
  std::ostream* trace = nullptr;      ///< gets the Trace of how the input, as it is given, is simplified
  std::vector<RuleFile> extra_rules;  ///< to be tried after the standard rules
  std::vector<std::string> disabled_rules;  ///< numbers from 1, the standard rules first, or texts
};

/// A script together with all that it needs: the manager of its terms, the simplifiers, the reader with its
/// names.
///
///     Session session(options);
///     Script script = session.read(text, "file.smt2");   // terms are simplified as they are built
///     print(session.manager(), script, std::cout);
class QUARV_API Session {
 public:
  /// Throws Error for a rule file with a fault, and UnknownRule.
  explicit Session(const SimplifyOptions& options = {});

  TermManager& manager() noexcept { return manager_; }
  StdTermSimplifier& simplifier() noexcept { return simplifier_; }
  Reader& reader() noexcept { return *reader_; }
  /// How the terms read were written; null when that is not kept.
  WrittenForms* written() noexcept { return written_.get(); }
  /// What rules make of a term; the term itself where they are off.
  const Term* finished(const Term* t) { return reader_options_.finish ? reader_options_.finish(t) : t; }

  /// Reads and simplifies all commands. The script's terms are the session's. Throws Error.
  Script read(std::string_view text, std::string file,
              const std::function<void(const Script&)>& command_read = {}) {
    return reader_->read(text, std::move(file), command_read);
  }
  /// Likewise, for large texts: the script refers to `text`, which must outlive it, where `read` copies.
  Script read_in_place(std::string_view text, std::string file,
                       const std::function<void(const Script&)>& command_read = {}) {
    return reader_->read_in_place(text, std::move(file), command_read);
  }

 private:
  const Term* normalized(const Term* t);

  TermManager manager_;
  StdTermSimplifier simplifier_;
  StrictSemantics strict_{simplifier_};
  std::unique_ptr<WrittenForms> written_;
  ReaderOptions reader_options_;
  std::unique_ptr<Reader> reader_;
  std::size_t towers_ = 0;  // terms that rules made larger
};

/// Number of distinct sub-terms of `terms`, themselves included.
QUARV_API std::size_t dag_size(const TermManager& manager, std::span<const Term* const> terms);

/// What happened, for those who want to know.
struct SimplifyReport {
  std::size_t terms_after = 0;  ///< distinct sub-terms of the output
  double read_seconds = 0;      ///< reading, building and simplifying
  double print_seconds = 0;
  std::size_t rounds = 1;  ///< how often the text was read until it did not change any more
};

/// Reads `text`, simplifies it and prints it to `out`. The output is a fixed point: reading and printing it
/// gives the same text; to that end the text may be simplified in several rounds, of which observer and trace
/// see the first: what became of the input. Throws Error for faults of the input and of rule files,
/// UnknownRule, and std::runtime_error when the stream fails; something may have been written then.
QUARV_API SimplifyReport simplify_script(std::string_view text, const std::string& file, std::ostream& out,
                                         const SimplifyOptions& options = {});

}  // namespace quarv::smtlib
