#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/export.h>
#include <quarv/session/session.h>
#include <quarv/smtlib/read/growth.h>
#include <quarv/smtlib/read/lexer.h>
#include <quarv/smtlib/read/name_table.h>
#include <quarv/smtlib/read/operators.h>
#include <quarv/smtlib/read/unfolder.h>
#include <quarv/smtlib/script.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/input_error.h>
#include <quarv/util/source_excerpt.h>

namespace quarv::smtlib {

class WrittenForms;

struct ReaderOptions {
  /// Which names a text may use, and what it declares.
  enum class Names : std::uint8_t {
    script,  ///< a script of its own: it declares what it uses, and a name may be declared anew on another
             ///< level
    shared,  ///< likewise, but one name with the same sorts is one symbol, whoever declares it
    session  ///< what is declared in the session is known, too
  };
  Names names = Names::script;
  /// The term of each assertion, definition and `simplify` is normalized when it is complete, if the session
  /// simplifies terms when they are built.
  bool normalize = true;
  /// Is told how each term was written; may be null.
  WrittenForms* written = nullptr;
  /// A command with sorts, operators or names that mean nothing here, and a command that is not known,
  /// becomes its text. So does whatever mentions a name that such a command declares.
  bool lenient = false;
};

/// Something that means nothing here but may to others: a sort, an operator or a command of a theory that is
/// not supported, or a name that is declared nowhere.
class QUARV_API NotUnderstood : public InputError {
 public:
  using InputError::InputError;
};

/// Reads SMT-LIB 2.6 in one pass: terms are built as their parentheses close, with the manager's full
/// constructors, so that whatever simplifier is attached runs at once. Nothing recurses on the depth of the
/// input.
///
///     quarv::Session session;
///     quarv::smtlib::Reader reader(session);
///     quarv::smtlib::Script script = reader.read(text, "file.smt2");   // terms are simplified as they are
///     built quarv::smtlib::print(session.manager(), script, std::cout);
///
/// The session keeps the assertions that are in force, and counts the levels. A command that would become
/// more than twice as large by being simplified is read as it is written.
///
/// What is not simplified: patterns, the terms of `get-value`, and the literals of `check-sat-assuming`. The
/// latter two keep their text, which solvers repeat in their responses. Applications of defined functions
/// with parameters stay applications, unless the session unfolds them.
class QUARV_API Reader {
 public:
  using Options = ReaderOptions;

  explicit Reader(Session& session, Options options = {});
  ~Reader();
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  /// Reads all commands of `text`. The script keeps what it needs of the text; its terms are the manager's.
  /// `file` is for messages. Throws InputError; the script read so far is lost.
  /// `command_read`, if any, is called after each command with the script that ends in it.
  Script read(std::string_view text, std::string file,
              const std::function<void(const Script&)>& command_read = {});
  /// Likewise, for large texts: the script's commands refer to `text`, which must outlive them, where `read`
  /// copies.
  Script read_in_place(std::string_view text, std::string file,
                       const std::function<void(const Script&)>& command_read = {});

  /// For interactive use: what `next_command` reads from now on; the text must stay until it is read.
  /// Declarations of earlier input stay.
  void set_input(std::string_view text, std::string file);
  /// A text that is gone when the first command is read.
  template <class Text>
  requires std::same_as<Text, std::string>
  void set_input(Text&& text, std::string file) = delete;
  /// Appends the next command to `script`; false at the end of the input. After an InputError it continues
  /// after the command with the error.
  bool next_command(Script& script);

  /// Throws InputError unless a text is one token, or what one pair of parentheses encloses. A text that is
  /// to be read as a part of a command must be tried first: it could end the command, and begin others.
  static void check_expression(std::string_view text, const std::string& file);

  /// The sort that a text denotes: "(_ BitVec 8)", "(Array Int Bool)". `name` is for messages. Throws
  /// InputError.
  const DataType* sort(std::string_view text, const std::string& name = "sort");
  /// The term that a text denotes; likewise.
  const Term* term(std::string_view text, const std::string& name = "term");
  /// The application of an operator by its SMT-LIB name, indices included ("bvadd", "(_ extract 7 0)",
  /// "(as const (Array Int Int))"), or of a function declared in the session. Throws std::invalid_argument
  /// for a name that means nothing and for a wrong number of arguments, SortError when these do not fit.
  const Term* make(std::string_view op, std::span<const Term* const> args);

  /// The function of that name, declared in the session if it is not declared yet. Throws
  /// std::invalid_argument for a name that means something else, and for one that cannot be written.
  const Symbol* declare_function(std::string_view name, std::span<const DataType* const> arguments,
                                 const DataType* result);
  /// The constant of that name; likewise.
  const Term* constant(std::string_view name, const DataType* sort) {
    return manager_.make_term(declare_function(name, {}, sort));
  }
  /// The sort, or the constructor of sorts, of that name, declared if it is not declared yet. Throws
  /// likewise.
  const DataType* declare_sort(std::string_view name, std::size_t num_parameters = 0);

  /// Throws std::invalid_argument for a name that cannot be written, not even between bars.
  static void check_name(std::string_view name);
  static bool is_reserved_word(std::string_view word) noexcept;
  /// The reader's way of printing a name: quoted when it is not a simple symbol.
  static std::string quoted(std::string_view name);
  static bool needs_bars(std::string_view name) noexcept;
  static void append_quoted(std::string& text, std::string_view name);

  /// A state of the session, and of what this reader has read.
  class Mark {
    friend class Reader;
    Session::Mark session_;
    std::uint64_t num_terms_ = 0;
    std::size_t names_ = 0, sorts_ = 0, overloads_ = 0, macros_ = 0, scopes_ = 0;
  };
  /// Between commands.
  Mark mark();
  /// Returns to the mark, as `Session::release` does; of a session that has readers, one of them is asked to
  /// do it, and the others read nothing afterwards. \throws std::invalid_argument likewise
  void release(const Mark& mark);

 private:
  using FormClass = std::uint32_t;
  static constexpr FormClass no_form = 0xFFFFFFFF;

  enum class Word : std::uint8_t { none, let, quantifier, annotation, underscore, as, other, solvers };

  /// A list of functions of one name that differ in the sorts of their arguments.
  struct Overload {
    const Symbol* symbol;
    const Overload* next;  // null at the end
  };

  /// What a name means in terms.
  struct TermMeaning {
    enum Kind : std::uint8_t { none, builtin, function, overloaded, value, reserved, foreign };
    Kind kind = none;
    // Of reserved words; `other` for constants of theories, which may be declared anew, `solvers` for
    // operators that the standard calls otherwise.
    Word word = Word::none;
    bool is_real = false;  // of a value of sort Int: it was written as a Real
    std::uint32_t renamed =
        0;  // name!1, ..., name!renamed are in use: quantifiers bind the name within each other
    FormClass form = no_form;  // of a value: the class of its forms
    union {
      const OperatorDefinition* op = nullptr;
      const Symbol* symbol;
      const Overload* overloads;
      const Term* term;
    };

    static TermMeaning of(const Symbol* s) noexcept {
      TermMeaning m;
      m.kind = function;
      m.symbol = s;
      return m;
    }
    static TermMeaning of(const Overload* o) noexcept {
      TermMeaning m;
      m.kind = overloaded;
      m.overloads = o;
      return m;
    }
    static TermMeaning of(const Term* t, FormClass form = no_form) noexcept {
      TermMeaning m;
      m.kind = value;
      m.term = t;
      m.form = form;
      return m;
    }
  };
  /// What a name means in sorts.
  struct SortMeaning {
    enum Kind : std::uint8_t { none, type, constructor, macro, foreign };
    Kind kind = none;
    std::uint32_t arity = 0;
    const DataType* sort = nullptr;  // the type, the constructor, or the body of the macro
    const std::vector<const DataType*>* parameters = nullptr;  // of a macro: stand-ins within its body
    bool declared = false;                                     // a type or a constructor, by a command
  };
  using TermNames = NameTable<TermMeaning>;
  using SortNames = NameTable<SortMeaning>;

  /// An open parenthesis of a term. One million of them may be open at once: it is kept small.
  struct Frame {
    enum Kind : std::uint8_t {
      operation,   // an operator of a theory, `op`
      function,    // a symbol, `symbol`
      overloaded,  // one of several symbols, `overloads`
      let_value,   // the value of a let's binding comes next
      let_body,
      quantifier,
      annotation_body,
      annotation_pattern,
      annotation_no_pattern  // one term, without parentheses of its own
    };
    Kind kind;
    bool universal = false;         // of quantifiers
    std::uint32_t scope = 0;        // of let and quantifiers: brings the names back
    std::uint32_t first_value = 0;  // where the frame's values begin
    std::uint32_t first = 0;        // where its indices, bindings, variables or the pattern's terms begin
    const char* start;              // for messages
    union {
      const OperatorDefinition* op = nullptr;
      const Symbol* symbol;
      const Overload* overloads;
      TermSimplifier* simplifier;  // of patterns: the one that was detached
    };
  };
  struct Binding {
    TermNames::Name* name;
    const Term* value;
    FormClass form = no_form;
    bool below_quantifier = false;
    bool is_real = false;  // see TermMeaning
  };

  /// Thrown when a command creates terms far out of proportion to its text.
  struct Outgrown {};
  /// Thrown when a command that is not understood may become its text.
  struct Foreign {};
  /// The state before a command.
  struct Place {
    const char* start;
    std::size_t names, sorts, commands, terms;
    std::uint64_t num_terms, cost, rule_steps;
    TermManager::SumWork sum_work;
    std::size_t met;  // terms whose forms were written down
    TermSimplifier* simplifier;
  };

  // reader.cpp: commands.
  Script read_all(const std::function<void(const Script&)>& command_read);
  Place place(const Script& script, const char* start) const;
  void return_to(const Place& place, Script& script);
  bool read_within_limit(Script& script, const Place& place);
  std::uint64_t rule_steps() const noexcept { return session_.simplifier().normalizer.statistics().applied; }
  bool read_as_written(Script& script, const Place& place);
  bool read_smaller(Script& script, const Place& place);
  /// Terms; two bytes of large numbers, which take five characters, count like one.
  std::uint64_t cost() const noexcept { return manager_.num_terms() + manager_.number_bytes() / 2; }
  std::size_t command_bytes();
  void check_cost();
  void limit_sums() noexcept;
  bool read_guarded(Script& script, const char* start);
  void take_back(const Place& place, Script& script);
  void begin_again(const Place& place);
  bool read_command(Script& script, const char* start);
  void text_command(Script& script, Command::Kind kind, const char* start, std::uint32_t levels = 0);
  void term_command(Script& script, Command::Kind kind, std::string_view text);
  void set_logic(Script& script, const char* start);
  void set_option(Script& script, const char* start);
  void change_levels(Script& script, Command::Kind kind, const char* start);
  void reset(Script& script, Command::Kind kind, const char* start);
  void add_term(Script& script, Command& command, const Term* t, const DataType* sort,
                FormClass form = no_form);
  void check_sort(const char* where, const Term* t, const DataType* wanted);
  const Term* read_term_of(const DataType* sort);
  const Term* finished(const Term* t) const {
    return options_.normalize && !as_written_ ? session_.normalize(t) : t;
  }
  const Symbol* new_symbol(std::string_view name, std::span<const DataType* const> arguments,
                           const DataType* result);
  void tell_session(const Script& script, std::size_t first_command);
  void skip_rest();
  void skip_command(const char* start) noexcept;
  std::string_view one_line(const char* start);

  // direct_calls.cpp
  void read_expression(Script& script);
  void declare_sorts_of(const DataType* sort);
  static const Term* build_named(Session& session, const Symbol* symbol, Session::Args args);

  // passed_through.cpp: commands that are not understood.
  [[noreturn]] void not_understood(const char* where, const std::string& message);
  void pass_through(Script& script, const Place& place);
  void note_names_in(Script& script, std::string_view text);
  void bind_foreign(const Token& name);
  void bind_foreign_sort(const Token& name);
  void bind_declared_in(std::string_view text);
  void bind_heads(Lexer& list, bool sorts);

  // term_list_reader.cpp: check-sat-assuming and get-value.
  void term_list(Script& script, Command::Kind kind, std::string_view text);
  bool is_literal_ahead() const;
  void keep_text(Script& script, std::size_t term, std::string_view text);

  // named_terms.cpp: names given by annotations.
  void bind_new_names(Script& script, const Place& before);
  void define_lost_names(Script& script);

  // definition_reader.cpp: declarations and definitions.
  void declare_sort(Script& script, const char* start);
  void define_sort(Script& script, const char* start);
  void declare_fun(Script& script, const char* start, bool constant);
  void define_fun(Script& script, std::string_view keyword);
  void define_function(Script& script, const Symbol* symbol, std::vector<const Term*> parameters,
                       const Term* body);
  void define_funs_rec(Script& script);
  std::string_view text_from(Lexer before);
  static bool mentions(std::string_view text, std::string_view name);
  std::vector<const Term*> parameters(std::string& text, bool own);
  const Term* bind_function(std::string_view name, const Symbol* symbol);
  void note_name(std::string_view name);
  void note_solver_word(const Token& word, const OperatorDefinition& op);
  void forget_solver_words_from(const char* place) noexcept;
  static bool is_free(const TermNames::Name* name) noexcept;
  bool parameters_follow() const noexcept;
  void check_new_function_name(const Token& name, bool is_constant);
  void check_new_sort_name(const Token& name);
  const DataType* bind_sort(std::string_view name, std::size_t num_parameters);

  // term_reader.cpp: terms.
  const Term* read_term();
  const Term* read_unsimplified_term();
  void open_parenthesis(const Token& open);
  void open_frame(Frame::Kind kind, const char* start);
  void open_let(const char* start);
  void let_binding();
  void let_bindings_done();
  void open_quantifier(const char* start, std::string_view binder);
  void open_head(const Token& open);
  void attributes();
  void open_pattern(Attribute attribute, Frame::Kind kind);
  void finish_pattern();
  void finish_annotation();
  const Term* annotated_as_real(OperatorDefinition::Args all, const std::vector<Attribute>& list);
  void close(const Token& token);
  void close_with(const Term* t, FormClass form, bool real = false);
  const Term* literal(const Token& token);
  FormClass written_application(const Frame& frame, const Term* t, bool real);
  bool is_real_application(const Frame& frame, const Term* t) const;
  TermMeaning symbol_value(const Token& token);
  const Term* indexed_constant(const char* start);
  const Term* special_float(const Token& name);
  void push_value(const Term* t, FormClass form, bool real = false);
  void drop_values(std::size_t first);
  bool is_real_value(std::size_t i) const;
  WrittenForms* written() const noexcept { return unsimplified_ == 0 ? options_.written : nullptr; }
  const Term* bind_variable(const Token& name, const DataType* type, bool own = false);
  bool means_something(std::string_view name);
  const Term* bound_variable(const std::string& name, const DataType* type);
  bool is_bound_twice(TermNames::Name& name);
  Binding* new_name(const TermNames::Name* name) noexcept;
  std::string_view lookup_text(const Token& name);
  static std::string quoted(const TermNames::Name& name);
  TermMeaning meaning_of(const Token& name);
  const Symbol* session_symbol(const Token& name, const TermNames::Name* known) const;

  // application_reader.cpp: operators and functions on their arguments.
  const Term* apply(const Frame& frame);
  const Term* apply_operator(const Frame& frame, OperatorDefinition::Args args);
  const Term* apply_function(const Symbol* symbol, const char* start, OperatorDefinition::Args args);
  std::string_view written_name(const char* start) const;
  bool takes(const Symbol* f, OperatorDefinition::Args args) const;
  const Term* unfolded(const Symbol* symbol, OperatorDefinition::Args args);
  bool can_afford(std::size_t terms);
  const Term* renamed_variable(const Term* variable, std::uint32_t attempt);
  const char* part_of(const char* start, ApplicationError::Part part, std::size_t position) const;
  const char* binding_of(const char* start, std::size_t number) const;
  [[noreturn]] void fail(const char* start, const ApplicationError& e);
  [[noreturn]] void unknown_operator(const Token& name);
  void check_number_of_indices(const char* start, const OperatorDefinition& op, std::size_t given);

  // overloads.cpp: functions of one name.
  static bool is_function(const TermNames::Name* name) noexcept;
  const Term* bind_declared(const Token& name, const Symbol* symbol);
  /// How well a function takes arguments, from bad to good: an Int that was written as a Real as an Int, an
  /// Int as a Real, or each by its sort.
  enum class Fit : std::uint8_t { none, by_value, promoted, exact };
  const DataType* written_sort(std::size_t value) const;
  Fit fit(const Symbol* f, const Frame& frame) const;
  const Symbol* overload_for(const Frame& frame);
  const Overload* overloads_with_result(const Overload* all, const DataType* result);

  // sort_reader.cpp: sorts.
  const DataType* read_sort();
  const DataType* read_sort(const Token& first);
  SortMeaning meaning_of_sort(std::string_view name);
  static SortMeaning declared_sort(const DataType* sort, std::size_t num_parameters) noexcept;
  const DataType* sort_named(const Token& name, std::span<const DataType* const> arguments);
  const DataType* indexed_sort();
  const DataType* instantiate(const SortMeaning& macro, std::span<const DataType* const> arguments);
  const DataType* substituted(const SortMeaning& macro, std::span<const DataType* const> arguments);

  // literals.cpp
  void check_number_size(std::string_view text);
  const Term* numeral(std::string_view digits);
  const Term* decimal(std::string_view text);
  const Term* bit_vector_literal(const Token& token);
  const Term* bit_vector_numeral(const Token& name, std::size_t width);

  // Tokens.
  Token next() { return lexer_.next(); }
  Token expect(TokenKind kind, std::string_view what);
  void expect_left(std::string_view where) {
    const Token t = next();
    if (t.kind != TokenKind::left_parenthesis) unexpected(t, where);
  }
  void expect_right(std::string_view where);
  Token expect_symbol(std::string_view what);
  std::size_t index_value(const Token& token);
  static bool is_word(const Token& t, std::string_view word) noexcept {
    return t.kind == TokenKind::symbol && t.text == word && *t.start != '|';
  }
  static bool is_reserved(const Token& t) noexcept;
  [[noreturn]] void unexpected(const Token& token, std::string_view wanted);
  [[noreturn]] void fail(const char* where, const std::string& message);
  [[noreturn]] void fail(const char* where, const std::string& message, const char* shown);
  SourcePlace place_of(const char* where) const noexcept;
  const char* innermost_parenthesis(const char* where) const;
  std::string_view keep(std::string_view text);
  std::string_view text_of(const DataType* sort, const char* start);
  const std::string& text_of(const DataType* sort);

  Session& session_;
  TermManager& manager_;
  Options options_;
  OperatorContext context_;
  std::string_view input_;
  std::string file_;
  Lexer lexer_;
  const char* command_start_ = nullptr;
  bool keep_text_ = false;                                   // the input does not outlive the script
  std::shared_ptr<Arena> text_ = std::make_shared<Arena>();  // what scripts refer to; they share it

  TermNames names_;
  std::deque<Overload> overloads_;  // names refer to them
  SortNames sorts_;
  /// What to go back to when a level is closed.
  struct Scopes {
    std::size_t names, sorts;
  };
  std::vector<Scopes> scopes_;  // one for each level that this reader has opened
  Scopes base_scopes_{};        // to reset to
  Session::Place base_;         // likewise
  bool logic_set_ = false;
  bool global_declarations_ = false;
  bool numerals_are_real_ = false;         // in the logic
  bool writes_reals_as_decimals_ = false;  // "2.0", or may have to
  std::uint64_t largest_dollar_name_ = 0;
  std::uint64_t largest_dollar_definition_ = 0;
  std::size_t question_marks_ = 0;
  std::vector<std::unique_ptr<std::vector<const DataType*>>> macro_parameters_;
  std::map<std::vector<const DataType*>, const DataType*> instances_;  // of macros: stand-in, arguments
  std::map<std::pair<std::string, const DataType*>, const Term*> bound_variables_;
  std::uint64_t num_stand_ins_ = 0;

  std::vector<Frame> frames_;
  std::vector<const Term*> values_;
  std::vector<FormClass> forms_;    // of the values, as long as they are needed
  std::vector<std::size_t> reals_;  // numbers of those values of sort Int that were written as Reals
  std::size_t num_commands_ = 0;    // of the script, before the one that is being read
  FormClass last_form_ = no_form;   // of the term read last
  std::vector<Script::SolverWord> solver_words_;  // read so far, of an input whose forms are wanted
  std::size_t unsimplified_ = 0;                  // open places whose terms are not simplified
  std::size_t num_quantifiers_ = 0;               // among the frames
  std::vector<std::size_t> indices_;
  std::vector<Binding> bindings_;
  std::vector<std::vector<Attribute>> attributes_;
  std::vector<Binding> new_names_;  // given by `:named` in the command that is being read
  bool expression_ = false;         // a term or a sort is read, not a command
  bool as_written_ = false;         // the command at hand is read without being simplified
  std::uint64_t cost_limit_ = std::numeric_limits<std::uint64_t>::max();  // of the command at hand
  Place command_{};
  const char* counted_to_ = nullptr;  // of that command
  std::size_t counted_bytes_ = 0;
  GrowthMeter growth_;
  Unfolder unfolder_;
  bool unfolds_ = true;                // in the command at hand
  std::uint64_t unfolded_ = 0;         // terms that definitions have come to
  std::uint64_t unfolded_before_ = 0;  // the command at hand
  std::uint32_t binder_mark_ = 0;      // of the names that one let or one quantifier binds
  std::string header_;                 // of the definition that is being read
  const DataType* last_sort_ = nullptr;
  std::string last_sort_text_;
};

}  // namespace quarv::smtlib
