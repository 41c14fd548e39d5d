#include "batch/formula_digest.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <unordered_map>
#include <vector>

#include "batch/sha256.h"
#include <quarv/smtlib/read/lexer.h>

namespace quarv::cli {

namespace {

using smtlib::Token;
using smtlib::TokenKind;
using Tokens = std::span<const Token>;

template <std::size_t n>
bool is_one_of(std::string_view word, const std::array<std::string_view, n>& words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

/// Says nothing about a formula.
bool is_idle(Tokens command) {
  constexpr std::array<std::string_view, 7> idle = {"set-logic",  "set-info", "set-option", "get-info",
                                                    "get-option", "echo",     "exit"};
  if (command.size() < 2) return true;
  if (command[1].text == "assert") return command.size() == 4 && command[2].text == "true";
  return is_one_of(command[1].text, idle);
}

class FormulaDigest {
 public:
  void add(Tokens command) {
    constexpr std::array<std::string_view, 3> declarations = {"declare-const", "declare-fun", "declare-sort"};
    constexpr std::array<std::string_view, 5> definitions = {"define-const", "define-fun", "define-fun-rec",
                                                             "define-sort", "declare-datatype"};
    if (is_idle(command)) return;
    const bool named = command.size() > 3;
    if (named && is_one_of(command[1].text, declarations)) {
      current_[command[2].text] = names_.size();
      names_.push_back({type_in(command), unused});
      return;
    }
    if (named && is_one_of(command[1].text, definitions)) {
      current_[command[2].text] = names_.size();
      names_.push_back({{}, unused});
    }
    add_tokens(command);
  }

  std::string digest() {
    // What a name is declared as may use names of sorts, which then join the queue.
    for (std::size_t i = 0; i < used_.size(); ++i) {
      state_.add("\nname ");
      add_tokens(names_[used_[i]].type);
    }
    return state_.digest();
  }

 private:
  static constexpr std::size_t unused = static_cast<std::size_t>(-1);

  struct Name {
    Tokens type;         // what a declaration says of the name; empty for a definition
    std::size_t number;  // in the order of first use
  };

  static Tokens type_in(Tokens declaration) {
    const Tokens type = declaration.subspan(3);
    const bool no_arguments = type.size() > 2 && type[0].kind == TokenKind::left_parenthesis &&
                              type[1].kind == TokenKind::right_parenthesis;
    return no_arguments ? type.subspan(2) : type;  // a constant may be declared as a function
  }

  void add_tokens(Tokens tokens) {
    for (const Token& token : tokens) {
      const auto name = token.kind == TokenKind::symbol ? current_.find(token.text) : current_.end();
      buffer_ += static_cast<char>('a' + static_cast<int>(token.kind));
      if (name == current_.end()) {
        buffer_ += token.text;
      } else {
        Name& n = names_[name->second];
        if (n.number == unused) {
          n.number = used_.size();
          used_.push_back(name->second);
        }
        buffer_ += '\x01';  // no token has it
        buffer_ += std::to_string(n.number);
      }
      buffer_ += '\0';
    }
    state_.add(buffer_);
    buffer_.clear();
  }

  Sha256 state_;
  std::string buffer_;
  std::vector<Name> names_;
  std::vector<std::size_t> used_;
  std::unordered_map<std::string_view, std::size_t> current_;  // what a name stands for at this point
};

}  // namespace

std::string formula_digest(std::string_view script) {
  std::vector<Token> tokens;
  std::vector<std::size_t> starts;  // of commands
  std::size_t depth = 0;
  smtlib::Lexer lexer(script);
  for (Token token = lexer.next(); token.kind != TokenKind::end && token.kind != TokenKind::error;
       token = lexer.next()) {
    if (token.kind == TokenKind::right_parenthesis && depth != 0) --depth;
    if (token.kind == TokenKind::left_parenthesis && depth++ == 0) starts.push_back(tokens.size());
    tokens.push_back(token);
  }
  starts.push_back(tokens.size());
  FormulaDigest digest;
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    digest.add(Tokens(tokens).subspan(starts[i], starts[i + 1] - starts[i]));
  }
  return digest.digest();
}

}  // namespace quarv::cli
