#pragma once

#include <cstddef>

#include <quarv/numbers/number_size.h>
#include <quarv/numbers/q_number.h>
#include <quarv/term/symbol.h>

namespace quarv {

/// What an entry of the numeral table takes: a node of 32 bytes, and a bucket at the usual load.
inline constexpr std::size_t bytes_of_entry = 48;

/// Bytes that a number takes beside its two words.
inline std::size_t bytes_beside(const QNumber& value) {
  return value.is_small() ? 0 : (numerator_bits(value) + denominator_bits(value)) / 8;
}

}  // namespace quarv
