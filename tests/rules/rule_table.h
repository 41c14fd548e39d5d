#pragma once

#include <span>
#include <string_view>

#include <quarv/term/symbol_tag.h>

/// What every standard rule must report, in the order of their numbers, kept apart from the rule file so that
/// a change there is noticed.
struct RuleRow {
  const char* name;
  quarv::SymbolTag::tag applicant;
  unsigned applicant_value;
  int group;
  const char* signature;
  const char* class_name;
};

inline std::span<const RuleRow> rule_table() {
  using quarv::SymbolTag;
  static constexpr RuleRow rows[] = {
#include "data/bitvector_rules.inc"
  };
  return rows;
}

/// Whether quarv says of the rule that it does not hold for all values.
inline bool is_unsound(std::string_view name) {
  return name == "bvsdiv-self" || name == "eq-difference-subtrahend-minuend" ||
         name == "eq-zero-extend-ones" || name == "eq-zero-extend-ones-swapped";
}
