#include <quarv/simpl/extended/equalities.h>

namespace quarv::termsimpl::extended {

/// `size_` for a term that is not there.
std::size_t Equalities::index_of(const Term* t) const {
  std::size_t i = 0;
  while (i < size_ && members_[i].term != t) ++i;
  return i;
}

std::size_t Equalities::entered(const Term* t) {
  const std::size_t i = index_of(t);
  if (i == size_ && size_ < most) members_[size_++] = {t, i, false};
  return i;
}

Equalities::Place Equalities::place_of(std::size_t i) const {
  bool opposite = false;
  for (; members_[i].parent != i; i = members_[i].parent) opposite ^= members_[i].opposite;
  return {i, opposite};
}

Equalities::Outcome Equalities::assume(const Term* a, const Term* b, bool opposite) {
  const std::size_t i = entered(a);
  const std::size_t k = entered(b);
  if (i == most || k == most) return Outcome::too_many;
  const Place x = place_of(i);
  const Place y = place_of(k);
  const bool differs = (x.opposite != y.opposite) != opposite;
  if (x.root == y.root) return differs ? Outcome::contradiction : Outcome::known;
  members_[y.root].parent = x.root;
  members_[y.root].opposite = differs;
  return Outcome::news;
}

bool Equalities::are_equal(const Term* a, const Term* b) {
  const std::size_t i = index_of(a);
  const std::size_t k = index_of(b);
  if (i == size_ || k == size_) return false;
  const Place x = place_of(i);
  const Place y = place_of(k);
  return x.root == y.root && x.opposite == y.opposite;
}

}  // namespace quarv::termsimpl::extended
