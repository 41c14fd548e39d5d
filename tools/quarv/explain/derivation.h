#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "explain/current_terms.h"
#include "replay/trace_terms.h"
#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

/// The assertions of a script one after the other, each rewritten step by step from what was written to the
/// result, by steps that a trace has. Simplifiers work on terms while they are built, rules on finished
/// ones; so simplifiers come first here too, and what is inside before what is around it: an assertion is
/// gone through again and again, by simplifiers, for the order of arguments, by rules. Each time takes time
/// linear in the assertion and the steps that are made.
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
    /// From the whole assertion before the step down to what is replaced in it, each an argument of the one
    /// before; arguments are to be read as what they have become. Valid until the next step.
    std::span<const Id> path = {};
    Id before = 0;  ///< what is replaced in it
    Id after = 0;
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

  /// The assertion after the last step, once there are no more; before the first one, as it was written.
  Id current() const { return terms_now_.root(); }
  /// How many distinct terms the assertion has now.
  std::size_t size() const noexcept { return terms_now_.size(); }
  /// What the parts have become.
  const CurrentTerms& parts() const noexcept { return terms_now_; }
  /// What it became in the trace. That is another form than `current` before the last step, and where the
  /// trace does not tell all: the reader joins some operations, and terms that rules would make much larger
  /// are kept as they were. What a part of an assertion became is known when there are no more steps.
  Id result() const { return result_.value_or(current()); }
  bool is_part() const noexcept { return !result_; }

 private:
  struct Replacement {
    Id after;
    std::string rule_label;  // empty for a simplifier
    std::string label;
    bool is_definition;
  };
  using Replacements = std::unordered_map<Id, Replacement>;

  /// What one time through the assertion does.
  enum class Pass : std::uint8_t { simplifiers, order, rules };
  /// A term whose parts are looked at.
  struct Frame {
    std::size_t next_arg = 0;
    bool is_chain = false;    // and not only the rest of another one
    std::vector<Id> forms{};  // that it had
  };

  void start(Id root);
  void begin_pass(Pass pass);
  bool begin_next_pass();
  void open(Id id);
  void close();
  void become(Id after);
  bool descend();
  bool rebuild();
  bool find_step(Step& step);
  bool try_known(const Replacements& known, Step& step);
  bool try_reordering(Step& step);
  bool replace(Id after, Step& step);
  std::unordered_set<Id> whole_chains(Id root) const;
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
  CurrentTerms terms_now_;
  std::optional<Id> result_;
  Pass pass_ = Pass::simplifiers;
  std::size_t num_passes_ = 0;          // of this assertion
  bool has_changed_ = false;            // anything in this pass
  bool is_stuck_ = false;               // a term came to contain itself
  bool is_pending_ = false;             // the last step is still to be made
  Id after_ = 0;                        // of it
  std::vector<Id> path_;                // what is open, from the whole assertion inwards
  std::vector<Frame> frames_;           // likewise
  std::vector<std::uint8_t> is_open_;   // by Id
  std::vector<std::uint32_t> done_in_;  // by Id: in which pass of all
  std::uint32_t pass_number_ = 0;
  std::unordered_set<Id> chain_starts_;
};

/// What a step is, in words.
std::string title_of(const Derivation::Step& step);

/// Reads a script and writes down how its terms come about: what a Derivation is made from. Throws
/// InputError.
std::string trace_of(std::string_view text, const std::string& name, const smtlib::SimplifyOptions& options);

}  // namespace quarv::cli
