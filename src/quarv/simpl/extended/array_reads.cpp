#include <algorithm>
#include <array>
#include <iterator>

#include <quarv/simpl/extended/array_reads.h>
#include <quarv/simpl/extended/values.h>

namespace quarv::termsimpl::extended {

namespace {

constexpr std::size_t few_writes = 32;
constexpr std::size_t most_above = 8;  // writes that are made anew

bool is_write(const TermManager& m, const Term* t) {
  return has_tag(m, t, SymbolTag::ARRAY_WRITE);
}

/// Values that are equal exactly when they are one term.
bool is_plain_value(const TermManager& m, const Term* t) {
  return is_value(m, t) && !is_nan(m, t);
}

bool is_constant_write(const TermManager& m, const Term* t) {
  return is_write(m, t) && is_plain_value(m, t->args[1]);
}

}  // namespace

/// The writes that end in this one; all below are known.
void ArrayReads::enter(const Term* write) {
  const std::size_t* before = number_.find(write->args[0]);
  Write w;
  w.term = write;
  w.latest = writes_.empty() ? write->id : std::max(writes_.back().latest, write->id);
  w.depth = before == nullptr ? 1 : writes_[*before].depth + 1;
  const std::size_t length = w.depth & (~w.depth + 1);
  w.below = write->args[0];
  const bool few = length < few_writes;
  if (!few) w.indices.push_back(write->args[1]);
  // The stretches of 1, 2, 4, ... writes below make up the others.
  for (std::size_t n = 1; n < length; n *= 2) {
    const Write& part = writes_[*number_.find(w.below)];
    const auto middle = static_cast<std::ptrdiff_t>(w.indices.size());
    if (!few && part.indices.empty()) {
      for (const Term* t = w.below; t != part.below; t = t->args[0]) w.indices.push_back(t->args[1]);
      std::sort(w.indices.begin(), w.indices.end(), Term_lt());
    } else if (!few) {
      w.indices.insert(w.indices.end(), part.indices.begin(), part.indices.end());
      std::inplace_merge(w.indices.begin(), w.indices.begin() + middle, w.indices.end(), Term_lt());
    }
    w.below = part.below;
  }
  number_[write] = writes_.size();
  writes_.push_back(std::move(w));
}

/// Forgets writes that the manager has released, and those that were entered after one of them.
void ArrayReads::follow(const TermManager& m) {
  const std::size_t kept = m.num_kept_since(num_releases_);
  for (; !writes_.empty() && writes_.back().latest >= kept; writes_.pop_back()) {
    number_.erase(writes_.back().term);
  }
  num_releases_ = m.num_releases();
}

const ArrayReads::Write& ArrayReads::learn(TermManager& m, const Term* chain) {
  if (num_releases_ != m.num_releases()) follow(m);
  pending_.clear();
  for (const Term* t = chain; is_constant_write(m, t) && number_.find(t) == nullptr; t = t->args[0]) {
    pending_.push_back(t);
  }
  while (!pending_.empty()) {
    enter(pending_.back());
    pending_.pop_back();
  }
  return writes_[*number_.find(chain)];
}

/// The write at a constant that a read there sees, or the first array that is not known not to have it.
const Term* ArrayReads::find_constant(TermManager& m, const Term* array, const Term* index) {
  std::size_t steps = 0;
  while (is_constant_write(m, array)) {
    if (array->args[1] == index) return array;
    if (++steps < few_writes) {
      array = array->args[0];
      continue;
    }
    const Write& w = learn(m, array);
    const bool skips =
        !w.indices.empty() && !std::binary_search(w.indices.begin(), w.indices.end(), index, Term_lt());
    array = skips ? w.below : array->args[0];
  }
  return array;
}

/// As `find_constant`, for any index.
const Term* ArrayReads::find(TermManager& m, const Term* array, const Term* index) {
  if (is_plain_value(m, index)) array = find_constant(m, array, index);
  for (std::size_t n = 0; n < few_writes && is_write(m, array); ++n) {
    if (array->args[1] == index || !are_distinct(m, array->args[1], index)) break;
    array = array->args[0];
  }
  return array;
}

/// A read from one of two arrays of which at least one has been written at the index.
const Term* ArrayReads::read_branches(TermManager& m, const Term* ite, const Term* index) {
  const Term* branches[2];
  bool is_written = false;
  for (std::size_t i = 0; i < 2; ++i) {
    const Term* array = find(m, ite->args[i + 1], index);
    const bool written = is_write(m, array) && array->args[1] == index;
    branches[i] = written ? array->args[2] : nullptr;
    is_written |= written;
  }
  if (!is_written) return nullptr;
  for (std::size_t i = 0; i < 2; ++i) {
    if (branches[i] == nullptr) branches[i] = m.make_array_read(ite->args[i + 1], index);
  }
  return m.make_ite(ite->args[0], branches[0], branches[1]);
}

/// What is read behind writes that may be at the index, where each of them wrote what is there anyway: null
/// where it is not known to be so.
const Term* ArrayReads::written_again(TermManager& m, const Term* array, const Term* index) {
  if (!is_write(m, array)) return nullptr;
  const Term* element = array->args[2];
  for (std::size_t n = 0; n < few_writes; ++n) {
    array = find(m, array->args[0], index);
    if (!is_write(m, array) || array->args[2] != element) return nullptr;
    if (array->args[1] == index) return element;
  }
  return nullptr;
}

const Term* ArrayReads::simplify_read(TermManager& m, const Symbol* /*s*/, Args args) {
  const Term* array = find(m, args[0], args[1]);
  if (is_write(m, array) && array->args[1] == args[1]) return array->args[2];
  if (const Term* element = written_again(m, array, args[1])) return element;
  if (array != args[0]) return m.make_array_read(array, args[1]);
  return has_tag(m, array, SymbolTag::TERM_ITE) ? read_branches(m, array, args[1]) : nullptr;
}

/// What is written is there already, or is written over.
const Term* ArrayReads::simplify_write(TermManager& m, const Symbol* s, Args args) {
  const auto [array, index, element] = std::array{args[0], args[1], args[2]};
  const Term* place = find(m, array, index);
  if (is_write(m, place) && place->args[1] == index) {
    if (place->args[2] == element) return array;
  } else {
    const Symbol* e = element->symbol;
    const bool reads_back = m.is_array_read(e, nullptr, nullptr) && element->args[1] == index &&
                            (element->args[0] == place || element->args[0] == array);
    const bool is_there = m.is_array_const(place->symbol, nullptr, nullptr) && place->args[0] == element;
    return reads_back || is_there ? array : nullptr;
  }
  // An earlier write at the index, below others at indices that differ: without it.
  std::array<const Term*, most_above> above;
  std::size_t n = 0;
  for (const Term* t = array; t != place; t = t->args[0]) {
    if (n == most_above) return nullptr;
    above[n++] = t;
  }
  if (n == 0) return nullptr;  // the standard simplifiers'
  const Term* result = place->args[0];
  while (n-- > 0) result = m.make_array_write(result, above[n]->args[1], above[n]->args[2]);
  return m.make_term_unchecked(s, std::array{result, index, element});
}

}  // namespace quarv::termsimpl::extended
