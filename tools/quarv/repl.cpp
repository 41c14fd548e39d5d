#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/core.h>

#include "commands.h"
#include "explain/derivation_text.h"
#include "explain/why_not.h"
#include "io/colour.h"
#include "io/command_line.h"
#include "io/command_splitter.h"
#include "io/input.h"
#include "io/output.h"
#include "io/text_source.h"
#include "repl/dialogue_context.h"
#include "rules/own_rules.h"
#include "rules/rule_catalogue.h"
#include "simplify/simplify_arguments.h"
#include <quarv/smtlib/read/lexer.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/write/printer.h>
#include <quarv/util/byte_order_mark.h>
#include <quarv/util/source_excerpt.h>

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

constexpr const char* rule_needs_text = "rule needs the text of one rule, between quotation marks";

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

/// The commands of SMT-LIB 2.6, and `simplify`. What begins with another word is a term.
bool is_command(std::string_view word) {
  constexpr std::string_view words[] = {"assert",
                                        "check-sat",
                                        "check-sat-assuming",
                                        "declare-const",
                                        "declare-datatype",
                                        "declare-datatypes",
                                        "declare-fun",
                                        "declare-sort",
                                        "define-const",
                                        "define-fun",
                                        "define-fun-rec",
                                        "define-funs-rec",
                                        "define-sort",
                                        "echo",
                                        "exit",
                                        "get-assertions",
                                        "get-assignment",
                                        "get-info",
                                        "get-model",
                                        "get-option",
                                        "get-proof",
                                        "get-unsat-assumptions",
                                        "get-unsat-core",
                                        "get-value",
                                        "pop",
                                        "push",
                                        "reset",
                                        "reset-assertions",
                                        "set-info",
                                        "set-logic",
                                        "set-option",
                                        "simplify"};
  return std::ranges::find(words, word) != std::end(words);
}

constexpr std::string_view help =
    R"(Commands of SMT-LIB 2, such as (declare-const x (_ BitVec 8)), (push 1) and (assert (bvult x #x10)), and
  TERM              print it simplified, as (simplify TERM) does
  (explain TERM)    show how it is simplified, step by step
  (why-not RULE TERM)
                    say what of a rule, given by name or number, does not fit
  (rule "TEXT")     apply a rule of your own from here on, as in a file for --rules
  (check-sat)       unsat, sat or unknown: what simplification alone has shown
  help              this
  exit              end the dialogue, as the end of the input does
)";

/// The word that a piece of input begins with, behind its parenthesis if there is one.
smtlib::Token head_of(std::string_view text) {
  smtlib::Lexer lexer(text);
  const smtlib::Token first = lexer.next();
  return first.kind == smtlib::TokenKind::left_parenthesis ? lexer.next() : first;
}

smtlib::Token token_behind(const std::string& text, const smtlib::Token& token) {
  return smtlib::Lexer({token.text.data() + token.text.size(), text.data() + text.size()}).next();
}

/// The same text with blanks up to a place in it, and for the parenthesis that closes it: what is left has
/// its place.
std::string blank_up_to(const char* place, const std::string& text) {
  std::string rest = text;
  std::replace_if(
      rest.begin(), rest.begin() + (place - text.data()), [](char c) { return c != '\n'; }, ' ');
  if (rest.ends_with(')')) rest.back() = ' ';
  return rest;
}

/// Runs commands one by one and prints responses in the form that the SMT-LIB standard defines.
class Conversation {
 public:
  /// `interactive`: a person reads the answers; `trusts_rules`: those that are added are not checked.
  Conversation(const SessionOptions& options, std::ostream& out, bool interactive, bool trusts_rules)
      : options_(options),
        session_(options),
        out_(out),
        interactive_(interactive),
        trusts_rules_(trusts_rules) {}

  void answer(const CommandSplitter::Piece& piece);

  bool over() const noexcept { return over_; }
  bool had_errors() const noexcept { return had_errors_; }

 private:
  void answer_command(const std::string& text);
  void answer_term(const std::string& text, std::string_view word);
  void answer_application(const CommandSplitter::Piece& piece, const smtlib::Token& head);
  void explain(const std::string& text, const smtlib::Token& head);
  void why_not(const std::string& text, const smtlib::Token& head);
  void add_rule(const std::string& text, const smtlib::Token& rule);
  bool coloured() const { return interactive_ && wants_colour("auto"); }
  void respond(const smtlib::Script& script, const Command& command);
  void respond(const CommandParts& command);
  void get_info(std::string_view keyword);
  void check_sat(Session::Args assumptions);
  void error(const std::string& message);
  void error(const CommandSplitter::Piece& piece, const InputError& e, const std::string& message);
  void done() {
    if (print_success_) out_ << "success\n";
  }

  SessionOptions options_;
  Session session_;
  smtlib::Reader reader_{session_};
  DialogueContext context_;
  std::ostream& out_;
  bool interactive_;
  bool trusts_rules_;
  bool print_success_ = false;
  bool over_ = false;
  bool had_errors_ = false;
};

void Conversation::answer(const CommandSplitter::Piece& piece) {
  const smtlib::Token head = head_of(piece.text);
  const bool is_word = head.kind == smtlib::TokenKind::symbol && *head.start != '|';
  try {
    if (head.start == piece.text.data()) {
      answer_term(piece.text, is_word ? head.text : std::string_view());
    } else if (is_word && head.text == "explain") {
      explain(piece.text, head);
    } else if (is_word && head.text == "why-not") {
      why_not(piece.text, head);
    } else if (const smtlib::Token rule = token_behind(piece.text, head);
               is_word && head.text == "rule" && rule.kind == smtlib::TokenKind::string) {
      add_rule(piece.text, rule);
    } else if (is_word && !is_command(head.text)) {
      answer_application(piece, head);
    } else if (head.kind == smtlib::TokenKind::left_parenthesis ||
               (head.kind == smtlib::TokenKind::symbol && !is_word)) {
      answer_term(piece.text, {});
    } else {
      answer_command(piece.text);
    }
  } catch (const InputError& e) {
    error(piece, e, e.message());
  }
}

void Conversation::answer_command(const std::string& text) {
  smtlib::Script script;
  reader_.set_input(text, "");
  reader_.next_command(script);
  for (const Command& command : script.commands) {
    respond(script, command);
    context_.add(command, text, script.global_declarations);
  }
}

/// A term, or a word of the dialogue that is not declared.
void Conversation::answer_term(const std::string& text, std::string_view word) {
  try {
    print_term(session_.manager(), reader_.term(text), out_, smtlib::Sharing::automatic);
    out_ << '\n';
    Command simplify;
    simplify.kind = Command::Kind::simplify;
    context_.add(simplify, "(simplify " + text + ")", false);  // it may give names
  } catch (const InputError&) {
    const bool alone = !word.empty() && text.find_first_not_of(" \t\r", word.size()) == std::string::npos;
    if (alone && word == "help") {
      out_ << help;
    } else if (alone && (word == "exit" || word == "quit")) {
      over_ = true;
    } else {
      throw;
    }
  }
}

/// What begins like a command that does not exist, or like a term whose operator is not known, is told from
/// other errors.
void Conversation::answer_application(const CommandSplitter::Piece& piece, const smtlib::Token& head) {
  try {
    answer_term(piece.text, {});
  } catch (const InputError& e) {
    const SourcePlace place = place_in(piece.text, static_cast<std::size_t>(head.start - piece.text.data()));
    const bool at_head = e.line() == place.line && e.column() == place.column;
    const bool unknown = at_head && e.message() == fmt::format("unknown symbol {}", head.text);
    if (unknown && head.text == "rule") return error(rule_needs_text);
    error(piece, e, unknown ? fmt::format("unknown command or operator {}", head.text) : e.message());
  }
}

/// `(explain t)`
void Conversation::explain(const std::string& text, const smtlib::Token& head) {
  const std::string term = blank_up_to(head.text.data() + head.text.size(), text);
  reader_.term(term);  // says what is wrong with it
  explain_term(context_.script(), term, options_, coloured() ? colour_marks : quotation_marks, out_);
}

/// `(why-not RULE t)`
void Conversation::why_not(const std::string& text, const smtlib::Token& head) {
  const smtlib::Token which = token_behind(text, head);
  if (which.kind != smtlib::TokenKind::symbol && which.kind != smtlib::TokenKind::numeral) {
    return error("why-not needs a rule, by name or number, and a term");
  }
  const std::string name(which.text);
  const std::vector<rules::Rule> rules = all_rules_and(options_.extra_rules);
  const std::optional<std::size_t> found = find_rule(rules, name);
  if (!found) return error(no_such_rule(rules, name));
  const std::string term = blank_up_to(which.text.data() + which.text.size(), text);
  reader_.term(term);
  const rules::Rule rule = rules::parse_rule(rules[*found].text);  // columns count within the rule
  explain_mismatch(context_.script(), "", name, rule, term, coloured(), out_);
}

/// `(rule "...")`
void Conversation::add_rule(const std::string& text, const smtlib::Token& rule) {
  if (token_behind(text, rule).kind != smtlib::TokenKind::right_parenthesis) return error(rule_needs_text);
  std::string rules = blank_up_to(rule.start + 1, text);
  rules.resize(static_cast<std::size_t>(rule.start - text.data()) + rule.text.size() - 1);
  const RuleFile file{"", rules};
  check_own_rules({file}, trusts_rules_);
  session_.add_rules(file);
  options_.extra_rules.push_back(file);
  done();
}

/// An error of a piece of input, with its place in all of the input.
void Conversation::error(const CommandSplitter::Piece& piece, const InputError& e,
                         const std::string& message) {
  const std::size_t column = e.line() == 1 ? piece.column + e.column() - 1 : e.column();
  error(fmt::format("line {}, column {}: {}", piece.line + e.line() - 1, column, message));
  if (interactive_) out_ << e.excerpt();
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
      return check_sat(script.terms_of(command));
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
    return check_sat({});
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
void Conversation::check_sat(Session::Args assumptions) {
  const TermManager& m = session_.manager();
  bool is_unsat = false;
  bool is_sat = true;
  for (const Session::Args formulas : {session_.assertions(), assumptions}) {
    for (const Term* t : formulas) {
      // A name changes nothing. Null stands for what says something beside formulas.
      while (t != nullptr && m.is_annotation(t->symbol)) t = t->args[0];
      is_unsat |= t == m.false_term;
      is_sat &= t == m.true_term;
    }
  }
  out_ << (is_unsat ? "unsat\n" : is_sat ? "sat\n" : "unknown\n");
}

constexpr const char* footer = R"(Examples:
  quarv repl                                 simplify terms as they are typed; help lists what can be typed
  quarv repl dialogue.smt2                   run the commands in a file
  echo '(bvadd #x01 #x02)' | quarv repl)";

struct Arguments {
  std::string input = "-";
  std::vector<std::string> rule_files;
  bool no_rules = false;
  bool trust_rules = false;
  bool library_semantics = false;
  bool only_standard = false;
};

int converse(const Arguments& arguments) {
  SessionOptions options;
  options.rules = !arguments.no_rules;
  options.library_semantics = arguments.library_semantics;
  options.extended = !arguments.only_standard && !arguments.library_semantics;
  for (const std::string& name : arguments.rule_files) {
    const Input file(name);
    options.extra_rules.push_back({file.name(), std::string(file.text())});
  }
  check_own_rules(options.extra_rules, arguments.trust_rules);

  const std::unique_ptr<TextSource> source = open_text_source(arguments.input);
  Output output("-");
  Conversation conversation(options, output.stream(), source->interactive(), arguments.trust_rules);
  CommandSplitter splitter;
  CommandSplitter::Piece piece;
  std::string text;
  bool more = true;
  bool begun = false;
  while (more && !conversation.over()) {
    text.clear();
    more = source->read(text, splitter.idle());
    splitter.add(std::exchange(begun, true) ? std::string_view(text) : without_byte_order_mark(text));
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
  const Option no_rules =
      command.flag("--no-rules", arguments->no_rules, "Simplify operators, but apply no rewrite rule");
  command
      .option("--rules", arguments->rule_files,
              "Rules of your own, to be tried after the standard ones; may be repeated")
      .type("FILE.rules")
      .one_at_a_time()
      .excludes(no_rules);
  add_trust_option(command, arguments->trust_rules);
  add_extension_option(command, arguments->only_standard);
  add_semantics_option(command, arguments->library_semantics);
  command.callback([arguments, &status] { status = converse(*arguments); });
}

}  // namespace quarv::cli
