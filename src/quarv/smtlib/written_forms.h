#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <quarv/forms/choice.h>
#include <quarv/forms/form_graph.h>
#include <quarv/smtlib/normal_forms.h>
#include <quarv/smtlib/script.h>
#include <quarv/util/hash_map.h>

namespace quarv::smtlib {

struct OperatorDefinition;

/// How the terms of a script were written: told by the reader while it builds them.
class WrittenForms {
 public:
  using ClassId = forms::ClassId;
  using Arguments = std::span<const ClassId>;

  explicit WrittenForms(TermManager& manager) : m_(manager), normal_(manager, graph_) {}

  forms::FormGraph& graph() noexcept { return graph_; }
  NormalForms& normal() noexcept { return normal_; }

  /// A name or a literal; `decimal` for one with a decimal point.
  ClassId leaf(const Term* t, bool decimal);
  /// A function, quantifier or annotation over what has been written before, which is the term `t`.
  ClassId application(const Symbol* head, Arguments arguments, const Term* t);
  /// An operator of a theory; `index` is that of an operator whose index is an argument, else null. `real`:
  /// a term of sort Int that was written as a Real.
  ClassId application(const OperatorDefinition& op, std::span<const std::size_t> indices, const Term* index,
                      Arguments arguments, const Term* t, bool real);
  /// A command's term, which was written as `form` and has become `t`, at a place that demands `sort`.
  ClassId root(ClassId form, const Term* t, const DataType* sort);

  /// The user calls this class by a name of a `let`.
  void let_name(ClassId form, std::string_view name) { let_names_.emplace_back(form, name); }
  /// Names that the user gave by `let`, each to one class and to nothing else: by class.
  std::unordered_map<ClassId, std::string> let_names() const;
  /// The user wrote the sort of a bound variable so, at the outermost level.
  void variable_sort(const Symbol* variable, std::string_view text) {
    variable_sorts_.try_emplace(variable, text);
  }
  void forget_variable_sorts() { variable_sorts_.clear(); }
  const std::unordered_map<const Symbol*, std::string>& variable_sorts() const noexcept {
    return variable_sorts_;
  }
  /// The command with this number declares a symbol.
  void declared(const Symbol* symbol, std::size_t command) {
    declared_[symbol] = static_cast<std::uint32_t>(command);
  }
  /// The user calls a bound variable by a name that means something else around it.
  void renamed(const Symbol* variable, std::string_view name) { renamed_.try_emplace(variable, name); }
  const std::unordered_map<const Symbol*, std::string>& renamed() const noexcept { return renamed_; }
  /// Commands have been put between others: by number, the new one.
  void renumber_commands(std::span<const std::size_t> numbers);
  const std::unordered_map<const Symbol*, std::uint32_t>& declarations() const noexcept { return declared_; }
  /// Another function of this name takes Int where this one takes Real, or the other way round: an argument
  /// must be written as what it is.
  void takes_exact_sorts(const Symbol* function) { exact_.insert(function); }
  bool needs_exact_sorts(const Symbol* function) const { return exact_.contains(function); }
  bool needs_exact_sorts() const noexcept { return !exact_.empty(); }
  /// The command with this number defines a function, by which the terms equal to its applications may be
  /// written. No term contains parameters of several functions.
  void defined(const Symbol* function, std::span<const Term* const> parameters, std::size_t command);
  bool is_defined(const Symbol* function) const { return defined_.contains(function); }
  bool defines_functions() const noexcept { return !defined_.empty(); }
  /// One symbol for all parameters at the same place; another symbol for itself.
  const Symbol* same_place(const Symbol* variable) const { return stand_in(variable).place; }
  /// One symbol for all parameters with the same name and sort; another symbol for itself.
  const Symbol* same_name(const Symbol* variable) const { return stand_in(variable).name; }

  /// How many terms have been met; `forget_since` such a number: what has been met later will not be
  /// simplified.
  std::size_t num_met() const noexcept { return met_.size(); }
  void forget_since(std::size_t num_met) { met_.resize(std::min(num_met, met_.size())); }

  /// Nothing will be written down any more: gives back memory that only writing down needs.
  void seal();

  /// The terms that were built for what was written, as they were before rules.
  const std::vector<std::pair<ClassId, Node>>& met() const noexcept { return met_; }

 private:
  /// "(_ extract 7 0)", "((_ to_fp 8 24)": as many indices as nearly all operators have.
  struct IndexedOperator {
    const OperatorDefinition* op;
    std::array<std::size_t, 2> indices;
    bool operator==(const IndexedOperator&) const = default;
  };
  struct IndexedHash {
    std::uint64_t operator()(const IndexedOperator& o) const noexcept {
      return reinterpret_cast<std::uintptr_t>(o.op) + 31 * o.indices[0] + 1009 * o.indices[1];
    }
  };

  struct StandIns {
    const Symbol* place;
    const Symbol* name;
  };
  StandIns stand_in(const Symbol* variable) const {
    const auto known = parameters_.find(variable);
    return known == parameters_.end() ? StandIns{variable, variable} : known->second;
  }
  forms::HeadId head_of(const OperatorDefinition& op, std::span<const std::size_t> indices,
                        const Term* index);
  ClassId add(forms::HeadId head, Arguments arguments, Node n);

  TermManager& m_;
  forms::FormGraph graph_;
  NormalForms normal_;
  hsh::HashMap<const OperatorDefinition*, forms::HeadId> operator_heads_;
  hsh::HashMap<IndexedOperator, forms::HeadId, IndexedHash> indexed_heads_;
  std::unordered_map<const Symbol*, std::uint32_t> declared_;
  std::unordered_set<const Symbol*> exact_;
  std::unordered_set<const Symbol*> defined_;
  std::unordered_map<const Symbol*, StandIns> parameters_;
  std::unordered_map<const Symbol*, std::string> renamed_;
  std::vector<const Symbol*> by_place_;
  std::map<std::pair<std::string, const DataType*>, const Symbol*> by_name_;  // searched, never walked
  std::unordered_map<const Symbol*, std::string> variable_sorts_;
  std::vector<std::pair<ClassId, Node>> met_;
  std::vector<std::pair<ClassId, std::string_view>> let_names_;
};

}  // namespace quarv::smtlib
