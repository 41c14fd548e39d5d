#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include <quarv/rules/language/rule_language.h>

namespace quarv::cli {

/// Coq cannot be run, or does not accept the lemmas.
class CoqFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Tries to prove rules on bit-vectors for all widths, with the tactic and the lemmas of proofs/.
class CoqProver {
 public:
  /// Has the lemmas compiled, in a temporary folder. Throws CoqFault.
  CoqProver();
  ~CoqProver();
  CoqProver(const CoqProver&) = delete;
  CoqProver& operator=(const CoqProver&) = delete;

  /// Whether the tactic proves the rule, from nothing but Coq's own logic, in a minute of processor time.
  /// `number` tells rules apart; may be called from several threads at once.
  bool proves(const rules::Rule& rule, std::size_t number) const;

 private:
  bool compile(const std::string& name, const std::string& text) const;

  std::filesystem::path folder_;
};

}  // namespace quarv::cli
