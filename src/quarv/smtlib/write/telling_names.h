#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <quarv/smtlib/script.h>
#include <quarv/smtlib/write/printed_node.h>

namespace quarv::smtlib {

/// Names that say what they stand for, `x_plus_1` for `(bvadd x #x01)`, in chosen scripts: of applications
/// whose arguments are constants with short names, and small numbers.
///
/// Such a name belongs to one term in all of the script, and is none that the script has otherwise: neither
/// can it be caught by another binder, nor does it matter where it is given. It follows from the term alone,
/// so that who reads the text and prints it again gives no other names.
class TellingNames {
 public:
  TellingNames(const TermManager& manager, const Script& script) : m_(manager), script_(script) {}

  static constexpr std::uint32_t none = 0xFFFFFFFF;

  /// The number of the term's name, or `none` where there is no short and free one.
  std::uint32_t number(Node n);
  std::string_view name(std::uint32_t number) const noexcept { return names_[number]; }

 private:
  /// Empty where there is no short one.
  std::string text(const Term* t) const;
  bool is_free(const std::string& name);
  void collect_names();

  const TermManager& m_;
  const Script& script_;
  std::vector<std::string> names_;
  std::unordered_map<const Term*, std::uint32_t> numbers_;  // what has been asked for
  std::unordered_set<std::string> taken_;
  bool collected_ = false;
};

}  // namespace quarv::smtlib
