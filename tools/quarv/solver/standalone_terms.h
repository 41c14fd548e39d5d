#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quarv::cli {

/// Makes the terms of one script stand for themselves, so that a solver can be asked for each alone: names
/// that `:named` gave to sub-terms are taken away, and where they are used they are bound by `let`; operators
/// of SMT-LIB 2.7 that solvers do not know yet are expressed by older ones.
class StandaloneTerms {
 public:
  /// The term on its own; it may use names that earlier terms gave, but for `hidden` ones, which mean
  /// something else in it. Text without names and newer operators stays as it is.
  std::string standalone(std::string_view term, std::span<const std::string_view> hidden = {});

  /// The user declares or defines this name; it means nothing else from now on.
  void declare(std::string_view name);
  /// A new script begins.
  void reset();

 private:
  struct Named {
    std::string name;  // as it was written
    std::string text;
    std::vector<std::size_t> uses;  // of other names
  };
  /// The parts of an application that is being closed: where each begins in the text so far.
  using Parts = std::span<const std::size_t>;

  bool needs_rewriting(std::string_view term) const;
  std::string rewritten(std::string_view term);
  void close(std::string& out, Parts parts);
  void close_annotation(std::string& out, Parts parts);
  std::vector<std::size_t> used_names(std::string_view term, std::span<const std::string_view> hidden) const;

  std::vector<Named> all_;
  std::map<std::string, std::size_t, std::less<>> named_;  // the term that a name means at this point
  std::set<std::string, std::less<>> declared_;            // by the user, though operators are called so
};

}  // namespace quarv::cli
