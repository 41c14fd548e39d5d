#include <map>
#include <utility>

#include <quarv/rules/language/rule_sorts.h>
#include <quarv/term/operators.h>

namespace quarv::rules {

namespace {

SortKind kind_of(SortPattern::Kind kind) {
  switch (kind) {
    case SortPattern::boolean:
      return SortKind::boolean;
    case SortPattern::integer:
      return SortKind::integer;
    case SortPattern::real:
      return SortKind::real;
    case SortPattern::rounding_mode:
      return SortKind::rounding_mode;
    case SortPattern::bit:
    case SortPattern::bits:
    case SortPattern::joined:
    case SortPattern::kept:
    case SortPattern::encoding:
      return SortKind::bit_vector;
    case SortPattern::format:
      return SortKind::floating_point;
    case SortPattern::number:
      return SortKind::number;
    case SortPattern::array:
      return SortKind::array;
    case SortPattern::any:
    case SortPattern::index:
    case SortPattern::element:
      break;
  }
  return SortKind::open;
}

/// The more precise of two kinds; nothing when they exclude each other.
std::optional<SortKind> common(SortKind a, SortKind b) {
  if (a == b || b == SortKind::open) return a;
  if (a == SortKind::open) return b;
  const auto is_number = [](SortKind k) { return k == SortKind::integer || k == SortKind::real; };
  if (a == SortKind::number && is_number(b)) return b;
  if (b == SortKind::number && is_number(a)) return a;
  return std::nullopt;
}

}  // namespace

bool can_be_of_any_sort(const OperatorWord& op) {
  return kind_of(op.signature->result.kind) == SortKind::open;
}

bool demands(const OperatorWord& op, std::size_t i, SortKind kind) {
  return kind_of(op.signature->args[i].kind) == kind;
}

std::size_t SortInference::make(SortKind kind) {
  const std::size_t sort = sorts_.size();
  sorts_.push_back({kind, 0, 0});
  same_as_.push_back(sort);
  if (kind == SortKind::array) {
    const std::size_t index = make();
    const std::size_t element = make();
    sorts_[sort].index = index;
    sorts_[sort].element = element;
  }
  return sort;
}

std::size_t SortInference::find(std::size_t sort) const {
  while (same_as_[sort] != sort) sort = same_as_[sort];
  return sort;
}

bool SortInference::unite(std::size_t a, std::size_t b) {
  a = find(a);
  b = find(b);
  if (a == b) return true;
  const auto kind = common(sorts_[a].kind, sorts_[b].kind);
  if (!kind) return false;
  if (sorts_[a].kind == SortKind::open) std::swap(a, b);
  same_as_[b] = a;  // a array, if any is one
  sorts_[a].kind = *kind;
  if (sorts_[b].kind != SortKind::array) return true;
  const RuleSort other = sorts_[b];
  return unite(sorts_[a].index, other.index) && unite(sorts_[a].element, other.element);
}

bool SortInference::unite_but_for_widths(std::size_t a, std::size_t b) {
  a = find(a);
  b = find(b);
  const auto kind = common(sorts_[a].kind, sorts_[b].kind);
  if (kind != SortKind::bit_vector) return unite(a, b);
  make_bit_vector(a);
  make_bit_vector(b);
  return true;
}

std::size_t SortInference::apply(const OperatorWord& op, std::span<const std::size_t> arguments,
                                 bool compare_widths, std::optional<Misfit>* misfit) {
  const Signature& signature = *op.signature;
  std::map<std::pair<SortPattern::Kind, std::uint8_t>, std::size_t> known;
  const auto sort_at = [&](const SortPattern& pattern) {
    const auto found = known.find({pattern.kind, pattern.at});
    if (found != known.end()) return found->second;
    const std::size_t sort = make(kind_of(pattern.kind));
    known[{pattern.kind, pattern.at}] = sort;
    if (pattern.kind == SortPattern::array) {
      // Of a constant array the element comes before the array.
      const auto [element, is_new] = known.try_emplace({SortPattern::element, 0}, sorts_[sort].element);
      if (!is_new) unite(element->second, sorts_[sort].element);
      known[{SortPattern::index, 0}] = sorts_[sort].index;
    }
    return sort;
  };
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::size_t wanted = sort_at(signature.args[i]);
    const SortKind needed = kind(wanted);
    const bool fits =
        compare_widths ? unite(wanted, arguments[i]) : unite_but_for_widths(wanted, arguments[i]);
    if (!fits && misfit != nullptr && !*misfit) *misfit = Misfit{i, needed};
  }
  return sort_at(signature.result);
}

std::vector<RuleSort> SortInference::finish(std::vector<std::size_t>* numbers) const {
  std::vector<RuleSort> left;
  numbers->assign(sorts_.size(), 0);
  for (std::size_t i = 0; i < sorts_.size(); ++i) {
    if (find(i) != i) continue;
    (*numbers)[i] = left.size();
    left.push_back(sorts_[i]);
  }
  for (std::size_t i = 0; i < sorts_.size(); ++i) (*numbers)[i] = (*numbers)[find(i)];
  for (RuleSort& sort : left) {
    if (sort.kind != SortKind::array) continue;
    sort.index = (*numbers)[sort.index];
    sort.element = (*numbers)[sort.element];
  }
  return left;
}

}  // namespace quarv::rules
