#include <algorithm>
#include <utility>

#include <quarv/simpl/extended/bounds_of_variables.h>
#include <quarv/simpl/extended/linear_sum.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

/// `coefficient * variable + rest <= 0`, or less than 0.
struct LinearBound {
  explicit LinearBound(TermManager& m) : rest(m) {}

  QNumber coefficient;
  LinearSum rest;
  bool is_strict = false;

  bool has_unit() const { return coefficient == QNumber(1) || coefficient == QNumber(-1); }
};

/// Elimination of one variable: Fourier and Motzkin's, where it makes a formula smaller.
class Bounds {
 public:
  Bounds(TermManager& m, FreeVariables& free, const Term* variable)
      : m_(m), free_(free), variable_(variable), is_integer_(m.type_of(variable) == m.int_type) {}

  /// Whether what holds if `formula` has the truth value is a bound.
  [[nodiscard]] bool add(const Term* formula, bool truth) {
    const bool is_negated = formula->symbol == m_.not_symbol;
    const Term* atom = is_negated ? formula->args[0] : formula;
    if (!has_tag(m_, atom, SymbolTag::LEQ)) return false;
    LinearBound bound(m_);
    bound.is_strict = is_negated == truth;
    const QNumber factor(bound.is_strict ? -1 : 1);
    if (!bound.rest.add(atom->args[0], factor) || !bound.rest.add(atom->args[1], -factor)) return false;
    for (LinearSum::Monomial& x : bound.rest) {
      if (x.term == variable_) {
        bound.coefficient = std::exchange(x.coefficient, QNumber());
      } else if (free_.may_occur(m_, variable_, x.term)) {
        return false;
      }
    }
    bound.rest.drop_zeros();
    if (bound.coefficient.is_zero() || !make_integral(bound)) return false;
    (bound.coefficient.sign() < 0 ? lower_ : upper_).push_back(std::move(bound));
    return true;
  }

  /// What the bounds say of the rest; false where that would be larger, or is not known.
  [[nodiscard]] bool combine(std::vector<const Term*>& result) {
    if (lower_.empty() || upper_.empty()) return true;
    auto& single = lower_.size() == 1 ? lower_ : upper_;
    auto& several = lower_.size() == 1 ? upper_ : lower_;
    if (single.size() != 1 || (several.size() > 1 && single[0].rest.size() > 1)) return false;
    // Between two integers there is QNumber(1), but not between two multiples of some.
    const bool is_exact =
        !is_integer_ || single[0].has_unit() || std::ranges::all_of(several, &LinearBound::has_unit);
    return is_exact && std::ranges::all_of(several, [&](LinearBound& bound) {
             const Term* t = joined(single[0], bound);
             if (t != nullptr) result.push_back(t);
             return t != nullptr;
           });
  }

 private:
  /// Integers are less than 0 when they are at most -1.
  bool make_integral(LinearBound& bound) const {
    if (!is_integer_) return true;
    const bool is_integral =
        bound.coefficient.is_integer() && bound.rest.constant.is_integer() &&
        std::all_of(bound.rest.begin(), bound.rest.end(), [this](const LinearSum::Monomial& x) {
          return x.coefficient.is_integer() && m_.type_of(x.term) == m_.int_type;
        });
    if (is_integral && std::exchange(bound.is_strict, false)) bound.rest.constant += QNumber(1);
    return is_integral;
  }

  /// Multiples of the two are added, so that the variable is gone. Null when that has too many parts.
  const Term* joined(LinearBound& a, LinearBound& b) {
    LinearSum sum(m_);
    for (const auto& [bound, other] : {std::pair(&a, &b), std::pair(&b, &a)}) {
      const QNumber factor = other->coefficient.sign() < 0 ? -other->coefficient : other->coefficient;
      for (const LinearSum::Monomial& x : bound->rest) {
        if (!sum.add(x.term, x.coefficient * factor)) return nullptr;
      }
      sum.constant += bound->rest.constant * factor;
    }
    sum.drop_zeros();
    const Term* left = sum.to_term();
    const Term* zero = m_.make_number(QNumber());
    return a.is_strict || b.is_strict ? m_.make_not(m_.make_leq(zero, left)) : m_.make_leq(left, zero);
  }

  TermManager& m_;
  FreeVariables& free_;
  const Term* variable_;
  bool is_integer_;
  std::vector<LinearBound> lower_, upper_;
};

/// The operands that are left without the variable; false where it does not only have bounds.
bool eliminate(TermManager& m, FreeVariables& free, bool universal, const Term* variable,
               const std::vector<const Term*>& operands, std::vector<const Term*>& left) {
  Bounds bounds(m, free, variable);
  for (const Term* t : operands) {
    if (!free.may_occur(m, variable, t)) {
      left.push_back(t);
    } else if (!bounds.add(t, !universal)) {
      return false;
    }
  }
  const std::size_t first = left.size();
  if (!bounds.combine(left)) return false;
  for (std::size_t i = first; universal && i < left.size(); ++i) left[i] = m.make_not(left[i]);
  return true;
}

}  // namespace

const Term* without_bounded_variable(TermManager& m, FreeVariables& free, bool universal,
                                     const BoundVariables& variables,
                                     const std::vector<const Term*>& operands,
                                     std::vector<const Term*>& others) {
  constexpr std::size_t few = 16;  // so that the time stays linear in the formula
  if (variables.list().size() > few || operands.size() > few) return nullptr;
  for (const Term* variable : variables.list()) {
    if (!m.is_arithmetic_type(m.type_of(variable))) continue;
    std::vector<const Term*> left;
    if (!eliminate(m, free, universal, variable, operands, left)) continue;
    for (const Term* other : variables.list()) {
      if (other != variable) others.push_back(other);
    }
    const Term* result = m.make_bool(!universal);
    for (std::size_t i = left.size(); i-- > 0;) {
      result = universal ? m.make_or(left[i], result) : m.make_and(left[i], result);
    }
    return result;
  }
  return nullptr;
}

}  // namespace quarv::termsimpl::extended
