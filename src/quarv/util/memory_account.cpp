#include <quarv/util/memory_account.h>

namespace quarv {

const char* MemoryLimitReached::what() const noexcept {
  return "the limit on memory is reached";
}

void MemoryAccount::refuse() {
  throw MemoryLimitReached();
}

}  // namespace quarv
