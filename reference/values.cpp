#include "reference/values.h"

#include <set>

#include "reference/floats.h"

namespace quarv::reference {

namespace {

/// Whether this number of indices is all that there are.
bool is_whole_domain(const Sort* sort, std::size_t num_indices) {
  if (sort->kind == Sort::boolean) return num_indices == 2;
  return sort->kind == Sort::bit_vector && sort->width < 32 && num_indices == std::size_t{1} << sort->width;
}

bool equal_arrays(const Sort* sort, const ArrayValue& a, const ArrayValue& b) {
  std::set<mpq_class> indices;
  for (const auto& [index, element] : a.elements) indices.insert(index);
  for (const auto& [index, element] : b.elements) indices.insert(index);
  for (const mpq_class& index : indices) {
    if (!equal(sort->element, a.at(index), b.at(index))) return false;
  }
  return is_whole_domain(sort->index, indices.size()) || equal(sort->element, a.others, b.others);
}

mpz_class random_integer(Random& random) {
  mpz_class result;
  switch (random.below(4)) {
    case 0:
      result = random.natural(2);
      break;
    case 1:
      result = random.natural(5);
      break;
    case 2:
      result = (mpz_class(1) << random.below(70)) + random.natural(2) - 1;
      break;
    default:
      result = random.natural(64);
  }
  return random.below(2) == 0 ? result : mpz_class(-result);
}

mpz_class random_bits(std::size_t width, Random& random) {
  const mpz_class bound = mpz_class(1) << width;
  mpz_class result;
  switch (random.below(6)) {
    case 0:
      result = random.natural(2);
      break;
    case 1:
      result = bound - 1 - random.natural(2);
      break;
    case 2:
      result = bound / 2 + random.natural(2) - 1;
      break;
    case 3:
      result = mpz_class(1) << random.below(width);
      break;
    default:
      result = random.natural(width);
  }
  mpz_fdiv_r(result.get_mpz_t(), result.get_mpz_t(), bound.get_mpz_t());
  return result;
}

mpz_class random_float(const Sort* sort, Random& random) {
  const FloatFormat f(sort->width, sort->mantissa);
  mpz_class result = random.natural(sort->width + sort->mantissa + 1);
  switch (random.below(10)) {
    case 0:
      result = f.zero(random.below(2) != 0);
      break;
    case 1:
      result = f.infinity(random.below(2) != 0);
      break;
    case 2:
      result = f.nan();
      break;
    case 3:
      result = f.round(random_integer(random), Rounding::nearest_even).bits;
      break;
    case 4:
      result = f.with_sign(random.below(2) != 0, random.natural(2));
      break;
    case 5:
      result = f.with_sign(random.below(2) != 0, f.infinity(false) - 1 - random.natural(1));
      break;
    default:
      break;
  }
  return f.is_nan(result) ? f.nan() : result;
}

Value random_array(const Sort* sort, Random& random) {
  const auto result = std::make_shared<ArrayValue>();
  result->others = random_value(sort->element, random);
  for (std::uint64_t n = random.below(4); n != 0; --n) {
    const Value index = random_value(sort->index, random);
    result->elements[index.number] = random_value(sort->element, random);
  }
  return {0, result};
}

}  // namespace

bool equal(const Sort* sort, const Value& a, const Value& b) {
  return sort->kind == Sort::array ? equal_arrays(sort, *a.array, *b.array) : a.number == b.number;
}

std::string to_string(const Sort* sort, const Value& value) {
  if (sort->kind != Sort::array) return value.number.get_str();
  std::string result = "[";
  for (const auto& [index, element] : value.array->elements) {
    result += index.get_str() + ": " + to_string(sort->element, element) + ", ";
  }
  return result + "others: " + to_string(sort->element, value.array->others) + ']';
}

Value random_value(const Sort* sort, Random& random) {
  switch (sort->kind) {
    case Sort::boolean:
      return {random.natural(1), nullptr};
    case Sort::integer:
      return {random_integer(random), nullptr};
    case Sort::real: {
      mpq_class result(random_integer(random), 1 + static_cast<unsigned long>(random.below(4)));
      result.canonicalize();
      return {result, nullptr};
    }
    case Sort::bit_vector:
      return {random_bits(sort->width, random), nullptr};
    case Sort::floating_point:
      return {random_float(sort, random), nullptr};
    case Sort::rounding_mode:
      return {static_cast<unsigned long>(random.below(5)), nullptr};
    case Sort::uninterpreted:
      return {static_cast<unsigned long>(random.below(3)), nullptr};
    default:
      return random_array(sort, random);
  }
}

}  // namespace quarv::reference
