#pragma once

#include <functional>
#include <initializer_list>
#include <utility>

#include <quarv/export.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/hash_map.h>

namespace quarv {

/// What is to stand for which terms of one manager.
class QUARV_API Substitution {
 public:
  explicit Substitution(const TermManager& manager) : manager_(&manager) {}
  Substitution(const TermManager& manager,
               std::initializer_list<std::pair<const Term*, const Term*>> replacements);

  /// `by` is to stand for `what`, any term: a constant, a bound variable, or an application. A later
  /// replacement of the same term takes the place of the earlier one. \throws SortError when the sorts
  /// differ (an Int may stand for a Real), or one of the terms is null or of another manager
  Substitution& set(const Term* what, const Term* by);

  /// What is to stand for a term; null for none.
  const Term* find(const Term* what) const {
    const Term* const* by = replacements_.find(what);
    return by == nullptr ? nullptr : *by;
  }

  bool empty() const noexcept { return replacements_.empty(); }
  auto begin() const noexcept { return replacements_.begin(); }
  auto end() const noexcept { return replacements_.end(); }

 private:
  const TermManager* manager_;
  hsh::HashMap<const Term*, const Term*> replacements_;
};

/// The term with all replacements made at the same time: what is put in is not looked at again. Of terms that
/// contain each other the outermost is replaced. What changes is built by full constructors, sub-terms from
/// left to right, each once.
///
/// Bound variables are respected: one that a quantifier binds is not replaced below it, and where a
/// replacement contains a variable that would be caught by a quantifier, the quantifier binds a fresh one
/// instead. Patterns of quantifiers are replaced in, like all else.
///
/// Takes time in proportion to the distinct sub-terms. \throws SortError for a null term or one of another
/// manager
QUARV_API const Term* substitute(TermManager& manager, const Term* t, const Substitution& substitution);

/// Likewise, where `make` builds what changes.
using MakeTerm = std::function<const Term*(const Symbol*, TermManager::Args)>;
QUARV_API const Term* substitute(TermManager& manager, const Term* t, const Substitution& substitution,
                                 const MakeTerm& make);

}  // namespace quarv
