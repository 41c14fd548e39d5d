/// \file
/// Products that may run out of memory.
#pragma once

#include <cstddef>

#include <gmp.h>

namespace quarv {

/// Makes room for this many limbs. The value stays.
inline void reserve_limbs(mpz_ptr x, std::size_t limbs) {
  if (limbs > static_cast<std::size_t>(x->_mp_alloc)) mpz_realloc2(x, limbs * GMP_NUMB_BITS);
}

/// w = u * v. mpz_mul gives back the memory of a result that is too small before it asks for more. Where that
/// throws, a number is left whose memory is gone, so it gets its room here.
inline void multiply(mpz_ptr w, mpz_srcptr u, mpz_srcptr v) {
  reserve_limbs(w, mpz_size(u) + mpz_size(v));
  mpz_mul(w, u, v);
}

}  // namespace quarv
