#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <quarv/rules/language/rule_language.h>
#include <quarv/session/session.h>

namespace quarv::cli {

struct RuleOverlap;

/// A term to which two rules apply, and what simplification makes of it after the one and after the other.
struct SplitTerm {
  std::string term;       ///< a script on one line
  std::size_t size = 0;   ///< bits and nodes
  bool is_below = false;  ///< the inner rule applies to a part
  std::string after_outer, after_inner;
};

/// Two rules that apply to one term: one to the whole, one to it as well or to a part.
struct OverlappingRules {
  std::size_t outer = 0, inner = 0;  ///< which rules
  std::size_t num_terms = 0;         ///< on how many terms both ways were tried
  std::optional<SplitTerm> split{};  ///< the smallest on which they do not meet
};

/// What happens to the terms of one rule's pattern when they are simplified.
struct Firing {
  bool fires = false;
  std::size_t num_terms = 0;  ///< of the terms to which it would apply, on how many it was tried
  std::string first;          ///< if it does not fire: what takes most of these terms, "rule bvand-commute"
  std::string term{};         ///< the smallest such term, a script on one line
};

/// Applies pairs of rules to the terms on which they overlap, and simplifies both results with all rules and
/// simplifiers of a session. One search is for one thread.
class OverlapSearch {
 public:
  /// `rules` are the rules of a session with these options, in their order. Both must outlive the search.
  OverlapSearch(std::span<const rules::Rule> rules, const SessionOptions& options);
  ~OverlapSearch();

  /// The overlaps of rule `i`, as it is written, with rules in its parts, in all their orders; with later
  /// rules also at its root. \param checked what at least one of the two is to be
  std::vector<OverlappingRules> overlaps_of(std::size_t i, const std::vector<bool>& checked);

  /// Whether a rule is ever applied to terms of its pattern.
  Firing firing_of(std::size_t i);

  /// A rule that is turned off is never applied.
  bool is_on(std::size_t i) const;

 private:
  struct Taker {
    std::size_t num_terms = 0, size = 0;
    std::string term{};
  };
  using Takers = std::map<std::string, Taker>;  // of terms that are a rule's

  bool overlaps_at(std::size_t position, const rules::Rule& order, std::size_t order_number,
                   OverlappingRules& pair);
  bool try_term(const std::string& script, const RuleOverlap& overlap, std::size_t order_number,
                OverlappingRules& pair);
  const Term* read(const std::string& script);
  const Term* applied(std::size_t rule, std::size_t order, const Term* t);
  const Term* settled(const Term* t);
  std::vector<const Term*> parts_of(const Term* t) const;
  std::size_t size_of(const Term* t) const;
  void watch(const std::string& script, std::size_t i, std::size_t order, Firing& firing, Takers& takers);
  std::string label(std::size_t i) const;

  std::span<const rules::Rule> rules_;
  std::vector<std::vector<rules::Rule>> orders_;
  std::unique_ptr<Session> session_;
};

}  // namespace quarv::cli
