#pragma once

#include <cstdint>
#include <nettle/sha2.h>
#include <string>
#include <string_view>

namespace quarv::cli {

/// The SHA-256 digest (FIPS 180-4) of text that comes bit by bit. The same text has the same digest on every
/// machine and in every version; `sha256sum` of a script gives it too.
class Sha256 {
 public:
  Sha256() { sha256_init(&state_); }

  void add(std::string_view text) {
    sha256_update(&state_, text.size(), reinterpret_cast<const std::uint8_t*>(text.data()));
  }

  /// In hexadecimal. Begins afresh.
  std::string digest();

 private:
  sha256_ctx state_;
};

/// The digest of one text, in hexadecimal.
std::string sha256(std::string_view text);

}  // namespace quarv::cli
