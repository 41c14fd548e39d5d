#include <algorithm>

#include <quarv/simpl/extended/extended_simplifier.h>
#include <quarv/simpl/extended/families.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/nested.h>

namespace quarv {

namespace {

using namespace termsimpl::extended;

/// Results are built by constructors, which simplify them in turn. Each is smaller than what it stands for,
/// but a large term may take many such steps one within the other; then the innermost is left to the next
/// simplifier.
constexpr int most_nested = 48;

}  // namespace

const Term* ExtendedSimplifier::simplify(TermManager* manager, const Symbol* symbol,
                                         const std::vector<const Term*>& args) {
  if (depth_ == most_nested) return next_.simplify(manager, symbol, args);
  const Nested nested(depth_);
  const Term* after = simplified(*manager, symbol, args);
  if (after == nullptr) return next_.simplify(manager, symbol, args);
  SimplificationObserver* observer = observed_.normalizer.observer();
  if (observer != nullptr &&
      (after->symbol != symbol || !std::ranges::equal(args, manager->args_of(after)))) {
    observer->on_simplification(symbol, args, after);
  }
  return after;
}

const Term* ExtendedSimplifier::simplified(TermManager& m, const Symbol* s,
                                           std::span<const Term* const> args) {
  const SymbolTag::tag tag = m.get_tag(s);
  switch (tag) {
    case SymbolTag::UF:
    case SymbolTag::CONSTANT:
    case SymbolTag::ARRAY_CONST:
      return nullptr;
    case SymbolTag::OPAQUE:
      if (m.is_quantifier(s)) return simplify_quantifier(m, free_variables_, s, args);
      return simplify_named(m, s, args);
    case SymbolTag::NOT:
      return simplify_not(m, s, args);
    case SymbolTag::AND:
      return simplify_and(m, s, args);
    case SymbolTag::OR:
      return simplify_or(m, s, args);
    case SymbolTag::IFF:
      return simplify_iff(m, s, args);
    case SymbolTag::TERM_ITE:
      return simplify_ite(m, s, args);
    case SymbolTag::ARRAY_READ:
      return arrays_.simplify_read(m, s, args);
    case SymbolTag::ARRAY_WRITE:
      return arrays_.simplify_write(m, s, args);
    default:
      break;
  }
  if (const Term* t = lift_values(m, s, args)) return t;
  if (tag >= SymbolTag::BV_CONCAT && tag <= SymbolTag::BV_SEXT) {
    if (const Term* t = simplify_bit_identity(m, s, args)) return t;
    if (const Term* t = simplify_bit_comparison(m, s, args)) return t;
    if (const Term* t = simplify_single_bit(m, s, args)) return t;
    return simplify_bit_structure(m, s, args);
  }
  switch (tag) {
    case SymbolTag::EQ:
      return simplify_equal(m, s, args);
    case SymbolTag::PLUS:
      return simplify_plus(m, s, args);
    case SymbolTag::TIMES:
      return simplify_times(m, s, args);
    case SymbolTag::FLOOR:
      return simplify_floor(m, s, args);
    case SymbolTag::LEQ:
      return simplify_leq(m, s, args);
    case SymbolTag::INT_MOD_CONGR:
      return simplify_congruence(m, s, args);
    case SymbolTag::INT_FROM_UBV:
    case SymbolTag::INT_FROM_SBV:
      return simplify_to_integer(m, s, args);
    case SymbolTag::INT_TO_BV:
      return simplify_to_bits(m, s, args);
    default:
      break;
  }
  const bool is_float = (tag >= SymbolTag::FP_EQ && tag <= SymbolTag::FP_FROM_IEEEBV) ||
                        tag == SymbolTag::FP_REM || tag == SymbolTag::FP_FMA;
  if (!is_float) return nullptr;
  const Term* folded = fold_float(m, s, args);
  return folded != nullptr ? folded : simplify_float(m, s, args);
}

}  // namespace quarv
