#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "rules/mine/proposals.h"

namespace quarv::cli {

/// What a solver said of a rule.
struct MineVerdict {
  enum class Kind : std::uint8_t { proved, refuted, undecided };
  Kind kind = Kind::undecided;
  std::string text;  ///< "proved for widths 1-5, 8", a counterexample
};

/// What a rule alone does on a corpus.
struct MineCount {
  std::uint64_t uses = 0;
  std::int64_t saved = 0;  ///< terms
};

/// All that has been found out so far, in a file from which a later run goes on.
class MineState {
 public:
  /// Reads the file, if there is one and it is about the same work. \param path empty for none \param work a
  /// digest of all that decides what is found. Throws FileError and InputError for a file that cannot be read
  /// or is no state.
  MineState(std::string path, std::string work);

  /// Throws InputError: the file is no state.
  [[noreturn]] void refuse() const;

  /// Writes the file whole, or leaves it as it was. Throws FileError.
  void save() const;

  std::map<std::size_t, std::vector<Proposal>> proposals;  ///< by the first sample of a piece of work
  std::map<std::string, MineVerdict> verdicts;             ///< by rule
  std::map<std::string, MineCount> counts;                 ///< by rule

 private:
  std::string path_;
  std::string work_;
};

}  // namespace quarv::cli
