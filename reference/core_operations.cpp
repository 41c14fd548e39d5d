#include <algorithm>

#include "reference/operations.h"

namespace quarv::reference {

namespace {

// On truth values, as integers and as words.

template <class I>
I conjunction(const Operands<I>& c) {
  return *std::ranges::min_element(c.values);
}

template <class I>
I disjunction(const Operands<I>& c) {
  return *std::ranges::max_element(c.values);
}

template <class I>
I negation(const Operands<I>& c) {
  return I(1 - c[0]);
}

template <class I>
I implication(const Operands<I>& c) {
  I result = c[c.count() - 1];
  for (std::size_t i = 0; i + 1 < c.count(); ++i) {
    if (c[i] == 0) result = 1;
  }
  return result;
}

template <class I>
I exclusive_or(const Operands<I>& c) {
  I result = 0;
  for (const I& value : c.values) result = result == value ? 0 : 1;
  return result;
}

// On values of any sort, and the same on words.

Value all_equal(const Call& c) {
  bool result = true;
  for (std::size_t i = 1; i < c.count(); ++i) result = result && equal(c.sorts[0], *c.args[0], *c.args[i]);
  return truth_value(result);
}

Word all_equal_words(const Operands<Word>& c) {
  return std::ranges::all_of(c.values, [&](Word x) { return x == c[0]; }) ? 1 : 0;
}

Value pairwise_distinct(const Call& c) {
  bool result = true;
  for (std::size_t i = 0; i < c.count(); ++i) {
    for (std::size_t j = 0; j < i; ++j) result = result && !equal(c.sorts[0], *c.args[i], *c.args[j]);
  }
  return truth_value(result);
}

Word pairwise_distinct_words(const Operands<Word>& c) {
  for (std::size_t i = 0; i < c.count(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (c[i] == c[j]) return 0;
    }
  }
  return 1;
}

Value choice(const Call& c) {
  return *c.args[c.truth(0) ? 1 : 2];
}

Word choice_of_words(const Operands<Word>& c) {
  return c[0] != 0 ? c[1] : c[2];
}

// Arrays.

Value read(const Call& c) {
  return c.args[0]->array->at(c.number(1));
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

constexpr Operation core_table[] = {
    {"not", nullptr, negation, negation},
    {"and", nullptr, conjunction, conjunction},
    {"or", nullptr, disjunction, disjunction},
    {"=>", nullptr, implication, implication},
    {"xor", nullptr, exclusive_or, exclusive_or},
    {"=", all_equal, nullptr, all_equal_words},
    {"distinct", pairwise_distinct, nullptr, pairwise_distinct_words},
    {"ite", choice, nullptr, choice_of_words},
    {"select", read},
    {"store", store},
    {"const", constant_array},
};

}  // namespace

std::span<const Operation> core_operations() {
  return core_table;
}

}  // namespace quarv::reference
