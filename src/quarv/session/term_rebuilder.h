#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include <quarv/export.h>
#include <quarv/term/form_cache.h>
#include <quarv/term/term_manager.h>

namespace quarv {

/// Builds terms anew from their leaves upwards, each sub-term once. Results are kept as long as the object,
/// or until the manager releases them.
class QUARV_API TermRebuilder {
 public:
  /// Builds the application of a symbol to arguments that have been rebuilt; there may be none.
  using Make = std::function<const Term*(const Symbol*, TermManager::Args)>;
  enum class Parts : std::uint8_t {
    rewritable,  ///< what stands in annotations stays as it is
    all
  };

  TermRebuilder(TermManager& manager, Parts parts, Make make)
      : manager_(manager), parts_(parts), make_(std::move(make)) {}

  const Term* operator()(const Term* root);

  /// Forgets all results.
  void clear() { done_.clear(); }

 private:
  const Term* rebuilt(const Term* t);

  TermManager& manager_;
  Parts parts_;
  Make make_;
  FormCache done_;
  std::vector<const Term*> pending_;
  std::vector<const Term*> args_;
};

}  // namespace quarv
