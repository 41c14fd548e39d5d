#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>
#include <quarv/util/byte_order_mark.h>
#include <quarv/util/checkpoint.h>
#include <quarv/util/one_line.h>

namespace quarv::smtlib {

namespace {

using namespace std::string_view_literals;

}  // namespace

Reader::Reader(Session& session, Options options)
    : session_(session),
      manager_(session.manager()),
      options_(options),
      context_(manager_),
      base_(session.place()),
      growth_(manager_),
      unfolder_(manager_) {
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
    for (const OperatorDefinition& op : table) {
      TermMeaning m;
      m.kind = TermMeaning::builtin;
      m.op = &op;
      names_.bind(names_.enter(op.name), m);
    }
  }
  for (const SolverWord& solvers : solver_words()) {
    TermMeaning m = names_.find(solvers.standard)->meaning;
    m.word = Word::solvers;
    names_.bind(names_.enter(solvers.word), m);
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

Reader::~Reader() = default;

// Tokens and messages.
// ---------------------------------------------------------------------------------------------------------

void Reader::fail(const char* where, const std::string& message) {
  fail(where, message, where);
}

void Reader::fail(const char* where, const std::string& message, const char* shown) {
  const SourcePlace place = place_of(where);
  throw InputError(file_, place.line, place.column, in_one_line(message),
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
    throw InputError(file, place.line, place.column, in_one_line(message),
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
  constexpr std::size_t large = std::numeric_limits<std::size_t>::max() / 64 + 1;  // sums of a few fit
  std::size_t value = 0;
  for (char c : token.text) {
    if (value > large) fail(token.start, "the index " + std::string(token.text) + " is too large");
    value = value * 10 + static_cast<std::size_t>(c - '0');
  }
  return value;
}

/// Also of the words that the standard reserves and this reader does not: other readers do.
bool Reader::needs_bars(std::string_view name) noexcept {
  static constexpr std::string_view reserved[] = {
      "!"sv,
      "BINARY"sv,
      "DECIMAL"sv,
      "HEXADECIMAL"sv,
      "NUMERAL"sv,
      "STRING"sv,
      "_"sv,
      "as"sv,
      "assert"sv,
      "check-sat"sv,
      "check-sat-assuming"sv,
      "declare-const"sv,
      "declare-datatype"sv,
      "declare-datatypes"sv,
      "declare-fun"sv,
      "declare-sort"sv,
      "define-fun"sv,
      "define-fun-rec"sv,
      "define-funs-rec"sv,
      "define-sort"sv,
      "echo"sv,
      "exists"sv,
      "exit"sv,
      "forall"sv,
      "get-assertions"sv,
      "get-assignment"sv,
      "get-info"sv,
      "get-model"sv,
      "get-option"sv,
      "get-proof"sv,
      "get-unsat-assumptions"sv,
      "get-unsat-core"sv,
      "get-value"sv,
      "let"sv,
      "match"sv,
      "par"sv,
      "pop"sv,
      "push"sv,
      "reset"sv,
      "reset-assertions"sv,
      "set-info"sv,
      "set-logic"sv,
      "set-option"sv,
  };
  static_assert(std::ranges::is_sorted(reserved));
  // By first character, a bit for each length: it shows of nearly all names that they are none of these.
  static constexpr auto lengths = [] {
    std::array<std::uint32_t, 128> bits{};
    for (const std::string_view word : reserved) {
      bits[static_cast<unsigned char>(word[0])] |= std::uint32_t{1} << word.size();
    }
    return bits;
  }();
  if (name.empty() || (name[0] >= '0' && name[0] <= '9')) return true;
  if (!std::all_of(name.begin(), name.end(), Lexer::is_symbol_char)) return true;
  const std::uint32_t bits = lengths[static_cast<unsigned char>(name[0])];
  return name.size() < 32 && ((bits >> name.size()) & 1) != 0 && std::ranges::binary_search(reserved, name);
}

void Reader::append_quoted(std::string& text, std::string_view name) {
  const bool bars = needs_bars(name);
  if (bars) text += '|';
  text += name;
  if (bars) text += '|';
}

std::string Reader::quoted(std::string_view name) {
  std::string text;
  append_quoted(text, name);
  return text;
}

/// A name that is a reserved word is looked up with the first of its bars.
std::string Reader::quoted(const TermNames::Name& name) {
  std::string_view text = name.text;
  if (text.starts_with('|')) text.remove_prefix(1);
  return quoted(text);
}

std::string_view Reader::keep(std::string_view text) {
  char* copy = static_cast<char*>(text_->allocate(text.size()));
  std::memcpy(copy, text.data(), text.size());
  return {copy, text.size()};
}

/// The input from `start` to the last token read, on one line and without comments.
std::string_view Reader::one_line(const char* start) {
  const std::string_view raw(start, static_cast<std::size_t>(lexer_.position() - start));
  const auto is_tidy = [](std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
      const char c = text[i];
      if (c == '\n' || c == '\r' || c == '\t' || c == ';' || c == '|' || c == '"') return false;
      if (c == ' ' && (text[i - 1] == '(' || text[i + 1] == ' ' || text[i + 1] == ')')) return false;
    }
    return true;
  };
  if (is_tidy(raw)) return keep_text_ ? keep(raw) : raw;
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
  script.solver_words = std::move(solver_words_);
  solver_words_.clear();
  return script;
}

bool Reader::next_command(Script& script) {
  Checkpoint::pass();  // there may be a million declarations before the first term
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
  unfolds_ = true;
  unfolded_before_ = unfolded_;
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
    script.reals_are_numerals = numerals_are_real_ && !writes_reals_as_decimals_;
    script.places.emplace_back(start, static_cast<std::size_t>(lexer_.position() - start));
    return more;
  } catch (...) {
    take_back(before, script);
    skip_command(start);
    throw;
  }
}

}  // namespace quarv::smtlib
