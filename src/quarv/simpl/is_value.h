#pragma once

#include <quarv/export.h>

namespace quarv {

class TermManager;
struct Term;

namespace termsimpl {

/// True when `t` is a fully evaluated constant of its type: a truth value, a number, a rounding mode, or a
/// chain of array writes of values over a constant array of a value. With `accept_model_values`, a constant
/// of an uninterpreted type whose name begins with "@" is a value too.
QUARV_API bool is_value(TermManager* mgr, const Term* t, bool accept_model_values);

}  // namespace termsimpl
}  // namespace quarv
