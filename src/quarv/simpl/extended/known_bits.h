#pragma once

#include <cstddef>
#include <optional>

#include <quarv/term/term_manager.h>

namespace quarv::termsimpl::extended {

/// Bits of a bit-vector that are the same under every interpretation. Bits above the width are known zeros.
struct KnownBits {
  using Word = unsigned __int128;
  static constexpr std::size_t most_bits = 128;

  Word zeros = 0;
  Word ones = 0;

  Word least() const { return ones; }
  Word greatest() const { return ~zeros; }
  bool is_value() const { return (zeros | ones) == ~Word{0}; }
  /// Some bit is known to differ.
  bool differs_from(const KnownBits& other) const {
    return (ones & other.zeros) != 0 || (zeros & other.ones) != 0;
  }
  /// With the sign bit complemented, which takes the signed order to the unsigned one.
  KnownBits with_sign_flipped(std::size_t width) const;

  /// What is known of a term, of which a bounded part is looked at; none for wide ones.
  static std::optional<KnownBits> of(const TermManager& m, const Term* t);
};

/// The number that a literal of at most 128 bits stands for.
KnownBits::Word word_of(const QNumber& value);

}  // namespace quarv::termsimpl::extended
