#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

#include <quarv/export.h>

namespace quarv::smtlib {

/// A fault in SMT-LIB input. `what()` is one line, `file:line:column: error: message`; lines and columns
/// count from 1, columns in bytes.
class QUARV_API Error : public std::runtime_error {
 public:
  Error(const std::string& file, std::size_t line, std::size_t column, const std::string& message)
      : std::runtime_error(file + ':' + std::to_string(line) + ':' + std::to_string(column) +
                           ": error: " + message),
        message_(message),
        line_(line),
        column_(column) {}

  /// The message alone, without the place.
  const std::string& message() const noexcept { return message_; }
  std::size_t line() const noexcept { return line_; }
  std::size_t column() const noexcept { return column_; }

 private:
  std::string message_;
  std::size_t line_;
  std::size_t column_;
};

}  // namespace quarv::smtlib
