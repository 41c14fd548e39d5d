#pragma once

#include <cstddef>
#include <string>

namespace quarv {

/// A message as it is shown, whatever names and numbers of the input it holds: on one line, without
/// characters that a terminal obeys, and without the middle of what is very long.
inline std::string in_one_line(std::string message) {
  constexpr std::size_t longest = 400;
  constexpr std::size_t shown_end = 100;
  for (char& c : message) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 32 || byte == 127) c = ' ';
  }
  if (message.size() <= longest) return message;
  // Between characters of UTF-8.
  const auto boundary = [&message](std::size_t i) {
    while ((static_cast<unsigned char>(message[i]) & 0xC0) == 0x80 && i < message.size()) ++i;
    return i;
  };
  const std::size_t from = boundary(longest - shown_end);
  const std::size_t to = boundary(message.size() - shown_end);
  if (from < to) message.replace(from, to - from, "...");
  return message;
}

}  // namespace quarv
