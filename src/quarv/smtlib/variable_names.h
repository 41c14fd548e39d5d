#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <quarv/forms/form_graph.h>
#include <quarv/smtlib/script.h>
#include <quarv/smtlib/written_forms.h>

namespace quarv::smtlib {

/// Variables that hide something else of their name have other names among terms: `x!1`. Where what is hidden
/// does not occur in the variable's scope, it can be printed with its own.
class VariableNames {
 public:
  /// `chosen`: by class, the form that is printed.
  VariableNames(const TermManager& manager, WrittenForms& written, const Script& script,
                std::span<const forms::FormId> chosen);

  /// The names to print by variable, where these are other than the variable's. Of variables that look the
  /// same, `same_name` stands for all.
  const std::unordered_map<const Symbol*, std::string>& names() const noexcept { return names_; }

  /// The text before the body of a definition with such names; empty where it stays.
  std::string heading(const Command& c, const Script::DefinedFunction& f) const;

 private:
  using Names = std::unordered_map<const Symbol*, std::string>;

  void forbid_names(const Script& script);
  void look_through(std::span<const Term* const> bound, forms::ClassId body);
  void meet(forms::HeadId head, const Names& wanted);
  void meet(const Symbol* s, const Names& wanted, bool is_bound_inside);
  void meet_name(std::string_view name, const Symbol* of, const Names& wanted);
  std::vector<forms::ClassId> reachable(const std::vector<forms::ClassId>& roots) const;

  const TermManager& m_;
  WrittenForms& written_;
  forms::FormGraph& g_;
  std::span<const forms::FormId> chosen_;
  Names names_;
  std::unordered_set<const Symbol*> bound_inside_;  // by quantifiers of the body that is looked through
  std::size_t effort_ = 0;
};

}  // namespace quarv::smtlib
