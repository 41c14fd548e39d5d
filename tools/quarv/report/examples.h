#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

/// How one assertion was simplified, for people to look at.
struct Example {
  struct Step {
    std::string title;
    std::string rule;    ///< what it is called; empty: it is none
    std::string before;  ///< what changes stands between the characters 1 and 2
    std::string after;
  };

  /// In Graphviz' language.
  struct Graphs {
    std::string before;
    std::string after;
    std::size_t step;  ///< whose change is shown, from 1; 0: the whole assertion
  };

  std::string file;
  std::size_t assertion = 0;
  std::size_t terms_before = 0;
  std::size_t terms_after = 0;
  std::vector<Step> steps;
  bool more = false;  ///< there are further steps
  std::string result;
  std::optional<Graphs> graphs;
};

/// The assertions of a script that shrink most, at most `count`, the one that shrinks most first. Throws
/// InputError.
std::vector<Example> largest_reductions(std::string_view text, const std::string& name,
                                        const smtlib::SimplifyOptions& options, std::size_t count);

}  // namespace quarv::cli
