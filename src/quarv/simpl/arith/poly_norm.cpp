#include <algorithm>
#include <utility>

#include <quarv/simpl/arith/poly_norm.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/sort.h>

namespace quarv::termsimpl {

namespace {

struct Summand {
  const Term* term;
  QNumber coefficient;
};

/// How a term enters a sum.
enum class Shape {
  leaf,            ///< it counts itself: a numeral, a product of two numerals, a monomial
  sum,             ///< through its two arguments
  left_multiple,   ///< through its first argument; the second is a numeral
  right_multiple,  ///< through its second argument; the first is a numeral
};

Shape shape_of(const TermManager* mgr, const Term* t) {
  switch (mgr->get_tag(t->symbol)) {
    case SymbolTag::PLUS:
      return Shape::sum;
    case SymbolTag::TIMES: {
      const bool left_is_numeral = mgr->get_number(t->args[0]) != nullptr;
      const bool right_is_numeral = mgr->get_number(t->args[1]) != nullptr;
      if (left_is_numeral == right_is_numeral) return Shape::leaf;
      return left_is_numeral ? Shape::right_multiple : Shape::left_multiple;
    }
    default:
      return Shape::leaf;
  }
}

/// The sum under construction.
class Sum {
 public:
  Sum(const TermManager* mgr, MonomialMap* coeffs, QNumber* constant, bool* all_integer)
      : mgr_(mgr), coeffs_(coeffs), constant_(constant), all_integer_(all_integer) {}

  /// Whether all numbers so far are of a size that may be computed. If not, the sum is not continued.
  bool fits() const noexcept { return fits_; }
  /// Bits of all large numbers computed so far.
  std::size_t bits() const noexcept { return bits_; }

  /// Adds c * t: a leaf at once; of any other term, the parts with their coefficients go to `later`, the part
  /// to be treated first goes last.
  template <class Later>
  void add(const Term* t, QNumber&& c, Later&& later) {
    switch (shape_of(mgr_, t)) {
      case Shape::sum:
        later(t->args[0], QNumber(c));
        later(t->args[1], std::move(c));
        break;
      case Shape::left_multiple:
        if (!may_multiply(c, *mgr_->get_number(t->args[1]))) return;
        c *= *mgr_->get_number(t->args[1]);
        later(t->args[0], std::move(c));
        break;
      case Shape::right_multiple:
        if (!may_multiply(c, *mgr_->get_number(t->args[0]))) return;
        c *= *mgr_->get_number(t->args[0]);
        later(t->args[1], std::move(c));
        break;
      case Shape::leaf:
        add_leaf(t, c);
        break;
    }
  }

  void add_leaf(const Term* t, const QNumber& c) {
    if (const QNumber* value = mgr_->get_number(t)) return add_to_constant(*value, c);
    if (mgr_->get_tag(t->symbol) == SymbolTag::TIMES) {
      if (const QNumber* u = mgr_->get_number(t->args[0])) {
        const QNumber* v = mgr_->get_number(t->args[1]);
        if (may_multiply(*u, *v)) add_to_constant(*u * *v, c);
        return;
      }
    }
    QNumber& coefficient = (*coeffs_)[t];
    if (may_add(coefficient, c)) coefficient += c;
    *all_integer_ &= mgr_->type_of(t) == mgr_->int_type;
  }

  bool may_add(const QNumber& a, const QNumber& b) {
    return (a.is_small() && b.is_small()) || may_compute(sum_bits(a, b));
  }

 private:
  /// Bits of all large numbers that one sum may compute.
  static constexpr std::size_t kMostBits = std::size_t{1} << 30;

  bool may_multiply(const QNumber& a, const QNumber& b) {
    return (a.is_small() && b.is_small()) || may_compute(product_bits(a, b));
  }
  bool may_compute(std::size_t bits) {
    bits_ += bits;
    fits_ &= mgr_->may_compute(bits) && bits_ <= kMostBits;
    return fits_;
  }
  void add_to_constant(const QNumber& value, const QNumber& c) {
    if (!may_multiply(value, c)) return;
    const QNumber summand = value * c;
    if (may_add(*constant_, summand)) *constant_ += summand;
  }

  const TermManager* mgr_;
  MonomialMap* coeffs_;
  QNumber* constant_;
  bool* all_integer_;
  std::size_t bits_ = 0;
  bool fits_ = true;
};

/// The steps after which a walk turns from trees to DAGs. Most sums are far smaller; in a larger one a shared
/// part may be met on exponentially many paths.
constexpr std::uint64_t kTreeSteps = 1024;

/// The steps that every sum may take. The others are counted, and not taken when sums have added too many
/// terms.
constexpr std::uint64_t kFewSteps = 64;

/// A table with more buckets than this is not used again: clearing it costs as much for a small sum as for a
/// large one.
constexpr std::size_t kMostBucketsKept = 1024;

/// Adds the summands part by part, depth first, as long as the steps last; returns how many are left.
std::uint64_t add_as_trees(Sum& sum, std::vector<Summand>& work, std::uint64_t steps) {
  for (; steps > 0 && !work.empty() && sum.fits(); --steps) {
    Summand s = std::move(work.back());
    work.pop_back();
    sum.add(s.term, std::move(s.coefficient), [&work](const Term* t, QNumber&& c) {
      work.push_back({t, std::move(c)});
    });
  }
  return steps;
}

/// Adds the summands with every distinct part treated once: in descending order of id a part comes after all
/// terms that it occurs in, hence with its whole coefficient. False when there are more parts than steps
/// left.
bool add_as_dag(TermManager* mgr, Sum& sum, const std::vector<Summand>& work) {
  MonomialMap coefficients;  // of the parts
  std::vector<const Term*> parts;
  const auto enter = [&](const Term* t) -> QNumber& {
    const std::size_t known = coefficients.size();
    QNumber& coefficient = coefficients[t];
    if (coefficients.size() != known) parts.push_back(t);
    return coefficient;
  };
  const auto add_part = [&](const Term* t, const QNumber& c) {
    if (shape_of(mgr, t) == Shape::leaf) {
      sum.add_leaf(t, c);
    } else {
      QNumber& coefficient = enter(t);
      if (sum.may_add(coefficient, c)) coefficient += c;
    }
  };
  for (const Summand& s : work) add_part(s.term, s.coefficient);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i == mgr->steps_left()) return false;
    for (const Term* child : mgr->args_of(parts[i])) {
      if (shape_of(mgr, child) != Shape::leaf) enter(child);
    }
  }
  mgr->count_visits(parts.size());
  mgr->count_steps(parts.size());
  sortimpl::sort(parts.data(), parts.size(), [](const Term* a, const Term* b) { return a->id > b->id; });
  for (const Term* t : parts) {
    if (!sum.fits()) break;
    QNumber c = std::move(*coefficients.find(t));
    sum.add(t, std::move(c), add_part);
  }
  return true;
}

/// Adds the summands that are left after few steps. False when there is too much to look at.
bool add_rest(TermManager* mgr, Sum& sum, std::vector<Summand>& work) {
  if (!mgr->may_expand()) return false;
  const std::uint64_t steps = std::min(kTreeSteps - kFewSteps, mgr->steps_left());
  mgr->count_steps(steps - add_as_trees(sum, work, steps));
  if (work.empty() || !sum.fits()) return true;
  return mgr->may_visit() && add_as_dag(mgr, sum, work);
}

/// The work list is kept between calls. Nothing that a normalisation calls comes back here.
std::vector<Summand>& empty_work_list() {
  thread_local std::vector<Summand> work;
  work.clear();
  return work;
}

QNumber denominator(const QNumber& q) {
  return q.is_small() ? QNumber(q.small_den()) : QNumber::from_integer(q.big_den());
}

/// Bits of all coefficients together to which a sum may be scaled when they do not fit words.
constexpr std::size_t kMostScaledBits = std::size_t{1} << 27;

/// Multiplies by the positive rational that makes the monomials' coefficients coprime integers. False when
/// numbers become too large.
bool scale_to_integers(const TermManager* mgr, const std::vector<const Term*>& monomials, MonomialMap& coeffs,
                       QNumber& constant) {
  const QNumber one(1);
  QNumber multiple(one);
  for (const Term* m : monomials) {
    const QNumber& c = coeffs[m];
    if (c.is_integer()) continue;
    multiple = lcm(multiple, denominator(c));
    if (multiple.is_small()) continue;
    const std::size_t bits = numerator_bits(multiple);
    if (!mgr->may_compute(bits) || bits > kMostScaledBits / monomials.size()) return false;
  }
  QNumber divisor;
  for (const Term* m : monomials) {
    divisor = gcd(divisor, coeffs[m] * multiple);
    if (divisor == one) break;
  }
  if (divisor.is_zero()) return true;  // no monomials: the constant stays as it is
  const QNumber factor = multiple / divisor;
  if (factor == one) return true;
  if (!mgr->may_compute(product_bits(constant, factor))) return false;
  for (const Term* m : monomials) coeffs[m] *= factor;
  constant *= factor;
  return true;
}

const Term* scaled_monomial(TermManager* mgr, const QNumber& c, const Term* m,
                            std::vector<const Term*>& scratch) {
  if (c == QNumber(1)) return m;
  const Term* numeral = mgr->make_number(c);
  const bool integer = mgr->get_supertype(mgr->type_of(numeral), mgr->type_of(m)) == mgr->int_type;
  scratch[0] = numeral;
  scratch[1] = m;
  return mgr->do_make_term(integer ? mgr->int_times_symbol : mgr->rat_times_symbol, scratch);
}

}  // namespace

bool poly_norm(TermManager* mgr, const Term* lhs, const Term* rhs, bool to_integer,
               std::vector<const Term*>* monomials, MonomialMap* coeffs, QNumber* constant,
               bool* all_integer) {
  *all_integer = true;
  Sum sum(mgr, coeffs, constant, all_integer);
  std::vector<Summand>& work = empty_work_list();
  work.push_back({lhs, QNumber(1)});
  if (rhs != nullptr) work.push_back({rhs, QNumber(-1)});
  add_as_trees(sum, work, kFewSteps);
  if (!work.empty() && sum.fits() && !add_rest(mgr, sum, work)) return false;
  mgr->count_visits(sum.bits() / 512);  // large numbers take as long as several nodes
  if (!sum.fits()) return false;

  monomials->reserve(monomials->size() + coeffs->size());
  for (const auto& [monomial, coefficient] : *coeffs) {
    if (!coefficient.is_zero()) monomials->push_back(monomial);
  }
  sortimpl::sort(monomials->data(), monomials->size(), Term_lt());
  return !to_integer || scale_to_integers(mgr, *monomials, *coeffs, *constant);
}

const Term* poly_to_term(TermManager* mgr, const std::vector<const Term*>& monomials, MonomialMap& coeffs,
                         std::vector<const Term*>& scratch) {
  const Term* rest = nullptr;
  for (std::size_t i = monomials.size(); i-- > 0;) {
    const Term* summand = scaled_monomial(mgr, coeffs[monomials[i]], monomials[i], scratch);
    if (rest == nullptr) {
      rest = summand;
      continue;
    }
    const bool integer = mgr->get_supertype(mgr->type_of(summand), mgr->type_of(rest)) == mgr->int_type;
    scratch[0] = summand;
    scratch[1] = rest;
    rest = mgr->do_make_term(integer ? mgr->int_plus_symbol : mgr->rat_plus_symbol, scratch);
  }
  return rest;
}

bool Polynomial::normalize(TermManager* mgr, const Term* lhs, const Term* rhs, bool to_integer) {
  if (coeffs.bucket_count() > kMostBucketsKept) {
    coeffs = MonomialMap();
  } else {
    coeffs.clear(false);
  }
  monomials.clear();
  constant = QNumber();
  return poly_norm(mgr, lhs, rhs, to_integer, &monomials, &coeffs, &constant, &all_integer) &&
         mgr->may_expand_to(monomials.size());
}

void Polynomial::negate_coefficients() {
  for (auto& [monomial, coefficient] : coeffs) coefficient = coefficient.neg();
}

const Term* Polynomial::to_term(TermManager* mgr) {
  scratch.assign(2, nullptr);
  const std::size_t terms_before = mgr->num_terms();
  const Term* sum = poly_to_term(mgr, monomials, coeffs, scratch);
  mgr->count_expansion(mgr->num_terms() - terms_before);
  return sum;
}

}  // namespace quarv::termsimpl
