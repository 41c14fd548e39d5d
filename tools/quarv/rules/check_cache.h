#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quarv::cli {

/// What there is to say against a rule of a user's.
struct RuleFinding {
  enum class Kind : std::uint8_t {
    refuted,    ///< there are values for which it does not hold
    unproved,   ///< none were found, but it is not proved either
    unordered,  ///< applying it together with the others may not end
  };
  std::size_t file = 0;  ///< which of the files
  std::size_t line = 1, column = 1;
  Kind kind = Kind::refuted;
  std::string text;  ///< why
};

/// What checks of rules have found, from run to run: a file for each set of rules, in the user's folder for
/// such things (XDG Base Directory Specification). Whatever is wrong with that folder or its files, there is
/// no cache, and no error.
class CheckCache {
 public:
  /// \param key a digest of all that decides what is found
  explicit CheckCache(std::string key);

  /// What was kept. Nothing for a file that is damaged, is about something else, or that others than the user
  /// can write.
  std::optional<std::vector<RuleFinding>> find() const;

  /// Writes the file whole, or leaves things as they are.
  void keep(const std::vector<RuleFinding>& findings) const;

 private:
  std::string key_;
  std::string folder_;  // empty for none
};

}  // namespace quarv::cli
