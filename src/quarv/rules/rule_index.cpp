#include <algorithm>
#include <numeric>

#include <quarv/rules/rule_index.h>

namespace quarv::rules {

namespace {

/// A numbering of tags in which those that no rule tells apart share a number, with one tag for each number.
struct Classes {
  std::array<std::uint8_t, SymbolTag::count> of{};
  std::vector<SymbolTag::tag> representatives;
};

Classes classify(std::span<const RuleIndex::Entry> entries, std::size_t child) {
  std::array<bool, SymbolTag::count> told_apart{};
  for (const RuleIndex::Entry& entry : entries) {
    const ChildShape& shape = entry.shapes[child];
    if (shape.kind == ChildShape::Kind::any) continue;
    told_apart[shape.kind == ChildShape::Kind::headed_by ? shape.tag : SymbolTag::CONSTANT] = true;
  }
  Classes classes;
  const auto other = std::ranges::find(told_apart, false) - told_apart.begin();
  classes.representatives.push_back(static_cast<SymbolTag::tag>(other));
  for (std::size_t tag = 0; tag < SymbolTag::count; ++tag) {
    if (!told_apart[tag]) continue;
    classes.of[tag] = static_cast<std::uint8_t>(classes.representatives.size());
    classes.representatives.push_back(static_cast<SymbolTag::tag>(tag));
  }
  return classes;
}

}  // namespace

std::unique_ptr<RuleIndex::Table> RuleIndex::make_table(std::span<const Entry> entries) {
  const Classes first = classify(entries, 0);
  const Classes second = classify(entries, 1);
  auto table = std::make_unique<Table>();
  table->row = first.of;
  table->column = second.of;
  table->num_columns = second.representatives.size();
  for (const SymbolTag::tag a : first.representatives) {
    for (const SymbolTag::tag b : second.representatives) {
      table->begin.push_back(static_cast<std::uint32_t>(table->numbers.size()));
      for (const Entry& entry : entries) {
        if (entry.shapes[0].admits(a) && entry.shapes[1].admits(b)) table->numbers.push_back(entry.number);
      }
    }
  }
  table->begin.push_back(static_cast<std::uint32_t>(table->numbers.size()));
  return table;
}

void RuleIndex::build(std::span<const Entry> entries) {
  for (auto& table : tables_) table.reset();
  first_.fill(0);
  for (const Entry& entry : entries) ++first_[entry.applicant + 1];
  std::partial_sum(first_.begin(), first_.end(), first_.begin());
  entries_.resize(entries.size());
  std::array<std::uint32_t, SymbolTag::count + 1> next = first_;
  for (const Entry& entry : entries) entries_[next[entry.applicant]++] = entry;
}

}  // namespace quarv::rules
