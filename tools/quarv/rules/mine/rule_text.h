#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "rules/mine/collector.h"
#include <quarv/rules/queries/rule_instance.h>

namespace quarv::cli {

/// The one place where small terms are put into the words of the rule language.

/// An integer that a rule can name, with its value in a sample.
struct NamedInteger {
  std::string text;  ///< "m1", "size(t2)"
  std::size_t value;
};

/// How the constants of a pattern are named.
struct ConstantNames {
  bool powers_of_two = false;  ///< constants that are powers of two bind their exponents: pow2(c1, k1)
  bool zeros_named =
      false;  ///< literals that are joined to others have names, so that their sizes can be said
  bool ones_as_one = false;  ///< what is both, of one bit, is written as 1, not as -1
};

/// A pattern of the rule language.
class PatternText {
 public:
  PatternText(const Sample& sample, const SmallTerm& result, ConstantNames names);

  const std::string& text() const { return text_; }
  /// What any rule with the pattern states: identities, constants, literals.
  const std::vector<std::string>& conditions() const { return conditions_; }
  const std::vector<NamedInteger>& integers() const { return integers_; }
  /// Names of constants with their values, where these are fixed.
  const std::vector<NamedInteger>& constants() const { return constants_; }

  /// The result, its integers being written as given, in their order.
  std::string result(const SmallTerm& result, const std::vector<std::string>& integers) const;

 private:
  std::string literal(const SmallTerm::Node& node) const;
  std::string leaf(const SmallTerm::Node& node, bool joined);
  std::string constant(const SmallTerm::Node& node);
  static std::string application(const SmallTerm::Node& node, const std::vector<std::string>& indices,
                                 const std::vector<std::string>& args);
  void state(std::string condition);

  bool fixed_;
  bool folds_;  // the result computes with constants
  ConstantNames names_;
  std::string text_;
  std::vector<std::string> conditions_;
  std::vector<NamedInteger> integers_;
  std::vector<NamedInteger> constants_;
  std::size_t num_named_literals_ = 0;
  std::vector<std::size_t> occurrences_;  // of variables, by number
};

/// What a node is without variables: the result computes it from the pattern's constants. By node of `t`.
std::vector<bool> constant_parts(const SmallTerm& t);

/// The size of a term in which what can be computed is one constant.
std::size_t folded_size(const SmallTerm& t);

/// "rewrite(PATTERN, CONDITIONS) >> RESULT"
std::string rule_text(const std::string& pattern, const std::vector<std::string>& conditions,
                      const std::string& result);

/// The widths and integers that a rule has in the sample from which its pattern was made.
rules::RuleInstance instance_of(const rules::Rule& rule, const SmallTerm& sample);

}  // namespace quarv::cli
