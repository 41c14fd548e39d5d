#include <algorithm>
#include <string>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>

namespace quarv::smtlib {

// Functions of one name. Solvers let a name be declared for several lists of argument sorts, and tell
// applications apart by the sorts of their arguments. An Int may stand where a Real is needed, so that
// several functions may take the same arguments: then it is the one that has exactly their sorts. Constants
// are not overloaded: a use would have to name its sort, `(as c Int)`, and the standard allows no second
// declaration of a name.

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
  WrittenForms* const written = options_.written;
  for (const Overload* other = others; other != nullptr; other = other->next) {
    const Difference d = difference(manager_, symbol, other->symbol);
    if (d == Difference::none) fail(name.start, std::string(name.text) + " is declared twice");
    if (d == Difference::sorts || written == nullptr) continue;
    written->takes_exact_sorts(symbol);
    written->takes_exact_sorts(other->symbol);
  }
  if (written != nullptr) written->declared(symbol, num_commands_);
  overloads_.push_back({symbol, others});
  names_.bind(names_.enter(key), TermMeaning::of(&overloads_.back()));
  return nullptr;
}

/// The sort of an argument as it was written: a number that is an integer may be a Real.
const DataType* Reader::written_sort(std::size_t value) const {
  return is_real_value(value) ? manager_.rat_type : manager_.type_of(values_[value]);
}

/// How well a function takes the arguments of a frame.
Reader::Fit Reader::fit(const Symbol* f, const Frame& frame) const {
  if (manager_.arity(f) != values_.size() - frame.first_value) return Fit::none;
  Fit worst = Fit::exact;
  for (std::size_t i = 0; i < manager_.arity(f); ++i) {
    const DataType* const wanted = manager_.argument_type(f, i);
    const DataType* const found = written_sort(frame.first_value + i);
    if (found == wanted) continue;
    const DataType* const both = manager_.get_supertype(found, wanted);
    if (both == nullptr) return Fit::none;
    worst = std::min(worst, both == wanted ? Fit::promoted : Fit::by_value);
  }
  return worst;
}

/// The function that takes the arguments best.
const Symbol* Reader::overload_for(const Frame& frame) {
  const Symbol* chosen = nullptr;
  Fit best = Fit::none;
  bool is_unique = true;
  for (const Overload* o = frame.overloads; o != nullptr; o = o->next) {
    const Fit f = fit(o->symbol, frame);
    if (f < best || f == Fit::none) continue;
    is_unique = f > best;
    best = f;
    chosen = o->symbol;
  }
  if (chosen != nullptr && is_unique) return chosen;
  std::string sorts;
  for (std::size_t i = frame.first_value; i < values_.size(); ++i) {
    sorts += (sorts.empty() ? "" : " ") + written_sort(i)->to_string(200);
  }
  fail(frame.start, std::string(written_name(frame.start)) +
                        (best == Fit::promoted ? ": several declarations take" : ": no declaration takes") +
                        " arguments of sorts (" + sorts + ')');
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
