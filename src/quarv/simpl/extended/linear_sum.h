#pragma once

#include <array>
#include <cstddef>

#include <quarv/numbers/q_number.h>
#include <quarv/term/term_manager.h>

namespace quarv::termsimpl::extended {

/// A short sum of monomials with coefficients, and a constant.
class LinearSum {
 public:
  struct Monomial {
    const Term* term = nullptr;
    QNumber coefficient;
  };

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
  static constexpr std::size_t most_summands = 12;

  Monomial* find(const Term* t);

  TermManager& m_;
  std::array<Monomial, most_summands> monomials_;
  std::size_t size_ = 0;
  std::size_t num_added_ = 0;
};

}  // namespace quarv::termsimpl::extended
