#pragma once

#include <functional>
#include <span>

#include <quarv/export.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/hash_map.h>

namespace quarv {

/// What declared constants and functions mean, for `Session::evaluate`.
class QUARV_API Model {
 public:
  using Args = std::span<const Term* const>;
  /// The value of a function for arguments that have been evaluated; null where the model does not say it.
  using Function = std::function<const Term*(Args)>;

  explicit Model(const TermManager& manager) : manager_(&manager) {}

  /// A declared constant has this value. \throws SortError when the sorts differ (an Int may stand for a
  /// Real), or a term is null or of another manager, std::invalid_argument for what is not a declared
  /// constant
  Model& set(const Term* constant, const Term* value);
  /// A declared function with arguments. \throws std::invalid_argument for any other symbol, a null one and
  /// one of another manager
  Model& set(const Symbol* function, Function value);

  /// What is not set has a value all the same: false, zero, the rounding mode RNE, and the array of such
  /// values. Constants of declared sorts stay, and so do functions.
  Model& complete() noexcept {
    is_complete_ = true;
    return *this;
  }
  bool is_complete() const noexcept { return is_complete_; }

  /// The value of a constant, and that of a function; null for none.
  const Term* find(const Term* constant) const;
  const Function* find(const Symbol* function) const;

 private:
  const TermManager* manager_;
  hsh::HashMap<const Term*, const Term*> constants_;
  hsh::HashMap<const Symbol*, Function> functions_;
  bool is_complete_ = false;
};

}  // namespace quarv
