#include <algorithm>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include <quarv/forms/candidates.h>
#include <quarv/forms/choice.h>
#include <quarv/forms/class_order.h>
#include <quarv/forms/needs.h>

namespace quarv::forms {

namespace {

constexpr std::uint64_t unlimited = ~std::uint64_t{0};

/// From so many places on, a last small improvement is not worth the time that it takes.
constexpr std::size_t large = 20'000;
/// And a second look at what the first one has not improved: in smaller scripts it finds something in one of
/// a hundred.
constexpr std::size_t medium = 2'000;

using Weight = Candidates::Weight;

void count(const Candidates& candidates, CandidateId c, Size& size) {
  const std::uint64_t weight = candidates[c].weight;
  size.terms += Weight::terms(weight);
  size.operations += Weight::operations(weight);
  size.idle_parts += Weight::idle_parts(weight);
}

/// What the roots need in these forms, which may go round in a circle: what each place needs is there in the
/// end.
Size size_of(const Candidates& candidates, const LargeVector<CandidateId>& forms) {
  Size size{0, 0, 0};
  LargeVector<std::uint8_t> seen(candidates.num_places());
  LargeVector<Place> pending(candidates.roots());
  while (!pending.empty()) {
    const Place p = pending.back();
    pending.pop_back();
    if (seen[p] != 0) continue;
    seen[p] = 1;
    count(candidates, forms[p], size);
    const auto parts = candidates.parts(forms[p]);
    pending.insert(pending.end(), parts.begin(), parts.end());
  }
  return size;
}

/// By place: what needs it, where that is not too much to be written otherwise together.
struct Users {
  LargeVector<std::uint32_t> first;  // in `all`, and the end
  LargeVector<Place> all;
  std::span<const Place> operator[](Place p) const noexcept {
    return std::span(all).subspan(first[p], first[p + 1] - first[p]);
  }
};

class Chooser {
 public:
  explicit Chooser(const Candidates& candidates) : candidates_(candidates), order_(candidates) {}

  /// Begins with some forms; false when these go round in a circle.
  bool begin(LargeVector<CandidateId> chosen);
  void improve();
  Size size() const;
  const LargeVector<CandidateId>& chosen() const noexcept { return chosen_; }

 private:
  std::uint64_t cost(CandidateId c) const noexcept { return candidates_[c].weight; }
  std::span<const Place> parts(CandidateId c) const noexcept { return candidates_.parts(c); }
  std::uint64_t take(std::span<const Place> places, std::uint64_t most);
  std::uint64_t drop(std::span<const Place> places);
  void take_back_trial();
  bool is_more_to_taste(CandidateId c, CandidateId old) const;
  bool is_hopeless(CandidateId c, CandidateId old) const;
  bool try_form(Place p, CandidateId c);
  void sweep_until_settled();
  Users users() const;
  bool is_part(Place p, CandidateId c) const { return std::ranges::find(parts(c), p) != parts(c).end(); }
  CandidateId cheapest_without(Place p, Place user) const;
  std::int64_t change(Place p, CandidateId c);
  void take_back(Place p, CandidateId c);
  bool try_without(Place p, std::span<const Place> users);
  bool do_without();

  static constexpr std::uint64_t most_added = std::uint64_t{256} << Weight::term_shift;
  static constexpr std::size_t most_users = 8;  // of a place that all of them shall do without

  const Candidates& candidates_;
  LargeVector<CandidateId> chosen_;
  LargeVector<std::uint32_t> uses_;
  ClassOrder order_;
  LargeVector<Place> taken_;    // each as often as it was used once more by the last `take`
  LargeVector<Place> dropped_;  // and once less by the last `drop`
  std::vector<std::pair<Place, CandidateId>> before_;  // what `try_without` has changed
};

/// Uses each of the places once more; what is new costs. Gives up where that is more than `most`: then
/// nothing has changed.
std::uint64_t Chooser::take(std::span<const Place> places, std::uint64_t most) {
  std::uint64_t added = 0;
  taken_.assign(places.begin(), places.end());
  for (std::size_t next = 0; next < taken_.size(); ++next) {
    const Place p = taken_[next];
    if (uses_[p]++ != 0) continue;
    added += cost(chosen_[p]);
    if (added > most) {
      for (std::size_t i = 0; i <= next; ++i) --uses_[taken_[i]];
      return added;
    }
    const auto own = parts(chosen_[p]);
    taken_.insert(taken_.end(), own.begin(), own.end());
  }
  return added;
}

/// The opposite: what is no longer used costs no more.
std::uint64_t Chooser::drop(std::span<const Place> places) {
  std::uint64_t removed = 0;
  dropped_.assign(places.begin(), places.end());
  for (std::size_t next = 0; next < dropped_.size(); ++next) {
    const Place p = dropped_[next];
    if (--uses_[p] != 0) continue;
    removed += cost(chosen_[p]);
    const auto own = parts(chosen_[p]);
    dropped_.insert(dropped_.end(), own.begin(), own.end());
  }
  return removed;
}

/// After a `take` and a `drop`: as before both. What they cost need not be counted again.
void Chooser::take_back_trial() {
  for (Place p : taken_) --uses_[p];
  for (Place p : dropped_) ++uses_[p];
}

/// Where both cost the same, what the user wrote wins, and what was written first.
bool Chooser::is_more_to_taste(CandidateId c, CandidateId old) const {
  return candidates_.is_written(c) &&
         (!candidates_.is_written(old) || candidates_[c].form < candidates_[old].form);
}

/// A first look at what a change would bring: all parts of the old form are needed elsewhere, too, so that
/// no more than its own cost can be saved.
bool Chooser::is_hopeless(CandidateId c, CandidateId old) const {
  constexpr std::size_t most_parts = 16;  // each is compared with all before it
  const auto old_parts = parts(old);
  const auto new_parts = parts(c);
  if (old_parts.size() > most_parts || new_parts.size() > most_parts) return false;
  for (Place p : old_parts) {
    if (uses_[p] <= old_parts.size() && uses_[p] == std::ranges::count(old_parts, p)) return false;
  }
  std::uint64_t added = cost(c);
  for (std::size_t i = 0; i < new_parts.size(); ++i) {
    const auto before = new_parts.first(i);
    const bool is_new = uses_[new_parts[i]] == 0 && std::ranges::find(before, new_parts[i]) == before.end();
    if (is_new) added += cost(chosen_[new_parts[i]]);
  }
  return added > cost(old) || (added == cost(old) && !is_more_to_taste(c, old));
}

/// Writes place `p` in form `c` if that costs less, or as much and is more to the user's taste.
bool Chooser::try_form(Place p, CandidateId c) {
  const CandidateId old = chosen_[p];
  if (is_hopeless(c, old) || !order_.can_follow(p, parts(c), chosen_)) return false;
  const std::uint64_t most = most_added + cost(old);
  const std::uint64_t added = cost(c) + take(parts(c), most);
  if (added > most + cost(c)) return false;
  const std::uint64_t removed = cost(old) + drop(parts(old));
  if (removed > added || (removed == added && is_more_to_taste(c, old))) {
    order_.follow();
    chosen_[p] = c;
    return true;
  }
  take_back_trial();
  return false;
}

bool Chooser::begin(LargeVector<CandidateId> chosen) {
  chosen_ = std::move(chosen);
  if (!order_.sort(chosen_)) return false;
  uses_.assign(candidates_.num_places(), 0);
  LargeVector<Place> pending(candidates_.roots());
  while (!pending.empty()) {
    const Place p = pending.back();
    pending.pop_back();
    if (uses_[p]++ != 0) continue;
    const auto own = parts(chosen_[p]);
    pending.insert(pending.end(), own.begin(), own.end());
  }
  return true;
}

void Chooser::sweep_until_settled() {
  constexpr int most_sweeps = 4;
  bool better = true;
  for (int sweep = 0; better && sweep < most_sweeps; ++sweep) {
    better = false;
    for (Place p : order_.ascending()) {
      if (uses_[p] == 0) continue;
      const CandidateId end = candidates_.first(p + 1);
      for (CandidateId c = candidates_.first(p); c != end; ++c) {
        if (c != chosen_[p] && candidates_[c].is_wanted != 0) better = try_form(p, c) || better;
      }
    }
  }
}

Users Chooser::users() const {
  Users users{LargeVector<std::uint32_t>(uses_.size() + 1), {}};
  const auto each = [this](auto visit) {
    for (Place user = 0; user < uses_.size(); ++user) {
      if (uses_[user] == 0) continue;
      for (Place p : parts(chosen_[user])) {
        if (uses_[p] > 1 && uses_[p] <= most_users) visit(p, user);
      }
    }
  };
  each([&users](Place p, Place) { ++users.first[p + 1]; });
  std::partial_sum(users.first.begin(), users.first.end(), users.first.begin());
  users.all.resize(users.first.back());
  LargeVector<std::uint32_t> end(users.first.begin(), users.first.end() - 1);
  each([&](Place p, Place user) { users.all[end[p]++] = user; });
  return users;
}

/// The form of `user` that costs least among those without part `p`; `none` where there is none.
CandidateId Chooser::cheapest_without(Place p, Place user) const {
  CandidateId best = none;
  std::uint64_t least = unlimited;
  const CandidateId end = candidates_.first(user + 1);
  for (CandidateId c = candidates_.first(user); c != end; ++c) {
    if (candidates_[c].is_wanted == 0 || is_part(p, c)) continue;
    std::uint64_t sum = cost(c);
    for (Place part : parts(c)) sum += uses_[part] == 0 ? cost(chosen_[part]) : 0;
    if (sum >= least) continue;
    least = sum;
    best = c;
  }
  return best;
}

/// Writes place `p` in form `c`; returns by how much that costs more.
std::int64_t Chooser::change(Place p, CandidateId c) {
  const CandidateId old = chosen_[p];
  const std::uint64_t added = cost(c) + take(parts(c), unlimited);
  const std::uint64_t removed = cost(old) + drop(parts(old));
  chosen_[p] = c;
  return static_cast<std::int64_t>(added - removed);
}

/// Writes place `p` in form `c` again, as it was. What has moved before a later user in the meantime may have
/// left parts of its old form behind.
void Chooser::take_back(Place p, CandidateId c) {
  change(p, c);
  if (order_.can_follow(p, parts(c), chosen_)) {
    order_.follow();
  } else {
    order_.sort(chosen_);
  }
}

/// Writes all users of place `p` in forms without it if that costs less: (or (or x y) z) and (or (or x y) w)
/// become (or x y z) and (or x y w), which neither would alone, as it costs as much while the other one needs
/// (or x y).
bool Chooser::try_without(Place p, std::span<const Place> users) {
  if (users.size() < 2 || users.size() != uses_[p]) return false;
  constexpr std::int64_t most_longer = 8;  // written out, what is shared takes room in each user
  before_.clear();
  std::int64_t longer = -static_cast<std::int64_t>(parts(chosen_[p]).size());
  std::int64_t more = 0;
  bool possible = true;
  for (Place user : users) {
    if (uses_[user] == 0) continue;  // one of those before was the last that needed it
    const CandidateId old = chosen_[user];
    const CandidateId c = is_part(p, old) ? cheapest_without(p, user) : none;
    possible = c != none && order_.can_follow(user, parts(c), chosen_);
    if (!possible) break;
    longer += static_cast<std::int64_t>(parts(c).size()) - static_cast<std::int64_t>(parts(old).size());
    order_.follow();
    before_.emplace_back(user, old);
    more += change(user, c);
  }
  if (possible && more < 0 && longer <= most_longer) return true;
  for (std::size_t i = before_.size(); i-- > 0;) take_back(before_[i].first, before_[i].second);
  return false;
}

bool Chooser::do_without() {
  const Users users = this->users();
  bool better = false;
  for (Place p = 0; p < uses_.size(); ++p) better = try_without(p, users[p]) || better;
  return better;
}

void Chooser::improve() {
  constexpr int most_rounds = 4;
  sweep_until_settled();
  if (candidates_.num_places() >= large) return;
  for (int round = 0; round < most_rounds && do_without(); ++round) sweep_until_settled();
}

Size Chooser::size() const {
  Size size{0, 0, 0};
  for (Place p = 0; p < uses_.size(); ++p) {
    if (uses_[p] != 0) count(candidates_, chosen_[p], size);
  }
  return size;
}

Choice choose_among(const Question& question, const Candidates& candidates) {
  Chooser chooser(candidates);
  Choice choice;
  choice.as_written = size_of(candidates, candidates.as_written(false));
  LargeVector<CandidateId> best;
  Size before;
  const bool is_possible = chooser.begin(candidates.as_written(true));
  if (is_possible || chooser.begin(candidates.without_circles(question.graph, candidates.as_written(true)))) {
    before = chooser.size();
    chooser.improve();
    choice.size = chooser.size();
    best = chooser.chosen();
  }
  // What cannot be improved has most likely been chosen before.
  const bool is_settled = is_possible && choice.size == before && candidates.num_places() >= medium;
  if (!is_settled && chooser.begin(candidates.base())) {
    chooser.improve();
    if (const Size size = chooser.size(); best.empty() || size < choice.size) {
      choice.size = size;
      best = chooser.chosen();
    }
  }
  if (best.empty() && candidates.num_places() != 0) return {};
  choice.is_written_twice = candidates.is_written_twice() || !is_possible;
  choice.form.assign(question.graph.num_classes(), none);
  for (Place p = 0; p < best.size(); ++p) choice.form[candidates.class_at(p)] = candidates[best[p]].form;
  return choice;
}

}  // namespace

Choice choose(const Question& question) {
  std::optional<Candidates> candidates;
  {
    FreeNames names(question.graph, question.base, question.scopes);
    for (ClassId c : question.roots) {
      if (names.is_endless(question.graph.find(c))) return {};
    }
    // What is needed early depends on the choice. Nearly always it is what the user wrote there.
    if (!question.root_commands.empty()) names.set_needs(likely_needs(question));
    candidates.emplace(question, names);
  }
  Choice choice = choose_among(question, *candidates);
  if (question.root_commands.empty() || stays_in_scope(question, choice.form)) return choice;
  FreeNames names(question.graph, question.base, question.scopes);
  names.set_needs(all_needs(question));
  return choose_among(question, Candidates(question, names));
}

}  // namespace quarv::forms
