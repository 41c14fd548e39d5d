/// \file
/// What happens when GMP has no memory.
#pragma once

#include <cstddef>

#include <quarv/export.h>

namespace quarv {

/// While a thread has one of these, GMP throws std::bad_alloc in it when it has no memory; otherwise, and in
/// other threads, it ends the process.
///
/// GMP has its functions that allocate for the whole process. Those that are given to it by the first of
/// these objects stay, and do what GMP's own do wherever no object is. A program that gives GMP functions of
/// its own, before or afterwards, keeps them, and decides by them what happens. Memory passes freely between
/// GMP's own functions and these.
///
/// GMP was not made to be left by exceptions. quarv calls it in such a way that all numbers stay sound; what
/// GMP needed for the moment may be lost. Other code that calls GMP in the same thread, and catches the
/// exception, must destroy or assign none of the numbers that were results.
class QUARV_API GmpBadAlloc {
 public:
  GmpBadAlloc() noexcept;
  ~GmpBadAlloc();
  GmpBadAlloc(const GmpBadAlloc&) = delete;
  GmpBadAlloc& operator=(const GmpBadAlloc&) = delete;
};

}  // namespace quarv
