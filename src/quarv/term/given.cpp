#include <string>

#include <quarv/term/given.h>
#include <quarv/term/sort_error.h>

namespace quarv {

void refuse_given(std::string_view where, std::string_view what, bool is_null) {
  throw SortError(std::string(where) + ": " + std::string(what) +
                  (is_null ? " is a null pointer" : " belongs to another manager"));
}

}  // namespace quarv
