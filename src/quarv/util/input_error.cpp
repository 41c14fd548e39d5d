#include <utility>

#include <quarv/util/input_error.h>

namespace quarv {

InputError::InputError(const std::string& file, std::size_t line, std::size_t column,
                       const std::string& message, std::string excerpt)
    : std::runtime_error(file + ':' + std::to_string(line) + ':' + std::to_string(column) +
                         ": error: " + message),
      message_(message),
      excerpt_(std::move(excerpt)),
      line_(line),
      column_(column) {}

}  // namespace quarv
