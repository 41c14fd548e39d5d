#include <algorithm>

#include <quarv/rules/rule_operations.h>
#include <quarv/term/operators.h>

namespace quarv::rules {

bool recognize(const TermManager* mgr, const Operator& op, const Symbol* symbol, std::size_t* parameters) {
  if (mgr->get_tag(symbol) != op.tag) return false;
  if (op.tag == SymbolTag::OPAQUE) return op.smtlib == symbol->name;
  if (op.tag == SymbolTag::FP_TO_BV && op.is_signed != mgr->is_fp_to_sbv(symbol)) return false;
  const OperatorRow& row = operator_row(op.tag);
  if (op.num_parameters != 0 && row.num_indices != 0) {
    std::ranges::copy(mgr->parameters(symbol).subspan(row.first_index, row.num_indices), parameters);
    if (op.has_format) ++parameters[1];  // SMT-LIB counts the hidden bit
  }
  return true;
}

const Term* make_application(TermManager* mgr, const Operator& op, const std::size_t* parameters,
                             const Term* const* arguments, const Term* like) {
  if (op.tag == SymbolTag::ARRAY_CONST) return mgr->make_array_const(mgr->type_of(like), arguments[0]);
  if (op.is_signed) return mgr->make_fp_to_sbv(parameters[0], arguments[0], arguments[1]);
  if (op.has_format) {
    const std::size_t stored[] = {parameters[0], parameters[1] - 1};
    return mgr->make_operation(operator_row(op.tag), stored, {arguments, op.num_arguments});
  }
  const OperatorRow* row = &operator_row(op.tag);
  if (op.tag == SymbolTag::OPAQUE)
    row = &*std::ranges::find(opaque_operators(), op.smtlib, &OperatorRow::smtlib);
  return mgr->make_operation(*row, {parameters, op.num_parameters}, {arguments, op.num_arguments});
}

}  // namespace quarv::rules
