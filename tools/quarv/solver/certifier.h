#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "solver/query_set.h"
#include "solver/solver_process.h"

namespace quarv::cli {

/// What a solver says of a query.
struct Verdict {
  enum Kind {
    proved,
    refuted,      ///< `detail` holds the model, or says that only the output is not understood
    undecided,    ///< the solver gave up, or had no more time
    unsupported,  ///< the solver does not understand the query
    failed        ///< the solver ended, or spoke nonsense
  };
  static constexpr std::size_t num_kinds = 5;
  Kind kind = proved;
  std::string detail;
};

const char* name_of(Verdict::Kind kind);

/// Verdicts on queries asked before, by text; to be used by several threads.
class KnownVerdicts {
 public:
  std::optional<Verdict> find(const std::string& text) const;
  void add(const std::string& text, const Verdict& verdict);

 private:
  mutable std::mutex mutex_;
  std::map<std::string, Verdict> verdicts_;
};

/// Asks a solver about the queries of a set.
class Certifier {
 public:
  /// `keep` is a folder for the queries that are asked, or empty. Throws SolverError for a solver that does
  /// not answer simple questions.
  Certifier(const QuerySet& queries, KnownVerdicts& known, const std::string& solver,
            std::chrono::milliseconds limit, std::filesystem::path keep);

  /// Throws FileError when the query cannot be kept.
  Verdict verdict_on(std::size_t i);

 private:
  Verdict ask(std::size_t i, QuerySet::Form form, const std::string& script);
  bool is_understood(std::size_t i, QuerySet::Form form);
  Verdict ask_solver(const std::string& script);
  Verdict refuted();
  void keep(std::size_t i, const std::string& script) const;

  const QuerySet& queries_;
  KnownVerdicts& known_;
  SolverProcess solver_;
  std::chrono::milliseconds limit_;
  std::filesystem::path keep_;
};

}  // namespace quarv::cli
