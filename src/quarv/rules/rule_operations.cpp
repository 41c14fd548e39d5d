#include <algorithm>

#include <quarv/rules/rule_operations.h>
#include <quarv/term/operators.h>

namespace quarv::rules {

bool recognize(const TermManager* mgr, const Operator& op, const Symbol* symbol, std::size_t* parameters) {
  if (mgr->get_tag(symbol) != op.tag) return false;
  if (op.tag == SymbolTag::OPAQUE) return op.smtlib == symbol->name;
  const OperatorRow& row = operator_row(op.tag);
  if (op.num_parameters != 0 && row.num_indices != 0) {
    std::ranges::copy(mgr->parameters(symbol).subspan(row.first_index, row.num_indices), parameters);
  }
  return true;
}

const Term* make_application(TermManager* mgr, const Operator& op, const std::size_t* parameters,
                             const Term* const* arguments) {
  const OperatorRow* row = &operator_row(op.tag);
  if (op.tag == SymbolTag::OPAQUE)
    row = &*std::ranges::find(opaque_operators(), op.smtlib, &OperatorRow::smtlib);
  return mgr->make_operation(*row, {parameters, op.num_parameters}, {arguments, op.num_arguments});
}

}  // namespace quarv::rules
