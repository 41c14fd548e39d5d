#include <quarv/rules/rule_operations.h>

namespace quarv::rules {

bool recognize(const TermManager* mgr, const Operator& op, const Symbol* symbol, std::size_t* parameters) {
  switch (op.tag) {
    case SymbolTag::BV_SELECT:
      return mgr->is_bv_extract(symbol, &parameters[0], &parameters[1], nullptr);
    case SymbolTag::BV_ROL:
      return mgr->is_bv_rotate_left(symbol, &parameters[0], nullptr);
    case SymbolTag::BV_ROR:
      return mgr->is_bv_rotate_right(symbol, &parameters[0], nullptr);
    case SymbolTag::BV_ZEXT:
      return mgr->is_bv_zero_extend(symbol, &parameters[0], nullptr);
    case SymbolTag::BV_SEXT:
      return mgr->is_bv_sign_extend(symbol, &parameters[0], nullptr);
    default:
      return mgr->get_tag(symbol) == op.tag;
  }
}

const Term* make_application(TermManager* mgr, const Operator& op, const std::size_t* parameters,
                             const Term* const* arguments) {
  const Term* a = arguments[0];
  const Term* b = op.num_arguments > 1 ? arguments[1] : nullptr;
  switch (op.tag) {
    case SymbolTag::EQ:
      return mgr->make_equal(a, b);
    case SymbolTag::NOT:
      return mgr->make_not(a);
    case SymbolTag::BV_CONCAT:
      return mgr->make_bv_concat(a, b);
    case SymbolTag::BV_SELECT:
      return mgr->make_bv_extract(parameters[0], parameters[1], a);
    case SymbolTag::BV_ROL:
      return mgr->make_bv_rotate_left(parameters[0], a);
    case SymbolTag::BV_ROR:
      return mgr->make_bv_rotate_right(parameters[0], a);
    case SymbolTag::BV_ZEXT:
      return mgr->make_bv_zero_extend(parameters[0], a);
    case SymbolTag::BV_SEXT:
      return mgr->make_bv_sign_extend(parameters[0], a);
    default: {
      const DataType* type = mgr->type_of(a);
      const Symbol* symbol = mgr->make_bv_symbol(op.tag, mgr->get_width_from_type(type));
      return mgr->make_term(symbol, {arguments, op.num_arguments});
    }
  }
}

}  // namespace quarv::rules
