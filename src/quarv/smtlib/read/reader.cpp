#include <algorithm>
#include <cstring>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>

namespace quarv::smtlib {

namespace {

using namespace std::string_view_literals;

constexpr std::uint64_t no_limit = std::numeric_limits<std::uint64_t>::max();

}  // namespace

Reader::Reader(Session& session, Options options)
    : session_(session),
      manager_(session.manager()),
      options_(options),
      context_(manager_),
      base_(session.place()),
      growth_(manager_) {
  const SessionOptions& how = session.options();
  context_.canonical_nan = !how.library_semantics;
  options_.normalize &= how.simplify && how.eager && how.rules;
  // What is read is built with full constructors.
  if (options_.normalize) session.simplifier().normalizer.set_inputs_are_simplified(true);
  session.set_named_builder(&build_named);

  const auto reserve = [this](std::string_view word, Word meaning) {
    TermMeaning m;
    m.kind = TermMeaning::reserved;
    m.word = meaning;
    names_.bind(names_.enter(word), m);
  };
  reserve("let", Word::let);
  reserve("forall", Word::quantifier);
  reserve("exists", Word::quantifier);
  reserve("!", Word::annotation);
  reserve("_", Word::underscore);
  reserve("as", Word::as);
  reserve("match", Word::other);
  reserve("par", Word::other);

  for (const auto& table : all_operators()) {
    for (const Operator& op : table) {
      TermMeaning m;
      m.kind = TermMeaning::builtin;
      m.op = &op;
      names_.bind(names_.enter(op.name), m);
    }
  }
  const auto constant = [this](std::initializer_list<std::string_view> names, const Term* t) {
    TermMeaning m = TermMeaning::of(t);
    m.word = Word::other;  // may be declared anew: files of other theories do
    for (std::string_view name : names) names_.bind(names_.enter(name), m);
  };
  names_.bind(names_.enter("true"), TermMeaning::of(manager_.true_term));
  names_.bind(names_.enter("false"), TermMeaning::of(manager_.false_term));
  constant({"RNE", "roundNearestTiesToEven"}, manager_.make_rounding_even());
  constant({"RTZ", "roundTowardZero"}, manager_.make_rounding_zero());
  constant({"RTP", "roundTowardPositive"}, manager_.make_rounding_plus_inf());
  constant({"RTN", "roundTowardNegative"}, manager_.make_rounding_minus_inf());
  constant({"RNA", "roundNearestTiesToAway"}, manager_.make_rounding_away());

  const auto sort = [this](std::string_view name, const DataType* type, std::uint32_t arity = 0) {
    sorts_.bind(
        sorts_.enter(name),
        {.kind = arity == 0 ? SortMeaning::type : SortMeaning::constructor, .arity = arity, .sort = type});
  };
  sort("Bool", manager_.bool_type);
  sort("Int", manager_.int_type);
  sort("Real", manager_.rat_type);
  sort("RoundingMode", manager_.rounding_mode_type);
  sort("Array", manager_.array_type_ctor, 2);
  sort("Float16", manager_.get_fp_type(5, 10));
  sort("Float32", manager_.get_fp_type(8, 23));
  sort("Float64", manager_.get_fp_type(11, 52));
  sort("Float128", manager_.get_fp_type(15, 112));
  base_scopes_ = {names_.scope(), sorts_.scope()};
}

// Tokens and messages.
// ---------------------------------------------------------------------------------------------------------

void Reader::fail(const char* where, const std::string& message) {
  fail(where, message, where);
}

void Reader::fail(const char* where, const std::string& message, const char* shown) {
  const SourcePlace place = place_of(where);
  std::string one_line = message;
  std::replace_if(
      one_line.begin(), one_line.end(), [](unsigned char c) { return c < 32; }, ' ');
  throw InputError(file_, place.line, place.column, one_line,
                   source_excerpt(input_, static_cast<std::size_t>(shown - input_.data())));
}

SourcePlace Reader::place_of(const char* where) const noexcept {
  return place_in(input_, static_cast<std::size_t>(where - input_.data()));
}

namespace {

std::string unclosed(std::string_view text, const char* parenthesis) {
  const SourcePlace place = place_in(text, static_cast<std::size_t>(parenthesis - text.data()));
  return "unexpected end of input, expected ')' to match '(' at " + place.to_string();
}

}  // namespace

void Reader::unexpected(const Token& token, std::string_view wanted) {
  switch (token.kind) {
    case TokenKind::error:
      fail(token.start, std::string(token.text));
    case TokenKind::end: {
      const char* open = innermost_parenthesis(token.start);
      fail(token.start, unclosed(input_, open), open);
    }
    default:
      fail(token.start,
           "expected " + std::string(wanted) + ", found " + std::string(token.text.substr(0, 60)));
  }
}

/// The last parenthesis of the command that is open at a place within it.
const char* Reader::innermost_parenthesis(const char* where) const {
  std::vector<const char*> open{command_start_};
  Lexer lexer(input_.substr(static_cast<std::size_t>(command_start_ + 1 - input_.data())));
  for (Token t = lexer.next(); t.start < where; t = lexer.next()) {
    if (t.kind == TokenKind::left_parenthesis) open.push_back(t.start);
    if (t.kind == TokenKind::right_parenthesis && open.size() > 1) open.pop_back();
  }
  return open.back();
}

void Reader::check_expression(std::string_view text, const std::string& file) {
  const auto fail = [&](const char* where, const std::string& message, const char* shown) {
    const SourcePlace place = place_in(text, static_cast<std::size_t>(where - text.data()));
    throw InputError(file, place.line, place.column, message,
                     source_excerpt(text, static_cast<std::size_t>(shown - text.data())));
  };
  std::vector<const char*> open;
  Lexer lexer(text);
  Token t = lexer.next();
  if (t.kind == TokenKind::end) fail(t.start, "unexpected end of input", t.start);
  do {
    if (t.kind == TokenKind::error) fail(t.start, std::string(t.text), t.start);
    if (t.kind == TokenKind::end) fail(t.start, unclosed(text, open.back()), open.back());
    if (t.kind == TokenKind::left_parenthesis) open.push_back(t.start);
    if (t.kind == TokenKind::right_parenthesis) {
      if (open.empty()) fail(t.start, "unmatched ')'", t.start);
      open.pop_back();
    }
    t = lexer.next();
  } while (!open.empty());
  if (t.kind == TokenKind::right_parenthesis) fail(t.start, "unmatched ')'", t.start);
  if (t.kind == TokenKind::error) fail(t.start, std::string(t.text), t.start);
  if (t.kind != TokenKind::end) {
    fail(t.start, "expected the end of the input, found " + std::string(t.text.substr(0, 60)), t.start);
  }
}

Token Reader::expect(TokenKind kind, std::string_view what) {
  const Token t = next();
  if (t.kind != kind) unexpected(t, what);
  return t;
}

void Reader::expect_right(std::string_view where) {
  const Token t = next();
  if (t.kind == TokenKind::right_parenthesis) return;
  unexpected(t, "')' after " + std::string(where) + " to match '(' at " +
                    place_of(innermost_parenthesis(t.start)).to_string());
}

bool Reader::is_reserved_word(std::string_view word) noexcept {
  static constexpr std::string_view words[] = {"let"sv, "forall"sv, "exists"sv, "!"sv,
                                               "_"sv,   "as"sv,     "match"sv,  "par"sv};
  return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

bool Reader::is_reserved(const Token& t) noexcept {
  return *t.start != '|' && is_reserved_word(t.text);
}

Token Reader::expect_symbol(std::string_view what) {
  const Token t = next();
  if (t.kind != TokenKind::symbol) unexpected(t, what);
  return t;
}

std::size_t Reader::index_value(const Token& token) {
  if (token.kind != TokenKind::numeral) unexpected(token, "a numeral");
  std::size_t value = 0;
  for (char c : token.text) {
    if (value > (std::size_t{1} << 58))
      fail(token.start, "the index " + std::string(token.text) + " is too large");
    value = value * 10 + static_cast<std::size_t>(c - '0');
  }
  return value;
}

void Reader::append_quoted(std::string& text, std::string_view name) {
  const bool simple = !name.empty() && !(name[0] >= '0' && name[0] <= '9') &&
                      std::all_of(name.begin(), name.end(), Lexer::is_symbol_char) &&
                      !is_reserved({TokenKind::symbol, name.data(), name});
  if (!simple) text += '|';
  text += name;
  if (!simple) text += '|';
}

std::string Reader::quoted(std::string_view name) {
  std::string text;
  append_quoted(text, name);
  return text;
}

std::string_view Reader::keep(std::string_view text) {
  char* copy = static_cast<char*>(text_->allocate(text.size()));
  std::memcpy(copy, text.data(), text.size());
  return {copy, text.size()};
}

/// The input from `start` to the last token read, on one line and without comments.
std::string_view Reader::one_line(const char* start) {
  const std::string_view raw(start, static_cast<std::size_t>(lexer_.position() - start));
  const auto plain = [](std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
      const char c = text[i];
      if (c == '\n' || c == '\r' || c == '\t' || c == ';' || c == '|' || c == '"') return false;
      if (c == ' ' && (text[i - 1] == '(' || text[i + 1] == ' ' || text[i + 1] == ')')) return false;
    }
    return true;
  };
  if (plain(raw)) return keep_text_ ? keep(raw) : raw;
  std::string text;
  Lexer lexer(raw);
  for (Token t = lexer.next(); t.kind != TokenKind::end; t = lexer.next()) {
    if (!text.empty() && text.back() != '(' && t.kind != TokenKind::right_parenthesis) text += ' ';
    text.append(t.start, static_cast<std::size_t>(lexer.position() - t.start));
  }
  return keep(text);
}

/// Skips to the parenthesis that closes the one that is open.
void Reader::skip_rest() {
  for (std::size_t depth = 1; depth != 0;) {
    const Token t = next();
    if (t.kind == TokenKind::left_parenthesis) ++depth;
    if (t.kind == TokenKind::right_parenthesis) --depth;
    if (t.kind == TokenKind::end || t.kind == TokenKind::error) unexpected(t, "')'");
  }
}

// The input as a whole.
// --------------------------------------------------------------------------------------------------------

void Reader::set_input(std::string_view text, std::string file) {
  input_ = without_byte_order_mark(text);
  file_ = std::move(file);
  lexer_ = Lexer(input_);
  keep_text_ = true;
  reals_searched_ = 0;
}

Script Reader::read(std::string_view text, std::string file,
                    const std::function<void(const Script&)>& command_read) {
  set_input(text, std::move(file));
  return read_all(command_read);
}

Script Reader::read_in_place(std::string_view text, std::string file,
                             const std::function<void(const Script&)>& command_read) {
  set_input(text, std::move(file));
  keep_text_ = false;
  return read_all(command_read);
}

Script Reader::read_all(const std::function<void(const Script&)>& command_read) {
  constexpr std::size_t bytes_per_term = 32;  // rather many: room without terms costs cache misses
  manager_.reserve_terms(input_.size() / bytes_per_term);
  Script script;
  while (next_command(script)) {
    if (command_read) command_read(script);
  }
  define_lost_names(script);
  return script;
}

bool Reader::next_command(Script& script) {
  if (script.texts.empty() || script.texts.back() != text_) script.texts.push_back(text_);
  const Token open = next();
  if (open.kind == TokenKind::end) return false;
  if (open.kind != TokenKind::left_parenthesis) {
    skip_command(open.start);
    if (open.kind == TokenKind::right_parenthesis) fail(open.start, "unmatched ')'");
    unexpected(open, "a command");
  }
  return read_guarded(script, open.start);
}

/// Reads the command that begins at `start`. When it has an error, all is as it was before, but that what is
/// read next is what stands behind it.
bool Reader::read_guarded(Script& script, const char* start) {
  command_start_ = start;
  const Place before = place(script, start);
  command_ = before;
  counted_to_ = nullptr;
  new_names_.clear();
  num_commands_ = script.commands.size();
  try {
    bool more = true;
    try {
      more = session_.options().simplify && manager_.simplifier() != nullptr
                 ? read_within_limit(script, before)
                 : read_command(script, start);
    } catch (const Foreign&) {
      growth_.abandon(before.num_terms, manager_.num_terms());
      take_back(before, script);
      pass_through(script, before);
    }
    bind_new_names(script, before);
    tell_session(script, before.commands);
    manager_.set_sum_limit({});
    script.global_declarations = global_declarations_;
    script.largest_dollar_name = largest_dollar_name_;
    script.largest_dollar_definition = largest_dollar_definition_;
    script.question_marks = question_marks_;
    return more;
  } catch (...) {
    take_back(before, script);
    skip_command(start);
    throw;
  }
}

/// Forgets a command that was given up on its way.
void Reader::take_back(const Place& place, Script& script) {
  cost_limit_ = no_limit;
  manager_.set_sum_limit({});
  as_written_ = false;
  return_to(place, script);
}

Reader::Place Reader::place(const Script& script, const char* start) const {
  return {start,
          names_.scope(),
          sorts_.scope(),
          script.commands.size(),
          script.terms.size(),
          manager_.num_terms(),
          cost(),
          rule_steps(),
          manager_.sum_work(),
          options_.written != nullptr ? options_.written->num_met() : 0,
          manager_.simplifier()};
}

/// Forgets the command that begins at a place.
void Reader::return_to(const Place& place, Script& script) {
  manager_.set_simplifier(place.simplifier);
  names_.leave(place.names);
  sorts_.leave(place.sorts);
  new_names_.clear();
  frames_.clear();
  drop_values(0);
  bindings_.clear();
  indices_.clear();
  attributes_.clear();
  unsimplified_ = 0;
  if (options_.written != nullptr) options_.written->forget_since(place.met);
  indices_.clear();
  bindings_.clear();
  attributes_.clear();
  script.commands.resize(place.commands);
  script.terms.resize(place.terms);
  script.sorts.resize(place.terms);
  if (!script.forms.empty()) script.forms.resize(place.terms);
  if (script.term_texts.size() > place.terms) script.term_texts.resize(place.terms);
}

namespace {

/// What a command may cost beyond what its text pays for before it is given up, in terms.
constexpr std::uint64_t free_cost = 1 << 16;
constexpr std::uint64_t cost_per_byte = 4;

/// What the sums of a command may add beyond the terms that its text pays for, one for two bytes: what adds
/// more is longer than it was written, as a comparison of a long sum by its name is. And the steps that
/// looking for this may take.
constexpr std::uint64_t free_expansion = 32;
constexpr std::uint64_t free_steps = 1024;
constexpr std::uint64_t steps_per_byte = 16;

}  // namespace

/// How long the command is so far. How it is laid out makes no difference: blanks that follow each other
/// count as one.
std::size_t Reader::command_bytes() {
  const char* const position = lexer_.position();
  if (counted_to_ == nullptr || counted_to_ < command_.start || counted_to_ > position) {
    counted_to_ = command_.start;
    counted_bytes_ = 0;
  }
  const auto is_blank = [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; };
  for (; counted_to_ != position; ++counted_to_) {
    const bool counted = counted_to_ != command_.start && is_blank(counted_to_[-1]) && is_blank(*counted_to_);
    if (!counted) ++counted_bytes_;
  }
  return counted_bytes_;
}

/// Sums that share their parts would be written in full for each of them, and take quadratic time and memory,
/// before it turned out that the command has grown too much.
void Reader::limit_sums() noexcept {
  if (session_.options().library_semantics) return;
  const auto bytes = std::uint64_t{command_bytes()};
  manager_.set_sum_limit({command_.sum_work.steps + free_steps + steps_per_byte * bytes,
                          command_.sum_work.expansion + free_expansion + bytes / 2});
}

/// The command has cost much, but perhaps it is long.
void Reader::check_cost() {
  const auto bytes = static_cast<std::uint64_t>(command_bytes());
  cost_limit_ = command_.cost + free_cost + cost_per_byte * bytes;
  if (cost() > cost_limit_) throw Outgrown();
}

/// Reads a command. When that makes its terms larger than twice what is written, the command is taken back
/// and read again without being simplified.
bool Reader::read_within_limit(Script& script, const Place& place) {
  constexpr std::size_t small = 128;
  bool more = true;
  counted_to_ = nullptr;
  cost_limit_ = place.cost + free_cost;
  try {
    more = read_command(script, place.start);
    cost_limit_ = no_limit;
  } catch (const Outgrown&) {
    cost_limit_ = no_limit;
    growth_.abandon(place.num_terms, manager_.num_terms());
    session_.count_wasted(rule_steps() - place.rule_steps);
    return read_as_written(script, place);
  }
  const auto added = [&] {
    return growth_.added_bytes(std::span(script.terms).subspan(place.terms), place.num_terms);
  };
  // Nearly all commands cost too little to become large.
  const auto with_blanks = static_cast<std::size_t>(lexer_.position() - place.start);
  if (cost() - place.cost <= with_blanks / 8 + small / 4 || script.terms.size() == place.terms) return more;
  const std::size_t bytes = command_bytes();
  if (cost() - place.cost <= bytes / 4 + small / 4) return more;
  const std::size_t simplified = added();
  if (simplified <= 2 * bytes + small) return more;
  const std::uint64_t middle = manager_.num_terms();
  GrowthMeter with_both = growth_;
  std::swap(growth_, with_both);
  growth_.abandon(place.num_terms, middle);
  more = read_as_written(script, place);
  if (simplified > 2 * added() + small) {
    session_.count_wasted(rule_steps() - place.rule_steps);
    return more;
  }
  std::swap(growth_, with_both);
  growth_.abandon(middle, manager_.num_terms());
  return_to(place, script);
  begin_again(place);
  return read_command(script, place.start);
}

void Reader::begin_again(const Place& place) {
  lexer_ = Lexer(input_.substr(static_cast<std::size_t>(place.start - input_.data())));
  if (!expression_) next();
}

bool Reader::read_as_written(Script& script, const Place& place) {
  return_to(place, script);
  begin_again(place);
  manager_.set_simplifier(nullptr);
  as_written_ = true;
  const bool more = read_command(script, place.start);
  as_written_ = false;
  manager_.set_simplifier(place.simplifier);
  return more;
}

/// Goes on behind the command that begins at `start`: behind the parenthesis that closes it, or behind the
/// one token that it is.
void Reader::skip_command(const char* start) noexcept {
  const auto go_on_at = [this](const char* position) {
    lexer_ = Lexer(input_.substr(static_cast<std::size_t>(position - input_.data())));
  };
  go_on_at(start);
  std::size_t depth = 0;
  do {
    const Token t = next();
    if (t.kind == TokenKind::end) return;
    if (t.kind == TokenKind::left_parenthesis) ++depth;
    if (t.kind == TokenKind::right_parenthesis && depth != 0) --depth;
    if (t.kind == TokenKind::error) go_on_at(t.start + 1);
  } while (depth != 0);
}

// Commands.
// --------------------------------------------------------------------------------------------------------------------

namespace {

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

void Reader::set_logic(Script& script, const char* start) {
  const Token logic = expect_symbol("a logic");
  if (logic_set_) fail(start, "the logic has already been set");
  logic_set_ = true;
  script.difference_logic = logic.text.ends_with("DL");
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
  const bool keep_names = kind == Command::Kind::reset_assertions && global_declarations_;
  if (!keep_names) {
    names_.leave(base_scopes_.names);
    sorts_.leave(base_scopes_.sorts);
  }
  session_.return_to(base_, keep_names);
  if (kind == Command::Kind::reset) {
    logic_set_ = false;
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
