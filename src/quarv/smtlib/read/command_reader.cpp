/// \file
/// The commands of a script, one by one.
#include <algorithm>
#include <cstring>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>

namespace quarv::smtlib {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view verbatim_commands[] = {
    "check-sat"sv,      "echo"sv,      "exit"sv,       "get-assertions"sv, "get-assignment"sv,
    "get-info"sv,       "get-model"sv, "get-option"sv, "get-proof"sv,      "get-unsat-assumptions"sv,
    "get-unsat-core"sv, "set-info"sv};

}  // namespace

bool Reader::read_command(Script& script, const char* start) {
  if (expression_) {
    read_expression(script);
    return true;
  }
  const Token name = expect_symbol("a command");
  const std::string_view word = *name.start == '|' ? std::string_view{} : name.text;
  if (word == "assert") {
    term_command(script, Command::Kind::assertion, "(assert ");
  } else if (word == "declare-fun" || word == "declare-const") {
    declare_fun(script, start, word == "declare-const");
  } else if (word == "define-fun" || word == "define-const" || word == "define-fun-rec") {
    define_fun(script, name.text);
  } else if (word == "define-funs-rec") {
    define_funs_rec(script);
  } else if (word == "simplify") {
    term_command(script, Command::Kind::simplify, "(simplify ");
  } else if (word == "check-sat-assuming") {
    term_list(script, Command::Kind::check_sat_assuming, "(check-sat-assuming (");
  } else if (word == "get-value") {
    term_list(script, Command::Kind::get_value, "(get-value (");
  } else if (word == "declare-sort") {
    declare_sort(script, start);
  } else if (word == "define-sort") {
    define_sort(script, start);
  } else if (word == "push" || word == "pop") {
    change_levels(script, word == "push" ? Command::Kind::push : Command::Kind::pop, start);
  } else if (word == "reset" || word == "reset-assertions") {
    reset(script, word == "reset" ? Command::Kind::reset : Command::Kind::reset_assertions, start);
  } else if (word == "set-logic") {
    set_logic(script, start);
  } else if (word == "set-option") {
    set_option(script, start);
  } else if (std::find(std::begin(verbatim_commands), std::end(verbatim_commands), word) !=
             std::end(verbatim_commands)) {
    skip_rest();
    text_command(script, Command::Kind::other, start);
    return word != "exit";
  } else if (word.starts_with("declare-datatype") || word.starts_with("declare-codatatype")) {
    not_understood(name.start, "datatypes are not supported");
  } else {
    not_understood(name.start, "unknown command " + std::string(name.text));
  }
  return true;
}

/// A command without terms that has been read to its end.
void Reader::text_command(Script& script, Command::Kind kind, const char* start, std::uint32_t levels) {
  Command c;
  c.kind = kind;
  c.levels = levels;
  c.text = one_line(start);
  script.commands.push_back(c);
}

void Reader::add_term(Script& script, Command& command, const Term* t, const DataType* sort, FormClass form) {
  if (command.num_terms++ == 0) command.first_term = static_cast<std::uint32_t>(script.terms.size());
  script.terms.push_back(t);
  script.sorts.push_back(sort);
  if (options_.written != nullptr) script.forms.push_back(options_.written->root(form, t, sort));
}

void Reader::check_sort(const char* where, const Term* t, const DataType* wanted) {
  const DataType* found = manager_.type_of(t);
  if (manager_.get_supertype(found, wanted) != wanted) {
    fail(where,
         "a term of sort " + found->abbreviated() + " where " + wanted->abbreviated() + " is expected");
  }
}

const Term* Reader::read_term_of(const DataType* sort) {
  Lexer ahead = lexer_;
  const char* start = ahead.next().start;
  const Term* t = read_term();
  check_sort(start, t, sort);
  return t;
}

void Reader::term_command(Script& script, Command::Kind kind, std::string_view text) {
  Command c;
  c.kind = kind;
  c.text = text;
  c.suffix = ")";
  const Term* t = kind == Command::Kind::assertion ? read_term_of(manager_.bool_type) : read_term();
  expect_right("the command's term");
  const FormClass form = last_form_;
  const DataType* sort = manager_.type_of(t);
  t = finished(t);
  add_term(script, c, t, sort, form);
  script.commands.push_back(c);
}

namespace {

/// Where numerals are of sort Real, as the theory of reals has it: LRA, QF_UFNRA, QF_RDL, but not QF_LIRA.
/// Floating-point operators take Reals only as decimals.
bool has_only_reals(std::string_view logic) {
  const bool reals = logic.ends_with("LRA") || logic.ends_with("NRA") || logic.ends_with("RDL");
  return reals && logic.find("FP") == std::string_view::npos;
}

}  // namespace

void Reader::set_logic(Script& script, const char* start) {
  const Token logic = expect_symbol("a logic");
  if (logic_set_) fail(start, "the logic has already been set");
  logic_set_ = true;
  script.difference_logic = logic.text.ends_with("DL");
  numerals_are_real_ = has_only_reals(logic.text);
  expect_right("the logic");
  text_command(script, Command::Kind::other, start);
}

void Reader::set_option(Script& script, const char* start) {
  const Token option = expect(TokenKind::keyword, "an option");
  if (option.text == ":global-declarations") {
    Lexer ahead = lexer_;
    global_declarations_ = is_word(ahead.next(), "true");
  }
  skip_rest();
  text_command(script, Command::Kind::other, start);
}

void Reader::change_levels(Script& script, Command::Kind kind, const char* start) {
  std::size_t levels = 1;
  Token t = next();
  if (t.kind != TokenKind::right_parenthesis) {
    levels = index_value(t);
    expect_right("the number of levels");
  }
  constexpr std::size_t most = 10'000'000;
  if (kind == Command::Kind::push) {
    if (levels > most - std::min(most, scopes_.size())) fail(start, "too many levels");
    scopes_.insert(scopes_.end(), levels, {names_.scope(), sorts_.scope()});
  } else if (levels != 0) {
    if (levels > scopes_.size()) {
      fail(start,
           "pop of " + std::to_string(levels) + " levels, " + std::to_string(scopes_.size()) + " are open");
    }
    const Scopes outermost = scopes_[scopes_.size() - levels];
    scopes_.resize(scopes_.size() - levels);
    if (!global_declarations_) {
      sorts_.leave(outermost.sorts);
      names_.leave(outermost.names);
    }
  }
  text_command(script, kind, start, static_cast<std::uint32_t>(levels));
}

void Reader::reset(Script& script, Command::Kind kind, const char* start) {
  expect_right("the command");
  scopes_.clear();
  if (written() != nullptr) options_.written->forget_variable_sorts();
  const bool keep_names = kind == Command::Kind::reset_assertions && global_declarations_;
  if (!keep_names) {
    names_.leave(base_scopes_.names);
    sorts_.leave(base_scopes_.sorts);
  }
  session_.return_to(base_, keep_names);
  if (kind == Command::Kind::reset) {
    logic_set_ = false;
    writes_reals_as_decimals_ = true;  // numerals may become Ints
    global_declarations_ = false;
  }
  text_command(script, kind, start);
}

Reader::Mark Reader::mark() {
  Mark m;
  m.num_terms_ = manager_.num_terms();
  m.names_ = names_.scope();
  m.sorts_ = sorts_.scope();
  m.overloads_ = overloads_.size();
  m.macros_ = macro_parameters_.size();
  m.scopes_ = scopes_.size();
  m.session_ = session_.mark();
  return m;
}

void Reader::release(const Mark& m) {
  // Told by their numbers, as long as they have some.
  std::vector<decltype(bound_variables_)::key_type> gone;
  for (const auto& [key, variable] : bound_variables_) {
    if (variable->id >= m.num_terms_) gone.push_back(key);
  }
  session_.release(m.session_);
  for (const auto& key : gone) bound_variables_.erase(key);
  names_.leave(m.names_);
  sorts_.leave(m.sorts_);
  scopes_.resize(std::min(m.scopes_, scopes_.size()));
  overloads_.resize(m.overloads_);
  macro_parameters_.resize(m.macros_);
  instances_.clear();
  unfolder_.forget_from(m.num_terms_);
  last_sort_ = nullptr;
  context_.remainders.clear(false);
  growth_.forget_from(m.num_terms_);
}

/// Does to the session what commands do to the assertions in force.
void Reader::tell_session(const Script& script, std::size_t first_command) {
  for (std::size_t i = first_command; i < script.commands.size(); ++i) {
    const Command& c = script.commands[i];
    switch (c.kind) {
      case Command::Kind::assertion:
        session_.assert_formula(script.terms_of(c)[0]);
        break;
      case Command::Kind::define_function:
      case Command::Kind::foreign:
        session_.assert_something_else();
        break;
      case Command::Kind::push:
        session_.push(c.levels);
        break;
      case Command::Kind::pop:
        session_.pop(c.levels, global_declarations_);
        break;
      default:
        break;  // `reset` has been done
    }
  }
}

}  // namespace quarv::smtlib
