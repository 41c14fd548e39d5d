#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "solver/query_set.h"
#include "solver/standalone_terms.h"
#include <quarv/rules/simplification_observer.h>
#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

/// Asks whether every single step holds by which a script is simplified; steps have the numbers that they
/// have in a trace. Variables that are bound outside of a step, and constants and functions are any values;
/// defined ones too, but where the step is what the definition says.
class StepQueries : public QuerySet, private SimplificationObserver {
 public:
  /// Simplifies the script. `text` must outlive this. Throws what reading and simplifying throw.
  StepQueries(std::string_view text, const std::string& file, const smtlib::SimplifyOptions& options);

  std::size_t size() const override { return steps_.size(); }
  std::string title(std::size_t i) const override;
  std::string short_name(std::size_t i) const override { return "step-" + std::to_string(i + 1); }
  bool is_trivial(std::size_t) const override { return false; }
  std::string script(std::size_t i, Form form) const override;

 private:
  struct Step {
    std::uint32_t assertion;
    std::uint32_t rule;                 // counting from 1; 0: a simplifier
    const Symbol* op;                   // of a simplifier
    std::uint32_t first_arg, num_args;  // likewise
    const Term* before;                 // of a rule
    const Term* after;
    bool is_definition = false;  // `op` is a function, and `after` what its definition says
  };

  void on_rule(std::size_t rule, const Term* before, const Term* after) override;
  void on_simplification(const Symbol* op, std::span<const Term* const> args, const Term* after) override;
  void on_definition(const Symbol* f, std::span<const Term* const> args,
                     std::span<const Term* const> variables, const Term* after) override;
  void add(Step step) { steps_.push_back(step); }

  std::vector<const Term*> terms_of(const Step& step) const;
  bool has_named_arguments(const Step& step) const;
  const Term* application(const Symbol* op, std::span<const Term* const> args, StandaloneTerms& context,
                          std::string& text) const;
  std::string definition(const std::string& name, const Term* t, const DataType* sort,
                         StandaloneTerms& context) const;
  std::string declarations(std::span<const Term* const> terms, const smtlib::Script::DefinedFunction* defined,
                           StandaloneTerms& context) const;
  std::string declaration(const smtlib::Script::DefinedFunction& f, StandaloneTerms& context) const;
  std::string sort_declarations(std::string_view text) const;

  // All that follows is used under the mutex when all steps are known: queries need terms of their own.
  mutable std::mutex mutex_;
  mutable Session session_;
  smtlib::Script script_;
  std::vector<Step> steps_;
  std::vector<const Term*> args_;
  std::unordered_map<const Symbol*, const smtlib::Script::DefinedFunction*> functions_;
  std::uint32_t assertion_ = 1;
};

}  // namespace quarv::cli
