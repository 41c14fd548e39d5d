#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "reference/terms.h"
#include <quarv/term/term_manager.h>

namespace quarv::reference {

/// Takes the library's terms apart: appends them and their sub-terms to a sequence of expressions, each once.
class LibraryTerms {
 public:
  /// All must outlive this; the terms must stay where they are.
  LibraryTerms(const TermManager& manager, Sorts& sorts, Expressions& expressions)
      : manager_(manager), sorts_(sorts), expressions_(expressions) {}

  /// Where the expression of the term stands. Annotations are left out.
  /// \throws std::out_of_range for quantifiers and other terms that have no expression
  std::size_t place(const Term* t);

 private:
  Expression expression(const Term* t);
  const Sort* sort_of(const DataType* type);
  long constant_value(const Term* t) const;
  void set_operation(Expression& e, const Symbol* s);
  std::size_t add(Expression e);

  const TermManager& manager_;
  Sorts& sorts_;
  Expressions& expressions_;
  std::unordered_map<const Term*, std::size_t> places_;
};

/// Evaluates the library's terms under many assignments.
class TermEvaluation {
 public:
  TermEvaluation(const TermManager& manager, std::size_t num_assignments, std::uint64_t seed = 0)
      : terms_(manager, sorts_, expressions_), values_(expressions_, num_assignments, seed) {}
  TermEvaluation(const TermEvaluation&) = delete;
  TermEvaluation& operator=(const TermEvaluation&) = delete;

  std::size_t num_assignments() const { return values_.num_assignments(); }

  /// Gives a declared constant its values, before a term is evaluated in which it occurs.
  void set(const Term* variable, Column values) { values_.set(terms_.place(variable), std::move(values)); }

  const Column& operator()(const Term* t) { return values_[terms_.place(t)]; }

  /// The first assignment under which the terms have different values, or the number of assignments.
  std::size_t first_difference(const Term* a, const Term* b);
  bool equal(const Term* a, const Term* b) { return first_difference(a, b) == values_.num_assignments(); }

 private:
  Sorts sorts_;
  Expressions expressions_;
  LibraryTerms terms_;
  Evaluation values_;
};

}  // namespace quarv::reference
