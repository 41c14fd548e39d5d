#include <string>

#include <quarv/smtlib/read/reader.h>

namespace quarv::smtlib {

// Functions of one name. Solvers let a name be declared for several lists of argument sorts, and tell
// applications apart by the sorts of their arguments. Constants are not overloaded: a use would have to name
// its sort.

namespace {

enum class Difference { none, kinds_of_numbers, sorts };

/// How the arguments of two functions differ.
Difference difference(const TermManager& m, const Symbol* f, const Symbol* g) {
  if (m.arity(f) != m.arity(g)) return Difference::sorts;
  Difference result = Difference::none;
  for (std::size_t i = 0; i < m.arity(f); ++i) {
    const DataType* a = m.argument_type(f, i);
    const DataType* b = m.argument_type(g, i);
    if (a == b) continue;
    if (m.get_supertype(a, b) == nullptr) return Difference::sorts;
    result = Difference::kinds_of_numbers;
  }
  return result;
}

bool takes(const TermManager& m, const Symbol* f, Operator::Args args) {
  if (m.arity(f) != args.size()) return false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const DataType* wanted = m.argument_type(f, i);
    if (m.get_supertype(m.type_of(args[i]), wanted) != wanted) return false;
  }
  return true;
}

}  // namespace

bool Reader::is_function(const TermNames::Name* name) noexcept {
  return name != nullptr &&
         (name->meaning.kind == TermMeaning::function || name->meaning.kind == TermMeaning::overloaded);
}

/// Gives a function that a command declares its name, besides those that already have it.
const Term* Reader::bind_declared(const Token& name, const Symbol* symbol) {
  const std::string_view key = lookup_text(name);
  const TermNames::Name* known = names_.find(key);
  if (!is_function(known)) return bind_function(key, symbol);
  const TermMeaning before = known->meaning;
  if (before.kind == TermMeaning::function) overloads_.push_back({before.symbol, nullptr});
  const Overload* others = before.kind == TermMeaning::function ? &overloads_.back() : before.overloads;
  for (const Overload* other = others; other != nullptr; other = other->next) {
    switch (difference(manager_, symbol, other->symbol)) {
      case Difference::none:
        fail(name.start, std::string(name.text) + " is declared twice");
      case Difference::kinds_of_numbers:
        // A number that is an Int here may be written as a Real.
        fail(name.start,
             std::string(name.text) + " is declared twice, for arguments that differ in Int and Real alone");
      case Difference::sorts:
        break;
    }
  }
  overloads_.push_back({symbol, others});
  names_.bind(names_.enter(key), TermMeaning::of(&overloads_.back()));
  return nullptr;
}

/// The function that takes the arguments. There are no two: they would differ in Int and Real alone.
const Symbol* Reader::overload_for(const Frame& frame, Operator::Args args) {
  for (const Overload* o = frame.overloads; o != nullptr; o = o->next) {
    if (takes(manager_, o->symbol, args)) return o->symbol;
  }
  std::string sorts;
  for (const Term* t : args) sorts += (sorts.empty() ? "" : " ") + manager_.type_of(t)->to_string(200);
  fail(frame.start,
       std::string(written_name(frame.start)) + ": no declaration takes arguments of sorts (" + sorts + ')');
}

/// Those of the functions that have the result; null when there are none.
const Reader::Overload* Reader::overloads_with_result(const Overload* all, const DataType* result) {
  const Overload* chosen = nullptr;
  for (const Overload* o = all; o != nullptr; o = o->next) {
    if (o->symbol->get_output_type() != result) continue;
    overloads_.push_back({o->symbol, chosen});
    chosen = &overloads_.back();
  }
  return chosen;
}

}  // namespace quarv::smtlib
