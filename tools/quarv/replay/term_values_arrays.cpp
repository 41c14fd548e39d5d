/// \file
/// Values of arrays: what is written to another array, in an order of its own.
#include <algorithm>

#include "replay/term_values.h"

namespace quarv::cli {

namespace {

constexpr std::size_t most_writes = 1000, most_open_writes = 16, most_moves = 64, most_compared = 8;

}  // namespace

bool TermValues::is_store(Value v) const {
  return at(v).kind == Thing::application && at(v).op.starts_with(store_key) && at(v).args.size() == 3;
}

std::optional<TermValues::Value> TermValues::array(const Expression& e) {
  const auto arg = [&](std::size_t i) {
    return Argument(argument(e, i), is_word(static_cast<Id>(e.args[i])));
  };
  if (e.op == "select" && e.args.size() == 2) return read(arg(0).first, arg(1), e);
  if (e.op == "store" && e.args.size() == 3) return stored(arg(0).first, arg(1), arg(2), e);
  return std::nullopt;
}

/// Whether this is what the array holds there.
bool TermValues::holds_already(Value array, Argument index, Argument element, const Expression& e) {
  const bool is_read = !element.second || application_bits_.contains(words_.bits(element.first)[0] >> 1);
  for (std::size_t writes = 0; is_store(array) && writes < most_moves; ++writes) {
    const Bit same = equal(index, at(array).args[1]);
    if (same == BitGraph::yes) return equal(element, at(array).args[2]) == BitGraph::yes;
    if (same != BitGraph::no) return false;
    array = found(at(array).args[0].first);
  }
  if (is_everywhere(array)) return equal(element, at(array).args[0]) == BitGraph::yes;
  if (is_store(array) || !is_read) return false;
  const Expression& read_there = terms_.term(terms_.any_read(e.sort));
  return equal(element, {read(array, index, read_there), is_word(read_there)}) == BitGraph::yes;
}

/// Of an array that holds the same everywhere.
bool TermValues::is_everywhere(Value array) const {
  const Thing& t = at(array);
  return t.kind == Thing::application && t.op.starts_with(const_key) && t.args.size() == 1;
}

/// What is written last counts. Between writes to other indices the order is always the same.
TermValues::Value TermValues::stored(Value array, Argument index, Argument element, const Expression& e) {
  if (holds_already(array, index, element, e)) return array;
  const std::string op = operator_key(e);
  std::vector<std::pair<Argument, Argument>> later;
  for (std::size_t moves = 0; is_store(array) && moves < most_moves; ++moves) {
    const Argument other = at(array).args[1];
    const Bit same = equal(index, other);
    if (same == BitGraph::yes) {
      array = found(at(array).args[0].first);
      break;
    }
    if (same != BitGraph::no || other < index) break;
    later.emplace_back(other, at(array).args[2]);
    array = found(at(array).args[0].first);
  }
  // It may be what was there before the write that this one hides.
  if (!holds_already(array, index, element, e)) later.emplace_back(index, element);
  for (; !later.empty(); later.pop_back()) {
    Thing t;
    t.op = op;
    t.args = {{array, false}, later.back().first, later.back().second};
    array = application(std::move(t), e);
  }
  return array;
}

TermValues::Value TermValues::read(Value array, Argument index, const Expression& e) {
  std::vector<std::pair<Bit, Value>> maybe;
  std::optional<Value> rest;
  for (std::size_t writes = 0; is_store(array) && writes < most_writes; ++writes) {
    const Bit same = equal(index, at(array).args[1]);
    const Argument element = at(array).args[2];
    if (same == BitGraph::yes) rest = current(element.first, element.second);
    if (rest || (same != BitGraph::no && maybe.size() >= most_open_writes)) break;
    if (same != BitGraph::no) maybe.emplace_back(same, current(element.first, element.second));
    array = found(at(array).args[0].first);
  }
  if (!rest && is_everywhere(array)) rest = current(at(array).args[0].first, at(array).args[0].second);
  if (!rest) rest = read_of_choice(array, index, e);
  if (!rest) {
    Thing t;
    t.op = operator_key(e);
    t.args = {{array, false}, index};
    rest = application(std::move(t), e);
  }
  for (; !maybe.empty(); maybe.pop_back()) {
    const auto [same, element] = maybe.back();
    rest = is_word(e) ? words_.choice(same, element, *rest) : choice(same, element, *rest);
  }
  return *rest;
}

/// What is read from each of the arrays.
std::optional<TermValues::Value> TermValues::read_of_choice(Value array, Argument index,
                                                            const Expression& e) {
  if (at(array).kind != Thing::choice || budget_ < at(array).cases.size()) return std::nullopt;
  const std::vector<Case> arrays = at(array).cases;
  budget_ -= arrays.size();
  Value all = read(found(arrays[0].first), index, e);
  for (std::size_t i = 1; i < arrays.size(); ++i) {
    const auto [other, holds] = arrays[i];
    const Value there = read(found(other), index, e);
    all = is_word(e) ? words_.choice(holds, there, all) : choice(holds, there, all);
  }
  return all;
}

/// The indices written to, and what is written to in the end.
bool TermValues::opens_writes(Value array, std::vector<Argument>& indices, Value& base) const {
  for (; is_store(array); array = found(at(array).args[0].first)) {
    if (indices.size() == most_compared) return false;
    indices.push_back(at(array).args[1]);
  }
  base = array;
  return true;
}

/// Arrays that differ in some writes are equal if what is read there is; choices between arrays, case by
/// case. `array` is a term of their sort.
BitGraph::Bit TermValues::equal_arrays(Value a, Value b, const Expression& array) {
  if (at(a).kind != Thing::choice) std::swap(a, b);
  if (a != b && at(a).kind == Thing::choice && budget_ >= at(a).cases.size()) {
    const std::vector<Case> cases = at(a).cases;
    budget_ -= cases.size();
    std::vector<Bit> any;
    for (const auto& [leaf, holds] : cases) {
      any.push_back(graph_.both(holds, equal_arrays(found(leaf), b, array)));
    }
    return graph_.disjunction(std::move(any));
  }
  std::vector<Argument> indices;
  Value base_a = a, base_b = b;
  const TraceSort& sort = terms_.sort(array.sort);
  if (a == b || !opens_writes(a, indices, base_a) || !opens_writes(b, indices, base_b) || base_a != base_b)
    return equal(a, b);
  const Expression read_there = terms_.term(terms_.any_read(array.sort));
  values_.resize(terms_.size(), unknown);
  const bool of_words = is_word(read_there);
  std::vector<Bit> all;
  for (const Argument& index : indices) {
    const Argument x{read(a, index, read_there), of_words}, y{read(b, index, read_there), of_words};
    const bool of_arrays = terms_.sort(sort.args[1]).kind == TraceSort::array;
    all.push_back(of_arrays ? equal_arrays(x.first, y.first, read_there) : equal(x, y));
  }
  return graph_.conjunction(std::move(all));
}

}  // namespace quarv::cli
