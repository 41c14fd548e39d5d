#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <quarv/export.h>
#include <quarv/rules/term_normalizer.h>

namespace quarv {

/// Rules of a user's own.
struct RuleFile {
  std::string name;  ///< for messages
  std::string text;  ///< a rule a line, with or without a name
};

/// Appends the rules of `file` to those of `normalizer`. Throws InputError, with the file's name and the
/// place in it, for a text that is not a rule, and for a name that another rule has. A rule whose result does
/// not fit the term that it is applied to throws InputError at that time.
QUARV_API void register_rule_file(const RuleFile& file, TermNormalizer& normalizer);

/// Whether one of the extended rules has this name. No rule of a user's may have it.
QUARV_API bool is_extended_rule(std::string_view name);

/// A rule to be turned off that does not exist.
class QUARV_API UnknownRule : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

/// Turns off a rule, given by its name, by its number in the order of registration, from 1, or by its text.
/// Throws UnknownRule.
QUARV_API void disable_rule(const std::string& which, TermNormalizer& normalizer);

}  // namespace quarv
