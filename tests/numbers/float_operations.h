/// \file
/// The operations whose results the host and MPFR compute too.
#pragma once

#include <quarv/numbers/ieee_float.h>

namespace quarv {

enum Operation { op_add, op_subtract, op_multiply, op_divide, op_square_root, num_operations };

inline void apply(Operation operation, IEEEFloat& x, const IEEEFloat& y) {
  switch (operation) {
    case op_add:
      x += y;
      break;
    case op_subtract:
      x -= y;
      break;
    case op_multiply:
      x *= y;
      break;
    case op_divide:
      x /= y;
      break;
    default:
      x.sqrt();
  }
}

}  // namespace quarv
