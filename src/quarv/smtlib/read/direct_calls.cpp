// Sorts, terms and declarations that come by calls instead of commands.
#include <limits>
#include <stdexcept>

#include <quarv/smtlib/read/application_error.h>
#include <quarv/smtlib/read/named_operators.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/term/declared_sorts.h>

namespace quarv::smtlib {

// Texts.
// ---------------------------------------------------------------------------------------------------------

const DataType* Reader::sort(std::string_view text, const std::string& name) {
  check_expression(text, name);
  set_input(text, name);
  Script script;
  Lexer ahead = lexer_;
  command_start_ = ahead.next().start;
  const Place before = place(script, command_start_);
  try {
    return read_sort();
  } catch (...) {
    return_to(before, script);
    throw;
  }
}

const Term* Reader::term(std::string_view text, const std::string& name) {
  check_expression(text, name);
  set_input(text, name);
  Lexer ahead = lexer_;
  Script script;
  expression_ = true;
  try {
    read_guarded(script, ahead.next().start);
  } catch (...) {
    expression_ = false;
    throw;
  }
  expression_ = false;
  return script.terms.at(0);
}

/// A term that stands alone, as that of a command which has no name.
void Reader::read_expression(Script& script) {
  Command c;
  c.kind = Command::Kind::simplify;
  const Term* t = read_term();
  const FormClass form = last_form_;
  const DataType* sort = manager_.type_of(t);
  add_term(script, c, finished(t), sort, form);
  script.commands.push_back(c);
}

const Term* Reader::make(std::string_view op, std::span<const Term* const> args) {
  constexpr std::string_view constant_array = "(as const ";
  check_given_arguments(manager_, op, args);
  const auto check_number = [&](std::string_view name, std::size_t wanted) {
    const std::string wrong = wrong_number_of_arguments(name, args.size(), wanted, wanted);
    if (!wrong.empty()) throw std::invalid_argument(wrong);
  };
  if (op.starts_with(constant_array) && op.ends_with(')')) {
    check_number("as const", 1);
    const std::string_view text = op.substr(constant_array.size(), op.size() - constant_array.size() - 1);
    return manager_.make_array_const(sort(text), args[0]);
  }
  if (const Symbol* function = session_.declared(op)) {
    check_number(op, manager_.arity(function));
    return manager_.make_term(function, args);
  }
  return smtlib::apply_operator(context_, split_operator(op), args);
}

/// Operators that are known by name alone may be expressed by others when there are simplifiers.
const Term* Reader::build_named(Session& session, const Symbol* symbol, Session::Args args) {
  const OperatorText op = split_operator(symbol->name);
  if (!is_operator(op.name)) return nullptr;
  OperatorContext context(session.manager());
  context.canonical_nan = !session.options().library_semantics;
  return smtlib::apply_operator(context, op, args);
}

// Declarations.
// ---------------------------------------------------------------------------------------------------------

void Reader::check_name(std::string_view name) {
  const std::size_t at = name.find_first_of(std::string_view("|\\\0", 3));
  if (at == std::string_view::npos) return;
  throw std::invalid_argument(name[at] == '\0' ? "a name must not contain a NUL byte"
                                               : std::string("a name must not contain '") + name[at] + '\'');
}

const Symbol* Reader::declare_function(std::string_view name, std::span<const DataType* const> arguments,
                                       const DataType* result) {
  check_name(name);
  // A name that is a reserved word is written with bars, and looked up by the first of them.
  const std::string key = (is_reserved_word(name) ? "|" : "") + std::string(name);
  if (!is_free(names_.find(key))) {
    throw std::invalid_argument(std::string(name) + " already has another meaning");
  }
  note_name(name);
  const Session::Place before = session_.place();
  const Symbol* symbol = session_.function(name, arguments, result);
  try {
    // Texts bring the sorts' names along, which mean the same from now on.
    for (const DataType* sort : arguments) declare_sorts_of(sort);
    declare_sorts_of(result);
  } catch (...) {
    session_.return_to(before);
    throw;
  }
  return symbol;
}

void Reader::declare_sorts_of(const DataType* sort) {
  for_each_declared_sort(manager_, sort, [this](const DataType* declared, std::size_t num_parameters) {
    std::string name = declared->to_string();
    if (name.starts_with('|')) name = name.substr(1, name.size() - 2);
    declare_sort(name, num_parameters);
  });
}

const DataType* Reader::declare_sort(std::string_view name, std::size_t num_parameters) {
  check_name(name);
  const SortMeaning meaning = meaning_of_sort(name);
  if (meaning.kind != SortMeaning::none) {
    if (meaning.declared && meaning.arity == num_parameters) return meaning.sort;
    throw std::invalid_argument(
        "sort " + std::string(name) +
        (meaning.declared ? " has a different number of parameters" : " is predefined"));
  }
  // Not all are read, but nothing can be declared by their names in the scripts that are printed.
  if (name == "BitVec" || name == "FloatingPoint" || name == "String" || name == "RegLan") {
    throw std::invalid_argument("sort " + std::string(name) + " is predefined");
  }
  if (num_parameters > std::numeric_limits<std::uint32_t>::max()) {
    throw std::invalid_argument("sort " + std::string(name) + " has too many parameters");
  }
  return bind_sort(name, num_parameters);
}

}  // namespace quarv::smtlib
