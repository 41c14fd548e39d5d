#include <algorithm>

#include <quarv/forms/candidates.h>
#include <quarv/forms/choice.h>
#include <quarv/forms/free_names.h>
#include <quarv/forms/grounded.h>

namespace quarv::forms {

namespace {

constexpr std::uint32_t last_part = 0x7FFFFFFF;  // never reached: so many take eight gigabytes

}  // namespace

std::uint64_t Candidates::Weight::of(std::uint32_t cost, bool is_operation, std::uint32_t num_idle) noexcept {
  return (std::uint64_t{std::min(cost, most_terms)} << term_shift) +
         (std::uint64_t{is_operation} << operation_shift) +
         std::min(num_idle, most_idle - 1);  // one may be added
}

Candidates::Candidates(const Question& q, const FreeNames& names) : num_written_(q.num_written) {
  const FormGraph& g = q.graph;
  LargeVector<std::uint8_t> seen(g.num_classes());
  LargeVector<ClassId> pending;
  const auto visit = [&](ClassId c) {
    c = g.find(c);
    if (seen[c] != 0 || names.is_endless(c)) return;
    seen[c] = 1;
    pending.push_back(c);
  };
  for (ClassId c : q.roots) visit(c);
  for (ClassId c : q.declared) visit(c);
  std::size_t num_forms = 0, num_parts = 0;
  while (!pending.empty()) {
    const ClassId c = pending.back();
    pending.pop_back();
    std::size_t num_written = 0;
    for (FormId f = g.first_form(c); f != none; f = g.form(f).next) {
      ++num_forms;
      num_parts += g.children(g.form(f)).size();
      if (f < q.num_written && ++num_written == 2) is_written_twice_ = true;
      for (ClassId child : g.children(g.form(f))) visit(child);
    }
  }
  for (ClassId c = 0; c < seen.size(); ++c) {
    if (seen[c] != 0) classes_.push_back(c);
  }
  places_.assign(g.num_classes(), none);
  for (Place p = 0; p < classes_.size(); ++p) places_[classes_[p]] = p;
  for (ClassId c : q.roots) roots_.push_back(places_[g.find(c)]);

  first_.reserve(classes_.size() + 1);
  base_.reserve(classes_.size());
  candidates_.reserve(num_forms + 1);
  parts_.reserve(num_parts);
  for (ClassId c : classes_) add_forms(q, names, c);
  first_.push_back(static_cast<CandidateId>(candidates_.size()));
  LargeVector<Place>().swap(places_);  // which takes room
  candidates_.push_back({0, none, static_cast<std::uint32_t>(parts_.size()) & last_part, false});
}

void Candidates::add_forms(const Question& q, const FreeNames& names, ClassId c) {
  const FormGraph& g = q.graph;
  first_.push_back(static_cast<CandidateId>(candidates_.size()));
  const FormId base = names.base(c);
  for (FormId f = g.first_form(c); f != none; f = g.form(f).next) {
    if (!names.is_admissible(c, f)) continue;
    if (f == base) base_.push_back(static_cast<CandidateId>(candidates_.size()));
    const bool is_wanted = q.is_value[c] == 0 || f == base || is_literal(q, f);
    const auto children = g.children(g.form(f));
    // Of two operands one may well be a number; true and false say nothing.
    const auto is_value = [&](ClassId child) {
      return q.is_value[g.find(child)] != 0 &&
             (children.size() > 2 || g.sort(child) == g.sort(child)->manager().bool_type);
    };
    const auto first_part = static_cast<std::uint32_t>(parts_.size());
    for (ClassId child : children) parts_.push_back(places_[g.find(child)]);
    // A literal may consist of several.
    const std::uint32_t cost = g.cost(f);
    auto num_idle =
        static_cast<std::uint32_t>(children.empty() ? cost - 1 : std::ranges::count_if(children, is_value));
    const Head& head = g.head_at(g.form(f).head);
    if (head.is_idempotent || head.is_choice) num_idle += num_repeated(first_part);
    num_idle += head.num_bound;
    const bool is_operation = cost > 1 || !children.empty();
    candidates_.push_back({Weight::of(cost, is_operation, num_idle), f, first_part & last_part, is_wanted});
  }
  count_unseen_writes(g, first_.back());
}

/// Where a term can be read from several arrays, of which one was made before all others: what has been
/// written to these since says nothing. Such a form costs as much where others need these arrays, but whoever
/// reads it has to find out that the writes do not matter.
void Candidates::count_unseen_writes(const FormGraph& g, CandidateId first) {
  constexpr auto array_of = [](const FormGraph& graph, FormId f) {
    return graph.head_at(graph.form(f).head).is_read ? graph.find(graph.children(graph.form(f))[0]) : none;
  };
  ClassId oldest = none;
  for (CandidateId c = first; c != candidates_.size(); ++c)
    oldest = std::min(oldest, array_of(g, candidates_[c].form));
  if (oldest == none) return;
  for (CandidateId c = first; c != candidates_.size(); ++c) {
    const ClassId array = array_of(g, candidates_[c].form);
    if (array == none || array == oldest) continue;
    for (FormId f = g.first_form(array); f != none; f = g.form(f).next) {
      if (g.head_at(g.form(f).head).is_write) {
        ++candidates_[c].weight;
        break;
      }
    }
  }
}

/// How many of the parts from `first` on have been there before.
std::uint32_t Candidates::num_repeated(std::uint32_t first) {
  sorted_.assign(parts_.begin() + first, parts_.end());
  std::sort(sorted_.begin(), sorted_.end());
  return static_cast<std::uint32_t>(sorted_.end() - std::unique(sorted_.begin(), sorted_.end()));
}

bool Candidates::is_literal(const Question& q, FormId f) const {
  const auto parts = q.graph.children(q.graph.form(f));
  return parts.empty() ||
         (q.makes_literal[q.graph.form(f).head] == parts.size() &&
          std::ranges::all_of(parts, [&q](ClassId c) { return q.is_value[q.graph.find(c)] != 0; }));
}

LargeVector<CandidateId> Candidates::as_written(bool wanted) const {
  LargeVector<CandidateId> written(base_);
  for (Place p = 0; p < written.size(); ++p) {
    FormId first = none;
    for (CandidateId c = first_[p]; c != first_[p + 1]; ++c) {
      const Candidate& known = candidates_[c];
      if (!is_written(c) || known.form > first || (wanted && known.is_wanted == 0)) continue;
      first = known.form;
      written[p] = c;
    }
  }
  return written;
}

LargeVector<CandidateId> Candidates::without_circles(const FormGraph& graph,
                                                     const LargeVector<CandidateId>& wanted) const {
  LargeVector<FormId> forms(graph.num_classes(), none);
  for (Place p = 0; p < wanted.size(); ++p) forms[classes_[p]] = candidates_[wanted[p]].form;
  forms = grounded(graph, forms);
  LargeVector<CandidateId> found(base_);
  for (Place p = 0; p < wanted.size(); ++p) {
    // What may not be chosen here is no candidate.
    for (CandidateId c = first_[p]; c != first_[p + 1]; ++c) {
      if (candidates_[c].form == forms[classes_[p]]) found[p] = c;
    }
  }
  return found;
}

}  // namespace quarv::forms
