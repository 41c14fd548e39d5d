#include <quarv/numbers/swflt/exception_flags.h>

namespace quarv::swflt {

constinit thread_local std::uint8_t float_exception_flags = 0;

}  // namespace quarv::swflt
