#pragma once

#include <array>
#include <cstddef>

#include <quarv/numbers/q_number.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl::extended {

/// A short sum of monomials with coefficients, and a constant.
class LinearSum {
 public:
  static constexpr std::size_t most_summands = 12;

  struct Monomial {
    const Term* term = nullptr;
    QNumber coefficient;
  };

  /// Visits the summands of a sum, the numerals of multiples left out, until the visitor returns false or
  /// there are too many. Sums lean to one side; what stands on the other is visited as a whole.
  template <class Visit>
  static bool for_each_summand(const TermManager& m, const Term* t, Visit visit) {
    for (std::size_t n = 0; m.get_tag(t->symbol) == SymbolTag::PLUS; ++n) {
      if (n == most_summands) return false;
      const bool leans_left = m.get_tag(t->args[0]->symbol) == SymbolTag::PLUS;
      if (!visit(without_factor(m, t->args[leans_left ? 1 : 0]))) return false;
      t = t->args[leans_left ? 0 : 1];
    }
    return visit(without_factor(m, t));
  }

  explicit LinearSum(TermManager& m) : m_(m) {}

  /// Adds `factor` times a term; false when that makes the sum too long or its numbers too large.
  [[nodiscard]] bool add(const Term* t, const QNumber& factor);

  /// How many summands have been added, numbers among them.
  std::size_t num_added() const { return num_added_; }
  /// Takes out monomials whose coefficient is 0.
  void drop_zeros();
  /// How many summands there are, the constant among them unless it is 0.
  std::size_t size() const { return size_ + (constant.is_zero() ? 0 : 1); }

  Monomial* begin() { return monomials_.data(); }
  Monomial* end() { return monomials_.data() + size_; }

  /// Whether this is `factor` times the other sum, constants apart.
  bool is_multiple_of(LinearSum& other, const QNumber& factor);

  /// The sum, built with full constructors.
  const Term* to_term();

  QNumber constant;

 private:
  static const Term* without_factor(const TermManager& m, const Term* t) {
    const bool is_multiple = m.get_tag(t->symbol) == SymbolTag::TIMES && m.get_number(t->args[0]) != nullptr;
    return is_multiple ? t->args[1] : t;
  }
  Monomial* find(const Term* t);

  TermManager& m_;
  std::array<Monomial, most_summands> monomials_;
  std::size_t size_ = 0;
  std::size_t num_added_ = 0;
};

}  // namespace quarv::termsimpl::extended
