#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <quarv/forms/form_graph.h>

namespace quarv::forms {

/// An order of classes in which each follows the children of its chosen form, kept while choices change.
///
/// Classes carry labels with room between them. A class that is to follow later ones has these, and what they
/// need, moved before it: only classes between the two are looked at.
class ClassOrder {
 public:
  /// Orders `classes` by their chosen forms; false when these go round in a circle.
  bool sort(std::span<const ClassId> classes, std::span<const FormId> chosen, const FormGraph& graph);

  /// All classes, children before what consists of them.
  std::vector<ClassId> ascending() const;

  /// Whether `c` can follow all of `children`: none of them consists of it. Gives up, with false, where that
  /// takes too long to find out.
  bool can_follow(ClassId c, std::span<const ClassId> children, std::span<const FormId> chosen,
                  const FormGraph& graph);

  /// Moves what `can_follow` was last asked about.
  void follow();

 private:
  void renumber();

  static constexpr std::uint64_t gap = std::uint64_t{1} << 24;
  static constexpr std::size_t most_moved = 512;

  std::vector<std::uint64_t> label_;  // by class, 0: not ordered
  std::vector<ClassId> before_;       // neighbours, by class; the last element begins and ends the ring
  std::vector<ClassId> after_;
  ClassId ring_ = 0;

  ClassId mover_ = none;
  std::vector<ClassId> moved_;
  std::vector<std::uint32_t> asked_;  // by class: the question in which it was met last
  std::uint32_t question_ = 0;
};

}  // namespace quarv::forms
