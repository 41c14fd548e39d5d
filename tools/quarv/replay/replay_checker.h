#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "reference/floats.h"
#include "reference/values.h"
#include "replay/literal_evaluation.h"
#include "replay/trace_file.h"
#include <quarv/rules/language/rule_language.h>

/// The means to check a trace: rules are matched by their text, foldings are evaluated by arithmetic of their
/// own. No simplifier, no rewriting rule and no number class of the library has a part in it.
namespace quarv::cli {

/// What earlier steps have shown: which term an application stands for.
class KnownTerms {
 public:
  explicit KnownTerms(const TraceFile& trace) : trace_(trace) {}

  /// Enters all terms that have been defined by now, and a step.
  void learn(TermName defined) {
    plain_.emplace(trace_.term(defined).key() + suffix(trace_.term(defined)), defined);
  }
  void learn(const Expression& before, TermName after) { simplified_[before.key() + suffix(before)] = after; }

  /// What the application stands for: what a simplifier made of it, or else the term itself.
  std::optional<TermName> find(const Expression& e) const;
  /// The term itself.
  std::optional<TermName> find_plain(const Expression& e) const;

 private:
  /// What arguments do not say of the sort.
  static std::string suffix(const Expression& e) {
    const bool sorted_by_arguments = e.kind == Expression::operation && e.op != "const";
    return sorted_by_arguments ? std::string() : '@' + std::to_string(e.sort);
  }

  const TraceFile& trace_;
  std::unordered_map<std::string, TermName> plain_;
  std::unordered_map<std::string, TermName> simplified_;
};

/// Why a rule does not apply: the first part of it that does not fit.
struct Mismatch {
  std::string reason;        ///< "the pattern has bvadd"
  std::size_t column = 0;    ///< of the part in the rule's text, from 1
  std::size_t position = 0;  ///< in the pattern
  bool in_pattern = true;    ///< or else in the conditions, and the whole pattern fits
};

/// Tries a rule on a term, condition by condition in the order in which they are written.
class RuleMatch {
 public:
  RuleMatch(const TraceFile& trace, const rules::Rule& rule) : trace_(trace), rule_(rule) {}

  /// Why the rule does not apply to `root`; nothing when it does.
  std::optional<Mismatch> mismatch(const Expression& root, std::optional<TermName> name);

  /// The sub-term at a position up to which the pattern fits; the root's name is the one that was given.
  TermName term(std::size_t position) const { return terms_[position]; }
  /// The value of an integer name of the rule.
  std::uint64_t integer(std::size_t parameter) const { return integers_[parameter]; }

  /// Whether the rule's result, built on the sub-terms that were matched, is `after`.
  bool yields(TermName after, const KnownTerms& known) const;

  /// Whether the integers of the rule, if it has any, are all zero in the match.
  bool all_integers_are_zero() const;

 private:
  bool is_value(std::size_t position, const mpz_class& value) const;
  std::optional<Mismatch> pattern_mismatch(const Expression& root, std::optional<TermName> name);
  bool holds(const rules::Condition& c);
  std::optional<std::size_t> width(std::size_t position) const;
  std::optional<mpz_class> number(std::size_t position) const;
  std::optional<mpq_class> side(const rules::IntExpr& e) const;
  bool has_sort(std::size_t position, rules::SortKind kind) const;
  bool is_constant(std::size_t position, rules::NamedConstant constant) const;
  std::optional<std::uint64_t> evaluate(const rules::IntExpr& e) const;
  const Expression& at(std::size_t position) const {
    return position == 0 ? *root_ : trace_.term(terms_[position]);
  }
  std::optional<Expression> literal(const rules::ResultNode& node,
                                    const std::vector<std::optional<TermName>>& built) const;

  const TraceFile& trace_;
  const rules::Rule& rule_;
  const Expression* root_ = nullptr;
  std::vector<TermName> terms_;  // by position; the root's is not used
  std::vector<std::uint64_t> integers_;
};

/// Checks what simplifiers do.
class FoldingChecker {
 public:
  FoldingChecker(const TraceFile& trace, const KnownTerms& known) : trace_(trace), known_(known) {}

  /// Whether it is shown that the two are equal.
  bool check(const Expression& before, TermName after) const;

 private:
  bool check_directly(const Expression& before, TermName after) const;
  bool check_cases(const Expression& e, TermName after) const;

  /// A sum: coefficients by term, and a constant.
  struct Sum {
    std::map<TermName, mpq_class> coefficients;
    mpq_class constant;
  };
  /// What an array holds: what is written to it, from outside, and the array written to.
  struct Contents {
    std::vector<std::pair<TermName, TermName>> writes;
    TermName base = 0;
    bool complete = true;  ///< or else there are too many writes
  };
  enum class Comparison { equal, different, unknown };

  bool is_commuted(const Expression& before, const Expression& after) const;
  bool is_congruent(const Expression& before, const Expression& after) const;
  bool are_equal(TermName a, TermName b) const;

  std::optional<bool> truth(TermName t) const;
  std::optional<reference::Value> literal(TermName t) const;
  std::optional<reference::Value> evaluated(const Expression& e) const;
  bool check_there_and_back(const Expression& e, TermName after) const;

  bool check_boolean(const Expression& e, TermName after) const;
  void add_atoms(TermName t, std::vector<TermName>& atoms) const;
  bool evaluate(TermName t, const std::map<TermName, bool>& atoms) const;

  Sum sum_of(const std::vector<std::pair<TermName, mpq_class>>& summands) const;
  bool is_integer(TermName t) const { return trace_.sort_of(t).kind == TraceSort::integer; }
  bool is_integral(const Sum& s) const;
  bool is_arithmetic(std::size_t sort) const;
  bool check_arithmetic(const Expression& e, TermName after) const;
  bool check_atom(const Expression& e, TermName after) const;
  bool check_congruence(const Expression& e, TermName after) const;
  bool check_floor(TermName argument, TermName after) const;

  bool is_nan(const Expression& value) const;
  std::optional<mpq_class> index_value(TermName t) const;
  const std::string& index_key(TermName t) const;
  Comparison compare(TermName a, TermName b) const;
  Comparison compare_values(TermName a, TermName b) const;
  Comparison compare_arrays(TermName a, TermName b) const;
  Contents contents(TermName array) const;
  Contents reduced(const Contents& c) const;
  std::optional<mpz_class> cardinality(std::size_t sort) const;
  bool check_equality(const Expression& e, TermName after) const;
  bool check_store(const Expression& e, TermName after) const;

  const TraceFile& trace_;
  const KnownTerms& known_;
  mutable LiteralEvaluation evaluation_;
  // What has been found out, as terms do not change.
  mutable std::map<std::pair<TermName, TermName>, Comparison> compared_;
  mutable std::unordered_map<TermName, std::string> index_keys_;
  mutable std::size_t num_compared_ = 0;  // for the present step
};

}  // namespace quarv::cli
