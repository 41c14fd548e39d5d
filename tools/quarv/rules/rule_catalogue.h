#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <quarv/rules/rule_language.h>

namespace quarv::cli {

/// The standard rules, in the order of their numbers.
std::vector<rules::Rule> standard_rules();
/// How many they are; reads none of them.
std::size_t num_standard_rules();

/// The rules of a file; "-" is standard input. Throws FileError and InputError.
std::vector<rules::Rule> rules_of_file(const std::string& file);

/// Why the standard rule of that number, from 1, does not hold for all values; null for one that does.
const char* known_counterexample(std::size_t number);

/// Two conditions of a rule that no term meets at once, whatever its width: "(c == 1) and (c == 0)". Empty
/// when none are seen to be so.
std::string contradiction(const rules::Rule& rule);

/// The largest width for which a solver has proved the standard rule of that number within seconds.
std::size_t proved_up_to(std::size_t number);

/// What is proved with Coq of the standard rule of that number, for all widths.
struct RuleProof {
  bool everywhere = false;  ///< the rule holds, or never applies
  std::string text;         ///< "for all widths", "for all widths where n is not 0", "none for all widths"
};
RuleProof proof_for_all_widths(std::size_t number);

}  // namespace quarv::cli
