#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <quarv/rules/language/defined_words.h>
#include <quarv/rules/language/rule_language.h>

namespace quarv::rules {

/// Puts what a word stands for into a pattern, in reading order. An operand that the definition has several
/// times is copied; conditions say that copies are the same terms, and that integers are what the definition
/// says.
class DefinitionPlacer {
 public:
  /// What was read of an operand: it has parameters and conditions of its own.
  struct Operand {
    std::size_t position = 0;  ///< of its root
    std::size_t end = 0;       ///< of its positions
    std::size_t first_parameter = 0, end_parameter = 0;
    std::size_t first_condition = 0, end_condition = 0;
    std::vector<PatternNode> nodes{};
    bool is_placed = false;
  };

  /// The operands are the last nodes of the pattern, after `root`, which takes the definition.
  DefinitionPlacer(Rule* rule, std::size_t root, std::vector<Operand> operands, std::size_t column);

  /// False when the pattern becomes too large.
  bool place(const DefinedTree& tree);

 private:
  void put(const DefinedTree& tree, std::size_t position);
  void put_application(const DefinedTree& tree, std::size_t position);
  void put_signed_minimum(const DefinedTree& tree, std::size_t position);
  void move(Operand& operand, std::size_t position);
  void copy(const Operand& operand, std::size_t position);
  std::size_t new_position(std::size_t parent, std::size_t child);
  std::size_t new_parameter(Parameter::Source source, std::size_t position, std::size_t index);
  void require(IntExpr left, IntExpr right);
  void require_same(std::size_t first, std::size_t second);
  std::string fresh_name(const std::string& name, const char* separator = "") const;

  Rule& rule_;
  std::size_t root_;
  std::vector<Operand> operands_;
  std::size_t column_;
  std::vector<Condition> sizes_;  // in which sizes are of operands
};

}  // namespace quarv::rules
