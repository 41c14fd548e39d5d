/// \file
/// The operations whose results the host and MPFR compute too.
#pragma once

#include <quarv/numbers/ieee_float.h>

namespace quarv {

enum Operation { add, subtract, multiply, divide, square_root, num_operations };

inline void apply(Operation operation, IEEEFloat& x, const IEEEFloat& y) {
  switch (operation) {
    case add:
      x += y;
      break;
    case subtract:
      x -= y;
      break;
    case multiply:
      x *= y;
      break;
    case divide:
      x /= y;
      break;
    default:
      x.sqrt();
  }
}

}  // namespace quarv
