#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <unordered_map>
#include <vector>

#include <quarv/term/term_manager.h>
#include <quarv/util/hash_map.h>

namespace quarv::smtlib {

/// What applications of defined functions stand for: the body of the definition with the arguments in place
/// of the parameters.
///
/// Sharing is kept: what a body contains once is built once for an application, and what does not depend on
/// parameters is not built again.
class Unfolder {
 public:
  using Args = std::span<const Term* const>;
  /// Gives the variable that takes the place of one that a body's quantifier binds, at the n-th attempt; null
  /// where it would mean something else. At the first attempt, 0, this is the variable itself.
  using Rename = std::function<const Term*(const Term* variable, std::uint32_t attempt)>;

  /// A part of a node: a term that is the same for all arguments, or something that depends on them.
  struct Part {
    const Term* fixed;    // or null
    std::uint32_t index;  // of a variable, or behind these of a node
  };
  struct Node {
    const Term* term;
    std::uint32_t first_part;  // of its arguments, then of the variables that it binds
  };
  struct Body {
    std::vector<const Term*> variables;  // the parameters, then what quantifiers bind
    std::uint32_t num_parameters = 0;
    std::vector<Node> nodes;  // what depends on variables; parts before what consists of them
    std::vector<Part> parts;
    Part result{nullptr, 0};
    std::uint64_t last_term = 0;  // no term in it has a larger number
  };

  explicit Unfolder(TermManager& manager) : m_(manager) {}

  /// From now on `f` of `parameters` is `body`; the parameters occur in no other term. Returns false for a
  /// function that stays what it is: it occurs in its own definition, or a part of the body has an annotation
  /// or was not understood when it was built.
  bool define(const Symbol* f, std::span<const Term* const> parameters, const Term* body);
  bool empty() const noexcept { return bodies_.empty(); }

  /// The body of a function; null where there is none.
  const Body* find(const Symbol* f) const {
    const auto known = bodies_.find(f);
    return known == bodies_.end() ? nullptr : &known->second;
  }
  /// How many terms an application comes to at most.
  static std::size_t size(const Body& body) noexcept { return body.nodes.size() + 1; }
  /// The variables that its quantifiers bind.
  static Args bound(const Body& body) noexcept { return Args(body.variables).subspan(body.num_parameters); }
  /// What the body says of arguments that fit, built by full constructors.
  const Term* unfolded(const Body& body, Args args, const Rename& rename);

  /// The variables that took the place of those that the quantifiers of the body last unfolded bind.
  Args bound_last(const Body& body) const noexcept {
    return Args(values_).subspan(body.num_parameters, body.variables.size() - body.num_parameters);
  }

  /// Terms from this number on have been released.
  void forget_from(std::uint64_t first);

 private:
  class Reading;
  bool is_unclear(const Term* t, const Symbol* f) const;
  void rename_variables(const Body& body, const Rename& rename);
  const Term* value(const Part& part) const {
    return part.fixed != nullptr ? part.fixed : values_[part.index];
  }
  const Term* built(const Body& body, const Node& node);

  TermManager& m_;
  std::unordered_map<const Symbol*, Body> bodies_;
  hsh::HashSet<const Term*> fixed_;  // terms without variables that have been looked at
  std::vector<const Term*> values_;  // of the variables and nodes of the body at hand
  std::vector<const Term*> args_;
};

}  // namespace quarv::smtlib
