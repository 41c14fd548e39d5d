#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace quarv::cli {

/// A file that cannot be read or written. `what()` is one line.
class FileError : public std::runtime_error {
 public:
  /// "cannot ACTION NAME: REASON", the reason being that of `error`, a value of errno.
  FileError(const std::string& action, const std::string& name, int error = errno)
      : FileError(action, name, std::generic_category().message(error)) {}
  FileError(const std::string& action, const std::string& name, const std::string& reason)
      : std::runtime_error("cannot " + action + ' ' + name + ": " + reason) {}
};

}  // namespace quarv::cli
