#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quarv::cli {

/// How much may come of a compressed file. A few kilobytes can be made to decompress to terabytes, and all is
/// kept in memory.
///
/// Up to 256 MiB may always come of a file, and 200 times its size, but no more than 16 GiB. The environment
/// variable QUARV_DECOMPRESSED_LIMIT, a number of bytes with or without a unit ("4GiB"), replaces all of
/// this; 0 is no limit.
class DecompressionLimit {
 public:
  /// Throws std::runtime_error when the variable is no size.
  explicit DecompressionLimit(std::uint64_t compressed_bytes);

  bool admits(std::size_t bytes) const noexcept { return bytes <= most_; }
  /// Why no more is read, in a few words.
  std::string reason() const;

 private:
  std::uint64_t most_;
};

}  // namespace quarv::cli
