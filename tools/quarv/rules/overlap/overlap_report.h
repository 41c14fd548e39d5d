#pragma once

#include <ostream>
#include <vector>

#include <quarv/rules/language/rule_language.h>
#include <quarv/session/session.h>

namespace quarv::cli {

/// Which rules are looked at, and beside which others.
struct OverlapWork {
  std::vector<rules::Rule> rules;  ///< all rules of a session with these options, in their order
  std::vector<bool> checked;       ///< those that are looked at
  SessionOptions options;
  bool lists_all = false;  ///< pairs of checked rules that meet are listed, too
  unsigned jobs = 1;
};

/// Prints on which terms rules overlap and do not meet, and which rules never fire, as they are found; in the
/// end, how many. What is found before a signal is printed; then false. The caller notes signals.
bool print_overlaps(const OverlapWork& work, std::ostream& out);

}  // namespace quarv::cli
