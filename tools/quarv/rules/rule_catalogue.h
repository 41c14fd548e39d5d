#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/rules/language/rule_language.h>
#include <quarv/session/user_rules.h>

namespace quarv::cli {

/// The standard rules, in the order of their numbers.
std::vector<rules::Rule> standard_rules();

/// The extended rules, in the order of their file.
std::vector<rules::Rule> extended_rules();

/// The rules of a file; "-" is standard input. Throws FileError and InputError.
std::vector<rules::Rule> rules_of_file(const std::string& file);

/// The standard rules, behind them those of files, and the extended ones. Throws FileError and InputError,
/// also for a name that another rule has.
std::vector<rules::Rule> all_rules_and(const std::vector<std::string>& files);
/// Likewise, of files that have been read.
std::vector<rules::Rule> all_rules_and(const std::vector<RuleFile>& files);

/// What the rules with which scripts are simplified are called, in their order: by name, or by number from 1.
/// Throws InputError.
std::vector<std::string> rule_labels(const std::vector<RuleFile>& extra_rules);

/// The place in `all` of the rule of that name, or of that number, from 1.
std::optional<std::size_t> find_rule(const std::vector<rules::Rule>& all, std::string_view name_or_number);

/// The message that `find_rule` finds none.
std::string no_such_rule(const std::vector<rules::Rule>& all, std::string_view name_or_number);

/// As a rule file has it: "NAME: rewrite(...", or the text alone.
std::string named_text(const rules::Rule& rule);

/// Why the standard rule of that name does not hold for all values; null for one that does.
const char* known_counterexample(std::string_view name);

/// Two conditions of a rule that no term meets at once, whatever its width: "(c == 1) and (c == 0)". Empty
/// when none are seen to be so.
std::string contradiction(const rules::Rule& rule);

/// The largest width for which a solver has proved the standard rule of that name within seconds.
std::size_t proved_up_to(std::string_view name);

/// For what a rule is proved: with Coq, for all widths, or by a solver if it has no widths.
struct RuleProof {
  enum class Extent {
    all_widths,  ///< it holds, or never applies
    all_values,  ///< there are no widths
    formats,     ///< some formats of floating-point numbers
    partial,     ///< some widths, or where a further condition holds
  };
  Extent extent = Extent::partial;
  std::string text;  ///< "for all widths", "for all widths where n is not 0", "none for all widths"
};
/// Of the standard rule, or of the extended one, that is number `number`, from 1, in its file.
RuleProof proof_of(const rules::Rule& rule, std::size_t number, bool extended);

}  // namespace quarv::cli
