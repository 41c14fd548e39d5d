#include <array>
#include <utility>

#include <quarv/forms/opposites.h>

namespace quarv::forms {

namespace {

class Opposites {
 public:
  Opposites(FormGraph& graph, const DataType* bool_sort, bool of_orders)
      : g_(graph),
        bool_sort_(bool_sort),
        not_(graph.head("not")),
        equal_(graph.head("=")),
        distinct_(graph.head("distinct")),
        xor_(graph.head("xor")) {
    // No comparisons of floating-point numbers: of NaN each is false.
    constexpr std::pair<const char*, const char*> orders[] = {
        {"<", ">="},        {"<=", ">"},        {"bvult", "bvuge"},
        {"bvule", "bvugt"}, {"bvslt", "bvsge"}, {"bvsle", "bvsgt"},
    };
    opposite_.assign(graph.num_heads(), none);
    add_pair(equal_, distinct_);
    if (!of_orders) return;
    for (const auto& [a, b] : orders) add_pair(graph.head(a), graph.head(b));
  }

  bool add() {
    const std::size_t before = g_.num_forms();
    for (FormId f = 0; f < before; ++f) {
      const Form form = g_.form(f);
      if (form.head == not_) {
        const ClassId negated = g_.children(form)[0];
        write_opposites(negated, form.of);
        write_opposites(form.of, negated);
      } else if (form.num_children == 2 && is_equivalence(form)) {
        write_without_negation(form);
      }
    }
    return g_.num_forms() != before;
  }

 private:
  static constexpr std::size_t most_forms = 16;  // of a class, that are looked at

  void add_pair(HeadId a, HeadId b) {
    if (opposite_.size() < g_.num_heads()) opposite_.resize(g_.num_heads(), none);
    opposite_[a] = b;
    opposite_[b] = a;
  }

  /// Calls `visit` with the first forms of a class, not with those that it adds.
  template <class Visit>
  void each_form(ClassId c, Visit visit) {
    std::array<FormId, most_forms> forms{};
    std::size_t n = 0;
    for (FormId f = g_.first_form(c); f != none && n < most_forms; f = g_.form(f).next) forms[n++] = f;
    for (std::size_t i = 0; i < n; ++i) visit(g_.form(forms[i]));
  }

  void write(ClassId c, HeadId head, std::array<ClassId, 2> children) { g_.add_to(c, head, children); }

  /// The comparisons among the forms of `from`, turned round, are forms of `to`.
  void write_opposites(ClassId from, ClassId to) {
    each_form(from, [this, to](const Form form) {
      if (form.num_children != 2) return;
      const auto children = g_.children(form);
      const std::array<ClassId, 2> both{children[0], children[1]};
      if (is_equivalence(form)) {
        write(to, form.head == equal_ ? xor_ : equal_, both);
      } else if (form.head < opposite_.size() && opposite_[form.head] != none) {
        write(to, opposite_[form.head], both);
      }
    });
  }

  /// Whether two truth values are compared.
  bool is_equivalence(const Form& form) const {
    if (form.head == xor_) return true;
    return (form.head == equal_ || form.head == distinct_) && g_.sort(g_.children(form)[0]) == bool_sort_;
  }

  void write_without_negation(const Form& form) {
    const auto children = g_.children(form);
    const std::array<ClassId, 2> both{children[0], children[1]};
    for (std::size_t i = 0; i < 2; ++i) {
      each_form(both[i], [&](const Form operand) {
        if (operand.head != not_) return;
        std::array<ClassId, 2> changed = both;
        changed[i] = g_.children(operand)[0];
        write(form.of, form.head == equal_ ? xor_ : equal_, changed);
      });
    }
  }

  FormGraph& g_;
  const DataType* bool_sort_;
  HeadId not_, equal_, distinct_, xor_;
  std::vector<HeadId> opposite_;  // by head
};

}  // namespace

bool add_opposites(FormGraph& graph, const DataType* bool_sort) {
  return Opposites(graph, bool_sort, true).add();
}

bool add_disequalities(FormGraph& graph, const DataType* bool_sort) {
  return Opposites(graph, bool_sort, false).add();
}

}  // namespace quarv::forms
