#pragma once

#include <span>
#include <string_view>

namespace quarv::cli {

/// A file of proofs/.
struct CoqFile {
  std::string_view name;  ///< without ".v"
  std::string_view text;
};

/// The meaning of the operators, lemmas and tactics, each file after those that it needs.
std::span<const CoqFile> coq_library();

}  // namespace quarv::cli
