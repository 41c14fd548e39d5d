#include <string>
#include <utility>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>

namespace quarv::smtlib {

// Let.
// -----------------------------------------------------------------------------------------------------------------------

void Reader::open_let(const char* start) {
  open_frame(Frame::let_value, start);
  frames_.back().first = static_cast<std::uint32_t>(bindings_.size());
  expect_left("the bindings of let");
  const Token t = next();
  if (t.kind != TokenKind::left_parenthesis) unexpected(t, "a binding of let");
  bindings_.push_back({&names_.enter(lookup_text(expect_symbol("a variable"))), nullptr});
}

/// The value of a binding is complete: on to the next binding, or to the body.
void Reader::let_binding() {
  bindings_.back().value = values_.back();
  bindings_.back().is_real = is_real_value(values_.size() - 1);
  if (!forms_.empty()) bindings_.back().form = forms_.back();
  drop_values(values_.size() - 1);
  expect_right("the value of a binding");
  const Token t = next();
  if (t.kind == TokenKind::right_parenthesis) return let_bindings_done();
  if (t.kind != TokenKind::left_parenthesis) unexpected(t, "a binding of let");
  bindings_.push_back({&names_.enter(lookup_text(expect_symbol("a variable"))), nullptr});
}

void Reader::let_bindings_done() {
  Frame& frame = frames_.back();
  frame.kind = Frame::let_body;
  frame.scope = static_cast<std::uint32_t>(names_.scope());
  ++binder_mark_;
  for (std::size_t i = frame.first; i < bindings_.size(); ++i) {
    TermNames::Name& name = *bindings_[i].name;
    if (is_bound_twice(name)) {
      fail(binding_of(frame.start, i - frame.first), "let binds " + std::string(name.text) + " twice");
    }
    TermMeaning meaning = TermMeaning::of(bindings_[i].value, bindings_[i].form);
    meaning.renamed = name.meaning.renamed;
    meaning.is_real = bindings_[i].is_real;
    names_.bind(name, meaning);
    if (written() != nullptr) options_.written->let_name(bindings_[i].form, name.text);
  }
  bindings_.resize(frame.first);
}

// Quantifiers.
// -----------------------------------------------------------------------------------------------------------------

/// Marks a name that the binder at hand binds. Such marks cost the same for each name, however many there
/// are.
bool Reader::is_bound_twice(TermNames::Name& name) {
  return std::exchange(name.mark, binder_mark_) == binder_mark_;
}

/// Binds a variable. Equal names of equal sorts are one variable, so that equal quantified formulas are one
/// term; unless it is to be the binder's own. A name that means something already is changed: what the inner
/// scope brings in through `let` may refer to the outer meaning.
const Term* Reader::bind_variable(const Token& name, const DataType* type, bool own) {
  note_name(name.text);
  TermNames::Name& entry = names_.enter(lookup_text(name));
  std::string printed(name.text);
  std::uint32_t renamed = entry.meaning.renamed;  // lower numbers are taken
  if (renamed != 0) printed += '!' + std::to_string(renamed);
  while (means_something(printed)) printed = std::string(name.text) + '!' + std::to_string(++renamed);
  const Term* variable = own ? manager_.fresh_bound_variable(printed, type) : bound_variable(printed, type);
  TermMeaning meaning = TermMeaning::of(variable);
  meaning.renamed = renamed;
  names_.bind(entry, meaning);
  if (printed != name.text) {
    names_.bind(names_.enter(printed), TermMeaning::of(variable));
    if (options_.written != nullptr) options_.written->renamed(variable->symbol, name.text);
  }
  bindings_.push_back({&entry, variable});
  return variable;
}

bool Reader::means_something(std::string_view name) {
  const TermNames::Name* known = names_.find(name);
  return known != nullptr && known->meaning.kind != TermMeaning::none;
}

/// The variable of that name and sort.
const Term* Reader::bound_variable(const std::string& name, const DataType* type) {
  const Term*& variable = bound_variables_[{name, type}];
  if (variable == nullptr) variable = manager_.fresh_bound_variable(name, type);
  return variable;
}

void Reader::open_quantifier(const char* start, std::string_view binder) {
  open_frame(Frame::quantifier, start);
  ++num_quantifiers_;
  Frame& frame = frames_.back();
  frame.universal = binder == "forall";
  frame.scope = static_cast<std::uint32_t>(names_.scope());
  frame.first = static_cast<std::uint32_t>(bindings_.size());
  expect_left("the variables of a quantifier");
  ++binder_mark_;
  Token t = next();
  do {
    if (t.kind != TokenKind::left_parenthesis) unexpected(t, "a variable with its sort");
    const Token name = expect_symbol("a variable");
    Lexer ahead = lexer_;
    const char* const sort_start = ahead.next().start;
    const DataType* sort = read_sort();
    const std::string_view sort_text =
        written() != nullptr && scopes_.empty() ? one_line(sort_start) : std::string_view{};
    expect_right("a variable with its sort");
    if (is_bound_twice(names_.enter(lookup_text(name)))) {
      fail(name.start, "the quantifier binds " + std::string(name.text) + " twice");
    }
    const Term* variable = bind_variable(name, sort);
    // Levels take their sorts with them.
    if (!sort_text.empty()) options_.written->variable_sort(variable->symbol, sort_text);
    t = next();
  } while (t.kind != TokenKind::right_parenthesis);
}

}  // namespace quarv::smtlib
