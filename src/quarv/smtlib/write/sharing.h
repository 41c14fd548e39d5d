#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <quarv/smtlib/script.h>
#include <quarv/smtlib/write/printed_node.h>
#include <quarv/util/large_pages.h>

namespace quarv::smtlib {

/// Decides which sub-terms of a script are written once and named.
///
/// The text is made of *units*: the terms of the commands, and the terms that are defined for several of
/// them. A term that occurs more than once within one unit is bound by `let` there; one that occurs in
/// several units is defined before the first of them. Small terms are repeated. Terms in which a quantifier's
/// variable is free stay within its body and are decided when that is written.
///
/// All of it takes two passes, linear in the DAG: one from the terms of the commands downwards, which counts,
/// and one over the nodes met, parents first, which assigns every node to the unit that its text belongs to.
class SharingPlan {
 public:
  SharingPlan(const TermManager& manager, const Script& script) : manager_(manager), script_(script) {}

  /// A sub-term to be defined before command `position`.
  struct Definition {
    Node node;
    std::uint32_t position;
    std::uint32_t unit;
  };
  /// A sub-term to be bound by `let` in a unit.
  struct Binding {
    std::uint32_t unit;
    Node node;
  };

  /// Plans commands `first` up to `last`, which no `reset` separates; what was planned before is forgotten.
  void plan(std::size_t first, std::size_t last);

  /// Plans one term by itself: only `let`, and no name but those.
  void plan_term(Node root);

  /// Of the planned commands, by position and, at one position, by id.
  const std::vector<Definition>& definitions() const noexcept { return definitions_; }
  /// By unit, then by id.
  const std::vector<Binding>& bindings() const noexcept { return bindings_; }
  /// The unit of a command's first term; its other terms follow.
  std::uint32_t first_unit(std::size_t command) const noexcept {
    return first_units_[command - first_command_];
  }

  /// A compound term of few nodes, which is rather repeated than named.
  bool is_small(Node n) const noexcept { return info(n).size <= small_size; }
  /// A definition of the user names it.
  bool is_named_by_user(Node n) const noexcept {
    if (manager_.arity(n.term()) == 0 || is_multiple(manager_, n.term())) return false;
    return (info(n).flags & user_defined) != 0;
  }
  /// A quantifier's variable is free in it.
  bool is_open(Node n) const noexcept { return (info(n).flags & open) != 0; }

 private:
  enum Flag : std::uint8_t {
    open = 1,           // a quantifier's variable is free
    shared = 2,         // occurs in the text of several units
    assigned = 4,       // second pass: `unit` and `position` are those of its text
    user_named = 8,     // a definition of the user names it, and its level is still open
    user_defined = 16,  // a definition of the user named it at some time: that of the unit that met it first
    annotated = 32,     // names itself
    named_here = 64,    // a definition or a `let` of the printer names it
    holds_name = 128    // itself or a part of it is annotated with a name
  };
  static constexpr std::uint8_t small_size = 4;
  static constexpr std::uint8_t largest_size = 255;
  static constexpr std::uint32_t none = 0xFFFFFFFF;

  struct Info {
    std::uint32_t epoch = 0;        // the plan that the rest belongs to
    std::uint32_t unit = none;      // first pass: the unit that met it first
    std::uint32_t position = none;  // second pass: before which command it would have to be defined
    std::uint8_t uses = 0;          // saturating
    std::uint8_t size = 0;          // nodes of its tree, saturating
    std::uint8_t flags = 0;
    std::uint8_t bytes = 0;  // of its text, saturating; in chosen scripts
  };
  struct Frame {
    Node node;
    std::uint32_t first_child;
    std::uint32_t next_child;
  };
  struct Scope {
    std::uint32_t parent;
    std::uint32_t push_command;
    bool alive;
  };

  const Info& info(Node n) const noexcept {
    return n.as_real() ? real_infos_[n.term()->id] : infos_[n.term()->id];
  }
  Info& info(Node n) noexcept { return n.as_real() ? real_infos_[n.term()->id] : infos_[n.term()->id]; }

  void start(std::size_t first);
  void add_unit(Node root, std::uint32_t command);
  void count_command(std::size_t index);
  void count_uses(Node root, std::uint32_t unit);
  bool first_use(Node n, std::uint32_t unit);
  void enter(Node n);
  void finish(Node n, std::span<const Node> children);
  std::uint64_t variable_bit(const Term* variable);
  bool note_annotation(const Term* annotation, std::uint64_t& free);
  void name_by_user(Node n);
  void open_scopes(std::size_t command, std::uint32_t levels);
  void close_scopes(std::uint32_t levels);
  void share(Node n, Info& i);
  bool pays(const Info& i, bool everywhere) const noexcept;
  bool is_short_literal(const Term* t, const Info& i) const noexcept;
  std::uint32_t first_position(Node n, const Info& i) const;
  void assign_units();
  void assign(Node n, std::uint32_t unit, std::uint32_t position, bool repeated);
  void place(Node n);
  bool define_only(std::uint32_t unit) const noexcept;

  const TermManager& manager_;
  const Script& script_;

  std::uint32_t epoch_ = 0;
  LargeVector<Info> infos_;       // by term id
  LargeVector<Info> real_infos_;  // likewise, of integer-typed terms as Reals; empty until there is one
  /// The free variables of terms with any, one bit each; the last bit stands for all further variables.
  hsh::HashMap<const Term*, std::uint64_t> free_variables_;
  hsh::HashMap<const Term*, std::uint64_t> variable_bits_;

  std::size_t first_command_ = 0;
  std::vector<std::uint32_t> first_units_;
  std::vector<std::uint32_t> unit_commands_;
  std::vector<Node> roots_;        // of the units, without coefficients
  std::vector<bool> is_multiple_;  // of the units: the root has a coefficient
  LargeVector<Node> post_order_;   // every compound node met, children first
  std::vector<Frame> frames_;
  std::vector<Node> children_;  // of the frames, one after the other

  std::vector<Scope> scopes_;
  std::uint32_t scope_ = 0;
  std::vector<std::uint32_t> unit_scopes_;
  std::vector<std::vector<Node>> user_names_;                  // by open level
  hsh::HashMap<const Term*, std::uint32_t> common_scopes_[2];  // of shared nodes, by form

  std::vector<Definition> definitions_;
  std::vector<Binding> bindings_;
};

}  // namespace quarv::smtlib
