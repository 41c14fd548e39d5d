#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "replay/trace_terms.h"

namespace quarv::cli {

/// The functions that a part of a trace defines, and what the definitions say of arguments.
class Unfolding {
 public:
  using Id = TraceTerms::Id;

  explicit Unfolding(TraceTerms& terms) : terms_(terms) {}

  struct Definition {
    std::string function;
    std::vector<Id> parameters;
    std::vector<Id> binds;  ///< variables that quantifiers bind in the body
    Id body;
    bool is_recursive = false;  ///< the function occurs in its own definition, or in an earlier one
    std::vector<Id> order{};    ///< what depends on variables, arguments before what consists of them
  };

  void add(const TraceDefinition& definition, TraceTerms::Names& names);
  const std::vector<Definition>& definitions() const noexcept { return definitions_; }

  /// The body of the function that `application` applies with the arguments in place of the parameters, and
  /// `binds` in place of the variables of its quantifiers. Nothing where the function is not defined, its
  /// definition does not say what it is, or a variable would catch what an argument refers to.
  std::optional<Id> instance(const Expression& application, const std::vector<Id>& binds);

 private:
  void list_functions(Id body);
  void list_dependents(Definition& d) const;
  bool binds_all(const Definition& d) const;
  bool are_fresh(const Definition& d, const std::vector<TermName>& args, const std::vector<Id>& binds) const;

  TraceTerms& terms_;
  std::vector<Definition> definitions_;
  std::unordered_map<std::string, std::size_t> by_function_;
  std::unordered_set<std::string> used_;  // functions that occur in bodies
  std::unordered_set<Id> looked_through_;
};

}  // namespace quarv::cli
