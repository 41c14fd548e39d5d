#include <array>
#include <optional>
#include <utility>

#include <quarv/simpl/extended/families.h>
#include <quarv/simpl/extended/linear_sum.h>
#include <quarv/simpl/extended/relations.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

QNumber remainder(const QNumber& x, const QNumber& modulus) {
  return x - modulus * (x / modulus).floor();
}

/// `term` is, or is not, congruent to `remainder`.
struct Residue {
  const Term* term = nullptr;
  QNumber modulus;
  QNumber remainder;
  bool holds = true;

  static std::optional<Residue> of(const TermManager& m, const Term* formula) {
    Residue r;
    r.holds = formula->symbol != m.not_symbol;
    const Term* atom = r.holds ? formula : formula->args[0];
    if (!m.is_int_modular_congruence(atom->symbol, &r.modulus)) return std::nullopt;
    const QNumber* value = m.get_number(atom->args[1]);
    if (value == nullptr) return std::nullopt;
    r.term = atom->args[0];
    r.remainder = *value;
    return r;
  }
};

/// What two congruences of one term say together.
const Term* conjunction(TermManager& m, const Residue& a, const Residue& b, const Term* a_formula,
                        const Term* b_formula) {
  const QNumber& finer = a.modulus < b.modulus ? b.modulus : a.modulus;
  const QNumber& coarser = a.modulus < b.modulus ? a.modulus : b.modulus;
  if (!(finer / coarser).is_integer()) return nullptr;
  const bool a_is_finer = !(a.modulus < b.modulus);
  const bool agree = remainder(a.remainder - b.remainder, coarser).is_zero();
  const Term* finer_formula = a_is_finer ? a_formula : b_formula;
  if (a.holds && b.holds) return agree ? finer_formula : m.false_term;
  if (a.holds != b.holds) {
    const bool finer_holds = a_is_finer ? a.holds : b.holds;
    if (!agree) return finer_holds ? finer_formula : (a.holds ? a_formula : b_formula);
    return finer_holds || finer == coarser ? m.false_term : nullptr;
  }
  if (agree) return a_is_finer ? b_formula : a_formula;
  if (!(finer == coarser)) return nullptr;
  if (finer == QNumber(2)) return m.false_term;
  if (!(finer == QNumber(3))) return nullptr;
  const Term* third = m.make_number(remainder(-(a.remainder + b.remainder), finer));
  return m.make_int_mod_congr(finer, a.term, third);
}

const Term* negation(TermManager& m, const Term* formula) {
  return formula == nullptr ? nullptr : m.make_not(formula);
}

}  // namespace

const Term* joined_congruences(TermManager& m, const Term* a, const Term* b, bool is_conjunction) {
  auto x = Residue::of(m, a);
  auto y = x ? Residue::of(m, b) : std::nullopt;
  if (!y || x->term != y->term) return nullptr;
  if (is_conjunction) return conjunction(m, *x, *y, a, b);
  x->holds = !x->holds;
  y->holds = !y->holds;
  const Term* first = m.make_not(a);
  const Term* second = m.make_not(b);
  return negation(m, conjunction(m, *x, *y, first, second));
}

/// Coefficients are congruent to smaller ones: 3 i + 2 j to i modulo 2.
const Term* simplify_congruence(TermManager& m, const Symbol* s, Args args) {
  QNumber modulus;
  m.is_int_modular_congruence(s, &modulus);
  LinearSum sum(m);
  if (!sum.add(args[0], QNumber(1)) || !sum.add(args[1], QNumber(-1))) return nullptr;
  bool any = false;
  for (LinearSum::Monomial& x : sum) {
    // The nearest one to 0, the positive of two.
    const QNumber half = modulus / QNumber(2);
    const QNumber smaller = half - remainder(half - x.coefficient, modulus);
    any |= !(smaller == x.coefficient) && !(smaller == x.coefficient.neg());
    x.coefficient = smaller;
  }
  if (!any) return nullptr;
  sum.drop_zeros();
  const Term* zero = m.make_number(QNumber());
  return m.make_int_mod_congr(modulus, sum.to_term(), zero);
}

}  // namespace quarv::termsimpl::extended
