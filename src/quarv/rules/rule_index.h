#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include <quarv/rules/language/term_shape.h>
#include <quarv/term/symbol_tag.h>

namespace quarv::rules {

/// Finds the rules that can match a term from its tag and those of its first two arguments.
///
/// Each operator has a table of its own, made when it is first asked for: a small script has few operators.
/// Tags that no rule of the operator tells apart share a row (or a column), so that the tables stay small:
/// about a dozen squared for equality, which has the most rules.
class RuleIndex {
 public:
  struct Entry {
    std::uint32_t number;  ///< what `candidates` returns
    SymbolTag::tag applicant;
    ChildShapes shapes;
  };

  /// Forgets what was known, and keeps these rules.
  void build(std::span<const Entry> entries);

  /// The numbers of the rules to try on a term, in the order in which they were handed to `build`. The tag of
  /// an argument that does not exist is of no consequence.
  std::span<const std::uint32_t> candidates(SymbolTag::tag root, SymbolTag::tag first,
                                            SymbolTag::tag second) {
    if (!has_rules(root)) return {};
    if (tables_[root] == nullptr) tables_[root] = make_table(entries_of(root));
    const Table* table = tables_[root].get();
    const std::size_t cell = table->row[first] * table->num_columns + table->column[second];
    return std::span(table->numbers).subspan(table->begin[cell], table->begin[cell + 1] - table->begin[cell]);
  }

  /// True when some rule is for that operator.
  bool has_rules(SymbolTag::tag root) const { return first_[root] != first_[root + 1]; }

 private:
  struct Table {
    std::array<std::uint8_t, SymbolTag::count> row{};
    std::array<std::uint8_t, SymbolTag::count> column{};
    std::size_t num_columns = 0;
    std::vector<std::uint32_t> begin;  // of each cell's part of `numbers`, and the end of the last
    std::vector<std::uint32_t> numbers;
  };

  static std::unique_ptr<Table> make_table(std::span<const Entry> entries);  // those of one operator
  std::span<const Entry> entries_of(SymbolTag::tag root) const {
    return std::span(entries_).subspan(first_[root], first_[root + 1] - first_[root]);
  }

  std::vector<Entry> entries_;                               // by operator
  std::array<std::uint32_t, SymbolTag::count + 1> first_{};  // of each operator
  std::array<std::unique_ptr<Table>, SymbolTag::count> tables_;
};

}  // namespace quarv::rules
