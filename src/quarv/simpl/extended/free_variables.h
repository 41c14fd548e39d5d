#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <quarv/term/term_manager.h>
#include <quarv/util/hash_map.h>

namespace quarv::termsimpl::extended {

/// The variables of a quantifier, with their places. There may be thousands.
class BoundVariables {
 public:
  explicit BoundVariables(const std::vector<const Term*>& list) : list_(list) {
    if (list.size() <= few) return;
    for (std::size_t i = 0; i < list.size(); ++i) places_[list[i]] = i;
  }

  const std::vector<const Term*>& list() const noexcept { return list_; }
  std::optional<std::size_t> place_of(const Term* t) const;
  bool contains(const Term* t) const { return place_of(t).has_value(); }

 private:
  static constexpr std::size_t few = 8;

  const std::vector<const Term*>& list_;
  hsh::HashMap<const Term*, std::size_t> places_;
};

/// Which bound variables occur free in terms. What has been found out is kept by term, so that quantifiers
/// nested thousands of levels deep do not walk through each other's bodies again and again. Of terms with
/// more than a few free variables it is only known that they have many.
class FreeVariables {
 public:
  /// To be called before a piece of work: forgets everything when terms have been released.
  void follow(const TermManager& m);

  /// Those of the variables that occur free in a term, in their order; all of them when the term is too large
  /// to be searched.
  std::vector<const Term*> among(TermManager& m, const BoundVariables& variables, const Term* t);
  /// False where none of the variables occurs free in a term; a glance, so that of a term with many free
  /// variables it is always true.
  bool any_may_occur(TermManager& m, const BoundVariables& variables, const Term* t);
  /// Whether a variable occurs free in a term, or may do so since the term is too large to be searched.
  bool may_occur(TermManager& m, const Term* variable, const Term* t);
  /// Whether a quantifier stands in a term.
  bool has_quantifier(const TermManager& m, const Term* t) { return known(m, t).has_quantifier; }

 private:
  static constexpr std::size_t most = 32;
  static constexpr std::uint32_t many = ~std::uint32_t{0};

  struct Entry {
    std::uint32_t set = many;
    bool has_quantifier = false;
  };

  const Entry& known(const TermManager& m, const Term* t);
  Entry joined(const TermManager& m, const Term* t);
  std::uint32_t without(std::uint32_t set, std::span<const Term* const> bound);
  std::uint32_t number_of(std::vector<const Term*> set);
  bool search(TermManager& m, const BoundVariables& variables, const Term* t,
              std::vector<bool>& occurs) const;

  hsh::HashMap<const Term*, Entry> entries_;
  std::vector<std::vector<const Term*>> sets_{{}};  // each by address; the first one is empty
  std::uint64_t num_releases_ = 0;
  std::vector<const Term*> pending_;
};

}  // namespace quarv::termsimpl::extended
