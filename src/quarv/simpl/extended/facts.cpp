#include <utility>

#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/extended/facts.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

constexpr std::uint64_t filter_bit(const Term* t) {
  return std::uint64_t{1} << (t->id % 64);
}

/// The kind of comparison that an operator makes; none for other operators. `is_strict` says whether it is
/// `<`.
std::optional<Bound::Kind> comparison(const TermManager& m, const Symbol* s, bool& is_strict) {
  const SymbolTag::tag tag = m.get_tag(s);
  is_strict = tag == SymbolTag::BV_ULT || tag == SymbolTag::BV_SLT;
  switch (tag) {
    case SymbolTag::LEQ:
      return s == m.int_leq_symbol ? Bound::integer : Bound::rational;
    case SymbolTag::BV_ULT:
    case SymbolTag::BV_ULE:
      return Bound::bits_unsigned;
    case SymbolTag::BV_SLT:
    case SymbolTag::BV_SLE:
      return Bound::bits_signed;
    default:
      return std::nullopt;
  }
}

QNumber value_of_bits(const QNumber& bits, std::size_t width, bool is_signed) {
  QNumber value = bits;
  if (is_signed) BVNumber::signed_value(bits, width, &value);
  return value;
}

}  // namespace

std::optional<Bound> Bound::of(const TermManager& m, const Term* atom, bool holds) {
  bool is_strict = false;
  const auto kind = comparison(m, atom->symbol, is_strict);
  if (!kind) return std::nullopt;
  const bool left_is_value = m.get_number(atom->args[0]) != nullptr;
  if (left_is_value == (m.get_number(atom->args[1]) != nullptr)) return std::nullopt;
  Bound b;
  b.kind = *kind;
  b.term = atom->args[left_is_value ? 1 : 0];
  b.value = *m.get_number(atom->args[left_is_value ? 0 : 1]);
  // The negation of a <= b is b < a.
  b.is_upper = left_is_value != holds;
  b.is_strict = is_strict == holds;
  if (b.is_of_bits()) {
    b.value = value_of_bits(b.value, width_of(m, b.term), b.kind == bits_signed);
  } else if (b.kind == integer && !b.value.is_integer()) {
    b.value = b.is_upper ? b.value.floor() : b.value.floor() + QNumber(1);
    b.is_strict = false;
  }
  if (b.kind != rational && b.is_strict) {
    b.value += QNumber(b.is_upper ? -1 : 1);
    b.is_strict = false;
  }
  return b;
}

std::optional<bool> Bound::decides(const Bound& other) const {
  if (term != other.term || kind != other.kind) return std::nullopt;
  const Bound& upper = is_upper ? *this : other;
  const Bound& lower = is_upper ? other : *this;
  if (is_upper != other.is_upper) {
    const bool apart =
        upper.value < lower.value || (upper.value == lower.value && (upper.is_strict || lower.is_strict));
    return apart ? std::optional(false) : std::nullopt;
  }
  const bool tighter = is_upper ? value < other.value : other.value < value;
  return tighter || (value == other.value && (is_strict || !other.is_strict)) ? std::optional(true)
                                                                              : std::nullopt;
}

QNumber Bound::value_of(const TermManager& m, const Term* literal) const {
  const QNumber& number = *m.get_number(literal);
  return is_of_bits() ? value_of_bits(number, width_of(m, term), kind == bits_signed) : number;
}

const Term* Bound::literal(TermManager& m) const {
  if (!is_of_bits()) return m.make_number(value);
  QNumber bits;
  BVNumber::twos_complement(value, width_of(m, term), &bits);
  return m.make_bv_number(bits, width_of(m, term));
}

bool Bound::excludes(const TermManager& m, const Term* literal) const {
  const QNumber x = value_of(m, literal);
  if (x == value) return is_strict;
  return is_upper ? value < x : x < value;
}

/// An equation of a term with a value that a bound excludes.
bool Facts::is_excluded(const Term* equation) const {
  const std::size_t at = m_.get_number(equation->args[0]) != nullptr ? 1 : 0;
  if (m_.get_number(equation->args[1 - at]) == nullptr) return false;
  for (std::size_t i = 0; i < num_bounds_; ++i) {
    if (bounds_[i].term == equation->args[at] && bounds_[i].excludes(m_, equation->args[1 - at])) return true;
  }
  return false;
}

void Facts::add(const Term* t, const Term* stands_for) {
  if (num_facts_ == most_facts || is_value(m_, t)) return;
  facts_[num_facts_++] = {t, stands_for};
  filter_ |= filter_bit(t);
}

/// A term has a value, and the parts of which that says the same: of (bvor x y) = 0 both.
void Facts::add_value(const Term* term, const Term* value_of_term) {
  std::array<std::pair<const Term*, const Term*>, 8> pending{{{term, value_of_term}}};
  for (std::size_t n = 1; n > 0 && num_facts_ < most_facts;) {
    const auto [t, value] = pending[--n];
    add(t, value);
    const SymbolTag::tag tag = m_.get_tag(t->symbol);
    if (tag == SymbolTag::BV_NOT) {
      pending[n++] = {t->args[0], m_.make_bv_not(value)};
    } else if (tag == SymbolTag::BV_AND || tag == SymbolTag::BV_OR) {
      const Term* zeros = tag == SymbolTag::BV_OR ? value : m_.make_bv_not(value);
      if (!m_.get_number(zeros)->is_zero() || n + 2 > pending.size()) continue;
      pending[n++] = {t->args[1], value};
      pending[n++] = {t->args[0], value};
    }
  }
}

void Facts::add_bound(const Term* atom, bool holds) {
  if (num_bounds_ == most_bounds) return;
  if (auto bound = Bound::of(m_, atom, holds)) bounds_[num_bounds_++] = std::move(*bound);
}

void Facts::assume(const Term* formula, bool holds) {
  std::array<std::pair<const Term*, bool>, 8> pending{{{formula, holds}}};
  for (std::size_t n = 1; n > 0 && num_facts_ < most_facts;) {
    auto [t, truth] = pending[--n];
    for (; t->symbol == m_.not_symbol; t = t->args[0]) truth = !truth;
    add(t, m_.make_bool(truth));
    if (t->symbol == (truth ? m_.and_symbol : m_.or_symbol) && n + 2 <= pending.size()) {
      pending[n++] = {t->args[1], truth};
      pending[n++] = {t->args[0], truth};
    } else if (has_tag(m_, t, SymbolTag::EQ)) {
      const bool first_is_value = is_value(m_, t->args[0]);
      const Term* term = t->args[first_is_value ? 1 : 0];
      const Term* value = t->args[first_is_value ? 0 : 1];
      if (!is_value(m_, value) || is_value(m_, term)) continue;
      if (truth) {
        add_value(term, value);
      } else if (m_.get_width_from_type(m_.type_of(term)) == 1 && m_.is_bv_type(m_.type_of(term))) {
        add_value(term, m_.make_bv_number(m_.get_number(value)->is_zero() ? 1 : 0, 1));
      }
    } else {
      add_bound(t, truth);
    }
  }
}

const Term* Facts::known(const Term* t) const {
  if ((filter_ & filter_bit(t)) != 0) {
    for (std::size_t i = 0; i < num_facts_; ++i) {
      if (facts_[i].term == t) return facts_[i].stands_for;
    }
  }
  if (num_bounds_ == 0 || m_.type_of(t) != m_.bool_type) return nullptr;
  if (has_tag(m_, t, SymbolTag::EQ) && is_excluded(t)) return m_.false_term;
  const auto bound = Bound::of(m_, t, true);
  for (std::size_t i = 0; bound && i < num_bounds_; ++i) {
    if (const auto truth = bounds_[i].decides(*bound)) return m_.make_bool(*truth);
  }
  return nullptr;
}

const Term* Facts::applied_to(const Term* t) {
  nodes_left_ = most_nodes;
  return num_facts_ == 0 && num_bounds_ == 0 ? t : applied(t, deepest);
}

/// The depth is bounded, so that this may call itself.
const Term* Facts::applied(const Term* t, int depth) {
  if (const Term* result = known(t)) return result;
  const TermManager::Args args = m_.args_of(t);
  const bool has_scope = m_.is_quantifier(t->symbol) || m_.is_annotation(t->symbol);
  if (args.empty() || depth == 0 || nodes_left_ <= 0 || has_scope || args.size() > 8) return t;
  nodes_left_ -= static_cast<int>(args.size());
  std::array<const Term*, 8> changed;
  bool any = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    changed[i] = applied(args[i], depth - 1);
    any |= changed[i] != args[i];
  }
  return any ? m_.make_term_unchecked(t->symbol, TermManager::Args(changed.data(), args.size())) : t;
}

}  // namespace quarv::termsimpl::extended
