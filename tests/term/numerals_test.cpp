// Numerals: one symbol for each value and type, whatever the form of the number.
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <climits>
#include <gmpxx.h>
#include <gtest/gtest.h>

#include <quarv/term/term_manager.h>

namespace quarv {
namespace {

class Numerals : public ::testing::Test {
 protected:
  /// The number in big form, whatever its size.
  static QNumber big(const std::string& num, const std::string& den = "1") {
    return QNumber(mpz_class(num).get_mpz_t(), mpz_class(den).get_mpz_t(), false);
  }

  TermManager mgr;
};

TEST_F(Numerals, SmallAndBigFormAreOneSymbol) {
  for (const char* text : {"0", "1", "-1", "7", "255", "2147483647", "-2147483648", "4611686018427387904",
                           "9223372036854775807", "-9223372036854775807"}) {
    const Term* from_small = mgr.make_number(QNumber::parse(text));
    ASSERT_FALSE(big(text).is_small());
    EXPECT_EQ(mgr.make_number(big(text)), from_small) << text;
    EXPECT_TRUE(mgr.get_number(from_small)->is_small()) << text;
  }
}

TEST_F(Numerals, TheFirstFormDoesNotMatter) {
  for (const char* text : {"0", "3", "-5", "9223372036854775807"}) {
    TermManager fresh;
    const Term* t = fresh.make_number(big(text));
    EXPECT_TRUE(fresh.get_number(t)->is_small()) << "stored small";
    EXPECT_EQ(fresh.make_number(QNumber::parse(text)), t);
    EXPECT_EQ(fresh.numbers.size(), 1U);
  }
  const Term* half = mgr.make_number(big("1", "2"));
  EXPECT_TRUE(mgr.get_number(half)->is_small());
  EXPECT_EQ(mgr.make_number(QNumber(1, 2)), half);
}

TEST_F(Numerals, WhatDoesNotFitIsStoredBig) {
  for (const char* text : {"-9223372036854775808", "9223372036854775808", "18446744073709551616"}) {
    const Term* t = mgr.make_number(QNumber::parse(text));
    EXPECT_FALSE(mgr.get_number(t)->is_small()) << text;
    EXPECT_EQ(mgr.make_number(big(text)), t);
    EXPECT_EQ(mgr.get_number(t)->to_string(), text);
  }
}

TEST_F(Numerals, TypeOfArithmeticNumerals) {
  EXPECT_EQ(mgr.type_of(mgr.make_number(3)), mgr.int_type);
  EXPECT_EQ(mgr.type_of(mgr.make_number(QNumber(6, 2))), mgr.int_type);
  EXPECT_EQ(mgr.type_of(mgr.make_number(big("-12"))), mgr.int_type);
  EXPECT_EQ(mgr.type_of(mgr.make_number(QNumber(1, 2))), mgr.rat_type);
  EXPECT_EQ(mgr.type_of(mgr.make_number(QNumber(-1, 3))), mgr.rat_type);
}

TEST_F(Numerals, TheTypeIsPartOfTheIdentity) {
  const std::vector<const Term*> terms{mgr.make_number(5),
                                       mgr.make_bv_number(5, 8),
                                       mgr.make_bv_number(5, 9),
                                       mgr.make_fp_bits_number(5, 5, 10),
                                       mgr.make_fp_bits_number(5, 4, 11),
                                       mgr.make_bv_number(5, 16)};
  EXPECT_EQ(std::set<const Term*>(terms.begin(), terms.end()).size(), terms.size());
  for (const Term* t : terms) {
    EXPECT_EQ(*mgr.get_number(t), QNumber(5));
    EXPECT_EQ(mgr.numbers.find(t->symbol), mgr.get_number(t));
    EXPECT_EQ(mgr.get_tag(t->symbol), SymbolTag::CONSTANT);
    EXPECT_TRUE(mgr.is_interpreted(t->symbol));
  }
  EXPECT_EQ(mgr.numbers.size(), terms.size());
  EXPECT_EQ(mgr.type_of(terms[1]), mgr.get_bv_type(8));
  EXPECT_EQ(mgr.type_of(terms[3]), mgr.get_fp_type(5, 10));
}

TEST_F(Numerals, ASymbolIsANumberExactlyWhenItIsAKey) {
  const Term* seven = mgr.make_number(7);
  EXPECT_TRUE(mgr.numbers.contains(seven->symbol));
  const Symbol* named = mgr.declare_fun("7", {}, mgr.int_type);
  const Symbol* opaque = mgr.make_opaque_symbol("7", {}, mgr.int_type);
  for (const Symbol* s : {named, opaque, mgr.true_symbol, mgr.make_rounding_even()->symbol}) {
    EXPECT_FALSE(mgr.numbers.contains(s));
    EXPECT_EQ(mgr.get_number(s), nullptr);
  }
  EXPECT_NE(mgr.make_constant("7", mgr.int_type), seven);
  EXPECT_EQ(mgr.numbers.size(), 1U);
}

TEST_F(Numerals, AnEmptyTableHasNoKeys) {
  EXPECT_EQ(mgr.numbers.size(), 0U);
  EXPECT_EQ(mgr.numbers.find(mgr.true_symbol), nullptr);
}

TEST_F(Numerals, LiteralsOfTheBorderWidths) {
  for (std::size_t w : {1, 62, 63, 64, 65, 128}) {
    const mpz_class all_ones = (mpz_class(1) << w) - 1;
    const Term* t = mgr.make_bv_number(QNumber::from_integer(all_ones.get_mpz_t()), w);
    EXPECT_TRUE(mgr.get_number(t)->num() == all_ones);
    EXPECT_EQ(mgr.get_number(t)->is_small(), w <= 63);
    EXPECT_EQ(mgr.make_bv_number(big(all_ones.get_str()), w), t);
    const mpz_class above = all_ones + 1;
    EXPECT_THROW(mgr.make_bv_number(QNumber::from_integer(above.get_mpz_t()), w), SortError);
    EXPECT_THROW(mgr.make_bv_number(big(above.get_str()), w), SortError);
    EXPECT_EQ(mgr.make_bv_number(big("0"), w), mgr.make_bv_number(0, w));
  }
}

TEST_F(Numerals, TheArgumentMayBeTheStoredNumber) {
  const Term* t = mgr.make_number(12);
  for (int i = 0; i < 1000; ++i) mgr.make_bv_number(*mgr.get_number(t), static_cast<std::size_t>(i) + 4);
  EXPECT_EQ(*mgr.get_number(mgr.make_bv_number(12, 1003)), QNumber(12));
}

TEST_F(Numerals, AllStayFoundAsTheTablesGrow) {
  constexpr long n = 100000;
  const mpz_class base = mpz_class(1) << 80;
  std::vector<const Term*> terms;
  const auto value = [&](long i) {
    switch (i % 4) {
      case 0:
        return QNumber(i);
      case 1:
        return QNumber(-i, 7919);
      case 2:
        return QNumber::from_integer(mpz_class(base + i).get_mpz_t());
      default:
        return QNumber(mpz_class(i), base + 1);
    }
  };
  for (long i = 0; i < n; ++i) terms.push_back(mgr.make_number(value(i)));
  std::vector<const QNumber*> places;
  for (const Term* t : terms) places.push_back(mgr.get_number(t));
  for (long i = 0; i < n; ++i) {
    const auto k = static_cast<std::size_t>(i);
    ASSERT_EQ(mgr.make_number(value(i)), terms[k]) << i;
    ASSERT_EQ(*mgr.get_number(terms[k]), value(i)) << i;
    ASSERT_EQ(mgr.numbers.find(terms[k]->symbol), places[k]) << "values stay where they are";
  }
  EXPECT_EQ(mgr.numbers.size(), static_cast<std::size_t>(n));
}

template <class T>
concept LiteralFrom = requires(TermManager& mgr, T value) {
  mgr.make_bv_number(value, 8);
};
template <class T>
concept NumberFrom = requires(TermManager& mgr, T value) {
  mgr.make_number(value);
};

static_assert(LiteralFrom<QNumber> && LiteralFrom<int> && LiteralFrom<unsigned char> &&
              LiteralFrom<__int128>);
static_assert(!LiteralFrom<double> && !LiteralFrom<float> && !LiteralFrom<bool> && !LiteralFrom<char>);
static_assert(NumberFrom<long> && !NumberFrom<double> && !NumberFrom<bool> && !NumberFrom<char>);

TEST_F(Numerals, LiteralsTakeIntegersAtTheirValue) {
  const auto literal = [this](auto value, std::size_t width) {
    return mgr.get_number(mgr.make_bv_number(value, width))->to_string();
  };
  EXPECT_EQ(literal(std::uint64_t{0x7fff00000010}, 64), "140733193388048");
  EXPECT_EQ(literal(std::int64_t{1} << 32, 64), "4294967296");
  EXPECT_EQ(literal(std::uint32_t{0xffffffff}, 32), "4294967295");
  EXPECT_EQ(literal(UINT64_MAX, 64), "18446744073709551615");
  EXPECT_EQ(literal(ULLONG_MAX, 64), "18446744073709551615");
  EXPECT_EQ(literal(static_cast<unsigned __int128>(1) << 127, 128),
            "170141183460469231731687303715884105728");
  EXPECT_EQ(literal(7, 8), "7");
  EXPECT_THROW(literal(std::uint64_t{1} << 32, 32), SortError);
  EXPECT_THROW(literal(-1, 8), SortError);
}

}  // namespace
}  // namespace quarv
