#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <quarv/term/term.h>

namespace quarv {
class TermManager;
}

namespace quarv::smtlib {

/// One command of a script. What a command says in terms is kept as terms; the rest is kept as text, ready to
/// print.
struct Command {
  enum class Kind : std::uint8_t {
    other,             ///< `text` is the whole command
    push,              ///< `levels` new levels; `text` is the whole command
    pop,               ///< `levels` levels removed; `text` is the whole command
    reset,             ///< everything is forgotten; `text` is the whole command
    reset_assertions,  ///< as `reset`, but for options; `text` is the whole command
    declare,    ///< a function is declared; a constant is the command's term; `text` is the whole command
    assertion,  ///< `(assert t)`
    define,     ///< `(define-fun f () S t)`, `(define-const f S t)`: from here on `name` stands for the term
    define_function,     ///< `(define-fun f (parameters) S t)` and the recursive ones: one term for each
                         ///< function
    check_sat_assuming,  ///< `(check-sat-assuming (t ...))`
    get_value,           ///< `(get-value (t ...))`
    simplify,            ///< `(simplify t)`
    foreign              ///< not understood; `text` is the whole command as it was written
  };

  Kind kind = Kind::other;
  std::uint32_t levels = 0;      ///< of push and pop
  std::uint32_t first_term = 0;  ///< of the command's terms in `Script::terms`
  std::uint32_t num_terms = 0;
  std::string_view text;    ///< the whole command, or all that stands before its first term: "(assert "
  std::string_view suffix;  ///< what stands after its last term: ")"
  std::string_view name;    ///< of a definition: the name as it is to be printed
};

/// A script that has been read: its commands in order, over terms of one manager.
struct Script {
  std::vector<Command> commands;
  /// Where each command that was read stands in the text, up to `exit`; refers to the text.
  std::vector<std::string_view> places;
  std::vector<const Term*> terms;
  /// For each term the sort that its place demands: an integer-typed term may stand where a Real is needed.
  std::vector<const DataType*> sorts;
  /// For each term the class of its forms, where these were wanted.
  std::vector<std::uint32_t> forms;
  /// `(set-option :global-declarations true)` was given: definitions outlive the level on which they are
  /// made.
  bool global_declarations = false;
  /// The logic is one of differences (QF_IDL, QF_RDL, ...): no sums of variables may be written.
  bool difference_logic = false;
  /// The logic has Reals and no Ints, and the script says "2" for what other logics call "2.0".
  bool reals_are_numerals = false;
  /// Names that the user gave have the forms `$1` to `$n` for this n, and begin with that many question marks
  /// before digits: the printer's own names must differ.
  std::uint64_t largest_dollar_name = 0;
  /// The same of definitions without parameters, which are not counted above: the printer's own look so.
  std::uint64_t largest_dollar_definition = 0;
  std::size_t question_marks = 0;
  /// Own what the commands' texts refer to, unless that is the input.
  std::vector<std::shared_ptr<const void>> texts;
  /// Of terms that are to be printed as they were written: the text; empty for all others. Ends with the last
  /// such term.
  std::vector<std::string_view> term_texts;

  /// A term that `:named` gave a name to, in the command of this number.
  struct NamedTerm {
    std::size_t command;
    const Term* term;  // the annotation
  };
  std::vector<NamedTerm> named;
  /// A function with parameters that a command defines by itself.
  struct DefinedFunction {
    std::size_t term;  // the body
    const Symbol* symbol;
    std::vector<const Term*> parameters;
    std::vector<const Term*> variables;  // that quantifiers bind in the body, where the session unfolds it
  };
  std::vector<DefinedFunction> functions;
  /// Names that the user gave below quantifiers: elsewhere none is given there, not every solver takes it.
  std::unordered_set<std::string> names_below_quantifiers;
  /// Those among `named` whose names occur in `term_texts`.
  std::unordered_set<const Term*> mentioned;
  /// The terms are texts, chosen for people: definitions are used by name wherever they can be, and what gets
  /// a name is decided by the bytes that it saves.
  bool chosen = false;
  /// An operator that the user calls by a solver's word: where that begins in the text, and its usual name.
  struct SolverWord {
    const char* place;
    std::string_view usual;
  };
  /// Those in terms that do not keep their text, in their order, where the forms of terms were wanted.
  std::vector<SolverWord> solver_words;
  /// What the user calls a term in a `let`.
  std::unordered_map<const Term*, std::string> let_names;
  /// How the user wrote the sort of a bound variable.
  std::unordered_map<const Term*, std::string> variable_sorts;

  std::span<const Term* const> terms_of(const Command& c) const {
    return std::span(terms).subspan(c.first_term, c.num_terms);
  }
  std::span<const DataType* const> sorts_of(const Command& c) const {
    return std::span(sorts).subspan(c.first_term, c.num_terms);
  }
  /// The text that the i-th term of the command is to be printed as, if any.
  std::string_view text_of(const Command& c, std::size_t i) const {
    return c.first_term + i < term_texts.size() ? term_texts[c.first_term + i] : std::string_view{};
  }
  /// What the command asserts or assumes, as far as it is simplified: of `check-sat-assuming` the formulas
  /// that are not literals.
  std::vector<const Term*> formulas_of(const Command& c) const;
};

inline std::vector<const Term*> Script::formulas_of(const Command& c) const {
  std::vector<const Term*> formulas;
  if (c.kind != Command::Kind::assertion && c.kind != Command::Kind::check_sat_assuming) return formulas;
  for (std::size_t i = 0; i < c.num_terms; ++i) {
    if (text_of(c, i).empty()) formulas.push_back(terms_of(c)[i]);
  }
  return formulas;
}

/// The n of a name `$n`, such as the printer gives to definitions; 0 of any other name, and of numbers that
/// the printer never comes to.
inline std::uint64_t dollar_number(std::string_view name) noexcept {
  constexpr std::size_t most_digits = 17;
  if (!name.starts_with('$') || name.size() > most_digits + 1) return 0;
  std::uint64_t number = 0;
  for (char c : name.substr(1)) {
    if (c < '0' || c > '9') return 0;
    number = number * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return number;
}

}  // namespace quarv::smtlib
