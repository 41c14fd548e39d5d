#include <algorithm>
#include <array>

#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

/// Whether two terms are equal, as far as a glance shows: true, false, or null.
const Term* decided(TermManager& m, const Term* a, const Term* b) {
  if (a == b) return m.true_term;
  return are_distinct(m, a, b) ? m.false_term : nullptr;
}

/// An if-then-else of which one branch is equal to `b`, or differs from it.
const Term* ite_equals(TermManager& m, const Term* ite, const Term* b) {
  const Term* c = ite->args[0];
  const Term* first = decided(m, ite->args[1], b);
  const Term* second = decided(m, ite->args[2], b);
  if (first == nullptr && second == nullptr) return nullptr;
  if (first == nullptr) first = m.make_equal(ite->args[1], b);
  if (second == nullptr) second = m.make_equal(ite->args[2], b);
  return m.make_ite(c, first, second);
}

/// Two if-then-elses with one condition, of which a pair of branches is decided; or with branches of which
/// all pairs are, or with the same branches and conditions that are equal, or differ.
const Term* ites_equal(TermManager& m, const Term* a, const Term* b) {
  const bool same_order = a->args[1] == b->args[1] && a->args[2] == b->args[2];
  const bool other_order = a->args[1] == b->args[2] && a->args[2] == b->args[1];
  if (same_order || other_order) {
    const Term* same = m.make_iff(a->args[0], b->args[0]);
    if (same == m.true_term || same == m.false_term) {
      return (same == m.true_term) == same_order ? m.true_term : m.make_equal(a->args[1], a->args[2]);
    }
  }
  if (a->args[0] == b->args[0]) {
    const Term* first = decided(m, a->args[1], b->args[1]);
    const Term* second = decided(m, a->args[2], b->args[2]);
    if (first == nullptr && second == nullptr) return nullptr;
    if (first == nullptr) first = m.make_equal(a->args[1], b->args[1]);
    if (second == nullptr) second = m.make_equal(a->args[2], b->args[2]);
    return m.make_ite(a->args[0], first, second);
  }
  const Term* truth[2][2];
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 2; ++j) {
      truth[i][j] = decided(m, a->args[i + 1], b->args[j + 1]);
      if (truth[i][j] == nullptr) return nullptr;
    }
  }
  const Term* first = m.make_ite(b->args[0], truth[0][0], truth[0][1]);
  const Term* second = m.make_ite(b->args[0], truth[1][0], truth[1][1]);
  return m.make_ite(a->args[0], first, second);
}

/// What a short chain of writes at known places leaves at each of them.
class WrittenPlaces {
 public:
  struct Place {
    const Term* index;
    const Term* value;
  };

  /// False where the chain is too long, or some place is not known.
  [[nodiscard]] bool take(const TermManager& m, const Term* array) {
    for (; has_tag(m, array, SymbolTag::ARRAY_WRITE); array = array->args[0]) {
      const Term* index = array->args[1];
      if (!is_value(m, index) || is_nan(m, index)) return false;
      if (value_at(index) != nullptr) continue;  // written again later
      if (size_ == places_.size()) return false;
      places_[size_++] = {index, array->args[2]};
    }
    base_ = array;
    return true;
  }
  const Term* base() const noexcept { return base_; }
  std::span<const Place> places() const noexcept { return {places_.data(), size_}; }
  /// Null where nothing is written.
  const Term* value_at(const Term* index) const {
    const auto found = std::ranges::find(places(), index, &Place::index);
    return found == places().end() ? nullptr : found->value;
  }

 private:
  std::array<Place, 16> places_{};
  std::size_t size_ = 0;
  const Term* base_ = nullptr;
};

/// Writes to one array at the same places, in whatever order: equal where all values are.
const Term* writes_equal(TermManager& m, const Term* a, const Term* b) {
  WrittenPlaces first;
  WrittenPlaces second;
  if (!first.take(m, a) || !second.take(m, b) || first.base() != second.base()) return nullptr;
  if (first.places().size() != second.places().size()) return nullptr;
  for (const WrittenPlaces::Place& place : first.places()) {
    if (second.value_at(place.index) == nullptr) return nullptr;
  }
  const Term* all = m.true_term;
  for (const WrittenPlaces::Place& place : first.places()) {
    all = m.make_and(m.make_equal(place.value, second.value_at(place.index)), all);
  }
  return all;
}

/// (= (store a i v) (store a i w)) is (= v w), and (= (store a i v) a) is (= (select a i) v).
const Term* arrays_equal(TermManager& m, const Term* a, const Term* b) {
  if (!has_tag(m, a, SymbolTag::ARRAY_WRITE)) return nullptr;
  if (a->args[0] == b) return m.make_equal(m.make_array_read(b, a->args[1]), a->args[2]);
  const bool same_place =
      has_tag(m, b, SymbolTag::ARRAY_WRITE) && a->args[0] == b->args[0] && a->args[1] == b->args[1];
  return same_place ? m.make_equal(a->args[2], b->args[2]) : nullptr;
}

/// NaN is one value. Floats with longer exponents than software floats have can be compared, but nothing else
/// can be done to them.
const Term* equal_to_nan(TermManager& m, const Term* a, const Term* b) {
  constexpr std::size_t longest_exponent = 30;
  const bool a_is_nan = is_nan(m, a);
  if (!a_is_nan && !is_nan(m, b)) return nullptr;
  std::size_t ew = 0;
  std::size_t mw = 0;
  m.get_format_from_type(m.type_of(a), &ew, &mw);
  return ew <= longest_exponent ? m.make_fp_isnan(a_is_nan ? b : a) : nullptr;
}

}  // namespace

const Term* simplify_equal(TermManager& m, const Symbol* s, Args args) {
  const Term* a = args[0];
  const Term* b = args[1];
  if (a == b) return nullptr;
  if (are_distinct(m, a, b)) return m.false_term;
  if (is_ite(m, a) && is_ite(m, b)) {
    if (const Term* t = ites_equal(m, a, b)) return t;
  }
  for (int i = 0; i < 2; ++i) {
    if (!is_ite(m, args[i])) continue;
    if (const Term* t = ite_equals(m, args[i], args[1 - i])) return t;
  }
  if (m.is_bv_type(m.type_of(a))) {
    const Term* t = cancel_in_bit_sums(m, a, b);
    if (t == nullptr) t = cancel_in_parities(m, a, b);
    return t != nullptr ? t : simplify_bit_comparison(m, s, args);
  }
  if (m.is_array_type(m.type_of(a))) {
    if (const Term* t = arrays_equal(m, a, b)) return t;
    if (const Term* t = arrays_equal(m, b, a)) return t;
    const bool are_writes = has_tag(m, a, SymbolTag::ARRAY_WRITE) && has_tag(m, b, SymbolTag::ARRAY_WRITE);
    return are_writes ? writes_equal(m, a, b) : nullptr;
  }
  if (const Term* t = equal_to_nan(m, a, b)) return t;
  if (has_tag(m, a, SymbolTag::FP_NEG) && has_tag(m, b, SymbolTag::FP_NEG)) {
    return m.make_equal(a->args[0], b->args[0]);
  }
  if (const Term* t = compare_converted(m, s, args)) return t;
  return m.is_arithmetic_type(m.type_of(a)) ? simplify_arithmetic_equal(m, s, args) : nullptr;
}

}  // namespace quarv::termsimpl::extended
