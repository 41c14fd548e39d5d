#include "io/colour.h"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace quarv::cli {

bool wants_colour(const std::string& when) {
  if (when != "auto") return when == "always";
  const char* const terminal = std::getenv("TERM");
  return isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr && terminal != nullptr &&
         terminal != std::string_view("dumb");
}

}  // namespace quarv::cli
