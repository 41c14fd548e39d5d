#include <algorithm>
#include <limits>
#include <utility>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>

namespace quarv::smtlib {

// Declarations and definitions of sorts and functions.

// --------------------------------------------------------------------------------------------------

void Reader::check_new_sort_name(const Token& name) {
  const SortNames::Name* known = sorts_.find(name.text);
  if (known != nullptr && known->meaning.kind == SortMeaning::foreign) {
    not_understood(name.start, "sort " + std::string(name.text) + " is not understood");
  }
  if (known != nullptr && known->meaning.kind != SortMeaning::none) {
    fail(name.start, "sort " + std::string(name.text) + " is declared twice");
  }
}

const DataType* Reader::bind_sort(std::string_view name, std::size_t num_parameters) {
  const DataType* sort = manager_.declare_sort(quoted(name), num_parameters);
  if (options_.names == Options::Names::session) session_.declare_sort(name, {sort, num_parameters});
  sorts_.bind(sorts_.enter(name), declared_sort(sort, num_parameters));
  return sort;
}

void Reader::declare_sort(Script& script, const char* start) {
  const Token name = expect_symbol("a sort");
  check_new_sort_name(name);
  std::size_t arity = 0;
  const Token t = next();
  if (t.kind != TokenKind::right_parenthesis) {
    arity = index_value(t);
    expect_right("the number of parameters");
  }
  if (arity > std::numeric_limits<std::uint32_t>::max()) fail(t.start, "a sort has too many parameters");
  bind_sort(name.text, arity);
  text_command(script, Command::Kind::other, start);
}

void Reader::define_sort(Script& script, const char* start) {
  const Token name = expect_symbol("a sort");
  check_new_sort_name(name);
  expect_left("the parameters");
  const std::size_t scope = sorts_.scope();
  auto stand_ins = std::make_unique<std::vector<const DataType*>>();
  Token t = next();
  for (; t.kind != TokenKind::right_parenthesis; t = next()) {
    if (t.kind != TokenKind::symbol) unexpected(t, "a sort parameter");
    // No name that can be written.
    const DataType* stand_in = manager_.declare_sort('|' + std::to_string(num_stand_ins_++));
    sorts_.bind(sorts_.enter(t.text), {.kind = SortMeaning::type, .sort = stand_in});
    stand_ins->push_back(stand_in);
  }
  const DataType* body = read_sort();
  sorts_.leave(scope);
  expect_right("the defined sort");
  sorts_.bind(sorts_.enter(name.text), {.kind = SortMeaning::macro,
                                        .arity = static_cast<std::uint32_t>(stand_ins->size()),
                                        .sort = body,
                                        .parameters = stand_ins.get()});
  macro_parameters_.push_back(std::move(stand_ins));
  text_command(script, Command::Kind::other, start);
}

/// Whether what comes next is "(" and not "()".
bool Reader::parameters_follow() const noexcept {
  Lexer ahead = lexer_;
  return ahead.next().kind == TokenKind::left_parenthesis &&
         ahead.next().kind != TokenKind::right_parenthesis;
}

/// A constant may be declared once, a function for other arguments again; the operators of theories other
/// than Core may be hidden by them.
void Reader::check_new_function_name(const Token& name, bool is_constant) {
  const TermNames::Name* known = names_.find(lookup_text(name));
  if (is_reserved(name)) fail(name.start, std::string(name.text) + " is a reserved word");
  if (known != nullptr && known->meaning.kind == TermMeaning::foreign) {
    not_understood(name.start, std::string(name.text) + " is not understood");
  }
  note_name(name.text);
  if (new_name(known) != nullptr || (!is_free(known) && (is_constant || !is_function(known)))) {
    fail(name.start, std::string(name.text) + " is declared twice");
  }
}

bool Reader::is_free(const TermNames::Name* name) noexcept {
  if (name == nullptr) return true;
  const TermMeaning& meaning = name->meaning;
  return meaning.kind == TermMeaning::none || meaning.word == Word::other ||
         (meaning.kind == TermMeaning::builtin && !meaning.op->reserved);
}

/// Remembers names that look like the printer's own.
void Reader::note_name(std::string_view name) {
  largest_dollar_name_ = std::max(largest_dollar_name_, dollar_number(name));
  const std::size_t marks = std::min(name.find_first_not_of('?'), name.size());
  const std::string_view digits = name.substr(marks);
  const bool numbered =
      !digits.empty() && digits.size() < 18 &&
      std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (numbered) question_marks_ = std::max(question_marks_, marks);
}

/// Gives a declared function its name; a constant becomes a term at once.
const Term* Reader::bind_function(std::string_view name, const Symbol* symbol) {
  const Term* constant = manager_.arity(symbol) == 0 ? manager_.make_term(symbol) : nullptr;
  if (options_.written != nullptr) options_.written->declared(symbol, num_commands_);
  names_.bind(names_.enter(name), constant != nullptr ? TermMeaning::of(constant) : TermMeaning::of(symbol));
  return constant;
}

/// The symbol that a declaration makes.
const Symbol* Reader::new_symbol(std::string_view name, std::span<const DataType* const> arguments,
                                 const DataType* result) {
  return options_.names == Options::Names::script ? manager_.fresh_fun(name, arguments, result)
                                                  : manager_.declare_fun(name, arguments, result);
}

void Reader::declare_fun(Script& script, const char* start, bool constant) {
  const Token name = expect_symbol("a function");
  check_new_function_name(name, constant || !parameters_follow());
  std::vector<const DataType*> arguments;
  if (!constant) {
    expect_left("the argument sorts");
    for (Token t = next(); t.kind != TokenKind::right_parenthesis; t = next())
      arguments.push_back(read_sort(t));
  }
  const DataType* result = read_sort();
  expect_right("the result sort");
  const Term* declared = bind_declared(name, new_symbol(name.text, arguments, result));
  text_command(script, Command::Kind::declare, start);
  if (declared != nullptr) add_term(script, script.commands.back(), declared, result);
}

/// The sort, which has been read from `start` on, as it is printed: as it was written, or as in the normal
/// form.
std::string_view Reader::text_of(const DataType* sort, const char* start) {
  return options_.written != nullptr ? one_line(start) : std::string_view(text_of(sort));
}

/// Definitions that follow each other are often of one sort.
const std::string& Reader::text_of(const DataType* sort) {
  if (sort != last_sort_) {
    last_sort_text_ = sort->to_string();
    last_sort_ = sort;
  }
  return last_sort_text_;
}

/// Reads "((x S) ...)", binds the variables, `own` ones where no other term is to have them, and appends the
/// list to `text`.
std::vector<const Term*> Reader::parameters(std::string& text, bool own) {
  std::vector<const Term*> variables;
  expect_left("the parameters");
  ++binder_mark_;
  text += '(';
  for (Token t = next(); t.kind != TokenKind::right_parenthesis; t = next()) {
    if (t.kind != TokenKind::left_parenthesis) unexpected(t, "a parameter with its sort");
    const Token name = expect_symbol("a parameter");
    if (is_bound_twice(names_.enter(lookup_text(name)))) {
      fail(name.start, "parameter " + std::string(name.text) + " occurs twice");
    }
    Lexer ahead = lexer_;
    const char* const sort_start = ahead.next().start;
    const DataType* sort = read_sort();
    const std::string_view sort_text = text_of(sort, sort_start);
    expect_right("a parameter with its sort");
    variables.push_back(bind_variable(name, sort, own));
    if (text.back() != '(') text += ' ';
    text += '(';
    append_quoted(text, variables.back()->symbol->name);
    text += ' ';
    text += sort_text;
    text += ')';
  }
  text += ')';
  bindings_.clear();
  return variables;
}

/// What has been read since the lexer was at `before`, if the bodies of recursive functions are to stay as
/// they are written: solvers unfold them step by step where conditions are decided, and might not end where
/// these are written in another way.
std::string_view Reader::text_from(Lexer before) {
  return options_.written == nullptr ? std::string_view{} : one_line(before.next().start);
}

bool Reader::mentions(std::string_view text, std::string_view name) {
  Lexer lexer(text);
  for (Token t = lexer.next(); t.kind != TokenKind::end; t = lexer.next()) {
    if (t.kind == TokenKind::symbol && t.text == name) return true;
  }
  return false;
}

void Reader::define_fun(Script& script, std::string_view keyword) {
  const Token name = expect_symbol("a function");
  const std::uint64_t largest_before = largest_dollar_name_;
  check_new_function_name(name, keyword == "define-const" || !parameters_follow());
  const std::uint64_t largest_with_name = std::exchange(largest_dollar_name_, largest_before);
  std::string& text = header_;
  text.assign(1, '(').append(keyword) += ' ';
  const std::size_t name_start = text.size();
  append_quoted(text, name.text);
  const std::size_t name_size = text.size() - name_start;
  text += ' ';
  const std::size_t scope = names_.scope();
  std::vector<const Term*> variables;
  if (keyword != "define-const") {
    const bool own = session_.options().unfold;
    variables = parameters(text, own);
    SimplificationObserver* observer = session_.simplifier().normalizer.observer();
    if (own && observer != nullptr) observer->on_parameters(variables);
    text += ' ';
  }
  Lexer ahead = lexer_;
  const char* const sort_start = ahead.next().start;
  const DataType* result = read_sort();
  text += text_of(result, sort_start);
  text += ' ';

  const bool recursive = keyword == "define-fun-rec";
  const Symbol* symbol = nullptr;
  if (recursive || !variables.empty()) {
    std::vector<const DataType*> arguments;
    arguments.reserve(variables.size());
    for (const Term* v : variables) arguments.push_back(manager_.type_of(v));
    symbol = manager_.fresh_fun(name.text, arguments, result);
    if (recursive) bind_declared(name, symbol);
  }
  const std::string_view heading = recursive ? one_line(command_start_) : std::string_view{};
  const Lexer at_body = lexer_;
  const Term* body = read_term_of(result);
  FormClass form = last_form_;
  const std::string_view written = recursive ? text_from(at_body) : std::string_view{};
  expect_right("the body of the definition");
  names_.leave(scope);
  body = finished(body);

  Command c;
  const bool calls_itself = mentions(written, name.text);
  c.text = keep(calls_itself ? std::string(heading) + ' ' : text);
  c.suffix = ")";
  const std::string_view own_name(name.start, name.text.size() + (*name.start == '|' ? 2 : 0));
  c.name = calls_itself ? c.text.substr(c.text.find(own_name, keyword.size() + 1), own_name.size())
                        : c.text.substr(name_start, name_size);
  add_term(script, c, body, result, form);
  if (calls_itself) keep_text(script, script.terms.size() - 1, written);
  if (!script.forms.empty()) form = script.forms.back();
  if (symbol == nullptr) {
    c.kind = Command::Kind::define;
    largest_dollar_definition_ = std::max(largest_dollar_definition_, largest_with_name);
    TermMeaning meaning = TermMeaning::of(body, form);
    meaning.is_real = result == manager_.rat_type;
    names_.bind(names_.enter(lookup_text(name)), meaning);
  } else {
    c.kind = Command::Kind::define_function;
    largest_dollar_name_ = std::max(largest_dollar_name_, largest_with_name);
    bind_declared(name, symbol);
    if (!variables.empty()) define_function(script, symbol, std::move(variables), body);
  }
  script.commands.push_back(c);
}

/// The command's last term is the body of a function; a name without parameters that is defined by itself is
/// none.
void Reader::define_function(Script& script, const Symbol* symbol, std::vector<const Term*> parameters,
                             const Term* body) {
  const bool unfolds = session_.options().unfold && !as_written_ && manager_.simplifier() != nullptr &&
                       unfolder_.define(symbol, parameters, body);
  if (unfolds && options_.written != nullptr) options_.written->defined(symbol, parameters, num_commands_);
  std::vector<const Term*> variables;
  if (unfolds) {
    const auto bound = Unfolder::bound(*unfolder_.find(symbol));
    variables.assign(bound.begin(), bound.end());
  }
  script.functions.push_back({script.terms.size() - 1, symbol, std::move(parameters), std::move(variables)});
}

void Reader::define_funs_rec(Script& script) {
  struct Function {
    std::vector<std::pair<Token, const DataType*>> parameters;
    const DataType* result;
  };
  std::string text = "(define-funs-rec (";
  std::vector<Function> functions;
  std::vector<std::string_view> bodies;
  expect_left("the declarations");
  for (Token t = next(); t.kind != TokenKind::right_parenthesis; t = next()) {
    if (t.kind != TokenKind::left_parenthesis) unexpected(t, "a declaration");
    const Token name = expect_symbol("a function");
    check_new_function_name(name, !parameters_follow());
    text += (functions.empty() ? "(" : " (") + quoted(name.text) + ' ';
    const std::size_t scope = names_.scope();
    const Lexer at_parameters = lexer_;
    const std::vector<const Term*> variables = parameters(text, false);
    names_.leave(scope);
    Function f;
    std::vector<const DataType*> arguments;
    Lexer names = at_parameters;
    names.next();
    for (const Term* v : variables) {
      arguments.push_back(manager_.type_of(v));
      names.next();
      const Token parameter = names.next();
      f.parameters.push_back({parameter, manager_.type_of(v)});
      for (std::size_t depth = 1; depth != 0;) {
        const TokenKind kind = names.next().kind;
        depth += kind == TokenKind::left_parenthesis;
        depth -= kind == TokenKind::right_parenthesis;
      }
    }
    f.result = read_sort();
    expect_right("a declaration");
    text += ' ' + f.result->to_string() + ')';
    bind_declared(name, manager_.fresh_fun(name.text, arguments, f.result));
    functions.push_back(std::move(f));
  }
  if (functions.empty()) fail(lexer_.position(), "define-funs-rec needs a declaration");
  text += ") (";

  Command c;
  c.kind = Command::Kind::define_function;
  c.suffix = "))";
  expect_left("the bodies");
  const std::string_view heading = one_line(command_start_);
  for (const Function& f : functions) {
    const std::size_t scope = names_.scope();
    for (const auto& [name, type] : f.parameters) bind_variable(name, type);
    bindings_.clear();
    const Lexer at_body = lexer_;
    const Term* body = read_term_of(f.result);
    const FormClass form = last_form_;
    bodies.push_back(text_from(at_body));
    names_.leave(scope);
    add_term(script, c, finished(body), f.result, form);
  }
  const bool stay = options_.written != nullptr;
  c.text = keep(stay ? heading : std::string_view(text));
  for (std::size_t i = 0; stay && i < bodies.size(); ++i) {
    keep_text(script, script.terms.size() - bodies.size() + i, bodies[i]);
  }
  expect_right("the bodies");
  expect_right("the command");
  script.commands.push_back(c);
}

}  // namespace quarv::smtlib
