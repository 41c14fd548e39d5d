#include "io/decompression_limit.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include <fmt/core.h>

#include "io/command_line.h"

namespace quarv::cli {

namespace {

constexpr const char* variable = "QUARV_DECOMPRESSED_LIMIT";

std::uint64_t default_limit(std::uint64_t compressed_bytes) {
  constexpr std::uint64_t always = std::uint64_t{256} << 20;
  constexpr std::uint64_t never_above = std::uint64_t{16} << 30;
  constexpr std::uint64_t ratio = 200;
  return std::clamp(std::min(compressed_bytes, never_above) * ratio, always, never_above);
}

}  // namespace

DecompressionLimit::DecompressionLimit(std::uint64_t compressed_bytes)
    : most_(default_limit(compressed_bytes)) {
  const char* const text = std::getenv(variable);
  if (text == nullptr || *text == 0) return;
  const std::optional<std::uint64_t> bytes = size_in_bytes(text);
  if (!bytes) throw std::runtime_error(fmt::format("{}: {} is not a number of bytes", variable, text));
  most_ = *bytes == 0 ? std::numeric_limits<std::uint64_t>::max() : *bytes;
}

std::string DecompressionLimit::reason() const {
  constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;
  const std::string most =
      most_ % mebibyte == 0 ? fmt::format("{} MiB", most_ / mebibyte) : fmt::format("{} bytes", most_);
  return fmt::format("it decompresses to more than {}, which {} can raise", most, variable);
}

}  // namespace quarv::cli
