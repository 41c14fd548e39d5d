#include <optional>
#include <utility>

#include <quarv/simpl/extended/relations.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

/// Which of <, =, > a formula leaves between two terms.
struct Relation {
  enum Order : std::uint8_t { any, bits_unsigned, bits_signed, numbers };
  static constexpr unsigned less = 1;
  static constexpr unsigned equal = 2;
  static constexpr unsigned greater = 4;
  static constexpr unsigned all = 7;

  const Term* left = nullptr;
  const Term* right = nullptr;  // null for 0
  unsigned allowed = 0;
  Order order = any;

  Relation swapped() const {
    const unsigned other =
        (allowed & equal) | ((allowed & less) != 0 ? greater : 0) | ((allowed & greater) != 0 ? less : 0);
    return {right, left, other, order};
  }
};

/// The highest bit says that a word is negative.
std::optional<Relation> sign_of(const TermManager& m, const Term* t) {
  for (std::size_t i = 0; i < 2; ++i) {
    std::size_t high = 0;
    const Term* bit = t->args[i];
    const QNumber* value = m.get_number(t->args[1 - i]);
    if (value == nullptr || !m.is_bv_extract(bit->symbol, &high, nullptr, nullptr)) continue;
    if (width_of(m, bit) != 1 || high + 1 != width_of(m, bit->args[0])) continue;
    const unsigned allowed = value->is_zero() ? Relation::equal | Relation::greater : Relation::less;
    return Relation{bit->args[0], nullptr, allowed, Relation::bits_signed};
  }
  return std::nullopt;
}

/// a <= b, also where it is written as a difference: a - b <= 0, or 0 <= b - a.
Relation at_most(const TermManager& m, const Term* a, const Term* b) {
  const bool swapped = is_zero(m, a);
  const Term* difference = swapped ? b : a;
  Relation r{a, b, Relation::less | Relation::equal, Relation::numbers};
  if (!is_zero(m, swapped ? a : b) || !has_tag(m, difference, SymbolTag::PLUS)) return r;
  for (std::size_t i = 0; i < 2; ++i) {
    const Term* product = difference->args[i];
    if (!has_tag(m, product, SymbolTag::TIMES)) continue;
    const QNumber* factor = m.get_number(product->args[0]);
    if (factor == nullptr || !(*factor == QNumber(-1))) continue;
    r.left = difference->args[1 - i];
    r.right = product->args[1];
    return swapped ? Relation{r.right, r.left, r.allowed, r.order} : r;
  }
  return r;
}

std::optional<Relation> relation_of(const TermManager& m, const Term* t) {
  bool holds = true;
  for (; t->symbol == m.not_symbol; t = t->args[0]) holds = !holds;
  std::optional<Relation> r;
  const SymbolTag::tag tag = m.get_tag(t->symbol);
  switch (tag) {
    case SymbolTag::EQ:
      if (m.is_bv_type(m.type_of(t->args[0]))) {
        r = sign_of(m, t);
      } else if (!m.is_arithmetic_type(m.type_of(t->args[0]))) {
        return std::nullopt;
      }
      if (!r) r = Relation{t->args[0], t->args[1], Relation::equal, Relation::any};
      break;
    case SymbolTag::LEQ:
      r = at_most(m, t->args[0], t->args[1]);
      break;
    case SymbolTag::BV_ULT:
    case SymbolTag::BV_SLT:
      r = Relation{t->args[0], t->args[1], Relation::less, Relation::bits_unsigned};
      break;
    case SymbolTag::BV_ULE:
    case SymbolTag::BV_SLE:
      r = Relation{t->args[0], t->args[1], Relation::less | Relation::equal, Relation::bits_unsigned};
      break;
    default:
      return std::nullopt;
  }
  if (tag == SymbolTag::BV_SLT || tag == SymbolTag::BV_SLE) r->order = Relation::bits_signed;
  if (!holds) r->allowed = Relation::all & ~r->allowed;
  return r;
}

bool is_same(const TermManager& m, const Term* a, const Term* b) {
  if (a == b) return true;
  const Term* other = a == nullptr ? b : b == nullptr ? a : nullptr;
  return other != nullptr && is_zero(m, other);
}

const Term* term_of(TermManager& m, const Relation& r) {
  const bool is_signed = r.order == Relation::bits_signed;
  const auto below = [&](const Term* a, const Term* b, bool strict) {
    if (r.order == Relation::numbers) return strict ? m.make_not(m.make_leq(b, a)) : m.make_leq(a, b);
    if (is_signed) return strict ? m.make_bv_slt(a, b) : m.make_bv_sle(a, b);
    return strict ? m.make_bv_ult(a, b) : m.make_bv_ule(a, b);
  };
  switch (r.allowed) {
    case 0:
      return m.false_term;
    case Relation::all:
      return m.true_term;
    case Relation::equal:
      return m.make_equal(r.left, r.right);
    case Relation::less | Relation::greater:
      return m.make_not(m.make_equal(r.left, r.right));
    default:
      break;
  }
  const bool strict = (r.allowed & Relation::equal) == 0;
  return (r.allowed & Relation::less) != 0 ? below(r.left, r.right, strict) : below(r.right, r.left, strict);
}

}  // namespace

const Term* joined_comparisons(TermManager& m, const Term* a, const Term* b, bool is_conjunction) {
  auto x = relation_of(m, a);
  auto y = x ? relation_of(m, b) : std::nullopt;
  if (!y) return nullptr;
  if (x->left != y->left && y->left != nullptr) {
    if (!is_same(m, x->left, y->right)) return nullptr;
    *y = y->swapped();
  }
  if (!is_same(m, x->left, y->left) || !is_same(m, x->right, y->right)) return nullptr;
  if (x->order != Relation::any && y->order != Relation::any && x->order != y->order) return nullptr;
  if (x->left == nullptr || (x->right == nullptr && y->right == nullptr)) return nullptr;
  if (x->right == nullptr) x->right = y->right;
  if (x->order == Relation::any) x->order = y->order;
  x->allowed = is_conjunction ? x->allowed & y->allowed : x->allowed | y->allowed;
  return term_of(m, *x);
}

namespace {

bool is_class(SymbolTag::tag tag) {
  return tag == SymbolTag::FP_ISNAN || tag == SymbolTag::FP_ISINF || tag == SymbolTag::FP_ISZERO ||
         tag == SymbolTag::FP_ISSUBNORMAL || tag == SymbolTag::FP_ISNORMAL;
}

/// False if t is NaN, whatever else holds.
bool fails_for_nan(const TermManager& m, const Term* formula, const Term* t) {
  switch (m.get_tag(formula->symbol)) {
    case SymbolTag::FP_EQ:
    case SymbolTag::FP_LT:
    case SymbolTag::FP_LE:
      return formula->args[0] == t || formula->args[1] == t;
    case SymbolTag::FP_ISNEG:
    case SymbolTag::FP_ISPOS:
      return formula->args[0] == t;
    default:
      return false;
  }
}

/// What is below another float is neither above nor equal to it.
bool exclude_each_other(const TermManager& m, const Term* a, const Term* b) {
  if (has_tag(m, b, SymbolTag::FP_LT) && !has_tag(m, a, SymbolTag::FP_LT)) std::swap(a, b);
  if (!has_tag(m, a, SymbolTag::FP_LT)) return false;
  const bool orders = has_tag(m, b, SymbolTag::FP_LT) || has_tag(m, b, SymbolTag::FP_LE);
  const bool equates = has_tag(m, b, SymbolTag::FP_EQ);
  if ((orders || equates) && a->args[0] == b->args[1] && a->args[1] == b->args[0]) return true;
  return equates && a->args[0] == b->args[0] && a->args[1] == b->args[1];
}

}  // namespace

const Term* joined_classes(TermManager& m, const Term* a, const Term* b) {
  const SymbolTag::tag tag = m.get_tag(a->symbol);
  const SymbolTag::tag other = m.get_tag(b->symbol);
  if (is_class(tag) && is_class(other)) {
    return tag != other && a->args[0] == b->args[0] ? m.false_term : nullptr;
  }
  if (exclude_each_other(m, a, b)) return m.false_term;
  const bool excluded = (tag == SymbolTag::FP_ISNAN && fails_for_nan(m, b, a->args[0])) ||
                        (other == SymbolTag::FP_ISNAN && fails_for_nan(m, a, b->args[0]));
  return excluded ? m.false_term : nullptr;
}

}  // namespace quarv::termsimpl::extended
