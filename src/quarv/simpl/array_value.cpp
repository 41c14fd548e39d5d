#include <cstddef>
#include <limits>
#include <vector>

#include <quarv/simpl/array_value.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl {

namespace {

/// How many values a type has; at least one.
struct Cardinality {
  std::size_t least;
  std::size_t most;
};

constexpr std::size_t kUnbounded = std::numeric_limits<std::size_t>::max();

constexpr std::size_t two_to_the(std::size_t n) {
  return n < std::numeric_limits<std::size_t>::digits ? std::size_t{1} << n : kUnbounded;
}

/// Saturates at `kUnbounded`. \pre base and exponent are positive
std::size_t power(std::size_t base, std::size_t exponent) {
  if (base == 1) return 1;
  std::size_t result = 1;
  for (; exponent > 0 && result != kUnbounded; --exponent) {
    if (__builtin_mul_overflow(result, base, &result)) result = kUnbounded;
  }
  return result;
}

/// Bounds for a type; `depth` limits how far array types are looked into.
Cardinality cardinality(const TermManager* mgr, const DataType* type, int depth = 3) {
  if (type == mgr->bool_type) return {2, 2};
  if (mgr->is_arithmetic_type(type)) return {kUnbounded, kUnbounded};
  if (mgr->is_bv_type(type)) {
    const std::size_t n = two_to_the(mgr->get_width_from_type(type));
    return {n, n};
  }
  if (type == mgr->rounding_mode_type) return {5, 5};
  std::size_t ew, mw;
  if (mgr->is_fp_type(type) && mgr->get_format_from_type(type, &ew, &mw)) {
    // The encodings of NaN need not be distinct values; all others are.
    const std::size_t encodings = two_to_the(1 + ew + mw);
    if (encodings == kUnbounded) return {kUnbounded, kUnbounded};
    return {encodings - 2 * (two_to_the(mw) - 1), encodings};
  }
  if (mgr->is_array_type(type) && depth > 0) {
    const Cardinality index = cardinality(mgr, type->get_component(1), depth - 1);
    const Cardinality element = cardinality(mgr, type->get_component(2), depth - 1);
    return {power(element.least, index.least), power(element.most, index.most)};
  }
  return {1, kUnbounded};
}

/// Whether different values of a type are different terms for certain.
bool has_unique_values(const TermManager* mgr, const DataType* type) {
  return type == mgr->bool_type || mgr->is_arithmetic_type(type) || mgr->is_bv_type(type) ||
         mgr->is_fp_type(type) || type == mgr->rounding_mode_type;
}

/// What an array value holds.
struct Contents {
  hsh::HashMap<const Term*, const Term*> written;
  const Term* elsewhere = nullptr;

  const Term* at(const Term* index) const {
    const Term* const* element = written.find(index);
    return element != nullptr ? *element : elsewhere;
  }
};

class Comparer {
 public:
  explicit Comparer(TermManager* mgr) : mgr_(mgr) {}

  Comparison compare_arrays(const Term* a, const Term* b, int depth);

 private:
  /// Limits for elements and indices that are arrays themselves. Sharing can make their contents, written
  /// out, exponentially larger than the terms.
  static constexpr int kDeepest = 64;
  static constexpr std::size_t kMostInnerWrites = std::size_t{1} << 20;
  static constexpr std::size_t kMostIndicesInPairs = 16;

  Comparison compare(const Term* a, const Term* b, int depth);
  bool collect(const Term* array, int depth, Contents* contents);
  bool are_distinct(const std::vector<const Term*>& indices, int depth);
  Comparison compare_contents(const Contents& a, const Contents& b, const DataType* index_type, int depth);

  TermManager* mgr_;
  std::size_t inner_writes_ = 0;
};

Comparison Comparer::compare(const Term* a, const Term* b, int depth) {
  if (a == b) return Comparison::equal;
  if (mgr_->is_array_type(mgr_->type_of(a))) return compare_arrays(a, b, depth + 1);
  const Term* equality = mgr_->make_equal(a, b);
  if (equality == mgr_->true_term) return Comparison::equal;
  if (equality == mgr_->false_term) return Comparison::different;
  return Comparison::undecided;
}

/// The last write to each index counts, which is the first one met from outside. False when it takes too
/// long.
bool Comparer::collect(const Term* array, int depth, Contents* contents) {
  for (; mgr_->is_array_write(array->symbol, nullptr, nullptr); array = array->args[0]) {
    const Term*& element = contents->written[array->args[1]];
    if (element == nullptr) element = array->args[2];
    if (depth > 0 && ++inner_writes_ > kMostInnerWrites) return false;
  }
  contents->elsewhere = array->args[0];
  return true;
}

bool Comparer::are_distinct(const std::vector<const Term*>& indices, int depth) {
  if (indices.size() > kMostIndicesInPairs) return false;
  for (std::size_t i = 0; i < indices.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (compare(indices[i], indices[j], depth) != Comparison::different) return false;
    }
  }
  return true;
}

Comparison Comparer::compare_contents(const Contents& a, const Contents& b, const DataType* index_type,
                                      int depth) {
  std::vector<const Term*> indices;  // of both
  for (const auto& [index, element] : a.written) indices.push_back(index);
  for (const auto& [index, element] : b.written) {
    if (!a.written.contains(index)) indices.push_back(index);
  }
  if (!has_unique_values(mgr_, index_type) && !are_distinct(indices, depth)) return Comparison::undecided;

  bool all_equal = true;
  for (const Term* index : indices) {
    const Comparison c = compare(a.at(index), b.at(index), depth);
    if (c == Comparison::different) return c;
    all_equal &= c == Comparison::equal;
  }
  // What is held elsewhere counts only if the writes leave an index out.
  const Cardinality index_values = cardinality(mgr_, index_type);
  if (indices.size() < index_values.most) {
    const Comparison c = compare(a.elsewhere, b.elsewhere, depth);
    if (c == Comparison::different && indices.size() < index_values.least) return c;
    all_equal &= c == Comparison::equal;
  }
  return all_equal ? Comparison::equal : Comparison::undecided;
}

Comparison Comparer::compare_arrays(const Term* a, const Term* b, int depth) {
  Contents of_a, of_b;
  if (depth > kDeepest || !collect(a, depth, &of_a) || !collect(b, depth, &of_b)) {
    return Comparison::undecided;
  }
  return compare_contents(of_a, of_b, mgr_->type_of(a)->get_component(1), depth);
}

}  // namespace

Comparison compare_array_values(TermManager* mgr, const Term* a, const Term* b) {
  return Comparer(mgr).compare_arrays(a, b, 0);
}

}  // namespace quarv::termsimpl
