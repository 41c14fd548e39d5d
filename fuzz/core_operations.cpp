#include <algorithm>

#include "expression.h"

namespace quarv::fuzz {

namespace {

Value conjunction(const Call& c) {
  bool result = true;
  for (std::size_t i = 0; i < c.count(); ++i) result = result && c.truth(i);
  return truth_value(result);
}

Value disjunction(const Call& c) {
  bool result = false;
  for (std::size_t i = 0; i < c.count(); ++i) result = result || c.truth(i);
  return truth_value(result);
}

Value implication(const Call& c) {
  bool result = c.truth(c.count() - 1);
  for (std::size_t i = 0; i + 1 < c.count(); ++i) result = result || !c.truth(i);
  return truth_value(result);
}

Value exclusive_or(const Call& c) {
  bool result = false;
  for (std::size_t i = 0; i < c.count(); ++i) result = result != c.truth(i);
  return truth_value(result);
}

Value all_equal(const Call& c) {
  bool result = true;
  for (std::size_t i = 1; i < c.count(); ++i) result = result && equal(c.sorts[0], *c.args[0], *c.args[i]);
  return truth_value(result);
}

Value pairwise_distinct(const Call& c) {
  bool result = true;
  for (std::size_t i = 0; i < c.count(); ++i) {
    for (std::size_t j = 0; j < i; ++j) result = result && !equal(c.sorts[0], *c.args[i], *c.args[j]);
  }
  return truth_value(result);
}

Value store(const Call& c) {
  const auto result = std::make_shared<ArrayValue>(*c.args[0]->array);
  result->elements[c.number(1)] = *c.args[2];
  return {0, result};
}

Value constant_array(const Call& c) {
  const auto result = std::make_shared<ArrayValue>();
  result->others = *c.args[0];
  return {0, result};
}

constexpr Operation table[] = {
    {"not", [](const Call& c) { return truth_value(!c.truth(0)); }},
    {"and", conjunction},
    {"or", disjunction},
    {"=>", implication},
    {"xor", exclusive_or},
    {"=", all_equal},
    {"distinct", pairwise_distinct},
    {"ite", [](const Call& c) { return *c.args[c.truth(0) ? 1 : 2]; }},
    {"select", [](const Call& c) { return c.args[0]->array->at(c.number(1)); }},
    {"store", store},
    {"const", constant_array},
};

}  // namespace

std::span<const Operation> core_operations() {
  return table;
}

}  // namespace quarv::fuzz
