#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "rules/mine/corpus.h"
#include "rules/mine/mine_state.h"

namespace quarv::cli {

struct MineOptions {
  std::string solver = "z3";
  unsigned jobs = 1;
  double timeout = 1;              ///< seconds for each query at larger widths
  double time_limit = 0;           ///< seconds for everything; 0: none
  std::size_t most_operators = 4;  ///< of a pattern
  std::string state;               ///< a file; empty for none
};

/// A rule that holds, makes terms smaller, and is no instance of the others.
struct MinedRule {
  std::string name;
  std::string rule;
  std::string proof;
  MineCount count;
  std::size_t num_scripts = 0;  ///< where terms that it was made of occur
  bool proved_by_coq = false;   ///< for all widths
};

struct MineReport {
  std::size_t scripts = 0, unreadable = 0, samples = 0;
  std::size_t proposed = 0, proved = 0, refuted = 0, undecided = 0, useless = 0, instances = 0, unused = 0;
  std::size_t terms_before = 0, terms_after = 0;  ///< of the scripts; after: with all rules
  double collect_seconds = 0, search_seconds = 0, prove_seconds = 0, count_seconds = 0;
  std::vector<MinedRule> rules;  ///< those that save most first
  std::string ended_early{};     ///< why; empty when everything was tried
  int signal = 0;                ///< by which the user ended it, or 0
};

/// Finds rules in the scripts of a corpus; or, without one, in `samples`, which are not in scripts: then
/// nothing is counted. What is found does not depend on the number of jobs. When it ends early, by a signal,
/// by time, or because the solver failed, what is complete until then is reported, and kept in the state
/// file. Throws SolverError when the solver cannot be used at all, and FileError.
MineReport mine(const MineOptions& options, const Corpus* corpus, std::vector<Sample> samples);

}  // namespace quarv::cli
