#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

#include "replay/trace_file.h"

namespace quarv::cli {

/// The terms of several traces side by side: what is the same term in two traces is the same here, whatever
/// its names there.
class TraceTerms {
 public:
  using Id = std::uint32_t;

  /// The terms of one trace, by the names that they have in it.
  class Names {
   public:
    Names(TraceTerms& terms, const TraceFile& trace) : terms_(terms), trace_(trace) {}

    /// The term of that name, which the trace has defined by now.
    Id operator()(TermName name);
    /// A term that the trace describes and need not have named.
    Id operator()(const Expression& e);
    /// The number of a sort.
    std::size_t sort(std::size_t name);

   private:
    void add_definitions();
    Id convert(Expression e);

    TraceTerms& terms_;
    const TraceFile& trace_;
    std::unordered_map<TermName, Id> ids_;
    std::vector<std::size_t> sorts_;
    std::size_t num_read_ = 0;
  };

  std::size_t size() const noexcept { return terms_.size(); }
  /// An operator, with `args`, `variables` and `sort` as they are numbered here.
  const Expression& term(Id id) const { return terms_[id]; }
  const TraceSort& sort(std::size_t number) const { return sorts_[number]; }
  const TraceSort& sort_of(Id id) const { return sort(terms_[id].sort); }
  /// "(Array Int Bool)"
  const std::string& sort_text(Id id) const { return sort_texts_[terms_[id].sort]; }

  /// The same application on other arguments; of a quantifier, which binds other variables where there are
  /// any.
  Id with_args(Id id, const std::vector<Id>& args, const std::vector<Id>& variables = {});

  /// A term that no trace need have; arguments, variables and sort as they are numbered here.
  Id entered(Expression e) { return add(std::move(e)); }
  /// True or false, of the sort of truth values.
  Id truth(bool value, std::size_t sort);
  /// A read of an array of this sort.
  Id any_read(std::size_t array_sort);

  /// A variable that no trace has; each depth and number has its own.
  Id own_variable(std::size_t sort, std::size_t depth, std::size_t number);
  bool is_own_variable(Id id) const {
    return !terms_[id].indices.empty() && terms_[id].kind == Expression::function;
  }

  /// Enters what becomes of a term when its arguments become what is entered for them; nothing where all
  /// stay.
  void change(Id id, std::unordered_map<Id, Id>& changed);
  /// `root` with `after` wherever `before` occurs in it. Nothing recurses.
  Id replaced(Id root, Id before, Id after);

 private:
  Id add(Expression e);

  std::deque<Expression> terms_;  // they stay where they are
  std::unordered_map<std::string, Id> ids_;
  std::vector<TraceSort> sorts_;
  std::vector<std::string> sort_texts_;
  std::unordered_map<std::string, std::size_t> sort_ids_;
};

/// Whether a quantifier within `in` binds a variable that occurs in `root`, which then is another one there.
bool binds_part_of(const TraceTerms& terms, TraceTerms::Id in, TraceTerms::Id root);

/// The terms that occur in `root`, each once, arguments before what they are arguments of.
std::vector<TraceTerms::Id> in_post_order(const TraceTerms& terms, TraceTerms::Id root);

}  // namespace quarv::cli
