#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <gmpxx.h>

#include "replay/bit_graph.h"

namespace quarv::cli {

/// Bit-vectors as lists of truth functions, one of each. Operators are built bit by bit, sums and products
/// from their normal forms as polynomials modulo 2^width, so that equal ones are mostly the same word.
class Words {
 public:
  using Bit = BitGraph::Bit;
  using Bits = std::vector<Bit>;  // the least significant first
  using Word = std::uint32_t;
  static constexpr Bit no = BitGraph::no, yes = BitGraph::yes;

  explicit Words(BitGraph& graph) : graph_(graph) {}

  Word word(Bits bits);
  const Bits& bits(Word word) const { return words_[word]; }
  std::size_t width(Word word) const { return words_[word].size(); }
  Word constant(const mpz_class& value, std::size_t width);
  std::optional<mpz_class> number(Word word) const;
  /// The word as it is after what has been proved equal since.
  Word current(Word w) { return word(words_[w]); }
  void equate(Word a, Word b);

  Word variable(std::size_t width);
  Word complement(Word a);
  /// Bits from `low` on.
  Word part(Word a, std::size_t low, std::size_t width);
  Word extended(Word a, std::size_t width, bool is_signed);
  Word choice(Bit condition, Word a, Word b);

  // Modulo 2^width.
  Word add(Word a, Word b);
  Word subtract(Word a, Word b);
  Word multiply(Word a, Word b);
  /// The sum of multiples of words of one width, and a constant.
  Word combination(const std::vector<std::pair<Word, mpz_class>>& summands, const mpz_class& constant,
                   std::size_t width);

  /// The quotient and the remainder of unsigned numbers, as SMT-LIB has them for the divisor 0 too.
  std::pair<Word, Word> divide(Word a, Word b);
  enum class Shift : std::uint8_t { left, right, signed_right };
  Word shift(Word a, Word amount, Shift kind);

  Bit equal(Word a, Word b);
  Bit less(Word a, Word b, bool or_equal, bool is_signed);

 private:
  /// A polynomial: coefficients by products of words. The constant's product is empty.
  struct Sum {
    std::size_t width = 0;
    std::map<std::vector<Word>, mpz_class> coefficients;
  };

  // word_sums.cpp
  Sum sum_of(Word w);
  void add_product(Sum& sum, const std::vector<Word>& product, const mpz_class& factor) const;
  void add(Sum& sum, const Sum& other, const mpz_class& factor) const;
  std::optional<Sum> product_of(const Sum& a, const Sum& b) const;
  Word word_of(const Sum& sum);
  Word slice(Word a, std::size_t low, std::size_t width);
  Sum lower_part(const Sum& sum, std::size_t width, std::size_t divided_by);
  bool precedes(const std::vector<Word>& a, const std::vector<Word>& b) const;
  Bits sum_bits(const Sum& sum);
  Bits product_bits(const std::vector<Word>& product);
  Bits product_bits(const Bits& a, const Bits& b);
  void add_digits(const Bits& word, mpz_class coefficient, std::vector<Bits>& summands,
                  mpz_class& constant) const;
  Bits sum_bits(const Bits& a, const Bits& b, Bit carry);
  Bit solved(Sum difference);
  Bit bitwise_equal(Word a, Word b);
  static std::string text(const Sum& sum);

  Word variable(std::size_t num_open, std::size_t width);
  std::pair<Bits, Bits> divided_bits(const Bits& a, const Bits& b);
  std::uint32_t prefix(std::uint32_t before, Bit next);

  BitGraph& graph_;
  std::deque<Bits> words_;
  std::unordered_multimap<std::uint64_t, Word> known_words_;  // by hash
  std::size_t num_bits_ = 0;
  std::unordered_map<Word, Sum> sums_;  // of words that were built as sums
  std::unordered_map<std::string, Word> sum_words_;
  std::unordered_map<std::string, Bit> equalities_;
  std::map<std::pair<std::uint32_t, Bit>, std::uint32_t> prefixes_;
  std::map<std::pair<std::uint32_t, std::uint32_t>, Bit> product_variables_;
  std::map<std::pair<Word, Word>, std::pair<Word, Word>> quotients_;
};

}  // namespace quarv::cli
