// The C interface as C++ of 1998 sees it.
#include <quarv/c_api.h>

quarv_term sum(quarv_manager* m, quarv_term a, quarv_term b) {
  const quarv_term args[] = {a, b};
  return quarv_make(m, "bvadd", args, 2);
}
