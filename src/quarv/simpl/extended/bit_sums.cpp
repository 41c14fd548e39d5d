#include <algorithm>
#include <array>

#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/bit_slices.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

/// A short sum of terms with coefficients, and a constant, modulo 2^width.
class BitSum {
 public:
  struct Monomial {
    const Term* term = nullptr;
    QNumber coefficient;
  };

  BitSum(TermManager& m, std::size_t width) : m_(m), width_(width) {}

  /// Adds `factor` times a term; false when that makes the sum too long.
  [[nodiscard]] bool add(const Term* t, const QNumber& factor);

  Monomial* begin() { return monomials_.data(); }
  Monomial* end() { return monomials_.data() + size_; }

  /// Has a term with the sum of its coefficients.
  bool contains(const Term* t) { return find(t) != end(); }

  QNumber reduced(const QNumber& value) const {
    QNumber residue;
    BVNumber::residue(value, width_, &residue);
    return residue;
  }

  QNumber constant;

 private:
  static constexpr std::size_t most = 12;

  Monomial* find(const Term* t) {
    return std::find_if(begin(), end(), [t](const Monomial& x) { return x.term == t; });
  }
  bool add_monomial(const Term* t, const QNumber& factor);

  TermManager& m_;
  std::size_t width_;
  std::array<Monomial, most> monomials_;
  std::size_t size_ = 0;
};

bool BitSum::add_monomial(const Term* t, const QNumber& factor) {
  Monomial* known = find(t);
  if (known == end()) {
    if (size_ == most) return false;
    *known = {t, QNumber(0)};
    ++size_;
  }
  known->coefficient = reduced(known->coefficient + factor);
  return true;
}

bool BitSum::add(const Term* root, const QNumber& root_factor) {
  std::array<Monomial, 2 * most> pending;
  std::size_t num_pending = 0;
  const auto push = [&](const Term* t, const QNumber& factor) {
    if (num_pending < pending.size()) pending[num_pending] = {t, factor};
    return num_pending++ < pending.size();
  };
  if (!push(root, root_factor)) return false;
  for (std::size_t visited = 0; num_pending > 0; ++visited) {
    if (visited == 4 * most) return false;
    const auto [t, factor] = pending[--num_pending];
    const Args args = m_.args_of(t);
    bool fits = true;
    if (const QNumber* value = m_.get_number(t)) {
      constant = reduced(constant + factor * *value);
      continue;
    }
    switch (m_.get_tag(t->symbol)) {
      case SymbolTag::BV_ADD:
        fits = push(args[0], factor) && push(args[1], factor);
        break;
      case SymbolTag::BV_SUB:
        fits = push(args[0], factor) && push(args[1], -factor);
        break;
      case SymbolTag::BV_NEG:
        fits = push(args[0], -factor);
        break;
      case SymbolTag::BV_NOT:  // -t - 1
        constant = reduced(constant - factor);
        fits = push(args[0], -factor);
        break;
      case SymbolTag::BV_MUL: {
        const QNumber* left = m_.get_number(args[0]);
        const QNumber* right = m_.get_number(args[1]);
        fits = left != nullptr    ? push(args[1], reduced(factor * *left))
               : right != nullptr ? push(args[0], reduced(factor * *right))
                                  : add_monomial(t, factor);
        break;
      }
      case SymbolTag::BV_LSL: {
        const QNumber* places = m_.get_number(args[1]);
        if (places == nullptr || *places >= QNumber(static_cast<std::int64_t>(width_))) {
          fits = add_monomial(t, factor);
          break;
        }
        QNumber power;
        BVNumber::pow2(places->num().get_ui(), &power);
        fits = push(args[0], reduced(factor * power));
        break;
      }
      default:
        fits = add_monomial(t, factor);
    }
    if (!fits) return false;
  }
  return true;
}

/// One side of an equation under construction.
class Side {
 public:
  Side(TermManager& m, std::size_t width) : m_(m), width_(width) {}

  void add(const QNumber& coefficient, const Term* t) {
    const Term* product =
        coefficient == QNumber(1) ? t : m_.make_bv_mul(m_.make_bv_number(coefficient, width_), t);
    sum_ = sum_ == nullptr ? product : m_.make_bv_add(sum_, product);
  }
  void add(const QNumber& constant) {
    const Term* number = m_.make_bv_number(constant, width_);
    sum_ = sum_ == nullptr ? number : m_.make_bv_add(number, sum_);
  }
  bool is_empty() const { return sum_ == nullptr; }
  const Term* term() { return sum_ != nullptr ? sum_ : m_.make_bv_number(0, width_); }

 private:
  TermManager& m_;
  std::size_t width_;
  const Term* sum_ = nullptr;
};

/// Both have an operand in common, or one is an operand of the other: rules see that.
bool have_common_operand(const TermManager& m, const Term* a, const Term* b) {
  const auto operands = [&m](const Term*& t) {
    return has_tag(m, t, SymbolTag::BV_ADD) ? m.args_of(t) : Args(&t, 1);
  };
  const Args x = operands(a);
  const Args y = operands(b);
  return std::ranges::any_of(x, [y](const Term* t) { return std::ranges::find(y, t) != y.end(); });
}

}  // namespace

namespace {

/// The operands of a chain of exclusive ors; false when there are too many.
class Parity {
 public:
  explicit Parity(const TermManager& m) : m_(m) {}

  [[nodiscard]] bool take(const Term* root) {
    std::array<const Term*, most> pending{root};
    for (std::size_t n = 1; n > 0;) {
      const Term* t = pending[--n];
      if (has_tag(m_, t, SymbolTag::BV_XOR)) {
        if (n + 2 > most) return false;
        pending[n++] = t->args[1];
        pending[n++] = t->args[0];
      } else if (size_ == most) {
        return false;
      } else {
        operands_[size_++] = t;
      }
    }
    return true;
  }

  const Term** begin() { return operands_.data(); }
  const Term** end() { return operands_.data() + size_; }
  void drop(const Term** operand) { std::copy(operand + 1, end(), operand), --size_; }

  const Term* term(TermManager& m, std::size_t width) {
    if (size_ == 0) return m.make_bv_number(0, width);
    const Term* all = operands_[size_ - 1];
    for (std::size_t i = size_ - 1; i-- > 0;) all = m.make_bv_xor(operands_[i], all);
    return all;
  }

 private:
  static constexpr std::size_t most = 12;

  const TermManager& m_;
  std::array<const Term*, most> operands_{};
  std::size_t size_ = 0;
};

}  // namespace

const Term* cancel_in_parities(TermManager& m, const Term* a, const Term* b) {
  if (!has_tag(m, a, SymbolTag::BV_XOR) || !has_tag(m, b, SymbolTag::BV_XOR)) return nullptr;
  Parity left(m);
  Parity right(m);
  if (!left.take(a) || !right.take(b)) return nullptr;
  bool any = false;
  for (const Term** x = left.begin(); x != left.end();) {
    const Term** same = std::find(right.begin(), right.end(), *x);
    if (same == right.end()) {
      ++x;
      continue;
    }
    right.drop(same);
    left.drop(x);
    any = true;
  }
  if (!any) return nullptr;
  const std::size_t width = width_of(m, a);
  const Term* first = left.term(m, width);
  const Term* second = right.term(m, width);
  return m.make_equal(first, second);
}

const Term* cancel_in_bit_sums(TermManager& m, const Term* a, const Term* b) {
  if (!has_tag(m, a, SymbolTag::BV_ADD) && !has_tag(m, b, SymbolTag::BV_ADD)) return nullptr;
  if (have_common_operand(m, a, b)) return nullptr;
  const std::size_t width = width_of(m, a);
  BitSum left_sum(m, width);
  BitSum right_sum(m, width);
  if (!left_sum.add(a, QNumber(1)) || !right_sum.add(b, QNumber(1))) return nullptr;
  const bool cancels = std::any_of(left_sum.begin(), left_sum.end(),
                                   [&](const BitSum::Monomial& x) { return right_sum.contains(x.term); });
  if (!cancels || !left_sum.add(b, QNumber(-1))) return nullptr;
  QNumber half, whole;
  BVNumber::pow2(width - 1, &half);
  BVNumber::pow2(width, &whole);
  Side left(m, width), right(m, width);
  for (const BitSum::Monomial& x : left_sum) {
    if (x.coefficient.is_zero()) continue;
    if (x.coefficient <= half) {
      left.add(x.coefficient, x.term);
    } else {
      right.add(whole - x.coefficient, x.term);
    }
  }
  const QNumber constant = left_sum.constant;
  if (!constant.is_zero()) {
    // To a side without terms, else to where it is smaller.
    const bool to_left = left.is_empty() || (!right.is_empty() && constant <= half);
    if (to_left) {
      left.add(constant);
    } else {
      right.add(whole - constant);
    }
  }
  return m.make_equal(left.term(), right.term());
}

}  // namespace quarv::termsimpl::extended
