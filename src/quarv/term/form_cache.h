#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <quarv/term/term.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/large_pages.h>

namespace quarv {

/// What terms have been turned into, by their ids: one word for each term of a manager. When the manager
/// releases terms, what refers to them is forgotten, in time proportional to what was entered since their
/// mark.
class FormCache {
 public:
  /// Begins a piece of work with this manager: forgets what belongs to another one, and what was released.
  /// To be called before anything else, and again when terms may have been released.
  void follow(const TermManager& manager) {
    if (manager_ != &manager) clear();
    if (manager_ == &manager && num_releases_ != manager.num_releases()) forget_released();
    manager_ = &manager;
    num_releases_ = manager.num_releases();
    first_mark_ = manager.first_mark();
    last_mark_ = manager.last_mark();
  }

  /// The entry of a term, which begins as null. Valid until the next call.
  const Term*& operator[](const Term* t) {
    if (t->id >= forms_.size()) grow();
    return forms_[t->id];
  }

  /// To be called when `form`, a term of the manager, was entered for `t`.
  void note(const Term* t, const Term* form) {
    if (form->id >= first_mark_ && t->id < last_mark_) [[unlikely]] {
      late_.push_back({t->id, manager_->num_terms()});
    }
  }

  /// Forgets all entries, and frees their memory.
  void clear() noexcept {
    LargeVector<const Term*>().swap(forms_);
    late_.clear();
  }

 private:
  /// An entry for a term that was there at a mark, and when it was made.
  struct Late {
    std::uint64_t id;
    std::uint64_t num_terms;
  };

  void grow() { forms_.resize(manager_->num_terms() + manager_->num_terms() / 2, nullptr); }

  void forget_released() {
    const std::size_t kept = manager_->num_kept_since(num_releases_);
    // What was entered before the mark refers to what was there then.
    for (; !late_.empty() && late_.back().num_terms > kept; late_.pop_back()) {
      if (late_.back().id < forms_.size()) forms_[late_.back().id] = nullptr;
    }
    if (forms_.size() <= kept) return;
    if (kept < forms_.size() / 4) {
      LargeVector<const Term*>(forms_.begin(), forms_.begin() + static_cast<std::ptrdiff_t>(kept))
          .swap(forms_);
    } else {
      forms_.resize(kept);
    }
  }

  const TermManager* manager_ = nullptr;
  std::uint64_t num_releases_ = 0;
  std::uint64_t first_mark_ = 0;
  std::uint64_t last_mark_ = 0;
  LargeVector<const Term*> forms_;
  std::vector<Late> late_;
};

}  // namespace quarv
