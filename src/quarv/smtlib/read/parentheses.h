#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quarv::smtlib {

namespace parentheses {

constexpr std::size_t block_size = 16;
constexpr std::uint64_t high_bits = 0x8080808080808080;

/// Bytes that are compared all at once.
using Block [[gnu::vector_size(block_size)]] = std::uint8_t;
using Mask = std::array<std::uint64_t, 2>;  // the high bit of each byte that matters

constexpr bool matters(char c) {
  return c == '(' || c == ')' || c == '"' || c == '|' || c == ';';
}

inline Mask mask_of(const char* p) {
  static_assert('(' == 0x28 && ')' == 0x29);
  Block block;
  std::memcpy(&block, p, block_size);
  const auto found = ((block & 0xFE) == '(') | (block == '"') | (block == '|') | (block == ';');
  Mask mask;
  std::memcpy(mask.data(), &found, block_size);
  return {mask[0] & high_bits, mask[1] & high_bits};
}

/// Behind a comment, a string or a quoted symbol that begins at `p`; null where it does not end.
inline const char* behind(const char* p, const char* end) {
  if (*p == ';') {
    while (p != end && *p != '\n' && *p != '\r') ++p;
    return p;
  }
  const auto* const last =
      static_cast<const char*>(std::memchr(p + 1, *p, static_cast<std::size_t>(end - p - 1)));
  return last == nullptr ? nullptr : last + 1;  // "" within a string ends one and begins the next
}

}  // namespace parentheses

/// Calls `visit` with the place of each parenthesis of an SMT-LIB text, in order, until that returns false;
/// those in comments, strings and quoted symbols are none. It looks at many bytes at a time and makes no
/// tokens, so it is much faster than the lexer.
template <class Visit>
void for_each_parenthesis(const char* p, const char* end, Visit visit) {
  using namespace parentheses;
  constexpr bool first_byte_is_lowest = std::endian::native == std::endian::little;
  while (first_byte_is_lowest && p != nullptr && static_cast<std::size_t>(end - p) >= block_size) {
    const char* next = p + block_size;
    const Mask masks = mask_of(p);
    for (std::size_t half = 0; half < masks.size(); ++half) {
      for (std::uint64_t mask = masks[half]; mask != 0; mask &= mask - 1) {
        const char* const at = p + 8 * half + static_cast<std::size_t>(std::countr_zero(mask)) / 8;
        if (*at == '(' || *at == ')') {
          if (!visit(at)) return;
        } else {
          next = behind(at, end);
          half = masks.size();
          break;
        }
      }
    }
    p = next;
  }
  while (p != nullptr && p != end) {
    if (*p == '(' || *p == ')') {
      if (!visit(p)) return;
      ++p;
    } else {
      p = matters(*p) ? behind(p, end) : p + 1;
    }
  }
}

/// Behind the parenthesis that closes the one at `p`; null where none does.
inline const char* behind_parenthesis(const char* p, const char* end) {
  const char* found = nullptr;
  std::size_t depth = 0;
  for_each_parenthesis(p, end, [&](const char* at) {
    if (*at == '(') {
      ++depth;
    } else if (--depth == 0) {
      found = at + 1;
    }
    return found == nullptr;
  });
  return found;
}

}  // namespace quarv::smtlib
