#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include <quarv/forms/form_graph.h>
#include <quarv/util/large_pages.h>

namespace quarv::forms {

/// Stands for all variables beyond those that have a bit of their own. A form in which it is free is never
/// chosen, but for the base.
inline constexpr std::uint64_t overflow_variable = std::uint64_t{1} << 63;

/// What a head brings into a form, or takes out of it, that is not visible everywhere.
struct Scope {
  std::uint64_t variables = 0;      ///< bound variables, one bit each
  std::uint64_t binds = 0;          ///< of a quantifier: the variables that are not free any more
  std::uint32_t first = 0;          ///< the command after which a declared symbol is visible, 0: everywhere,
  std::uint32_t last = 0xFFFFFFFF;  ///< and the last one where it is
  bool is_definition = false;       ///< what the symbol is defined to be has forms without it
};

/// By head. Most bring in nothing, and share one scope.
class Scopes {
 public:
  explicit Scopes(std::size_t num_heads = 0) : number_(num_heads) {}

  /// A scope of its own, to be filled in.
  Scope& add(HeadId h) {
    number_[h] = static_cast<std::uint32_t>(scopes_.size());
    return scopes_.emplace_back();
  }
  const Scope& operator[](HeadId h) const noexcept { return scopes_[number_[h]]; }

 private:
  LargeVector<std::uint32_t> number_;  // by head
  LargeVector<Scope> scopes_{LargeVector<Scope>(1)};
};

/// From which command to which one terms of a class are needed, by class; empty where that is not asked for.
struct Needs {
  LargeVector<std::uint32_t> first, last;
};

/// What is free in the terms of a class: that of its base form, the one that each class has.
class FreeNames {
 public:
  /// `base` by class, `none`: the first form. `scopes` by head. Where base forms go round in a circle, others
  /// take their place; a class without any finite term then has no base.
  FreeNames(const FormGraph& graph, std::span<const FormId> base, const Scopes& scopes);

  /// A form that brings in symbols is admitted where all commands that need its class come after their
  /// declarations or definitions, while these are in force.
  void set_needs(Needs needs) { needs_ = std::move(needs); }

  FormId base(ClassId c) const noexcept { return base_[c] != none ? base_[c] : g_.first_form(c); }
  /// No finite term is in the class.
  bool is_endless(ClassId c) const noexcept {
    return g_.first_form(c) == none || (is_grounded_ && base_[c] == none);
  }
  /// Whether the form brings in nothing that its class, `c`, does not depend on, and that is not visible
  /// wherever it is needed. It does not consist of `c`.
  bool is_admissible(ClassId c, FormId f) const;

 private:
  struct Free {
    std::uint64_t variables = 0;
    std::uint32_t first = 0;
    std::uint32_t last = 0xFFFFFFFF;

    void add(const Free& part);
    bool is_visible_with(const Free& all) const noexcept { return first <= all.first && last >= all.last; }
  };

  bool find_free();
  Free free_in(FormId f) const;
  bool is_needed_within(ClassId c, const Free& free) const noexcept;

  const FormGraph& g_;
  const Scopes& scopes_;
  LargeVector<FormId> base_;
  bool is_grounded_ = false;
  LargeVector<Free> free_;
  Needs needs_;
};

}  // namespace quarv::forms
