/// \file
/// Walks over terms: each distinct sub-term once, however often it occurs, and however deep it lies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <quarv/export.h>
#include <quarv/term/given.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/checkpoint.h>
#include <quarv/util/hash_map.h>

namespace quarv {

/// A set of terms of one manager, small at first, of one bit for each id when it grows.
class QUARV_API TermSet {
 public:
  /// Adds a term, not null, and returns whether it is new.
  bool insert(const Term* t);
  bool contains(const Term* t) const;

 private:
  static constexpr std::size_t most_few = 256;

  hsh::HashSet<const Term*> few_;
  std::vector<bool> many_;  // by id; empty as long as there are few
};

/// As `visit_post_order`, for terms that are there, whatever manager their sorts belong to.
template <class Visit>
void visit_unchecked(const TermManager& manager, std::span<const Term* const> roots, Visit&& visit) {
  struct Frame {
    const Term* term;
    std::size_t next;  // argument
  };
  TermSet seen;
  std::vector<Frame> open;
  for (const Term* root : roots) {
    if (!seen.insert(root)) continue;
    open.push_back({root, 0});
    while (!open.empty()) {
      Frame& top = open.back();
      if (top.next == manager.arity(top.term)) {
        const Term* t = top.term;
        open.pop_back();
        Checkpoint::pass();
        visit(t);
        continue;
      }
      const Term* argument = top.term->args[top.next++];
      if (seen.insert(argument)) open.push_back({argument, 0});
    }
  }
}

/// Calls `visit(const Term*)` for each distinct sub-term of `roots`, themselves included, arguments first,
/// and of these the first one first. Nothing recurses. What stands in annotations is visited, the variables
/// that quantifiers bind are where they occur. `visit` may build terms. Here and below \throws SortError for
/// a null term and one of another manager; then nothing is visited
template <class Visit>
void visit_post_order(const TermManager& manager, std::span<const Term* const> roots, Visit&& visit) {
  check_given(manager, "a walk", roots);
  visit_unchecked(manager, roots, visit);
}
template <class Visit>
void visit_post_order(const TermManager& manager, const Term* root, Visit&& visit) {
  visit_post_order(manager, std::span<const Term* const>(&root, 1), visit);
}

/// The declared constants that occur in `roots`, oldest first. Bound variables are none.
QUARV_API std::vector<const Term*> free_constants(const TermManager& manager,
                                                  std::span<const Term* const> roots);
QUARV_API std::vector<const Term*> free_constants(const TermManager& manager, const Term* root);

/// The declared functions with arguments that are applied in `roots`, in the order in which
/// `visit_post_order` meets them.
QUARV_API std::vector<const Symbol*> free_functions(const TermManager& manager,
                                                    std::span<const Term* const> roots);
QUARV_API std::vector<const Symbol*> free_functions(const TermManager& manager, const Term* root);

/// Number of distinct sub-terms, the term itself included.
QUARV_API std::size_t size(const TermManager& manager, const Term* t);

/// Number of nodes of the term written as a tree, saturating at 2^64 - 1.
QUARV_API std::uint64_t tree_size(const TermManager& manager, const Term* t);

/// Number of terms on the longest way down: 1 for a constant.
QUARV_API std::size_t depth(const TermManager& manager, const Term* t);

}  // namespace quarv
