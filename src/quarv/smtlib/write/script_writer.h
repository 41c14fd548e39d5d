#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include <quarv/smtlib/write/printer.h>
#include <quarv/smtlib/write/sharing.h>
#include <quarv/smtlib/write/telling_names.h>
#include <quarv/smtlib/write/term_writer.h>
#include <quarv/util/large_pages.h>

namespace quarv::smtlib {

/// Writes terms and commands by a sharing plan. Terms are written with an explicit stack; chains of `and`,
/// `or` and `+` come out flat, their parts in ascending order of id.
class ScriptWriter {
 public:
  ScriptWriter(const TermManager& manager, const Script& script, std::ostream& out, Sharing sharing);

  PrintResult write_script();
  PrintResult write_term(const Term* t);

 private:
  /// What is still to be written.
  struct Item {
    enum Kind : std::uint8_t {
      reference,   // a node, by its name when it has one
      own_text,    // a node in full
      rest,        // the parts of an application from `next` on, then its closing parenthesis
      subtrahend,  // " " and a summand with its sign turned
      open_let,    // "(let ((?k "
      close_let,   // ")) " once the value is written: from now on the name stands for the node
      leave,       // the names given since `next` are forgotten
      close,       // `next` closing parentheses
      pattern,     // a pattern's term
      end_pattern,
      end_quantifier,
      owned_text  // texts_[next]
    };
    Kind kind;
    Node node;
    std::uint32_t first = 0;
    std::uint32_t next = 0;
    std::uint32_t end = 0;
  };
  /// Texts and terms in the order in which they are to be written; `schedule` ends it.
  class Sequence {
   public:
    explicit Sequence(ScriptWriter& writer) : writer_(writer) {}
    Sequence(const Sequence&) = delete;
    Sequence& operator=(const Sequence&) = delete;
    void text(std::string s);
    void reference(Node n) { items_.push_back({Item::reference, n}); }
    void pattern(Node n) { items_.push_back({Item::pattern, n}); }
    void schedule() { writer_.items_.insert(writer_.items_.end(), items_.rbegin(), items_.rend()); }

   private:
    ScriptWriter& writer_;
    std::vector<Item> items_;
  };
  struct Level {
    std::vector<Node> names;                    // given by the user
    std::vector<std::string_view> definitions;  // keys of `definitions_`
  };
  enum class NameKind : std::uint32_t {
    none = 0,
    let = 1,
    definition = 2,
    user = 3,
    annotation = 4,
    telling = 5
  };

  static constexpr unsigned number_bits = 29;  // of the code of a name; its kind stands above

  // Commands.
  void write_segment(std::size_t first, std::size_t last);
  void write_definition(const SharingPlan::Definition& d);
  void write_command(std::size_t index);
  void write_text(std::string_view text, const Term* t);
  bool names_itself(const Command& c, const Term* t) const;
  bool records_definitions() const noexcept;
  bool may_look_the_same(const DataType* sort) const noexcept;
  std::uint32_t record_definition(std::string_view text, std::uint32_t name);
  void close_levels(std::uint32_t levels);
  void write_root(Node root, std::uint32_t unit);

  // Terms.
  void run();
  void write_reference(Node n);
  void write_own(Node n);
  void continue_rest(Item& item);
  void flatten(Node n);
  void write_quantifier(Node n);
  bool may_be_given(const std::string& name) const;
  void write_annotation(Node n, std::span<const Node> bindings);
  Node open_annotation(Node n);
  void write_pattern(Node n);
  bool write_difference(Node n, std::uint32_t first);
  void write_subtrahend(Node n);
  bool write_as_differences(const Term* atom);
  void write_quotient(const IntegerQuotient& quotient);
  void write_congruence(const Term* t);
  void push_lets(std::span<const Node> bindings, Node body);
  void local_bindings(Node root, std::vector<Node>& out) const;
  template <class Wanted>
  void repeated_parts(Node root, std::vector<Node>& out, Wanted wanted) const;

  // Names.
  std::uint32_t name(Node n) const;
  static std::uint32_t code_of(NameKind kind, std::uint32_t number) noexcept;
  void set_code(Node n, std::uint32_t code);
  void set_name(Node n, NameKind kind, std::uint32_t number) { set_code(n, code_of(kind, number)); }
  void write_name_of(Node n, std::uint32_t code);
  std::uint32_t new_let(Node n, std::uint32_t number);
  std::uint32_t new_definition(Node n);

  // The order in which reading the text creates terms.
  void created(const Term* t);
  std::size_t first_ordered(const Term* t, std::size_t num_parts) const;
  void order_by_creation(std::span<Node> operands) const;

  void check_size() const;

  const TermManager& m_;
  const Script& script_;
  const Sharing sharing_;
  OutputBuffer out_;
  SharingPlan plan_;
  bool defines_ = false;    // something that the script does not define
  bool asserting_ = false;  // an annotation's name may be given where an assertion or definition is written
  std::size_t num_quantifiers_ = 0;  // that are open
  bool in_pattern_ = false;          // nothing has a name but what is annotated with one

  std::vector<Item> items_;
  std::vector<Node> parts_;           // of the items `rest`
  std::vector<std::string> texts_;    // of the items `owned_text`
  LargeVector<std::uint32_t> names_;  // by term id: kind and number
  std::unordered_map<const Term*, std::uint32_t> real_names_;
  TellingNames telling_names_;
  static constexpr std::size_t length_of_number = 2;  // "?1"
  std::size_t length_of_telling_ = 0;
  std::vector<Node> let_names_;  // given in the unit that is being written
  std::uint32_t num_lets_ = 0;
  const std::uint64_t largest_dollar_name_;  // the user's: those of definitions count from there
  std::uint32_t num_definitions_ = 0;
  std::vector<Level> levels_;  // that are open
  /// What definitions say, by sort and term as they are written: their names. Different terms may have one
  /// text: who reads a text makes another term of it where it is the argument of a function.
  std::unordered_map<std::string, std::uint32_t> definitions_;
  std::size_t next_definition_ = 0;
  std::string let_prefix_;

  LargeVector<std::uint32_t> created_;  // by term id, 0: not yet
  std::uint32_t num_created_ = 0;
};

}  // namespace quarv::smtlib
