#include "replay/words.h"

#include <algorithm>

namespace quarv::cli {

using Bit = Words::Bit;
using Bits = Words::Bits;
using Word = Words::Word;

namespace {

constexpr std::size_t most_bits_of_all = 40'000'000;  // in all words

std::size_t leading_zeros(const Bits& bits) {
  return static_cast<std::size_t>(
      std::find_if(bits.rbegin(), bits.rend(), [](Bit b) { return b != Words::no; }) - bits.rbegin());
}

}  // namespace

Word Words::word(Bits bits) {
  std::uint64_t hash = bits.size();
  for (Bit& b : bits) {
    b = graph_.find(b);
    hash = (hash ^ b) * 0x9e3779b97f4a7c15U;
    hash ^= hash >> 29;
  }
  const auto [first, last] = known_words_.equal_range(hash);
  for (auto known = first; known != last; ++known) {
    if (words_[known->second] == bits) return known->second;
  }
  num_bits_ += bits.size();
  if (num_bits_ > most_bits_of_all) throw Exhausted();
  words_.push_back(std::move(bits));
  known_words_.emplace(hash, static_cast<Word>(words_.size() - 1));
  return static_cast<Word>(words_.size() - 1);
}

Word Words::constant(const mpz_class& value, std::size_t width) {
  Bits bits(width);
  // Of negative numbers GMP shows the two's complement.
  for (std::size_t i = 0; i < width; ++i) bits[i] = mpz_tstbit(value.get_mpz_t(), i) != 0 ? yes : no;
  return word(std::move(bits));
}

std::optional<mpz_class> Words::number(Word w) const {
  const Bits& b = words_[w];
  if (!std::ranges::all_of(b, [](Bit bit) { return bit <= yes; })) return std::nullopt;
  mpz_class value;
  for (std::size_t i = 0; i < b.size(); ++i) {
    if (b[i] == yes) mpz_setbit(value.get_mpz_t(), i);
  }
  return value;
}

void Words::equate(Word a, Word b) {
  for (std::size_t i = 0; i < width(a); ++i) graph_.equate(words_[a][i], words_[b][i]);
}

Word Words::variable(std::size_t width) {
  Bits bits(width);
  for (Bit& b : bits) b = graph_.variable();
  return word(std::move(bits));
}

Word Words::complement(Word a) {
  Bits bits = words_[a];
  for (Bit& b : bits) b ^= 1U;
  return word(std::move(bits));
}

Word Words::slice(Word a, std::size_t low, std::size_t width) {
  const auto first = words_[a].begin() + static_cast<std::ptrdiff_t>(low);
  return word(Bits(first, first + static_cast<std::ptrdiff_t>(width)));
}

Word Words::extended(Word a, std::size_t width, bool is_signed) {
  Bits bits = words_[a];
  const Bit filling = is_signed ? bits.back() : no;
  bits.resize(width, filling);
  return word(std::move(bits));
}

Word Words::choice(Bit condition, Word a, Word b) {
  Bits bits(width(a));
  for (std::size_t i = 0; i < bits.size(); ++i) {
    bits[i] = graph_.choice(condition, words_[a][i], words_[b][i]);
  }
  return word(std::move(bits));
}

/// From the lowest bits on: a place where both differ overrules those below it.
Bit Words::less(Word a, Word b, bool or_equal, bool is_signed) {
  Bit result = or_equal ? yes : no;
  for (std::size_t i = 0; i < width(a); ++i) {
    const Bit sign = is_signed && i + 1 == width(a) ? 1 : 0;
    result = graph_.majority(words_[a][i] ^ 1U ^ sign, words_[b][i] ^ sign, result);
  }
  return result;
}

Word Words::shift(Word a, Word amount, Shift kind) {
  const std::size_t w = width(a);
  const Bits by = words_[amount];
  Bits bits = words_[a];
  const Bit filling = kind == Shift::signed_right ? bits.back() : no;
  Bit beyond = no;
  for (std::size_t i = 0; i < w; ++i) {
    if (i < 32 && (std::size_t{1} << i) < w) {
      const std::size_t distance = std::size_t{1} << i;
      Bits moved(w, filling);
      for (std::size_t k = 0; k + distance < w; ++k) {
        if (kind == Shift::left) {
          moved[k + distance] = bits[k];
        } else {
          moved[k] = bits[k + distance];
        }
      }
      for (std::size_t k = 0; k < w; ++k) bits[k] = graph_.choice(by[i], moved[k], bits[k]);
    } else {
      beyond = graph_.either(beyond, by[i]);
    }
  }
  for (Bit& b : bits) b = graph_.choice(beyond, filling, b);
  return word(std::move(bits));
}

/// By hand, from the highest bit of the dividend on. A divisor of 0 yields what SMT-LIB says.
std::pair<Bits, Bits> Words::divided_bits(const Bits& a, const Bits& b) {
  Bits quotient(a.size()), rest(b.size(), no);
  Bits complement = b;
  for (Bit& bit : complement) bit ^= 1U;
  for (std::size_t i = a.size(); i-- > 0;) {
    const Bit carried = rest.back();
    std::rotate(rest.begin(), rest.end() - 1, rest.end());
    rest[0] = a[i];
    Bit fits = yes;  // rest >= b
    for (std::size_t k = 0; k < b.size(); ++k) fits = graph_.majority(rest[k], b[k] ^ 1U, fits);
    fits = graph_.either(carried, fits);
    quotient[i] = fits;
    const Bits difference = sum_bits(rest, complement, yes);
    for (std::size_t k = 0; k < b.size(); ++k) rest[k] = graph_.choice(fits, difference[k], rest[k]);
  }
  return {quotient, rest};
}

std::pair<Word, Word> Words::divide(Word a, Word b) {
  constexpr std::size_t widest = 16;
  const auto [known, is_new] = quotients_.try_emplace({a, b});
  if (!is_new) return known->second;
  const std::size_t w = width(a);
  // What is 0 on top of both stays so in the remainder; in the quotient, unless the divisor is 0.
  const std::size_t zeros = std::min({leading_zeros(words_[a]), leading_zeros(words_[b]), w - 1});
  const std::size_t n = w - zeros;
  const auto x = number(a), y = number(b);
  std::pair<Word, Word>& result = known->second;
  if (y && *y != 0 && mpz_popcount(y->get_mpz_t()) == 1) {
    const std::size_t k = mpz_sizeinbase(y->get_mpz_t(), 2) - 1;
    Bits quotient(words_[a].begin() + static_cast<std::ptrdiff_t>(k), words_[a].end()), rest = words_[a];
    quotient.resize(w, no);
    std::fill(rest.begin() + static_cast<std::ptrdiff_t>(k), rest.end(), no);
    result.first = word(std::move(quotient));
    result.second = word(std::move(rest));
  } else if (y && *y == 0) {
    result.first = constant(-1, w);
    result.second = a;
  } else if (x && y) {
    result.first = constant(*x / *y, w);
    result.second = constant(*x % *y, w);
  } else if (zeros > 0) {
    const Bit by_zero = equal(b, constant(0, w));
    const Word low_a = part(a, 0, n), low_b = part(b, 0, n);
    const auto low = divide(low_a, low_b);
    Bits quotient = words_[low.first], rest = words_[low.second];
    quotient.resize(w, by_zero);
    rest.resize(w, no);
    // Dividing has made other entries.
    return quotients_[{a, b}] = {word(std::move(quotient)), word(std::move(rest))};
  } else if (w <= widest) {
    auto [quotient, rest] = divided_bits(words_[a], words_[b]);
    result.first = word(std::move(quotient));
    result.second = word(std::move(rest));
  } else {
    // Neither is more than the dividend divided by a constant, or the dividend and the constant.
    const std::size_t most_bits = w - leading_zeros(words_[a]);
    const mpz_class largest = (mpz_class(1) << most_bits) - 1;
    const auto num_bits = [](const mpz_class& value) { return mpz_sizeinbase(value.get_mpz_t(), 2); };
    result.first = variable(y ? num_bits(largest / *y) : w, w);
    result.second = variable(y ? std::min(num_bits(*y - 1), most_bits) : most_bits, w);
  }
  return result;
}

/// So many bits that may be anything, and zeros on top of them.
Word Words::variable(std::size_t num_open, std::size_t width) {
  Bits bits = words_[variable(num_open)];
  bits.resize(width, no);
  return word(std::move(bits));
}

}  // namespace quarv::cli
