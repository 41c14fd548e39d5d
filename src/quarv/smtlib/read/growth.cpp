#include <algorithm>
#include <cstring>

#include <quarv/smtlib/read/growth.h>
#include <quarv/util/hash_map.h>

namespace quarv::smtlib {

namespace {

constexpr std::size_t reference_bytes = 4;  // the name of a shared term
constexpr std::size_t operator_bytes = 6;   // with parentheses and a space

/// Of an atom, with the space before it, or of an operator.
std::size_t own_bytes(const TermManager& manager, const Term* t) {
  const Symbol* symbol = t->symbol;
  if (const QNumber* value = manager.get_number(t)) {
    if (value->is_small()) return 4;
    const std::size_t bits = numerator_bits(*value) + (value->is_integer() ? 0 : denominator_bits(*value));
    return bits * 3 / 10 + 4;
  }
  if (manager.is_quantifier(symbol)) {
    std::size_t bytes = operator_bytes;
    for (const Term* v : manager.quantifier_variables(symbol)) bytes += std::strlen(v->symbol->name) + 8;
    return bytes;
  }
  if (manager.get_tag(symbol) != SymbolTag::UF) return operator_bytes;
  return std::strlen(symbol->name) + (manager.arity(t) == 0 ? 1 : 3);
}

/// Chains of these are written as one operation.
bool is_continued(const TermManager& manager, const Term* parent, const Term* child) {
  const SymbolTag::tag tag = manager.get_tag(parent->symbol);
  return parent->symbol == child->symbol &&
         (tag == SymbolTag::PLUS || tag == SymbolTag::AND || tag == SymbolTag::OR);
}

}  // namespace

bool GrowthMeter::is_abandoned(std::uint64_t id) const noexcept {
  const auto behind =
      std::upper_bound(abandoned_.begin(), abandoned_.end(), id,
                       [](std::uint64_t number, const auto& range) { return number < range.first; });
  return behind != abandoned_.begin() && id < std::prev(behind)->second;
}

std::size_t GrowthMeter::added_bytes(std::span<const Term* const> terms, std::uint64_t first) const {
  hsh::HashSet<const Term*> seen;
  std::vector<const Term*> pending;
  std::size_t bytes = 0;
  const auto visit = [&](const Term* parent, const Term* t) {
    if (manager_->arity(t) == 0) {
      bytes += own_bytes(*manager_, t);
    } else if ((t->id < first && !is_abandoned(t->id)) || seen.contains(t)) {
      bytes += reference_bytes;
    } else {
      seen.insert(t);
      if (parent == nullptr || !is_continued(*manager_, parent, t)) bytes += own_bytes(*manager_, t);
      pending.push_back(t);
    }
  };
  for (const Term* t : terms) visit(nullptr, t);
  while (!pending.empty()) {
    const Term* t = pending.back();
    pending.pop_back();
    for (const Term* argument : manager_->args_of(t)) visit(t, argument);
  }
  return bytes;
}

}  // namespace quarv::smtlib
