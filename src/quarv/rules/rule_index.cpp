#include <algorithm>

#include <quarv/rules/rule_index.h>

namespace quarv::rules {

namespace {

/// A numbering of tags in which those that no rule tells apart share a number, with one tag for each number.
struct Classes {
  std::array<std::uint8_t, SymbolTag::count> of{};
  std::vector<SymbolTag::tag> representatives;
};

Classes classify(std::span<const RuleIndex::Entry> entries, SymbolTag::tag applicant, std::size_t child) {
  std::array<bool, SymbolTag::count> told_apart{};
  for (const RuleIndex::Entry& entry : entries) {
    const ChildShape& shape = entry.shapes[child];
    if (entry.applicant != applicant || shape.kind == ChildShape::Kind::any) continue;
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

std::unique_ptr<RuleIndex::Table> RuleIndex::make_table(std::span<const Entry> entries,
                                                        SymbolTag::tag applicant) {
  const Classes first = classify(entries, applicant, 0);
  const Classes second = classify(entries, applicant, 1);
  auto table = std::make_unique<Table>();
  table->row = first.of;
  table->column = second.of;
  table->num_columns = second.representatives.size();
  for (const SymbolTag::tag a : first.representatives) {
    for (const SymbolTag::tag b : second.representatives) {
      table->begin.push_back(static_cast<std::uint32_t>(table->numbers.size()));
      for (const Entry& entry : entries) {
        if (entry.applicant == applicant && entry.shapes[0].admits(a) && entry.shapes[1].admits(b)) {
          table->numbers.push_back(entry.number);
        }
      }
    }
  }
  table->begin.push_back(static_cast<std::uint32_t>(table->numbers.size()));
  return table;
}

void RuleIndex::build(std::span<const Entry> entries) {
  for (auto& table : tables_) table.reset();
  for (const Entry& entry : entries) {
    if (tables_[entry.applicant] == nullptr) tables_[entry.applicant] = make_table(entries, entry.applicant);
  }
}

}  // namespace quarv::rules
