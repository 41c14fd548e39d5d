#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "reference/sorts.h"
#include "reference/terms.h"
#include "rules/mine/collector.h"

namespace quarv::cli {

/// What the terms that could stand in place of a sample are made of. Samples with the same ingredients share
/// them.
struct Ingredients {
  /// By number: widths of variables, where there are any, and of constants that have names, with their values
  /// where these are fixed.
  std::vector<std::optional<std::size_t>> variables;
  std::vector<std::pair<std::size_t, std::uint64_t>> constants;
  bool constants_fixed = false;
  std::set<std::size_t> widths;      ///< of parts
  std::set<std::size_t> borders;     ///< lowest bits of what may be extracted
  std::set<std::string_view> words;  ///< of operators
  std::size_t width = 0;             ///< of the terms; 0: truth values
  std::size_t most_nodes = 0;        ///< of a term, constants being folded

  auto operator<=>(const Ingredients&) const = default;
};

/// The ingredients of terms that are smaller than the sample.
Ingredients ingredients_of(const Sample& sample);

/// All terms of some ingredients up to a size, by their values under many assignments. Of terms that have the
/// same values only the smallest are part of larger ones.
class Pool {
 public:
  explicit Pool(const Ingredients& ingredients);

  /// The smallest terms that have the same values as the sample under all assignments that were tried, in the
  /// order of their sizes. They have only what the sample has, so that none has more occurrences of a
  /// variable.
  std::vector<SmallTerm> equal_to(const SmallTerm& term);

 private:
  struct Entry {
    SmallTerm::Node node;  // its arguments are entries
    std::size_t place;     // of its expression
    bool constant;         // without variables: it is folded
  };
  using Places = std::vector<std::size_t>;  // of entries

  void make_leaves();
  void make_constants();
  void make_level(std::size_t nodes);
  void make_unary(std::size_t arg, Places& level, bool last);
  void make_binary(std::size_t a, std::size_t b, Places& level, bool last);
  void make_of_truth_values(std::size_t a, std::size_t b, Places& level, bool last);
  void make_choices(std::size_t nodes, Places& level, bool last);
  void add(SmallTerm::Node node, Places& level);
  void add_application(std::string_view word, std::size_t width, std::vector<std::size_t> indices,
                       std::vector<std::size_t> args, Places& level);
  bool has(std::string_view word) const { return ingredients_.words.contains(word); }
  bool is_full() const;
  std::uint64_t fingerprint(std::size_t place);
  const reference::Sort* sort(std::size_t width);
  std::size_t expression_of(const SmallTerm::Node& node, const std::vector<std::size_t>& arg_places);
  SmallTerm written_out(std::size_t entry) const;

  Ingredients ingredients_;
  reference::Sorts sorts_;
  reference::Expressions expressions_;
  reference::Evaluation values_;
  std::vector<Entry> entries_;
  std::vector<Places> levels_;                       // by number of nodes
  std::unordered_map<std::uint64_t, Places> known_;  // by fingerprint
  std::map<std::string, std::size_t> leaves_;        // places of expressions
};

}  // namespace quarv::cli
