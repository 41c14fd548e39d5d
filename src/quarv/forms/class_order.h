#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <quarv/forms/candidates.h>
#include <quarv/util/large_pages.h>

namespace quarv::forms {

/// An order of places in which each follows the parts of its chosen form, kept while choices change.
///
/// Places carry labels with room between them. One that is to follow later ones has these, and what they
/// need, moved before it: only places between the two are looked at.
class ClassOrder {
 public:
  explicit ClassOrder(const Candidates& candidates) : candidates_(candidates) {}

  /// Orders all places by their chosen forms; false when these go round in a circle.
  bool sort(std::span<const CandidateId> chosen);

  /// All places, parts before what consists of them.
  LargeVector<Place> ascending() const;

  /// Whether `p` can follow all of `parts`: none of them consists of it. Gives up, with false, where that
  /// takes too long to find out.
  bool can_follow(Place p, std::span<const Place> parts, std::span<const CandidateId> chosen);

  /// Moves what `can_follow` was last asked about.
  void follow();

 private:
  void renumber();

  static constexpr std::uint64_t gap = std::uint64_t{1} << 24;
  static constexpr std::size_t most_moved = 512;

  const Candidates& candidates_;
  LargeVector<std::uint64_t> label_;  // by place, 0: not ordered
  LargeVector<Place> before_;         // neighbours, by place; the last element begins and ends the ring
  LargeVector<Place> after_;
  Place ring_ = 0;

  Place mover_ = none;
  LargeVector<Place> moved_;
  LargeVector<std::uint32_t> asked_;  // by place: the question in which it was met last
  std::uint32_t question_ = 0;
};

}  // namespace quarv::forms
