#pragma once

#include <span>

#include <quarv/term/symbol_tag.h>

/// What every standard rule must report, kept apart from the rule file so that a change there is noticed.
struct RuleRow {
  int number;
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
