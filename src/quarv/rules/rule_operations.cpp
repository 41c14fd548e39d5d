#include <algorithm>

#include <quarv/rules/rule_operations.h>
#include <quarv/term/operators.h>

namespace quarv::rules {

bool recognize(const TermManager* mgr, const Operator& op, const Symbol* symbol, std::size_t* parameters) {
  if (mgr->get_tag(symbol) != op.tag) return false;
  const OperatorRow& row = operator_row(op.tag);
  if (row.num_indices != 0) {
    std::ranges::copy(mgr->parameters(symbol).subspan(row.first_index, row.num_indices), parameters);
  }
  return true;
}

const Term* make_application(TermManager* mgr, const Operator& op, const std::size_t* parameters,
                             const Term* const* arguments) {
  return mgr->make_operation(operator_row(op.tag), {parameters, op.num_parameters},
                             {arguments, op.num_arguments});
}

}  // namespace quarv::rules
