#include <algorithm>
#include <utility>
#include <vector>

#include <quarv/simpl/extended/linear_sum.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

LinearSum::Monomial* LinearSum::find(const Term* t) {
  return std::find_if(begin(), end(), [t](const Monomial& x) { return x.term == t; });
}

bool LinearSum::add(const Term* t, const QNumber& factor) {
  struct Part {
    const Term* term;
    QNumber factor;
  };
  constexpr std::size_t most_parts = 2 * most_summands;
  std::array<Part, most_summands> pending{{{t, factor}}};
  std::size_t steps = 0;
  for (std::size_t n = 1; n > 0;) {
    const Part part = std::move(pending[--n]);
    if (++steps > most_parts || !part.factor.is_small()) return false;
    if (const QNumber* value = m_.get_number(part.term)) {
      ++num_added_;
      constant += *value * part.factor;
      continue;
    }
    if (has_tag(m_, part.term, SymbolTag::PLUS)) {
      if (n + 2 > pending.size()) return false;
      pending[n++] = {part.term->args[1], part.factor};
      pending[n++] = {part.term->args[0], part.factor};
      continue;
    }
    if (has_tag(m_, part.term, SymbolTag::TIMES)) {
      const QNumber* left = m_.get_number(part.term->args[0]);
      if (left != nullptr) {
        pending[n++] = {part.term->args[1], part.factor * *left};
        continue;
      }
    }
    ++num_added_;
    Monomial* known = find(part.term);
    if (known != end()) {
      known->coefficient += part.factor;
    } else if (size_ < monomials_.size()) {
      monomials_[size_++] = {part.term, part.factor};
    } else {
      return false;
    }
  }
  return true;
}

void LinearSum::drop_zeros() {
  Monomial* last = std::remove_if(begin(), end(), [](const Monomial& x) { return x.coefficient.is_zero(); });
  size_ = static_cast<std::size_t>(last - begin());
}

bool LinearSum::is_multiple_of(LinearSum& other, const QNumber& factor) {
  if (size_ != other.size_) return false;
  return std::all_of(begin(), end(), [&](const Monomial& x) {
    const Monomial* y = other.find(x.term);
    return y != other.end() && x.coefficient == y->coefficient * factor;
  });
}

const Term* LinearSum::to_term() {
  const Term* sum = constant.is_zero() && size_ != 0 ? nullptr : m_.make_number(constant);
  for (std::size_t i = size_; i-- > 0;) {
    const Monomial& x = monomials_[i];
    const Term* summand = x.term;
    if (!(x.coefficient == QNumber(1))) {
      const Term* factor = m_.make_number(x.coefficient);
      summand = m_.make_times(factor, x.term);
    }
    sum = sum == nullptr ? summand : m_.make_plus(summand, sum);
  }
  return sum;
}

}  // namespace quarv::termsimpl::extended
