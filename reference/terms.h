#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "reference/operations.h"
#include "reference/sorts.h"
#include "reference/values.h"

namespace quarv::reference {

/// A term without quantifiers. Its arguments stand before it in the same sequence of expressions.
struct Expression {
  enum Kind : std::uint8_t { literal, variable, function, operation };

  Kind kind;
  const Sort* sort;
  mpq_class value{};              ///< of a literal; literals have no array sort
  std::string name{};             ///< of a variable or a declared function
  const Operation* op = nullptr;  ///< of an operation
  std::vector<std::size_t> indices{};
  std::vector<std::size_t> args{};  ///< positions in the sequence
};

using Expressions = std::vector<Expression>;

/// The values of one expression under many assignments.
struct Column {
  std::vector<std::uint64_t> words;  ///< of sorts whose values are words, `Sort::is_word`
  std::vector<Value> values;         ///< of other sorts

  std::size_t size() const { return words.size() + values.size(); }
  Value value(std::size_t assignment) const;
};

/// The first assignment under which two expressions have different values; the number of assignments if there
/// is none.
std::size_t first_difference(const Sort* sort, const Column& a, const Column& b);

/// Evaluates the terms of a growing sequence under many assignments at once, each expression once. What holds
/// words only is computed on words, without allocation for single values.
class Evaluation {
 public:
  /// Names, and operators where the standard leaves their values open, mean what a random interpretation
  /// says, a different one in each assignment. \param expressions must outlive this
  Evaluation(const Expressions& expressions, std::size_t num_assignments, std::uint64_t seed = 0)
      : expressions_(expressions), num_assignments_(num_assignments), seed_(seed) {}

  std::size_t num_assignments() const { return num_assignments_; }

  /// Gives a variable its values, before anything from there on is evaluated.
  void set(std::size_t place, Column values) { given_[place] = std::move(values); }

  const Column& operator[](std::size_t place);

 private:
  Column computed(std::size_t place);
  Column constant(const Expression& e) const;
  Column named(const Expression& e) const;
  Column computed_on_words(const Expression& e) const;
  Column computed_on_values(const Expression& e) const;

  const Expressions& expressions_;
  std::size_t num_assignments_;
  std::uint64_t seed_;
  std::vector<Column> columns_;
  std::unordered_map<std::size_t, Column> given_;
};

/// All assignments of values to variables of these widths, whose sum is small: element i of the result is for
/// variable i.
std::vector<Column> all_assignments(std::span<const std::size_t> widths);

/// The expression in SMT-LIB, by the texts of its arguments.
std::string to_smtlib(const Expression& e, std::span<const std::string> argument_texts);

}  // namespace quarv::reference
