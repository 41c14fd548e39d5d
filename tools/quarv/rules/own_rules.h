#pragma once

#include <vector>

#include <quarv/session/user_rules.h>

namespace quarv::cli {

class CommandLine;

/// Adds the option by which a user's own rules are applied unchecked.
void add_trust_option(const CommandLine& command, bool& trusted);

/// Looks whether rules of a user's hold and whether applying them ends: a solver is asked, once for each set
/// of rules. Warns, a line for each rule, of those that are not proved or for which there is no order; or,
/// once, that there is no solver. Throws InputError, with its place, for the first rule that does not hold,
/// and for a text that is no rule. Does nothing if they are trusted.
void check_own_rules(const std::vector<RuleFile>& files, bool trusted);

}  // namespace quarv::cli
