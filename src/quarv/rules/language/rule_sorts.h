#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include <quarv/rules/language/rule_language.h>

namespace quarv::rules {

/// Finds the sorts of a rule's terms from the signatures of its operators. Sorts are numbered as they are
/// made; those that turn out to be the same are united.
class SortInference {
 public:
  /// A sort of which so much is known.
  std::size_t make(SortKind kind = SortKind::open);

  /// Makes two sorts one; false when that cannot be.
  bool unite(std::size_t a, std::size_t b);

  /// In results, widths are not compared: whether they agree may depend on the rule's integers, and a solver
  /// finds out. Otherwise like `unite`.
  bool unite_but_for_widths(std::size_t a, std::size_t b);

  /// The sort of an application to arguments of those sorts. Stores the first argument that does not fit, and
  /// what is needed there.
  struct Misfit {
    std::size_t argument;
    SortKind needed;
  };
  std::size_t apply(const OperatorWord& op, std::span<const std::size_t> arguments, bool compare_widths,
                    std::optional<Misfit>* misfit);

  bool are_same(std::size_t a, std::size_t b) const { return find(a) == find(b); }
  SortKind kind(std::size_t sort) const { return sorts_[find(sort)].kind; }
  void make_bit_vector(std::size_t sort) { sorts_[find(sort)].kind = SortKind::bit_vector; }

  /// The sorts that are left, and by sort which of them it is.
  std::vector<RuleSort> finish(std::vector<std::size_t>* numbers) const;

 private:
  std::size_t find(std::size_t sort) const;

  std::vector<RuleSort> sorts_;
  std::vector<std::size_t> same_as_;  // by sort: itself, or one that it was united with
};

/// True when the sort of an application is that of some argument, or of an array's elements.
bool can_be_of_any_sort(const OperatorWord& op);

/// True when the operator itself demands this kind of its argument i.
bool demands(const OperatorWord& op, std::size_t i, SortKind kind);

}  // namespace quarv::rules
