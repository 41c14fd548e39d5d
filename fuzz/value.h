#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <gmpxx.h>

#include "sort.h"

namespace quarv::fuzz {

struct ArrayValue;

/// An element of a sort: truth values are 0 and 1, bit-vectors unsigned, floating-point numbers their
/// encodings (of NaN there is one), rounding modes and elements of uninterpreted sorts numbered from 0.
struct Value {
  mpq_class number;
  std::shared_ptr<const ArrayValue> array;  ///< of array sorts
};

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

/// A sequence of random numbers that is fixed by a text.
class Random {
 public:
  Random(std::uint64_t seed, const std::string& text);
  std::uint64_t next();
  std::uint64_t below(std::uint64_t bound) { return next() % bound; }
  mpz_class natural(std::size_t bits);

 private:
  std::uint64_t state_;
};

/// A value of the sort, often one next to a border.
Value random_value(const Sort* sort, Random& random);

/// Says what names mean and what operators give where the standard leaves that open. Equal arguments give
/// equal values; nothing is stored.
class Interpretation {
 public:
  explicit Interpretation(std::uint64_t seed) : seed_(seed) {}

  Random random(const std::string& text) const { return {seed_, text}; }

  /// The value of a name, applied to the arguments that `text` adds to it.
  Value value(const std::string& text, const Sort* sort) const {
    Random r = random(text + " : " + sort->text);
    return random_value(sort, r);
  }

 private:
  std::uint64_t seed_;
};

}  // namespace quarv::fuzz
