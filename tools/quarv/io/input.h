#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quarv::cli {

/// The whole of a file, or of standard input, in memory; of a compressed one, what it holds.
///
/// A file is read instead of mapped: one that is cut short or rewritten while the program works would
/// otherwise end the process or change under the reader's hands.
class Input {
 public:
  /// Reads the file of that path; "-" is standard input. Throws FileError.
  explicit Input(const std::string& path);

  std::string_view text() const noexcept {
    return unpacked_ ? *unpacked_ : std::string_view(bytes_.get(), size_);
  }
  /// The text is what the file holds in compressed form.
  bool compressed() const noexcept { return unpacked_.has_value(); }
  /// For messages.
  const std::string& name() const noexcept { return name_; }

 private:
  void read_all(int fd, std::size_t expected_size);

  std::string name_;
  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0;
  std::optional<std::string> unpacked_;
};

}  // namespace quarv::cli
