#pragma once

#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string>
#include <utility>

namespace quarv::smtlib {

/// A stream into a string that must not become longer than `limit` bytes: what comes then throws TooLong.
class BoundedText : private std::streambuf {
 public:
  struct TooLong {};

  explicit BoundedText(std::size_t limit) : limit_(limit) {}

  std::ostream& stream() { return stream_; }

  std::string take() && { return std::move(text_); }

 private:
  std::streamsize xsputn(const char* bytes, std::streamsize n) override {
    const auto size = static_cast<std::size_t>(n);
    if (size > limit_ - text_.size()) throw TooLong();
    text_.append(bytes, size);
    return n;
  }
  int_type overflow(int_type c) override {
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
      const char byte = traits_type::to_char_type(c);
      xsputn(&byte, 1);
    }
    return traits_type::not_eof(c);
  }

  std::size_t limit_;
  std::string text_;
  std::ostream stream_{this};
};

}  // namespace quarv::smtlib
