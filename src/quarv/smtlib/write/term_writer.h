#pragma once

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/smtlib/write/printed_node.h>

namespace quarv::smtlib {

/// Text on its way to a stream, in large blocks.
class OutputBuffer {
  static constexpr std::size_t block = 1 << 16;

 public:
  static constexpr std::size_t short_text = 128;

  /// With `room` for a text of this length to begin with.
  explicit OutputBuffer(std::ostream& out, std::size_t room = block + 4096) : out_(out) {
    text_.reserve(room);
  }

  void put(char c) { text_ += c; }
  void put(std::string_view s) {
    text_ += s;
    if (text_.size() >= block && !held_) flush();
  }
  void put(std::unsigned_integral auto n) { put_number(n); }

  /// From here on the text can be looked at and taken back, until it is released. Gives where it begins.
  std::size_t hold() noexcept {
    held_ = true;
    return text_.size();
  }
  std::string_view held_from(std::size_t begin) const noexcept {
    return std::string_view(text_).substr(begin);
  }
  void take_back(std::size_t begin) { text_.resize(begin); }
  void release() {
    held_ = false;
    if (text_.size() >= block) flush();
  }

  /// Hands everything over; throws std::runtime_error when the stream fails.
  void flush();
  /// All bytes so far.
  std::size_t size() const noexcept { return flushed_ + text_.size(); }

 private:
  void put_number(std::uint64_t n);

  std::ostream& out_;
  std::string text_;
  std::size_t flushed_ = 0;
  bool held_ = false;
};

/// Writes `name`, quoted when it is not a simple symbol.
void write_name(OutputBuffer& out, std::string_view name);

/// Writes a number, a literal, a named constant: any term without arguments.
void write_constant(const TermManager& m, Node n, OutputBuffer& out);

/// What stands between an application's opening parenthesis and its first argument: "bvadd", "(_ extract 7
/// 0)".
void write_head(const TermManager& m, const Symbol* s, OutputBuffer& out);

/// A bit-vector literal: hexadecimal or binary digits.
std::string digits_of_bits(const QNumber& value, std::size_t width);
/// Likewise, or as "(_ bv5 100)" where that is shorter.
std::string shortest_bits(const QNumber& value, std::size_t width);

/// An integer as a numeral, any other number as a decimal or fraction; "(- n)" when negative. A Real has a
/// decimal point.
void write_number(const QNumber& value, OutputBuffer& out, bool as_real);

/// A number that is not negative as a decimal; empty when there is none of reasonable length.
std::string decimal_text(const QNumber& value);

}  // namespace quarv::smtlib
