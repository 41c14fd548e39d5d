#pragma once

#include <memory>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <quarv/forms/form_graph.h>
#include <quarv/smtlib/normal_forms.h>
#include <quarv/smtlib/written_forms.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

/// Makes terms of the forms that were chosen, in a manager of their own, where each operator is an
/// uninterpreted symbol with the operator's text for a name.
class ChosenTerms {
 public:
  /// `chosen`: by class, the form to write. Nothing may be added to the graph meanwhile.
  ChosenTerms(TermManager& from, WrittenForms& written, std::span<const forms::FormId> chosen,
              TermManager& to);
  ~ChosenTerms();
  ChosenTerms(const ChosenTerms&) = delete;
  ChosenTerms& operator=(const ChosenTerms&) = delete;

  /// A variable is to have this name. Before terms are made.
  void rename(const Symbol* variable, std::string_view name);

  const Term* term(forms::ClassId root);
  /// The term of a class if it has been made, else null.
  const Term* known(forms::ClassId c) const { return terms_[graph_.find(c)]; }
  /// What stands for a variable if it has been made, else null.
  const Term* known(const Symbol* variable) const;

 private:
  using Leaves = std::unordered_map<const Symbol*, const Term*>;
  struct PatternForms;
  /// Of the terms of patterns.
  ChosenTerms(const ChosenTerms& outer, PatternForms& patterns);

  void find_patterns();
  /// The terms of an annotation's patterns; of other heads none.
  std::span<const Term* const> patterns_of(forms::HeadId h) const;
  const Term* pattern(const Term* t);
  /// Parts of the form that have not been made, the first one last.
  void push_missing(const forms::Form& f, std::vector<forms::ClassId>& pending) const;
  const Term* made(forms::ClassId c);
  const Term* variable(const Symbol* s);
  /// Other sorts of the source mean nothing to the other manager, which prints them and no more.
  const DataType* sort(const DataType* s) const { return s == from_.bool_type ? to_.bool_type : s; }
  const Symbol* symbol(forms::ClassId c, forms::HeadId h);
  const Symbol* operation(forms::HeadId h, const DataType* result);
  void convert_arguments(const Symbol* function, const forms::Form& f);

  TermManager& from_;
  const WrittenForms& written_;
  const NormalForms& normal_;
  const forms::FormGraph& graph_;
  const std::span<const forms::FormId> chosen_;
  TermManager& to_;
  const std::shared_ptr<Leaves> leaves_;
  std::unique_ptr<PatternForms>
      own_patterns_;  // of annotations, which are not chosen but as they were written
  PatternForms* const patterns_;
  const bool in_patterns_;                 // these are terms of patterns
  std::vector<const Term*> terms_;         // by class
  std::vector<const Symbol*> operations_;  // by head: the last that was made
  std::vector<const Term*> args_;
  std::vector<const DataType*> types_;
};

}  // namespace quarv::smtlib
