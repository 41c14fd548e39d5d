/// \file
/// Sums and products modulo 2^width.
#include <algorithm>

#include "replay/words.h"

namespace quarv::cli {

using Bit = Words::Bit;
using Bits = Words::Bits;
using Word = Words::Word;

namespace {

constexpr std::size_t most_products = 64, most_word_factors = 4;

mpz_class modulo(const mpz_class& value, std::size_t width) {
  mpz_class result;
  mpz_fdiv_r_2exp(result.get_mpz_t(), value.get_mpz_t(), width);
  return result;
}

/// The number that the bits are at most.
mpz_class largest(const Bits& bits) {
  mpz_class value;
  for (std::size_t i = 0; i < bits.size(); ++i) {
    if (bits[i] != Words::no) mpz_setbit(value.get_mpz_t(), i);
  }
  return value;
}

/// What is at most so much, whatever has been made of it, has zeros on top.
void limit(Bits& bits, const mpz_class& most) {
  for (std::size_t i = mpz_sizeinbase(most.get_mpz_t(), 2); i < bits.size(); ++i) bits[i] = Words::no;
}

}  // namespace

void Words::add_product(Sum& sum, const std::vector<Word>& product, const mpz_class& factor) const {
  const auto [known, is_new] = sum.coefficients.try_emplace(product);
  known->second = modulo(known->second + factor, sum.width);
  if (known->second == 0) sum.coefficients.erase(known);
}

void Words::add(Sum& sum, const Sum& other, const mpz_class& factor) const {
  for (const auto& [product, c] : other.coefficients) add_product(sum, product, c * factor);
}

/// The sum that the word was built from. What was not is a word of its own; of it and its complement, which
/// is -1 less it, the one that has zeros on top, or else the one whose lowest bit is not a negation.
Words::Sum Words::sum_of(Word w) {
  const auto known = sums_.find(w);
  if (known != sums_.end()) return known->second;
  Sum sum;
  sum.width = width(w);
  if (const auto value = number(w)) {
    add_product(sum, {}, *value);
    return sum;
  }
  const Word other = complement(w);
  const auto known_other = sums_.find(other);
  const Bit top = words_[w].back();
  if (known_other == sums_.end() && (top <= yes ? top == no : (words_[w][0] & 1U) == 0)) {
    add_product(sum, {w}, 1);
    return sum;
  }
  if (known_other != sums_.end()) {
    add(sum, known_other->second, -1);
  } else {
    add_product(sum, {other}, -1);
  }
  add_product(sum, {}, -1);
  return sum;
}

std::optional<Words::Sum> Words::product_of(const Sum& a, const Sum& b) const {
  if (a.coefficients.size() * b.coefficients.size() > most_products) return std::nullopt;
  Sum sum;
  sum.width = a.width;
  for (const auto& [x, c] : a.coefficients) {
    for (const auto& [y, d] : b.coefficients) {
      if (x.size() + y.size() > most_word_factors) return std::nullopt;
      std::vector<Word> product = x;
      product.insert(product.end(), y.begin(), y.end());
      std::ranges::sort(product);
      add_product(sum, product, c * d);
    }
  }
  return sum;
}

Word Words::add(Word a, Word b) {
  Sum sum = sum_of(a);
  add(sum, sum_of(b), 1);
  return word_of(sum);
}

Word Words::subtract(Word a, Word b) {
  Sum sum = sum_of(a);
  add(sum, sum_of(b), -1);
  return word_of(sum);
}

Word Words::multiply(Word a, Word b) {
  const auto sum = product_of(sum_of(a), sum_of(b));
  if (sum) return word_of(*sum);
  Sum product;
  product.width = width(a);
  add_product(product, {std::min(a, b), std::max(a, b)}, 1);
  return word_of(product);
}

Word Words::combination(const std::vector<std::pair<Word, mpz_class>>& summands, const mpz_class& constant,
                        std::size_t width) {
  Sum sum;
  sum.width = width;
  add_product(sum, {}, constant);
  for (const auto& [w, factor] : summands) add(sum, sum_of(w), factor);
  return word_of(sum);
}

std::string Words::text(const Sum& sum) {
  std::string text = std::to_string(sum.width);
  for (const auto& [product, c] : sum.coefficients) {
    text += '+' + c.get_str(32);
    for (const Word w : product) text += '*' + std::to_string(w);
  }
  return text;
}

Word Words::word_of(const Sum& sum) {
  if (sum.coefficients.empty()) return constant(0, sum.width);
  const auto& [product, c] = *sum.coefficients.begin();
  if (sum.coefficients.size() == 1) {
    if (product.empty()) return constant(c, sum.width);
    if (product.size() == 1 && c == 1) return product[0];
  }
  const std::string key = text(sum);
  const auto known = sum_words_.find(key);
  if (known != sum_words_.end()) return known->second;
  const Word w = word(sum_bits(sum));
  sum_words_.emplace(key, w);
  if (!number(w)) sums_.try_emplace(w, sum);
  return w;
}

/// The lower bits of a sum, or of what is left of it where all its coefficients are divided by a power of
/// two.
Words::Sum Words::lower_part(const Sum& sum, std::size_t width, std::size_t divided_by) {
  Sum lower;
  lower.width = width;
  for (const auto& [product, c] : sum.coefficients) {
    Word so_far = constant(1, width);
    for (const Word w : product) so_far = multiply(so_far, slice(w, 0, width));
    add(lower, sum_of(so_far), c >> divided_by);
  }
  return lower;
}

/// A new word that consists of the lower bits of a sum is a sum.
Word Words::part(Word a, std::size_t low, std::size_t width) {
  const std::size_t num_words = words_.size();
  const Word w = slice(a, low, width);
  const auto sum = sums_.find(a);
  if (low != 0 || words_.size() == num_words || sum == sums_.end()) return w;
  const Sum lower = lower_part(sum->second, width, 0);
  const bool is_one_word = lower.coefficients.size() < 2;
  if (is_one_word || !sum_words_.try_emplace(text(lower), w).second) return word_of(lower);
  sums_.try_emplace(w, lower);
  return w;
}

/// An order that does not depend on how wide the words are, as long as the lowest bits differ.
bool Words::precedes(const std::vector<Word>& a, const std::vector<Word>& b) const {
  return std::ranges::lexicographical_compare(a, b, [this](Word x, Word y) { return words_[x] < words_[y]; });
}

Bits Words::sum_bits(const Bits& a, const Bits& b, Bit carry) {
  Bits sum(a.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    sum[i] = graph_.parity(graph_.parity(a[i], b[i]), carry);
    carry = graph_.majority(a[i], b[i], carry);
  }
  return sum;
}

/// A multiple of a word as words and complements of words, shifted, that are to be added: one for each digit
/// of the coefficient that is not 0 where digits are -1, 0 and 1 and no two neighbours differ from 0.
void Words::add_digits(const Bits& word, mpz_class coefficient, std::vector<Bits>& summands,
                       mpz_class& constant) const {
  const std::size_t w = word.size();
  for (std::size_t i = 0; i < w && coefficient != 0; ++i, coefficient >>= 1) {
    if (mpz_odd_p(coefficient.get_mpz_t()) == 0) continue;
    const bool negative = mpz_tstbit(coefficient.get_mpz_t(), 1) != 0;
    coefficient += negative ? 1 : -1;
    Bits shifted(w, negative ? yes : no);
    for (std::size_t k = i; k < w; ++k) shifted[k] = word[k - i] ^ (negative ? 1U : 0U);
    if (negative) ++constant;  // -x is not x, and 1
    summands.push_back(std::move(shifted));
  }
}

Bits Words::sum_bits(const Sum& sum) {
  std::vector<const std::vector<Word>*> products;
  mpz_class constant;
  for (const auto& [product, c] : sum.coefficients) {
    if (product.empty()) {
      constant = c;
    } else {
      products.push_back(&product);
    }
  }
  std::ranges::sort(products, [this](const auto* a, const auto* b) { return precedes(*a, *b); });
  std::vector<Bits> summands;
  mpz_class most = constant;
  for (const auto* product : products) {
    const Bits bits = product_bits(*product);
    const mpz_class& factor = sum.coefficients.at(*product);
    most += largest(bits) * factor;
    add_digits(bits, factor, summands, constant);
  }
  constant = modulo(constant, sum.width);
  Bits result = summands[0];
  for (std::size_t i = 1; i < summands.size(); ++i) {
    const bool carry = mpz_odd_p(constant.get_mpz_t()) != 0;
    if (carry) constant -= 1;
    result = sum_bits(result, summands[i], carry ? yes : no);
  }
  if (constant != 0) {
    const Word rest = this->constant(constant, sum.width);
    result = sum_bits(result, words_[rest], no);
  }
  limit(result, most);
  return result;
}

Bits Words::product_bits(const std::vector<Word>& product) {
  Bits bits = words_[product[0]];
  for (std::size_t i = 1; i < product.size(); ++i) bits = product_bits(bits, words_[product[i]]);
  return bits;
}

/// A number for the bits up to one; bits that are alike have the same.
std::uint32_t Words::prefix(std::uint32_t before, Bit next) {
  return prefixes_.try_emplace({before, graph_.find(next)}, static_cast<std::uint32_t>(prefixes_.size() + 1))
      .first->second;
}

/// Narrow words are multiplied by hand. Of wide ones a bit of the product is anything, but the same for the
/// same bits up to that one.
Bits Words::product_bits(const Bits& a, const Bits& b) {
  constexpr std::size_t most_gates = 300;
  const std::size_t w = a.size();
  const auto is_open = [](Bit bit) { return bit > yes; };
  const auto zeros = [](const Bits& x) {
    return static_cast<std::size_t>(std::ranges::find_if(x, [](Bit bit) { return bit != no; }) - x.begin());
  };
  const mpz_class most = largest(a) * largest(b);
  const std::size_t open_a = static_cast<std::size_t>(std::ranges::count_if(a, is_open));
  const std::size_t open_b = static_cast<std::size_t>(std::ranges::count_if(b, is_open));
  if (open_a * open_b <= most_gates) {
    const Bits &x = open_a < open_b ? b : a, &y = open_a < open_b ? a : b;
    Bits result(w, no), line(w, no);
    for (std::size_t i = 0; i < w; ++i) {
      if (y[i] == no) continue;
      for (std::size_t k = 0; k < w; ++k) line[k] = k < i ? no : graph_.both(x[k - i], y[i]);
      result = sum_bits(result, line, no);
    }
    limit(result, most);
    return result;
  }
  Bits result(w, no);
  const std::size_t from_a = zeros(a), from_b = zeros(b);
  std::uint32_t prefix_a = 0, prefix_b = 0;
  for (std::size_t i = 0; from_a + from_b + i < w; ++i) {
    prefix_a = prefix(prefix_a, a[from_a + i]);
    prefix_b = prefix(prefix_b, b[from_b + i]);
    const auto [known, is_new] = product_variables_.try_emplace(std::minmax(prefix_a, prefix_b), no);
    if (is_new) known->second = i == 0 ? graph_.both(a[from_a], b[from_b]) : graph_.variable();
    result[from_a + from_b + i] = known->second;
  }
  limit(result, most);
  return result;
}

Bit Words::bitwise_equal(Word a, Word b) {
  std::vector<Bit> all;
  for (std::size_t i = 0; i < width(a); ++i) {
    all.push_back(graph_.same(words_[a][i], words_[b][i]));
    if (all.back() == no) return no;
  }
  return graph_.conjunction(std::move(all));
}

Bit Words::equal(Word a, Word b) {
  if (a == b) return yes;
  Sum difference = sum_of(a);
  add(difference, sum_of(b), -1);
  if (difference.coefficients.empty()) return yes;
  return solved(std::move(difference));
}

/// Whether the sum is 0: solved for a word that has an odd factor, the first one. So all equations that are
/// multiples of each other are one.
Bit Words::solved(Sum d) {
  const std::string key = text(d);
  const auto known = equalities_.find(key);
  if (known != equalities_.end()) return known->second;
  // Where all factors are even only the lower bits matter.
  std::size_t common = d.width;
  for (const auto& [product, c] : d.coefficients) common = std::min(common, mpz_scan1(c.get_mpz_t(), 0));
  Bit result = no;
  const auto constant = d.coefficients.find({});
  if (d.coefficients.size() == 1 && constant != d.coefficients.end()) {
    result = constant->second == 0 ? yes : no;
  } else if (common > 0) {
    Sum lower = lower_part(d, d.width - common, common);
    result = lower.coefficients.empty() ? yes : solved(std::move(lower));
  } else {
    std::vector<const std::vector<Word>*> products;
    for (const auto& [product, c] : d.coefficients) {
      if (!product.empty() && mpz_odd_p(c.get_mpz_t()) != 0) products.push_back(&product);
    }
    if (products.empty()) return no;  // the constant is odd, and nothing else
    const auto* first = *std::ranges::min_element(products, [this](const auto* a, const auto* b) {
      return a->size() != b->size() ? a->size() < b->size() : precedes(*a, *b);
    });
    mpz_class modulus = mpz_class(1) << d.width, inverse;
    mpz_invert(inverse.get_mpz_t(), d.coefficients.at(*first).get_mpz_t(), modulus.get_mpz_t());
    const Word left = word(product_bits(*first));
    Sum rest;
    rest.width = d.width;
    add(rest, d, -inverse);
    add_product(rest, *first, 1);
    result = bitwise_equal(left, word_of(rest));
  }
  equalities_.emplace(key, result);
  return result;
}

}  // namespace quarv::cli
