#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <gmpxx.h>

#include "reference/random.h"
#include "reference/sorts.h"

namespace quarv::reference {

struct ArrayValue;

/// An element of a sort: truth values are 0 and 1, bit-vectors unsigned, floating-point numbers their
/// encodings (of NaN there is one), rounding modes and elements of uninterpreted sorts numbered from 0.
struct Value {
  mpq_class number;
  std::shared_ptr<const ArrayValue> array;  ///< of array sorts
};

inline Value truth_value(bool x) {
  return {x ? 1 : 0, nullptr};
}

/// The values of an array at indices whose values are not arrays themselves.
struct ArrayValue {
  Value others;  ///< at all indices that are not listed
  std::map<mpq_class, Value> elements;

  const Value& at(const mpq_class& index) const {
    const auto found = elements.find(index);
    return found == elements.end() ? others : found->second;
  }
};

/// Whether two values of one sort, or one an integer and one a real, are the same.
bool equal(const Sort* sort, const Value& a, const Value& b);

std::string to_string(const Sort* sort, const Value& value);

/// A value of the sort, often one next to a border.
Value random_value(const Sort* sort, Random& random);

/// Says what names mean and what operators give where the standard leaves that open. Equal arguments give
/// equal values; nothing is stored.
class Interpretation {
 public:
  explicit Interpretation(std::uint64_t seed) : seed_(seed) {}

  /// The choices to be made for a name or an operator with its arguments, of which `hash` is the hash.
  Random random(std::uint64_t hash) const { return Random(Hash().add(hash).add(seed_).value()); }

  Value value(std::uint64_t hash, const Sort* sort) const {
    Random r = random(Hash().add(hash).add(sort->hash).value());
    return random_value(sort, r);
  }

 private:
  std::uint64_t seed_;
};

}  // namespace quarv::reference
