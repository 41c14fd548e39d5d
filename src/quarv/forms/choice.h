#pragma once

#include <compare>
#include <cstdint>
#include <span>
#include <vector>

#include <quarv/forms/form_graph.h>
#include <quarv/forms/free_names.h>
#include <quarv/util/large_pages.h>

namespace quarv::forms {

/// The question: which forms shall the terms of `roots` be written in?
struct Question {
  const FormGraph& graph;
  std::span<const ClassId> roots;
  /// What is there whether anything needs it or not, as declared constants are: has a form, but counts only
  /// where it is needed.
  std::span<const ClassId> declared;
  /// By class: the form that decides what is free in it; `none`: its first form.
  std::span<const FormId> base;
  /// By class, not 0 for a value: it is written as a literal, whatever computation the user wrote.
  std::span<const std::uint8_t> is_value;
  /// By head, of how many literals it makes a literal; 0: of none. What consists of nothing is one, too.
  std::span<const std::uint8_t> makes_literal;
  const Scopes& scopes;
  /// Forms before this one are as the user wrote them; they win a tie.
  FormId num_written;
  /// By root: the command that needs it, counted from 1. Empty where all symbols are visible everywhere.
  std::span<const std::uint32_t> root_commands{};
};

/// How large the roots are, with all that they consist of, each class counted once.
struct Size {
  std::uint64_t terms = ~std::uint64_t{0};       ///< by the costs of the forms; the largest number: unknown
  std::uint64_t operations = ~std::uint64_t{0};  ///< forms that consist of others
  std::uint64_t idle_parts = ~std::uint64_t{0};  ///< how many parts of forms say nothing

  auto operator<=>(const Size&) const = default;
};

/// The result: by class the form to write; empty where there is none.
struct Choice {
  LargeVector<FormId> form;
  Size size;
  /// What the roots would need as they were written.
  Size as_written;
  /// Something was written in several ways, of which `as_written` counts one: it was no less.
  bool is_written_twice = false;
};

/// For every class one form, so that the forms of the roots, with all that they consist of, cost least.
///
/// To find the least is hard (it is a set cover); this begins with the forms as written, and as they are in
/// the normal form, improves either by changing one class at a time, counting exactly what is needed in
/// addition and what is no longer, and gives the better one. The result costs no more than either of the two.
/// Near linear: a change that would need more than a fixed number of new terms is not made.
///
/// No form is chosen where it would bring in a variable or a symbol that the class does not depend on.
Choice choose(const Question& question);

}  // namespace quarv::forms
