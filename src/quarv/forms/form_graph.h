#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include <quarv/term/arena.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/hash_map.h>
#include <quarv/util/large_pages.h>

namespace quarv::forms {

using ClassId = std::uint32_t;
using FormId = std::uint32_t;
using HeadId = std::uint32_t;
inline constexpr std::uint32_t none = 0xFFFFFFFF;

/// What stands at the beginning of a form: an operator with its indices, a declared function, a literal, a
/// name, a binder, an annotation.
struct Head {
  std::string_view text;   ///< as it is printed: "bvadd", "(_ extract 7 0)", "#x0f", "|a b|"
  const Symbol* symbol;    ///< of declared functions, bound variables, quantifiers and annotations; else null
  std::uint32_t cost = 1;  ///< nodes of a term that it counts as, with up to two arguments
  bool is_chain = false;   ///< several arguments are compared pairwise: (= a b c)
  bool is_idempotent = false;  ///< an argument given twice says nothing: (and p p q)
  bool is_choice = false;      ///< (ite p q p) says no more than (and p q)
  bool is_read = false;        ///< of an array
  bool is_write = false;       ///< to an array
  std::uint32_t cost_of_more =
      0;                        ///< for each further argument: what other programs make of it has more nodes
  std::uint32_t num_bound = 0;  ///< of a quantifier: its variables
};

/// One way to write a term: a head over classes of terms.
struct Form {
  HeadId head;
  std::uint32_t first_child;  ///< in the graph's list of children
  std::uint32_t num_children;
  FormId next = none;  ///< of the same class
  ClassId of;          ///< its class when it was made
};

/// Classes of equal terms, each with the forms in which it can be written.
///
/// A form is kept once: the same head over the same classes is the same form. What is found to be equal is
/// merged. Nothing here simplifies, and no term is made: what is written down here does not disturb the ids
/// that decide how the normal form looks.
class FormGraph {
 public:
  // Heads.
  // ---------------------------------------------------------------------------------------------------------

  /// The head with this text; `cost` is that of the first call.
  HeadId head(std::string_view text, std::uint32_t cost = 1);
  /// The head of a declared function or a variable.
  HeadId head(const Symbol* symbol, std::string_view text, std::uint32_t cost = 1);
  /// The head of a quantifier with so many variables. They are not counted as terms; of two ways to write
  /// what else is equally large, the one with fewer is chosen.
  HeadId quantifier_head(const Symbol* symbol, std::string_view text, std::size_t num_variables);
  /// The head of an annotation, which costs nothing; `key` tells it from others with the same symbol.
  HeadId annotation_head(const Symbol* symbol, std::string_view key);
  const Head& head_at(HeadId h) const noexcept { return heads_[h]; }
  std::size_t num_heads() const noexcept { return heads_.size(); }

  // Classes.
  // --------------------------------------------------------------------------------------------------------

  /// A class of its own, without forms.
  ClassId new_class(const DataType* sort);
  /// The class that stands for `c` now.
  ClassId find(ClassId c) const noexcept;
  /// The sort of the terms of a class as SMT-LIB has it.
  const DataType* sort(ClassId c) const noexcept { return sorts_[classes_[find(c)].sort]; }
  /// From now on terms of the one sort are of the other one, too.
  void take_for(const DataType* sort, const DataType* other);
  FormId first_form(ClassId c) const noexcept { return classes_[find(c)].first_form; }
  std::size_t num_classes() const noexcept { return classes_.size(); }
  /// Both are equal. Classes of different sorts stay apart.
  void merge(ClassId a, ClassId b);

  // Forms.
  // ----------------------------------------------------------------------------------------------------------

  /// The class of the form, a new one when the form is new.
  ClassId add(HeadId head, std::span<const ClassId> children, const DataType* sort);
  /// The form is one of class `c`.
  void add_to(ClassId c, HeadId head, std::span<const ClassId> children);
  const Form& form(FormId f) const noexcept { return forms_[f]; }
  /// Nodes of a term that a form counts as, without its children.
  std::uint32_t cost(FormId f) const noexcept {
    const Head& head = heads_[forms_[f].head];
    const std::uint32_t n = forms_[f].num_children;
    return head.cost +
           (n > 2 && head.cost_of_more != 0 ? (n - 2) * head.cost_of_more + (head.is_chain ? 1 : 0) : 0);
  }
  std::size_t num_forms() const noexcept { return forms_.size(); }
  /// The children of a form, as classes that may have been merged since.
  std::span<const ClassId> children(const Form& f) const noexcept {
    return std::span<const ClassId>(children_.data() + f.first_child, f.num_children);
  }

  /// Applied twice, `head` gives back what it was applied to: where both have been written down, the classes
  /// are merged. Whether there was one.
  bool cancel_twice(HeadId head);

  /// Writes down the forms of associative operators without brackets, in the order of what they stand
  /// between: with (f (f a b) c) also (f a b c); and without what is said twice: with (and p q p) also (and p
  /// q). `roots` are needed by more than forms.
  void flatten(std::span<const HeadId> heads, std::span<const ClassId> roots);

  /// Forms that have become the same by merging classes make their classes equal, and so on.
  void close();

  /// Nothing will be added any more: gives back the memory that finds forms and heads again.
  void seal() {
    LargeVector<Entry>().swap(table_);
    heads_by_text_ = {};
    heads_by_symbol_ = {};
  }

 private:
  struct Class {
    mutable ClassId parent;
    FormId first_form = none;
    FormId last_form = none;
    std::uint32_t sort;  // its number
  };

  /// A place of the table. The hash tells most other forms apart without a look at them.
  struct Entry {
    std::uint32_t hash = 0;
    FormId form = none;
  };

  std::string_view kept(std::string_view text);
  std::uint32_t number_of(const DataType* sort);
  Entry& slot(HeadId head, std::span<const ClassId> children) noexcept;
  std::span<const ClassId> canonical(std::span<const ClassId> children);
  FormId add_form(ClassId c, HeadId head, std::span<const ClassId> children, Entry& slot);
  void grow();
  /// By class: the form that alone needs it; `none` where there are several, or roots.
  std::vector<FormId> only_users(std::span<const ClassId> roots) const;
  FormId form_with(ClassId c, HeadId head) const noexcept;
  bool consists_of(FormId f, ClassId c) const noexcept;
  bool flat_children(FormId f, const std::vector<FormId>* only_user, std::vector<ClassId>& flat) const;
  void write_flat(ClassId c, HeadId head, std::vector<ClassId>& flat);
  bool close_once();

  Arena texts_;  // of heads
  LargeVector<Head> heads_;
  hsh::HashMap<std::string_view, HeadId, std::hash<std::string_view>> heads_by_text_;
  hsh::HashMap<const Symbol*, HeadId> heads_by_symbol_;
  std::vector<const DataType*> sorts_;
  hsh::HashMap<const DataType*, std::uint32_t> sort_numbers_;
  const DataType* replaced_sort_ = nullptr;
  const DataType* replacing_sort_ = nullptr;
  LargeVector<Class> classes_;
  LargeVector<Form> forms_;
  LargeVector<ClassId> children_;
  LargeVector<Entry> table_{LargeVector<Entry>(1024)};
  std::size_t num_entries_ = 0;
  std::vector<ClassId> canonical_;
};

}  // namespace quarv::forms
