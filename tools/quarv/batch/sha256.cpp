#include "batch/sha256.h"

#include <array>

namespace quarv::cli {

std::string Sha256::digest() {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> bytes;
  sha256_digest(&state_, bytes.size(), bytes.data());
  std::string text;
  for (std::uint8_t byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

std::string sha256(std::string_view text) {
  Sha256 state;
  state.add(text);
  return state.digest();
}

}  // namespace quarv::cli
