#include <optional>

#include <quarv/numbers/bv_number.h>
#include <quarv/numbers/ieee_float.h>
#include <quarv/session/strict_semantics.h>
#include <quarv/simpl/canonical_order.h>
#include <quarv/simpl/fp/folding.h>
#include <quarv/term/term_manager.h>

namespace quarv {

namespace {

using Args = std::vector<const Term*>;

bool is_literal(const TermManager& m, const Term* t) {
  return m.get_number(t) != nullptr && m.is_fp_type(m.type_of(t));
}

/// The number that a floating-point literal stands for; none for other terms.
std::optional<IEEEFloat> literal_value(const TermManager& m, const Term* t) {
  if (!is_literal(m, t)) return std::nullopt;
  IEEEFloat::format f{};
  m.get_format_from_type(m.type_of(t), &f.ew, &f.mw);
  return IEEEFloat::from_bits(*m.get_number(t), f);
}

/// The one NaN of its type instead of any NaN literal; every other term as it is.
const Term* with_one_nan(TermManager& m, const Term* t) {
  if (!is_literal(m, t)) return t;
  const std::optional<IEEEFloat> x = literal_value(m, t);
  if (!x || !x->is_nan()) return t;
  return canonical_nan(m, x->get_format().ew, x->get_format().mw);
}

/// Whether the arguments are two zeros of opposite sign.
bool are_opposite_zeros(const TermManager& m, const Args& args) {
  const std::optional<IEEEFloat> a = literal_value(m, args[0]);
  if (!a || !a->is_zero()) return false;
  const std::optional<IEEEFloat> b = literal_value(m, args[1]);
  return b && b->is_zero() && a->get_sign() != b->get_sign();
}

/// Whether a conversion to a bit-vector is given a literal whose value, rounded, the bit-vector cannot hold.
bool is_out_of_range(const TermManager& m, const Symbol* conversion, const Args& args) {
  const auto mode = termsimpl::fp::rounding_mode(&m, args[0]);
  std::optional<IEEEFloat> x = literal_value(m, args[1]);
  if (!mode || !x) return false;
  if (x->is_nan() || x->is_inf()) return true;
  std::size_t width = 0;
  m.is_fp_to_bv(conversion, nullptr, nullptr, &width);
  x->set_rounding_mode(*mode);
  const QNumber integer =
      x->to_integer(width + 1);  // what does not fit `width` is not brought into its range
  const bool is_signed = m.is_fp_to_sbv(conversion);
  QNumber bound;
  BVNumber::pow2(is_signed ? width - 1 : width, &bound);
  return integer >= bound || integer < (is_signed ? bound.neg() : QNumber());
}

/// Whether the standard leaves the value of symbol(args) open, while the standard simplifiers choose one.
bool is_open(const TermManager& m, const Symbol* symbol, const Args& args) {
  switch (m.get_tag(symbol)) {
    case SymbolTag::FP_MIN:
    case SymbolTag::FP_MAX:
      return are_opposite_zeros(m, args);
    case SymbolTag::FP_TO_BV:
      return is_out_of_range(m, symbol, args);
    case SymbolTag::FP_AS_IEEEBV: {
      const std::optional<IEEEFloat> x = literal_value(m, args[0]);
      return x && x->is_nan();
    }
    default:
      return false;
  }
}

}  // namespace

const Term* canonical_nan(TermManager& m, std::size_t ew, std::size_t mw) {
  QNumber bits;
  BVNumber::pow2(ew + 1, &bits);
  bits -= QNumber(1);
  QNumber shifted;
  BVNumber::bit_left_shift(bits, mw - 1, &shifted);
  return m.make_fp_bits_number(shifted, ew, mw);
}

void StrictSemantics::turn_off_unsound_rules() {
  for (const char* rule : {"bvsdiv-self", "eq-difference-subtrahend-minuend"}) {
    standard_.normalizer.set_rule_enabled(std::string_view(rule), false);
  }
}

void StrictSemantics::turn_off_extension_rules() {
  for (const char* rule : {"eq-zero-extend-ones", "eq-zero-extend-ones-swapped"}) {
    standard_.normalizer.set_rule_enabled(std::string_view(rule), false);
  }
}

const Term* StrictSemantics::simplify(TermManager* manager, const Symbol* symbol,
                                      const std::vector<const Term*>& args) {
  for (const Term*& arg : termsimpl::writable(args)) arg = with_one_nan(*manager, arg);
  if (is_open(*manager, symbol, args)) return manager->do_make_term(symbol, args);
  std::size_t added_bits = 0;
  if (manager->is_bv_zero_extend(symbol, &added_bits, nullptr) && added_bits == 0) return args[0];
  return with_one_nan(*manager, standard_.simplify(manager, symbol, args));
}

}  // namespace quarv
