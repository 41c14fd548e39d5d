#pragma once

#include <cstddef>

#include <quarv/rules/language/rule_language.h>
#include <quarv/term/term_manager.h>

namespace quarv::rules {

/// True when `symbol` is the operator; stores its integer parameters, of which there are at most two.
bool recognize(const TermManager* mgr, const OperatorWord& op, const Symbol* symbol, std::size_t* parameters);

/// The operator on `arguments`, by the manager's full constructor. A constant array has the sort of `like`.
const Term* make_application(TermManager* mgr, const OperatorWord& op, const std::size_t* parameters,
                             const Term* const* arguments, const Term* like = nullptr);

}  // namespace quarv::rules
