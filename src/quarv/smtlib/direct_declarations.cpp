// Declarations by calls instead of commands.
#include <limits>
#include <stdexcept>

#include <quarv/smtlib/reader.h>

namespace quarv::smtlib {

void Reader::check_name(std::string_view name) {
  if (name.find('\0') != std::string_view::npos) {
    throw std::invalid_argument("a name cannot contain a zero byte");
  }
  if (name.find_first_of("|\\") != std::string_view::npos) {
    throw std::invalid_argument("a name cannot contain | or \\: " + std::string(name));
  }
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
