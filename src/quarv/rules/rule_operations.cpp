#include <algorithm>

#include <gmpxx.h>

#include <quarv/rules/rule_helpers.h>
#include <quarv/rules/rule_operations.h>
#include <quarv/term/operators.h>
#include <quarv/term/real_to_float.h>

namespace quarv::rules {

namespace {

/// A modulus that is larger than an integer of a rule is none.
bool get_modulus(const TermManager* mgr, const Symbol* symbol, std::size_t* modulus) {
  QNumber value;
  if (!mgr->is_int_modular_congruence(symbol, &value)) return false;
  const mpz_class number = value.num();
  *modulus = static_cast<std::size_t>(number.get_ui());
  return number == std::uint64_t{*modulus};  // else it has lost bits
}

}  // namespace

bool recognize(const TermManager* mgr, const OperatorWord& op, const Symbol* symbol,
               std::size_t* parameters) {
  if (mgr->get_tag(symbol) != op.tag) return false;
  if (op.tag == SymbolTag::INT_MOD_CONGR) return get_modulus(mgr, symbol, parameters);
  if (op.tag == SymbolTag::OPAQUE && !op.has_format) return op.smtlib == symbol->name;
  if (op.tag == SymbolTag::OPAQUE) {
    if (!is_real_to_float(*mgr, symbol, &parameters[0], &parameters[1])) return false;
    ++parameters[1];
    return true;
  }
  if (op.tag == SymbolTag::FP_TO_BV && op.is_signed != mgr->is_fp_to_sbv(symbol)) return false;
  const OperatorRow& row = operator_row(op.tag);
  if (op.num_parameters != 0 && row.num_indices != 0) {
    std::ranges::copy(mgr->parameters(symbol).subspan(row.first_index, row.num_indices), parameters);
    if (op.has_format) ++parameters[1];  // SMT-LIB counts the hidden bit
  }
  return true;
}

const Term* make_application(TermManager* mgr, const OperatorWord& op, const std::size_t* parameters,
                             const Term* const* arguments, const Term* like) {
  if (op.tag == SymbolTag::ARRAY_CONST) return mgr->make_array_const(mgr->type_of(like), arguments[0]);
  if (op.tag == SymbolTag::INT_MOD_CONGR) {
    // Only equal numbers are congruent modulo 0.
    return parameters[0] == 0 ? mgr->make_equal(arguments[0], arguments[1])
                              : mgr->make_int_mod_congr(to_number(parameters[0]), arguments[0], arguments[1]);
  }
  if (op.is_signed) return mgr->make_fp_to_sbv(parameters[0], arguments[0], arguments[1]);
  if (op.has_format) {
    const std::size_t stored[] = {parameters[0], parameters[1] - 1};
    if (op.tag == SymbolTag::OPAQUE) {
      return mgr->make_term(make_real_to_float_symbol(*mgr, stored[0], stored[1]), {arguments, 2});
    }
    return mgr->make_operation(operator_row(op.tag), stored, {arguments, op.num_arguments});
  }
  const OperatorRow* row = &operator_row(op.tag);
  if (op.tag == SymbolTag::OPAQUE)
    row = &*std::ranges::find(opaque_operators(), op.smtlib, &OperatorRow::smtlib);
  return mgr->make_operation(*row, {parameters, op.num_parameters}, {arguments, op.num_arguments});
}

}  // namespace quarv::rules
