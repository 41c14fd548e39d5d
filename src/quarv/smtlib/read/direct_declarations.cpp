// Declarations by calls instead of commands.
#include <limits>
#include <stdexcept>

#include <quarv/smtlib/read/reader.h>

namespace quarv::smtlib {

void Reader::check_name(std::string_view name) {
  const std::size_t at = name.find_first_of(std::string_view("|\\\0", 3));
  if (at == std::string_view::npos) return;
  throw std::invalid_argument(name[at] == '\0' ? "a name must not contain a NUL byte"
                                               : std::string("a name must not contain '") + name[at] + '\'');
}

void Reader::declare(const Symbol* symbol) {
  const std::string_view name = symbol->name;
  check_name(name);
  // A name that is a reserved word is written with bars, and looked up by the first of them.
  const std::string key = (is_reserved_word(name) ? "|" : "") + std::string(name);
  if (!is_free(names_.find(key))) {
    throw std::invalid_argument(std::string(name) + " has another meaning already");
  }
  note_name(name);
  bind_function(key, symbol);
}

const DataType* Reader::declare_sort(std::string_view name, std::size_t num_parameters) {
  check_name(name);
  const SortNames::Name* known = sorts_.find(name);
  if (known != nullptr && known->meaning.kind != SortMeaning::none) {
    const SortMeaning& meaning = known->meaning;
    if (meaning.declared && meaning.arity == num_parameters) return meaning.sort;
    throw std::invalid_argument("sort " + std::string(name) +
                                (meaning.declared ? " has another number of parameters" : " is predefined"));
  }
  if (name == "BitVec" || name == "FloatingPoint") {
    throw std::invalid_argument("sort " + std::string(name) + " is predefined");
  }
  if (num_parameters > std::numeric_limits<std::uint32_t>::max()) {
    throw std::invalid_argument("sort " + std::string(name) + " has too many parameters");
  }
  return bind_sort(name, num_parameters);
}

}  // namespace quarv::smtlib
