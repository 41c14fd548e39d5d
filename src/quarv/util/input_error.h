#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

#include <quarv/export.h>

namespace quarv {

/// An error in SMT-LIB input. `what()` is one line, `file:line:column: error: message`; lines and columns
/// count from 1, columns in bytes.
class QUARV_API InputError : public std::runtime_error {
 public:
  InputError(const std::string& file, std::size_t line, std::size_t column, const std::string& message,
             std::string excerpt = {});

  /// The message alone, without the place.
  const std::string& message() const noexcept { return message_; }
  /// The offending line of the input and, below it, a caret under the place, each ended by a newline: what a
  /// person is shown after `what()`. Empty where there is no such line.
  const std::string& excerpt() const noexcept { return excerpt_; }
  std::size_t line() const noexcept { return line_; }
  std::size_t column() const noexcept { return column_; }

 private:
  std::string message_;
  std::string excerpt_;
  std::size_t line_;
  std::size_t column_;
};

}  // namespace quarv
