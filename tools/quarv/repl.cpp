#include <algorithm>
#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "commands.h"
#include "io/command_line.h"
#include "io/command_splitter.h"
#include "io/output.h"
#include "io/text_source.h"
#include "simplify/simplify_arguments.h"
#include <quarv/smtlib/read/lexer.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/write/printer.h>

namespace quarv::cli {

namespace {

using smtlib::Command;

std::string as_string_literal(std::string_view text) {
  std::string literal = "\"";
  for (char c : text) {
    if (c == '"') literal += '"';
    literal += c;
  }
  return literal + '"';
}

/// "(get-info :name)" has the head "get-info" and the argument ":name".
struct CommandParts {
  std::string_view head;
  std::string_view argument;

  explicit CommandParts(std::string_view text) {
    text = text.substr(1, text.size() - 2);
    const std::size_t blank = std::min(text.find(' '), text.size());
    head = text.substr(0, blank);
    argument = text.substr(std::min(blank + 1, text.size()));
  }
};

/// Runs commands one by one and prints responses in the form that the SMT-LIB standard defines.
class Conversation {
 public:
  Conversation(const SessionOptions& options, std::ostream& out) : session_(options), out_(out) {}

  void answer(const CommandSplitter::Piece& piece);

  bool over() const noexcept { return over_; }
  bool had_errors() const noexcept { return had_errors_; }

 private:
  void respond(const smtlib::Script& script, const Command& command);
  void respond(const CommandParts& command);
  void get_info(std::string_view keyword);
  void check_sat(const Command& command);
  void error(const std::string& message);
  void done() {
    if (print_success_) out_ << "success\n";
  }

  Session session_;
  smtlib::Reader reader_{session_};
  std::ostream& out_;
  bool print_success_ = false;
  bool over_ = false;
  bool had_errors_ = false;
};

void Conversation::answer(const CommandSplitter::Piece& piece) {
  try {
    smtlib::Script script;
    reader_.set_input(piece.text, "");
    reader_.next_command(script);
    for (const Command& command : script.commands) respond(script, command);
  } catch (const InputError& e) {
    const std::size_t column = e.line() == 1 ? piece.column + e.column() - 1 : e.column();
    error(fmt::format("line {}, column {}: {}", piece.line + e.line() - 1, column, e.message()));
  }
}

void Conversation::error(const std::string& message) {
  out_ << "(error " << as_string_literal(message) << ")\n";
  had_errors_ = true;
}

void Conversation::respond(const smtlib::Script& script, const Command& command) {
  switch (command.kind) {
    case Command::Kind::simplify:
      print_term(session_.manager(), script.terms_of(command)[0], out_, smtlib::Sharing::automatic);
      out_ << '\n';
      return;
    case Command::Kind::check_sat_assuming:
      return check_sat(command);
    case Command::Kind::get_value:
      return error("there is no model: terms are simplified, models are not searched for");
    case Command::Kind::other:
      return respond(CommandParts(command.text));
    case Command::Kind::reset:
      print_success_ = false;
      break;
    default:
      break;
  }
  done();
}

void Conversation::respond(const CommandParts& command) {
  if (command.head == "exit") {
    over_ = true;
  } else if (command.head == "check-sat") {
    return check_sat(Command{});
  } else if (command.head == "echo") {
    out_ << command.argument << '\n';
    return;
  } else if (command.head == "get-info") {
    return get_info(command.argument);
  } else if (command.head == "get-option" && command.argument == ":print-success") {
    out_ << (print_success_ ? "true\n" : "false\n");
    return;
  } else if (command.head == "set-option" && command.argument.starts_with(":print-success ")) {
    print_success_ = command.argument.ends_with(" true");
  } else if (command.head.starts_with("get-")) {
    out_ << "unsupported\n";
    return;
  }
  done();
}

void Conversation::get_info(std::string_view keyword) {
  if (keyword == ":name") {
    out_ << "(:name \"quarv\")\n";
  } else if (keyword == ":version") {
    out_ << "(:version \"" QUARV_VERSION "\")\n";
  } else if (keyword == ":authors") {
    out_ << "(:authors \"the quarv developers\")\n";
  } else if (keyword == ":error-behavior") {
    out_ << "(:error-behavior continued-execution)\n";
  } else if (keyword == ":reason-unknown") {
    out_ << "(:reason-unknown incomplete)\n";
  } else {
    out_ << "unsupported\n";
  }
}

/// Prints what simplification alone has shown.
void Conversation::check_sat(const Command& command) {
  const Session::Args assertions = session_.assertions();
  const auto is = [](const Term* wanted) { return [wanted](const Term* t) { return t == wanted; }; };
  if (std::any_of(assertions.begin(), assertions.end(), is(session_.manager().false_term))) {
    out_ << "unsat\n";
  } else if (command.num_terms == 0 &&
             std::all_of(assertions.begin(), assertions.end(), is(session_.manager().true_term))) {
    out_ << "sat\n";
  } else {
    out_ << "unknown\n";
  }
}

constexpr const char* footer = R"(Examples:
  quarv repl                                 simplify terms as they are typed: (simplify (and p p))
  quarv repl dialogue.smt2                   run the commands in a file
  echo '(simplify (bvadd #x01 #x02))' | quarv repl)";

struct Arguments {
  std::string input = "-";
  bool no_rules = false;
  bool library_semantics = false;
  bool only_standard = false;
};

int converse(const Arguments& arguments) {
  SessionOptions options;
  options.rules = !arguments.no_rules;
  options.library_semantics = arguments.library_semantics;
  options.extended = !arguments.only_standard && !arguments.library_semantics;

  const std::unique_ptr<TextSource> source = open_text_source(arguments.input);
  Output output("-");
  Conversation conversation(options, output.stream());
  CommandSplitter splitter;
  CommandSplitter::Piece piece;
  std::string text;
  bool more = true;
  bool begun = false;
  while (more && !conversation.over()) {
    text.clear();
    more = source->read(text, splitter.idle());
    splitter.add(std::exchange(begun, true) ? std::string_view(text) : smtlib::without_byte_order_mark(text));
    while (!conversation.over() && (splitter.next(piece) || (!more && splitter.rest(piece)))) {
      conversation.answer(piece);
      output.stream().flush();
    }
  }
  output.commit();
  return conversation.had_errors() && !source->interactive() ? failure : success;
}

}  // namespace

void add_repl(const CommandLine& program, int& status) {
  const CommandLine command =
      program.subcommand("repl", "Run SMT-LIB 2 commands one by one, as a solver does in a dialogue");
  command.footer(footer);
  const auto arguments = std::make_shared<Arguments>();
  command.option("FILE", arguments->input, "Where the commands come from; - is standard input")
      .type("")
      .shows_default();
  command.flag("--no-rules", arguments->no_rules, "Simplify operators, but apply no rewrite rule");
  add_extension_option(command, arguments->only_standard);
  add_semantics_option(command, arguments->library_semantics);
  command.callback([arguments, &status] { status = converse(*arguments); });
}

}  // namespace quarv::cli
