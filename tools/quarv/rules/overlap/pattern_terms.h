#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <quarv/rules/language/rule_language.h>
#include <quarv/rules/queries/rule_instance.h>

namespace quarv::cli {

/// Terms of a rule's pattern, as scripts. They need not meet the rule's conditions on values and ages. The
/// rule's variables have names that are free in SMT-LIB, as `overlap_of` gives them.
class PatternTerms {
 public:
  PatternTerms(const rules::Rule& rule, const rules::RuleInstance& instance);

  /// A script that declares the variables and has the pattern in its last command, `simplify`. Attempts, from
  /// 0, differ in the numerals, and in the age of variables and of terms made of them.
  std::string script(std::size_t attempt) const;

 private:
  struct Variable {
    std::size_t position;
    std::string name, sort;
  };

  std::string numeral(const Variable& v, std::size_t choice) const;

  const rules::Rule& rule_;
  const rules::RuleInstance& instance_;
  std::vector<Variable> variables_;
};

/// How many attempts are worth the while: with few numerals, few.
std::size_t num_attempts(const rules::Rule& rule);

/// A few instances of different widths, small ones first.
std::vector<rules::RuleInstance> few_instances(const rules::Rule& rule);

/// On one line.
std::string on_one_line(std::string script);

}  // namespace quarv::cli
