#include <algorithm>
#include <array>

#include <quarv/numbers/q_number.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

/// The number before a multiple, where it is a small one; null for other terms.
const QNumber* small_factor(const TermManager& m, const Term* t) {
  if (!has_tag(m, t, SymbolTag::TIMES)) return nullptr;
  const QNumber* factor = m.get_number(t->args[0]);
  return factor != nullptr && factor->is_small() ? factor : nullptr;
}

}  // namespace

/// Numbers come out of a product and are put together: (* (* 2 x) (- y)) is (* (- 2) (* x y)).
const Term* simplify_times(TermManager& m, const Symbol* /*s*/, Args args) {
  QNumber factor(1);
  std::array<const Term*, 2> parts{args[0], args[1]};
  bool is_multiple = false;
  for (const Term*& part : parts) {
    const QNumber* inner = small_factor(m, part);
    if (inner == nullptr) continue;
    factor *= *inner;
    part = part->args[1];
    is_multiple = true;
  }
  if (!is_multiple) return nullptr;
  for (std::size_t i = 0; i < 2; ++i) {
    const QNumber* number = m.get_number(parts[i]);
    if (number == nullptr) continue;
    if (!number->is_small()) return nullptr;
    const Term* product = m.make_number(factor * *number);
    return m.make_times(product, parts[1 - i]);
  }
  const Term* number = m.make_number(factor);
  const Term* product = m.make_times(parts[0], parts[1]);
  return m.make_times(number, product);
}

namespace {

bool is_nonzero(const TermManager& m, const Term* t) {
  const QNumber* value = m.get_number(t);
  if (value != nullptr) return !value->is_zero();
  return is_ite(m, t) && is_value(m, t->args[1]) && is_value(m, t->args[2]) && is_nonzero(m, t->args[1]) &&
         is_nonzero(m, t->args[2]);
}

/// The factors of a short product, each once, and how often they occur.
class Factors {
 public:
  /// False where there are too many.
  [[nodiscard]] bool take(const TermManager& m, const Term* t) {
    for (; has_tag(m, t, SymbolTag::TIMES); t = t->args[1]) {
      if (!add(t->args[0])) return false;
    }
    return add(t);
  }
  std::size_t num_added() const noexcept { return num_added_; }
  Args distinct() const noexcept { return {factors_.data(), size_}; }
  bool all_are_even() const noexcept { return is_odd_ == 0; }

 private:
  bool add(const Term* t) {
    if (num_added_++ == factors_.size()) return false;
    const auto known = std::find(factors_.begin(), factors_.begin() + size_, t) - factors_.begin();
    if (static_cast<std::size_t>(known) == size_) factors_[size_++] = t;
    is_odd_ ^= 1U << known;
    return true;
  }

  std::array<const Term*, 12> factors_;
  std::size_t size_ = 0;
  std::size_t num_added_ = 0;
  unsigned is_odd_ = 0;  // a bit for each factor: it occurs an odd number of times
};

}  // namespace

bool is_square(const TermManager& m, const Term* product) {
  Factors factors;
  return has_tag(m, product, SymbolTag::TIMES) && factors.take(m, product) && factors.all_are_even();
}

/// A product that is 0: it does not matter how often a factor occurs, nor whether there is one that never
/// is 0.
const Term* product_is_zero(TermManager& m, const Term* product) {
  Factors factors;
  if (!has_tag(m, product, SymbolTag::TIMES) || !factors.take(m, product)) return nullptr;
  const Term* rest = nullptr;
  std::size_t num_kept = 0;
  for (const Term* factor : factors.distinct()) {
    if (is_nonzero(m, factor)) continue;
    rest = rest == nullptr ? factor : m.make_times(factor, rest);
    ++num_kept;
  }
  if (num_kept == factors.num_added()) return nullptr;
  if (rest == nullptr) return m.false_term;
  const Term* zero = m.make_number(QNumber());
  return m.make_equal(rest, zero);
}

}  // namespace quarv::termsimpl::extended
