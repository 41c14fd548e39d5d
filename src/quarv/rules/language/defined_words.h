#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <quarv/rules/language/rule_language.h>

namespace quarv::rules {

/// What stands for a word that is no operator of terms, over the operands that are written.
struct DefinedTree {
  enum class Kind : std::uint8_t {
    operand,         ///< operand number `operand`
    literal,         ///< `value`, -1 for all ones where it is a bit-vector
    signed_minimum,  ///< the sign bit alone, of the width `parameters[0]`
    application,     ///< `op` on `children`
  };
  Kind kind = Kind::operand;
  std::size_t operand = 0;
  std::int64_t value = 0;
  bool as_real = false;  ///< an integer in the place of a real number
  const OperatorWord* op = nullptr;
  std::vector<IntExpr> parameters;  ///< in which `size` is that of operand `index`
  std::vector<DefinedTree> children;
};

/// The meaning of a word with so many operands, as the reader of SMT-LIB has it: of words that are defined by
/// operators, and of operators with more operands than terms have. Nothing for words that stand for
/// themselves, and where there is no such application. `times` is the index of `repeat`.
std::optional<DefinedTree> definition_of(std::string_view word, std::size_t num_operands, std::size_t times);

/// Whether the word means something with some number of operands.
bool is_defined_word(std::string_view word);

/// Whether it has an index, which is a numeral.
bool has_repetitions(std::string_view word);

}  // namespace quarv::rules
