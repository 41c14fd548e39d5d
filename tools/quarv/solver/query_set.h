#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace quarv::cli {

/// What the two terms of a query are called in its text, so that their values can be asked for.
inline constexpr const char* name_before = "quarv.before";
inline constexpr const char* name_after = "quarv.after";

/// A query cannot be put into words.
class NoQuery : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Questions for a solver: pairs of terms that must be equal for all values of what is free in them. Each is
/// a whole script, which can be satisfied exactly when its terms differ.
///
/// All members may be called from several threads at once.
class QuerySet {
 public:
  enum class Form {
    general,  ///< parts of the terms that probably play no role are any values; equality is more than needed
    exact,
    // One term alone, compared with itself: for learning whether the solver understands it.
    input,
    output
  };

  virtual ~QuerySet() = default;
  virtual std::size_t size() const = 0;
  /// What a query is about: "x.smt2:12: assertion 3".
  virtual std::string title(std::size_t i) const = 0;
  /// For a file: "assertion-3".
  virtual std::string short_name(std::size_t i) const = 0;
  /// The terms are the same; there is nothing to be asked.
  virtual bool is_trivial(std::size_t i) const = 0;
  /// The solver's input up to `(check-sat)`. Empty when a query has no such form: each has at least the exact
  /// one. Throws NoQuery.
  virtual std::string script(std::size_t i, Form form) const = 0;
};

/// What every query begins with.
std::string query_beginning(const std::string& title);
/// What a query with names ends with: whether the two of them differ, or one from itself.
std::string difference(QuerySet::Form form);

}  // namespace quarv::cli
