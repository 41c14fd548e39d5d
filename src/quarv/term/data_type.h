#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <quarv/export.h>

namespace quarv {

class Symbol;
class TermManager;

/// A sort. One object for each distinct sort, owned by the manager: sorts are compared by pointer.
///
/// A *constructed* type is a type constructor (component 0) applied to parameters: `(_ BitVec 8)` is the
/// bit-vector constructor applied to the width component 8, an array type has the index and the element type.
/// Everything else (Bool, Int, Real, declared sorts, constructors, width components) is *basic*.
class QUARV_API DataType {
 public:
  DataType(const DataType&) = delete;
  DataType& operator=(const DataType&) = delete;

  /// True for a constructor applied to components.
  bool is_constructed() const noexcept { return basic_ == 0; }

  /// True when this is `constructor` applied to `num_components - 1` parameters.
  bool is_constructed_by(const DataType* constructor, std::size_t num_components) const noexcept {
    return basic_ == 0 && components.size() == num_components && components[0] == constructor;
  }

  /// Component i of a constructed type; i must be below `components.size()`.
  const DataType* get_component(std::size_t i) const { return components[i]; }

  /// The manager that the sort belongs to, and with it symbols and terms of the sort.
  const TermManager& manager() const noexcept { return *manager_; }

  /// Number of nodes of the sort written as a tree, saturating; bounds what printing it costs.
  std::uint64_t tree_size() const noexcept { return tree_size_; }

  /// The sort in SMT-LIB syntax; cut off with "..." after about `max_length` characters, if it is given.
  std::string to_string(std::size_t max_length = std::string::npos) const;

  /// The sort as it stands in messages, which do not grow with it.
  std::string abbreviated() const { return to_string(200); }

 private:
  friend class TermManager;
  explicit DataType(const TermManager& manager) : manager_(&manager) {}

  std::uint64_t basic_ = 0;  // zero exactly for constructed types

 public:
  std::vector<const DataType*> components;

 private:
  const TermManager* manager_;
  std::string name_;  // of a basic type: its SMT-LIB name (or a numeral, for widths and formats)
  // Width; or exponent width and stored significand width. Also on the type built from this component.
  std::size_t params_[2]{};
  std::uint64_t tree_size_ = 1;
  // Operators by type, filled by the manager on first use.
  mutable const Symbol* equality_symbol_ = nullptr;
  mutable const Symbol* ite_symbol_ = nullptr;
  mutable const Symbol* array_symbols_[3]{};  // read, write, constant array
};

}  // namespace quarv
