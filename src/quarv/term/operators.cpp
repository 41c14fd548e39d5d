#include <quarv/term/operators.h>

namespace quarv {

const char* SymbolTag::name(tag t) noexcept {
  return operator_row(t).name;
}

}  // namespace quarv
