#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <quarv/forms/form_graph.h>
#include <quarv/util/large_pages.h>

namespace quarv::forms {

struct Question;
class FreeNames;

using Place = std::uint32_t;        ///< of a class among those that the roots can need, from 0 on
using CandidateId = std::uint32_t;  ///< of a form among those that may be chosen, from 0 on

/// The forms that may be chosen for what the roots can need, side by side in memory: to choose is to look at
/// each of them many times.
class Candidates {
 public:
  /// What a form counts as, in one number: nodes of a term; of as many nodes fewer operations; then fewer
  /// parts that say nothing: (and p q true) and (and p q p) are more than (and p q), though true may be
  /// needed elsewhere. Sums of weights compare as these do.
  struct Weight {
    static constexpr int term_shift = 40;
    static constexpr int operation_shift = 20;

    static std::uint64_t of(std::uint32_t cost, bool is_operation, std::uint32_t num_idle) noexcept;
    static std::uint64_t terms(std::uint64_t weight) noexcept { return weight >> term_shift; }
    static std::uint64_t operations(std::uint64_t weight) noexcept { return weight >> operation_shift & 1; }
    static std::uint64_t idle_parts(std::uint64_t weight) noexcept { return weight & most_idle; }

    static constexpr std::uint32_t most_idle = (std::uint32_t{1} << operation_shift) - 1;
    static constexpr std::uint32_t most_terms = (std::uint32_t{1} << (64 - term_shift)) - 1;
  };

  /// In 16 bytes: they are visited in no order.
  struct Candidate {
    std::uint64_t weight;  ///< values, repeated parts, writes not read and what a quantifier binds are idle
    FormId form;
    std::uint32_t first_part : 31;  ///< in the list of parts
    std::uint32_t is_wanted : 1;    ///< not a computation where the class is a value
  };

  Candidates(const Question& question, const FreeNames& names);

  std::size_t num_places() const noexcept { return classes_.size(); }
  ClassId class_at(Place p) const noexcept { return classes_[p]; }
  const LargeVector<Place>& roots() const noexcept { return roots_; }

  /// Candidates of a place: from `first` to before `first` of the next one.
  CandidateId first(Place p) const noexcept { return first_[p]; }
  const Candidate& operator[](CandidateId c) const noexcept { return candidates_[c]; }
  /// The user wrote it so.
  bool is_written(CandidateId c) const noexcept { return candidates_[c].form < num_written_; }
  std::span<const Place> parts(CandidateId c) const noexcept {
    return {parts_.data() + candidates_[c].first_part, parts_.data() + candidates_[c + 1].first_part};
  }

  /// By place: the base form.
  const LargeVector<CandidateId>& base() const noexcept { return base_; }
  /// By place: as the user wrote it first, the base form where that is nowhere. `wanted`: the first wanted
  /// one.
  LargeVector<CandidateId> as_written(bool wanted) const;
  /// As near to these as can be without going round in a circle: other forms where it must be.
  LargeVector<CandidateId> without_circles(const FormGraph& graph,
                                           const LargeVector<CandidateId>& wanted) const;
  /// A place has several forms that the user wrote.
  bool is_written_twice() const noexcept { return is_written_twice_; }

 private:
  void add_forms(const Question& question, const FreeNames& names, ClassId c);
  bool is_literal(const Question& question, FormId f) const;
  std::uint32_t num_repeated(std::uint32_t first);
  void count_unseen_writes(const FormGraph& graph, CandidateId first);

  LargeVector<ClassId> classes_;       // by place
  LargeVector<Place> places_;          // by class, while candidates are gathered
  LargeVector<CandidateId> first_;     // by place, and the end
  LargeVector<CandidateId> base_;      // by place
  LargeVector<Candidate> candidates_;  // and one that ends the list
  LargeVector<Place> parts_;
  LargeVector<Place> roots_;
  std::vector<Place> sorted_;
  FormId num_written_;
  bool is_written_twice_ = false;
};

}  // namespace quarv::forms
