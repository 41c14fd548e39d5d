#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include <quarv/term/term_manager.h>
#include <quarv/util/hash_map.h>

namespace quarv::termsimpl::extended {

/// Reads and writes over chains of writes.
///
/// A read at a constant of a chain of writes at constants takes time logarithmic in the chain: a write that
/// is the d-th of its chain, counted from the innermost, with 2^k the largest power of two that divides d,
/// knows the indices of the 2^k writes that end in it. A read that finds its index not among them goes on
/// below them all. That takes n log n entries for n writes; they are made when a long chain is first read.
class ArrayReads {
 public:
  using Args = std::span<const Term* const>;

  const Term* simplify_read(TermManager& m, const Symbol* s, Args args);
  const Term* simplify_write(TermManager& m, const Symbol* s, Args args);

 private:
  /// A write at a constant to a chain of such writes.
  struct Write {
    const Term* term = nullptr;        // the write itself
    std::uint64_t latest = 0;          // the largest id among this write and those that were entered before
    std::size_t depth = 0;             // from 1
    const Term* below = nullptr;       // what the 2^k writes that end in this one write to
    std::vector<const Term*> indices;  // of those writes, by id; empty where they are few
  };

  const Term* written_again(TermManager& m, const Term* array, const Term* index);
  const Term* read_branches(TermManager& m, const Term* ite, const Term* index);
  const Term* find(TermManager& m, const Term* array, const Term* index);
  const Term* find_constant(TermManager& m, const Term* array, const Term* index);
  const Write& learn(TermManager& m, const Term* chain);
  void enter(const Term* write);
  void follow(const TermManager& m);

  /// By address, since a term may be gone when its entry is removed.
  struct AddressHash {
    std::uint64_t operator()(const Term* t) const noexcept { return reinterpret_cast<std::uintptr_t>(t); }
  };

  hsh::HashMap<const Term*, std::size_t, AddressHash> number_;  // of a write in `writes_`
  std::uint64_t num_releases_ = 0;  // of the manager, when `writes_` was last looked through
  std::vector<Write> writes_;
  std::vector<const Term*> pending_;
};

}  // namespace quarv::termsimpl::extended
