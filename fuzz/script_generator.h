#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "byte_source.h"
#include "reference/terms.h"

namespace quarv::fuzz {

using reference::Expression;
using reference::Expressions;
using reference::Sort;
using reference::Sorts;

/// A script as expressions and as text.
struct GeneratedScript {
  Expressions expressions;
  std::vector<std::size_t> roots;  ///< what is asserted or, when it is not Boolean, simplified, in this order
  std::string text;
};

/// Turns bytes into a script that is well-sorted whatever the bytes are: each decision picks an operator, and
/// operands among the expressions of the right sort that there are, variables and literals.
class ScriptGenerator {
 public:
  ScriptGenerator(ByteSource& source, Sorts& sorts) : source_(source), sorts_(sorts) {}

  GeneratedScript generate();

 private:
  using Place = std::size_t;
  using Step = void (ScriptGenerator::*)();

  std::vector<Step> chosen_steps();
  Place add(Expression e);
  Place apply(std::string_view name, const Sort* sort, std::vector<Place> args,
              std::vector<std::size_t> indices = {});
  const Sort* sort_of(Place p) const { return expressions_[p].sort; }
  template <std::size_t n>
  std::string_view one_of(const std::string_view (&names)[n]) {
    return names[source_.below(n)];
  }

  Place one_of(const std::vector<Place>& places);

  const Sort* any_sort(std::size_t array_depth = 2);
  const Sort* any_bit_vector_sort();
  const Sort* any_float_sort();
  Place operand(const Sort* sort);
  Place operand(Sort::Kind kind);
  Place variable(const Sort* sort);
  Place literal(const Sort* sort);
  std::vector<Place> operands(const Sort* sort, std::size_t least, std::size_t most);

  void connective();
  void negation();
  void equality();
  void if_then_else();
  void function();
  void array_read();
  void array_write();
  void constant_array();
  void sum();
  void product();
  void quotient();
  void integer_quotient();
  void order();
  void arithmetic_conversion();
  void bit_vector_unary();
  void bit_vector_binary();
  void bit_vector_sum();
  void bit_vector_order();
  void bit_vector_part();
  void bit_vector_extension();
  void rotation();
  void overflow();
  void integer_conversion();
  void float_unary();
  void float_binary();
  void float_rounded();
  void float_predicate();
  void float_order();
  void float_from_bits();
  void float_conversion();
  void float_to_bits();

  std::string declarations() const;
  std::string with_lets(Place root) const;
  std::string with_definitions(Place root);
  std::vector<bool> parts_of(Place root) const;
  std::vector<std::size_t> uses_within(const std::vector<bool>& parts) const;
  void write();

  ByteSource& source_;
  Sorts& sorts_;
  bool define_shared_ = false;
  std::uint8_t level_changes_ = 0;  // where levels are pushed and popped
  const Sort* bit_vector_sort_ = nullptr;
  const Sort* float_sort_ = nullptr;
  Expressions expressions_;
  std::map<const Sort*, std::vector<Place>> by_sort_;
  std::map<Sort::Kind, std::vector<Place>> by_kind_;
  std::map<std::string, Place> variables_;
  std::map<std::string, std::string> functions_;  // name by signature
  std::vector<bool> used_;
  std::size_t num_products_ = 0;
  std::vector<Place> roots_;
  std::vector<std::string> defined_texts_;
  std::vector<bool> defined_;
  std::string text_;
};

}  // namespace quarv::fuzz
