#include <algorithm>
#include <iterator>
#include <string>

#include <quarv/smtlib/read/application_error.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv::smtlib {

// An application is complete. Only after an error is its place looked for in the text again: while all is
// well, no time is spent on remembering where arguments begin.

namespace {

/// Reads a token, or all that its parenthesis encloses.
void skip_expression(Lexer& lexer) {
  std::size_t depth = 0;
  do {
    const TokenKind kind = lexer.next().kind;
    if (kind == TokenKind::end || kind == TokenKind::error) return;
    if (kind == TokenKind::left_parenthesis) ++depth;
    if (kind == TokenKind::right_parenthesis) --depth;
  } while (depth != 0);
}

/// The commands that begin most lines of scripts.
bool is_command(std::string_view word) {
  static constexpr std::string_view words[] = {"assert",
                                               "check-sat",
                                               "check-sat-assuming",
                                               "declare-const",
                                               "declare-fun",
                                               "declare-sort",
                                               "define-fun",
                                               "exit",
                                               "get-model",
                                               "get-value",
                                               "get-unsat-core",
                                               "pop",
                                               "define-sort",
                                               "push",
                                               "reset",
                                               "set-info",
                                               "reset-assertions",
                                               "set-option",
                                               "set-logic"};
  return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

const char* next_start(Lexer lexer) {
  return lexer.next().start;
}

}  // namespace

const Term* Reader::apply(const Frame& frame) {
  if (cost() > cost_limit_) check_cost();
  limit_sums();
  const OperatorDefinition::Args args = OperatorDefinition::Args(values_).subspan(frame.first_value);
  if (frame.kind == Frame::operation) return apply_operator(frame, args);
  return apply_function(frame.symbol, frame.start, args);
}

const Term* Reader::apply_operator(const Frame& frame, OperatorDefinition::Args args) {
  const OperatorDefinition& op = *frame.op;
  const std::size_t num_args = args.size() - (op.index_is_argument ? 1 : 0);
  if (num_args < op.min_args || num_args > op.max_args) {
    fail(part_of(frame.start, ApplicationError::Part::argument, num_args < op.min_args ? 0 : op.max_args + 1),
         wrong_number_of_arguments(op.name, num_args, op.min_args, op.max_args));
  }
  context_.indices = std::span(indices_).subspan(frame.first);
  const Term* result = nullptr;
  try {
    result = op.build(context_, args);
  } catch (const SortError& e) {
    fail(frame.start, explained(context_, op, args, e));
  }
  if (op.num_indices != 0) indices_.resize(frame.first);
  return result;
}

const Term* Reader::apply_function(const Symbol* symbol, const char* start, OperatorDefinition::Args args) {
  const std::size_t arity = manager_.arity(symbol);
  if (args.size() != arity) {
    fail(part_of(start, ApplicationError::Part::argument, args.size() < arity ? 0 : arity + 1),
         wrong_number_of_arguments(written_name(start), args.size(), arity, arity));
  }
  if (const Term* t = unfolded(symbol, args)) return t;
  try {
    return manager_.make_term(symbol, args);
  } catch (const SortError& e) {
    const auto wrong = wrong_argument(manager_, written_name(start), symbol, args);
    fail(start, wrong.value_or(ApplicationError(ApplicationError::Part::operation, 0, e.what())));
  }
}

bool Reader::takes(const Symbol* f, OperatorDefinition::Args args) const {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const DataType* wanted = manager_.argument_type(f, i);
    if (manager_.get_supertype(manager_.type_of(args[i]), wanted) != wanted) return false;
  }
  return true;
}

/// What the definition of a function says of arguments; null where it has none, where these do not fit, and
/// where the application is to stay.
const Term* Reader::unfolded(const Symbol* symbol, OperatorDefinition::Args args) {
  if (unfolder_.empty() || !unfolds_ || manager_.simplifier() == nullptr) return nullptr;
  const Unfolder::Body* body = unfolder_.find(symbol);
  if (body == nullptr || !takes(symbol, args) || !can_afford(Unfolder::size(*body))) return nullptr;
  const Term* t = unfolder_.unfolded(*body, args, [this](const Term* variable, std::uint32_t attempt) {
    return renamed_variable(variable, attempt);
  });
  if (SimplificationObserver* observer = session_.simplifier().normalizer.observer()) {
    observer->on_definition(symbol, args, unfolder_.bound_last(*body), t);
  }
  return t;
}

/// Definitions that use each other can come to exponentially many terms. What is spent on them is in
/// proportion to the text; what would take much of what is left keeps its name, so that there is enough for
/// all that is small.
bool Reader::can_afford(std::size_t terms) {
  constexpr std::uint64_t free_terms = 1 << 14;
  constexpr std::uint64_t terms_per_byte = 1;
  constexpr std::uint64_t largest_part = 16;
  const auto bytes = static_cast<std::uint64_t>(lexer_.position() - input_.data());
  const std::uint64_t all = free_terms + terms_per_byte * bytes;
  if (unfolded_ + largest_part * terms > all) return false;
  unfolded_ += terms;
  return true;
}

/// A variable for one that a definition's body binds. What the arguments refer to has a name that means
/// something here, so that a name without a meaning catches nothing.
const Term* Reader::renamed_variable(const Term* variable, std::uint32_t attempt) {
  std::string name = variable->symbol->name;
  if (attempt != 0) name += '!' + std::to_string(attempt);
  const bool is_declared = options_.names == Options::Names::session && session_.declared(name) != nullptr;
  if (is_declared || means_something(name)) return nullptr;
  return attempt == 0 ? variable : bound_variable(name, manager_.type_of(variable));
}

/// The name of the function whose application begins at `start`, without indices or sort.
std::string_view Reader::written_name(const char* start) const {
  Lexer lexer(input_.substr(static_cast<std::size_t>(start - input_.data())));
  lexer.next();
  Token head = lexer.next();
  if (head.kind == TokenKind::left_parenthesis) {
    lexer.next();  // _ or as
    head = lexer.next();
  }
  return head.text;
}

/// Where a part of the application that begins at `start` begins itself. The start for the application as a
/// whole, which is also where a missing argument, number 0, is reported.
const char* Reader::part_of(const char* start, ApplicationError::Part part, std::size_t position) const {
  if (position == 0) return start;
  Lexer lexer(input_.substr(static_cast<std::size_t>(start - input_.data())));
  lexer.next();
  if (part == ApplicationError::Part::index) {
    for (int i = 0; i < 3; ++i) lexer.next();  // "(", "_" and the name
  } else {
    skip_expression(lexer);
  }
  for (std::size_t i = 1; i < position; ++i) skip_expression(lexer);
  return next_start(lexer);
}

/// Where the `let` that begins at `start` names the variable of this number, from 0.
const char* Reader::binding_of(const char* start, std::size_t number) const {
  Lexer lexer(input_.substr(static_cast<std::size_t>(start - input_.data())));
  for (int i = 0; i < 3; ++i) lexer.next();  // "(", "let" and "("
  for (std::size_t i = 0; i < number; ++i) skip_expression(lexer);
  lexer.next();
  return next_start(lexer);
}

void Reader::fail(const char* start, const ApplicationError& e) {
  fail(part_of(start, e.part(), e.position()), e.what());
}

/// A command within a term means that a parenthesis was not closed before it.
void Reader::unknown_operator(const Token& name) {
  std::string message = "unknown symbol " + std::string(name.text);
  if (is_command(name.text)) {
    message += ": the '(' of the command at " + place_of(command_start_).to_string() + " is not closed";
    fail(name.start, message);
  }
  not_understood(name.start, message);
}

void Reader::check_number_of_indices(const char* start, const OperatorDefinition& op, std::size_t given) {
  if (given == op.num_indices) return;
  const std::size_t superfluous = given < op.num_indices ? 0 : op.num_indices + 1;
  fail(part_of(start, ApplicationError::Part::index, superfluous),
       wrong_number_of_indices(op.name, given, op.num_indices));
}

}  // namespace quarv::smtlib
