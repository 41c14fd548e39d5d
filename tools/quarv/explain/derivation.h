#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "replay/trace_terms.h"
#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

/// The assertions of a script one after the other, each rewritten step by step from what was written to the
/// result, by steps that a trace has. Simplifiers work on terms while they are built, rules on finished
/// ones; so simplifiers come first here too, and what is inside before what is around it.
class Derivation {
 public:
  using Id = TraceTerms::Id;

  struct Step {
    enum Kind : std::uint8_t {
      simplifier,
      rule,
      definition,  ///< what the definition of a function says of its arguments, simplified
      reordering   ///< the arguments of a conjunction or disjunction in another order, each once, or an
                   ///< absorbing one
    };
    Kind kind;
    std::string rule_label;  ///< the rule's name, or its number; empty where no rule was applied
    std::string label;       ///< the rule's text, the simplifier's operator, the function
    Id root;                 ///< the whole assertion before the step
    Id before;               ///< what is replaced in it
    Id after;
  };

  /// `written` is the trace of the script as it is, `simplified` that of its simplification, both in
  /// TraceFile's format; they must outlive this.
  Derivation(TraceTerms& terms, std::string_view written, std::string_view simplified);

  /// How many assertions there are.
  std::size_t num_assertions() const noexcept { return written_.assertions().size(); }

  /// Goes on to an assertion, from 1, behind the one before.
  void begin(std::size_t assertion);
  /// Likewise, but follows a term alone that occurs in the assertion, by its name in `written`.
  void begin(std::size_t assertion, TermName term);

  /// False when there is nothing more to do.
  bool next(Step& step);

  /// The assertion after the last step.
  Id current() const noexcept { return current_; }
  /// What it became in the trace. That is another form than `current` before the last step, and where the
  /// trace does not tell all: the reader joins some operations, and terms that rules would make much larger
  /// are kept as they were. What a part of an assertion became is known when there are no more steps.
  Id result() const noexcept { return result_.value_or(current_); }
  bool is_part() const noexcept { return !result_; }

 private:
  struct Replacement {
    Id after;
    std::string rule_label;  // empty for a simplifier
    std::string label;
    bool is_definition;
  };
  using Replacements = std::unordered_map<Id, Replacement>;

  bool try_known(const Replacements& known, Step& step);
  bool try_reordering(Step& step);
  bool replace(Id before, Id after, Step& step);
  void learn(const TraceStep& step);
  void index_chains();
  std::vector<Id> elements(Id chain) const;
  bool is_absorbed(const std::vector<Id>& elements, std::optional<Id> absorbing) const;
  Id reordered(Id chain) const;
  bool is_chain(Id id) const;

  TraceTerms& terms_;
  TraceFile written_;
  TraceFile simplified_;
  TraceTerms::Names written_names_;
  TraceTerms::Names simplified_names_;
  TraceStep read_ahead_;
  bool has_read_ahead_ = false;
  Replacements simplifications_;
  Replacements rewrites_;
  std::vector<std::uint64_t> digests_;             // of the elements of chains, by Id; 0: none yet
  std::unordered_map<std::uint64_t, Id> chains_;   // those of the trace, by the digest of their elements
  std::unordered_map<std::string, Id> constants_;  // "true", "false"
  std::unordered_set<Id> seen_;                    // forms of the whole assertion
  Id current_ = 0;
  std::optional<Id> result_;
};

/// What a step is, in words.
std::string title_of(const Derivation::Step& step);

/// Reads a script and writes down how its terms come about: what a Derivation is made from. Throws
/// InputError.
std::string trace_of(std::string_view text, const std::string& name, const smtlib::SimplifyOptions& options);

}  // namespace quarv::cli
