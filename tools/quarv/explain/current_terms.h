#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "replay/trace_terms.h"

namespace quarv::cli {

/// What the parts of a formula have become so far while it is rewritten from the inside out, and how many
/// distinct ones there are. What stands around a part that has changed is built again when its turn comes;
/// until then it is what it was, but for the parts: arguments are to be read through `now`.
class CurrentTerms {
 public:
  using Id = TraceTerms::Id;

  explicit CurrentTerms(const TraceTerms& terms) : terms_(terms) {}

  void begin(Id root);
  Id root() const { return now(root_); }
  /// What a term has become.
  Id now(Id id) const;
  /// `before` becomes `after` wherever it occurs; neither has become something else.
  void become(Id before, Id after);
  /// How many distinct terms the formula has.
  std::size_t size() const noexcept { return size_; }

 private:
  struct Entry {
    Id next;                     // what it has become; itself
    std::uint32_t round = 0;     // in which the entry was made
    std::uint32_t num_uses = 0;  // as an argument of what is in the formula, by which it is there, too
  };

  Entry& entry(Id id);
  void use(Id id, std::uint32_t times);
  void use_arguments();
  void leave_arguments(Id id);

  const TraceTerms& terms_;
  std::vector<Entry> entries_;
  std::vector<Id> pending_;
  std::uint32_t round_ = 0;
  Id root_ = 0;
  std::size_t size_ = 0;
};

}  // namespace quarv::cli
