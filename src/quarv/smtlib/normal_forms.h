#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <quarv/forms/form_graph.h>
#include <quarv/smtlib/write/printed_node.h>
#include <quarv/util/hash_map.h>
#include <quarv/util/large_pages.h>

namespace quarv::smtlib {

/// The classes of terms, and the ways in which SMT-LIB can write what the library has made of them.
///
/// The library knows few operators; people know more. `not (y <= x)` can be written `(< x y)`, `x + -1*y` as
/// `(- x y)`, `0 <= 3 + x + -1*y` as `(<= y (+ x 3))`. Each of these is a form of the term's class.
class NormalForms {
 public:
  using ClassId = forms::ClassId;
  using HeadId = forms::HeadId;

  NormalForms(TermManager& manager, forms::FormGraph& graph) : m_(manager), g_(graph) {}

  /// The logic is one of differences: no sums of variables may be written.
  void set_difference_logic(bool yes) noexcept { difference_logic_ = yes; }

  /// From now on integers of sort Real are written without a decimal point.
  void write_reals_as_numerals() noexcept { reals_are_numerals_ = true; }

  /// The class of a term as its place needs it.
  ClassId class_of(Node n);

  /// Writes down all forms of the terms asked for with `class_of`, and of all that they consist of.
  void add_forms(ClassId c, Node n);
  void run();

  /// By class: the form that the normal form itself is printed as.
  forms::FormId base(ClassId c) const noexcept { return c < base_.size() ? base_[c] : forms::none; }

  /// The head of an interpreted operator or a declared function.
  HeadId head_of(const Symbol* s);

  /// The classes of numbers, literals, truth values and other values.
  const std::vector<ClassId>& values() const noexcept { return values_; }

  /// No forms will be written down any more: gives back the memory that finds terms again.
  void seal();

  /// The head of an annotated term: its attributes, with the terms of its patterns.
  HeadId quantifier_head(const Symbol* s);
  HeadId annotation_head(const Term* annotated);
  /// A term with that head.
  const Term* annotated_by(HeadId head) const { return annotated_.at(head); }

 private:
  struct Item {  // of a linear combination
    QNumber coefficient;
    Node monomial;
    bool is_negative() const { return coefficient.sign() < 0; }
  };
  struct Sum {
    std::vector<Item> items;
    QNumber constant;
    bool real = false;
    bool has_shared_links = false;  ///< that stayed whole
    void clear() {
      items.clear();
      constant = QNumber();
      real = has_shared_links = false;
    }
  };
  struct Summand {  // of a sum that is taken apart
    QNumber factor;
    Node node;
    bool whole;
  };
  using Args = std::span<const ClassId>;

  // Building forms of the class under way.
  void form(HeadId head, Args children);
  void form(std::string_view head, std::initializer_list<ClassId> children) {
    form(operator_head(head), Args(children.begin(), children.size()));
  }
  void same(ClassId c);
  ClassId app(std::string_view head, Args children, const DataType* sort);
  ClassId app(std::string_view head, std::initializer_list<ClassId> children, const DataType* sort) {
    return app(head, Args(children.begin(), children.size()), sort);
  }
  /// The head of an operator whose name is a literal of this program: found by address.
  HeadId operator_head(std::string_view name) {
    return operator_heads_.find_or_make(name.data(), [&] { return g_.head(name); });
  }
  ClassId leaf(std::string_view text, const DataType* sort) { return g_.add(g_.head(text), {}, sort); }
  ClassId child(const Term* t, std::size_t i);
  const DataType* bool_sort() const { return m_.bool_type; }

  void add(Node n);
  void constant(Node n);
  void float_literal(const std::string& text, const QNumber& bits, const DataType* type);
  void application(Node n);
  void negation(const Term* t);
  void lattice(const Term* t, std::string_view head);
  void disjunction(std::span<const Term* const> parts);
  void equivalence(const Term* t, bool negated);
  void equality(const Term* t, bool negated);
  void bit_equation(const Term* t, const char* opposite);
  void chain(const Term* t);
  void bit_vector_sum(const Term* t);
  void bit_vector_complement(const Term* t);

  // normal_forms_arith.cpp
  bool is_decimal(const QNumber& value, bool real) const {
    return real && !(reals_are_numerals_ && value.is_integer());
  }
  ClassId number(const QNumber& value, bool real);
  ClassId new_number(const QNumber& value, bool real);
  forms::FormId literal_form(ClassId c, const QNumber& value) const;
  ClassId multiple(const QNumber& positive, ClassId monomial, bool real);
  ClassId total(std::span<const ClassId> parts, bool real);
  bool collect(Node n, const QNumber& factor, Sum& sum, bool through_shared);
  static void settle(Sum& sum);
  void sum(Node n);
  void with_negative_parts(const Sum& sum, bool real);
  void product(Node n);
  void quotient(const Term* t);
  ClassId dividend(const IntegerQuotient& q);
  void remainder(const Sum& sum);
  void arrange(const Sum& all, bool real, const Item* quotient = nullptr, ClassId quotient_form = {});
  void with_constant_inside(const Sum& sum);
  void congruence(const Term* t);
  void comparison(const Term* t, bool negated);
  void compare_sums(const Term* t, SymbolTag::tag tag, bool negated);
  void atom(const Sum& sum, SymbolTag::tag tag, bool negated);
  void with_opposite(Args left, Args right, SymbolTag::tag tag, bool negated, const DataType* sort);
  void relation(SymbolTag::tag tag, bool negated, bool strict, ClassId left, ClassId right);

  bool is_shared(Node n) const;
  bool leaves(const Term* t, bool through_shared, std::vector<const Term*>& out, bool& has_shared_links);
  /// Calls `write` with the leaves of a chain: with shared links whole and, where there are such, with these
  /// taken apart.
  template <class Write>
  void each_list_of_leaves(const Term* t, Write write) {
    for (const bool through_shared : {false, true}) {
      leaves_.clear();
      bool has_shared_links = false;
      if (leaves(t, through_shared, leaves_, has_shared_links)) write(leaves_);
      if (!has_shared_links) return;  // the second time would find the same
    }
  }
  void flat_form(HeadId head, bool is_idempotent, std::vector<const Term*>& parts, const DataType* sort);

  TermManager& m_;
  forms::FormGraph& g_;
  bool difference_logic_ = false;
  bool reals_are_numerals_ = false;
  LargeVector<ClassId> classes_[2];  // by term id: as they are, and integers as Reals
  LargeVector<forms::FormId> base_;
  hsh::HashMap<const Symbol*, HeadId> heads_;
  std::unordered_map<HeadId, const Term*> annotated_;
  std::vector<std::pair<ClassId, Node>> pending_;
  std::vector<ClassId> values_;
  hsh::HashMap<const char*, HeadId> operator_heads_;
  hsh::HashMap<QNumber, ClassId, std::hash<QNumber>> numbers_[2];  // integers and reals
  std::vector<bool> added_;                                        // by 2 * term id + as_real
  ClassId own_ = forms::none;

  // What one term needs while its forms are written; kept, as memory is asked for only where one needs more.
  std::vector<ClassId> parts_, left_, right_, with_constant_;
  std::vector<Node> children_;
  std::vector<const Term*> leaves_, links_;
  std::vector<Summand> summands_;
  Sum sum_;
};

}  // namespace quarv::smtlib
