// Terms under many assignments.

#include "reference/terms.h"

#include <gtest/gtest.h>

namespace quarv::reference {
namespace {

class ReferenceTerms : public testing::Test {
 protected:
  std::size_t variable(const std::string& name, const Sort* sort) {
    terms.push_back({.kind = Expression::variable, .sort = sort, .name = name});
    return terms.size() - 1;
  }
  std::size_t literal(const Sort* sort, const mpq_class& value) {
    terms.push_back({.kind = Expression::literal, .sort = sort, .value = value});
    return terms.size() - 1;
  }
  std::size_t apply(const char* op, const Sort* sort, std::vector<std::size_t> args) {
    terms.push_back(
        {.kind = Expression::operation, .sort = sort, .op = &operation_named(op), .args = std::move(args)});
    return terms.size() - 1;
  }

  Sorts sorts;
  Expressions terms;
};

TEST_F(ReferenceTerms, HaveTheValuesOfTheirVariables) {
  const Sort* const bits = sorts.bit_vector(2);
  const std::size_t x = variable("x", bits), y = variable("y", bits);
  const std::size_t sum = apply("bvadd", bits, {x, y});
  Evaluation values(terms, 16);
  const std::vector<Column> all = all_assignments(std::vector<std::size_t>{2, 2});
  values.set(x, all[0]);
  values.set(y, all[1]);
  for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(values[sum].words[i], (i % 4 + i / 4) % 4);
  const std::size_t negated = apply("bvneg", bits, {sum});
  EXPECT_EQ(values[negated].words[3], 1u) << "the sequence may grow";
  EXPECT_EQ(first_difference(bits, values[sum], values[negated]), 1u);
  EXPECT_EQ(first_difference(bits, values[sum], values[sum]), 16u);
}

// Beyond words, one value at a time; nothing else changes.
TEST_F(ReferenceTerms, AreTheSameOnWordsAndOnWiderNumbers) {
  const Sort *const narrow = sorts.bit_vector(63), *const wide = sorts.bit_vector(64);
  const mpz_class most = (mpz_class(1) << 62) + 5;
  const std::size_t a = literal(narrow, most), b = literal(wide, most);
  const std::size_t order =
      apply("=", sorts.boolean(),
            {apply("bvult", sorts.boolean(), {a, a}), apply("bvult", sorts.boolean(), {b, b})});
  Evaluation values(terms, 3);
  EXPECT_EQ(values[order].words, (std::vector<std::uint64_t>{1, 1, 1}));
  EXPECT_EQ(values[a].value(2).number, most);
  EXPECT_EQ(values[b].value(2).number, most);
}

// A name has one value in an interpretation, an open value depends on operator and arguments only.
TEST_F(ReferenceTerms, ChooseWhatIsOpenConsistently) {
  const Sort* const integer = sorts.integer();
  const std::size_t x = variable("x", integer), again = variable("x", integer), zero = literal(integer, 0);
  const std::size_t a = apply("div", integer, {x, zero}), b = apply("div", integer, {again, zero});
  const std::size_t other = apply("mod", integer, {x, zero});
  Evaluation values(terms, 40), alone(terms, 1, 7);
  EXPECT_EQ(first_difference(integer, values[a], values[b]), 40u);
  EXPECT_LT(first_difference(integer, values[a], values[other]), 40u);
  EXPECT_EQ(alone[a].value(0).number, values[a].value(7).number) << "an assignment does not depend on others";
}

TEST_F(ReferenceTerms, OpenValuesNeedAModel) {
  const Operation& op = operation_named("/");
  const Value zero{0, nullptr};
  const Sort* const sorts_of_args[] = {sorts.real(), sorts.real()};
  const Value* const args[] = {&zero, &zero};
  EXPECT_THROW(op(Call{op, sorts.real(), {}, sorts_of_args, args, nullptr}), OpenValue);
}

TEST_F(ReferenceTerms, ArraysAreEqualWhereTheirElementsAre) {
  const Sort *const bit = sorts.bit_vector(1), *const array = sorts.array(bit, sorts.integer());
  const std::size_t zero = literal(bit, 0), one = literal(bit, 1), three = literal(sorts.integer(), 3);
  const std::size_t four = literal(sorts.integer(), 4);
  // All elements of one are written, so that what was there does not count.
  std::size_t a = apply("const", array, {three}), b = apply("const", array, {four});
  EXPECT_NE(a, b);
  const std::size_t different = apply("=", sorts.boolean(), {a, b});
  for (std::size_t* x : {&a, &b}) {
    *x = apply("store", array, {*x, zero, four});
    *x = apply("store", array, {*x, one, three});
  }
  const std::size_t same = apply("=", sorts.boolean(), {a, b});
  Evaluation values(terms, 1);
  EXPECT_EQ(values[different].words[0], 0u);
  EXPECT_EQ(values[same].words[0], 1u);
}

}  // namespace
}  // namespace quarv::reference
