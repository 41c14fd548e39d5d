#pragma once

#include <cstddef>
#include <string>

namespace quarv {

/// One attribute of an annotated term `(! body :keyword value)`. A value that consists of terms (`:pattern (t
/// u)`) gives their number; any other value is kept as text.
struct Attribute {
  std::string keyword;        ///< with its colon
  std::string text;           ///< the value as written; empty when there is none or it consists of terms
  std::size_t num_terms = 0;  ///< how many arguments of the annotated term, after the body, belong here

  bool operator==(const Attribute&) const = default;
};

}  // namespace quarv
