#include <algorithm>

#include <quarv/forms/choice.h>
#include <quarv/forms/class_order.h>
#include <quarv/forms/grounded.h>

namespace quarv::forms {

namespace {

/// What is free in the terms of a class.
struct Free {
  std::uint64_t variables = 0;
  std::uint32_t first = 0;
  std::uint32_t last = 0xFFFFFFFF;

  void add(const Free& part) {
    variables |= part.variables;
    first = std::max(first, part.first);
    last = std::min(last, part.last);
  }
  bool within(const Free& all) const noexcept {
    return (variables & ~all.variables) == 0 && first <= all.first && last >= all.last;
  }
};

class Chooser {
 public:
  explicit Chooser(const Question& q) : q_(q), g_(q.graph), base_(q.base.begin(), q.base.end()) {}

  Choice run();

 private:
  FormId base(ClassId c) const noexcept { return base_[c] != none ? base_[c] : g_.first_form(c); }
  std::uint32_t cost(FormId f) const noexcept { return g_.cost(f); }
  bool is_written(FormId f) const noexcept { return f < q_.num_written; }
  std::span<const ClassId> children(FormId f) const noexcept { return g_.children(g_.form(f)); }

  bool is_endless(ClassId c) const noexcept { return is_grounded_ && base_[c] == none; }
  bool find_free();
  Free free_in(FormId f) const;
  bool is_admissible(ClassId c, FormId f) const;
  bool is_literal(FormId f) const;
  bool is_wanted(ClassId c, FormId f) const {
    return is_admissible(c, f) && (q_.is_value[c] == 0 || f == base(c) || is_literal(f));
  }
  FormId first_written(ClassId c, bool wanted) const;
  bool begin();
  Size size() const;
  Size size_as_written();
  Choice improved(bool begin_written);
  std::uint64_t take(std::span<const ClassId> classes, std::uint64_t most);
  std::uint64_t drop(std::span<const ClassId> classes);
  bool try_form(ClassId c, FormId f);
  bool improve(ClassId c);

  static constexpr std::uint64_t most_added = 256;

  const Question& q_;
  const FormGraph& g_;
  std::vector<FormId> base_;
  bool is_grounded_ = false;  // a class without a base has no finite term
  std::vector<Free> free_;
  std::vector<ClassId> all_;  // classes that the roots can need
  std::vector<FormId> chosen_;
  std::vector<std::uint32_t> uses_;
  ClassOrder order_;
  std::vector<ClassId> pending_;
};

/// By the base forms, children first. False when these go round in a circle.
bool Chooser::find_free() {
  const std::size_t n = g_.num_classes();
  free_.assign(n, {});
  std::vector<std::uint8_t> state(n);  // 1: on the stack, 2: done
  std::vector<ClassId> stack;
  for (ClassId start = 0; start < n; ++start) {
    if (g_.find(start) != start || state[start] != 0 || g_.first_form(start) == none) continue;
    if (is_endless(start)) {
      free_[start].variables = overflow_variable;  // no form may need it
      state[start] = 2;
      continue;
    }
    stack.push_back(start);
    while (!stack.empty()) {
      const ClassId c = stack.back();
      if (state[c] == 2) {
        stack.pop_back();
        continue;
      }
      const FormId f = base(c);
      if (f == none) return false;
      if (state[c] == 1) {
        free_[c] = free_in(f);
        state[c] = 2;
        stack.pop_back();
        continue;
      }
      state[c] = 1;
      for (ClassId child : children(f)) {
        child = g_.find(child);
        if (state[child] == 1) return false;
        if (state[child] == 0) stack.push_back(child);
      }
    }
  }
  return true;
}

Free Chooser::free_in(FormId f) const {
  const Scope& own = q_.scopes[g_.form(f).head];
  Free all{0, own.first, own.last};
  for (ClassId c : children(f)) all.add(free_[g_.find(c)]);
  all.variables = (all.variables & ~own.binds) | own.variables;
  return all;
}

bool Chooser::is_admissible(ClassId c, FormId f) const {
  if (f == base(c)) return true;
  for (ClassId child : children(f)) {
    if (g_.find(child) == c) return false;
  }
  const Free free = free_in(f);
  return free.within(free_[c]) && (free.variables & overflow_variable) == 0;
}

bool Chooser::is_literal(FormId f) const {
  const auto parts = children(f);
  return parts.empty() || (q_.makes_literal[g_.form(f).head] != 0 &&
                           std::all_of(parts.begin(), parts.end(),
                                       [this](ClassId c) { return q_.is_value[g_.find(c)] != 0; }));
}

/// The class as the user wrote it first, in a wanted form if that is asked for; the base where there is none.
FormId Chooser::first_written(ClassId c, bool wanted) const {
  FormId first = none;
  for (FormId f = g_.first_form(c); f != none; f = g_.form(f).next) {
    if (is_written(f) && f < first && (wanted ? is_wanted(c, f) : is_admissible(c, f))) first = f;
  }
  return first != none ? first : base(c);
}

/// Uses each of the classes once more; what is new costs. Gives up where that is more than `most`: then
/// nothing has changed.
std::uint64_t Chooser::take(std::span<const ClassId> classes, std::uint64_t most) {
  std::uint64_t added = 0;
  std::vector<ClassId>& pending = pending_;
  pending.clear();
  for (ClassId c : classes) pending.push_back(g_.find(c));
  for (std::size_t next = 0; next < pending.size(); ++next) {
    const ClassId c = pending[next];
    if (uses_[c]++ != 0) continue;
    added += cost(chosen_[c]);
    if (added > most) {
      for (std::size_t i = 0; i <= next; ++i) --uses_[pending[i]];
      return added;
    }
    for (ClassId child : children(chosen_[c])) pending.push_back(g_.find(child));
  }
  return added;
}

/// The opposite: what is no longer used costs no more.
std::uint64_t Chooser::drop(std::span<const ClassId> classes) {
  std::uint64_t removed = 0;
  std::vector<ClassId>& pending = pending_;
  pending.clear();
  for (ClassId c : classes) pending.push_back(g_.find(c));
  for (std::size_t next = 0; next < pending.size(); ++next) {
    const ClassId c = pending[next];
    if (--uses_[c] != 0) continue;
    removed += cost(chosen_[c]);
    for (ClassId child : children(chosen_[c])) pending.push_back(g_.find(child));
  }
  return removed;
}

/// Writes class `c` in form `f` if that costs less, or as much and is more to the user's taste.
bool Chooser::try_form(ClassId c, FormId f) {
  const FormId old = chosen_[c];
  if (!order_.can_follow(c, children(f), chosen_, g_)) return false;
  const std::uint64_t most = most_added + cost(old);
  const std::uint64_t added = cost(f) + take(children(f), most);
  if (added > most + cost(f)) return false;
  const std::uint64_t removed = cost(old) + drop(children(old));
  const bool taste = is_written(f) ? !is_written(old) || f < old : false;
  if (removed > added || (removed == added && taste)) {
    order_.follow();
    chosen_[c] = f;
    return true;
  }
  take(children(old), ~std::uint64_t{0});
  drop(children(f));
  return false;
}

bool Chooser::improve(ClassId c) {
  bool better = false;
  for (FormId f = g_.first_form(c); f != none; f = g_.form(f).next) {
    if (f != chosen_[c] && is_wanted(c, f)) better = try_form(c, f) || better;
  }
  return better;
}

/// Begins with the chosen forms; false when these go round in a circle.
bool Chooser::begin() {
  if (!order_.sort(all_, chosen_, g_)) return false;
  uses_.assign(g_.num_classes(), 0);
  take(q_.roots, ~std::uint64_t{0});
  return true;
}

Size Chooser::size() const {
  Size size{0, 0};
  for (ClassId c : all_) {
    if (uses_[c] == 0) continue;
    size.terms += cost(chosen_[c]);
    size.operations += children(chosen_[c]).empty() ? 0 : 1;
  }
  return size;
}

Size Chooser::size_as_written() {
  chosen_.assign(g_.num_classes(), none);
  for (ClassId c : all_) chosen_[c] = first_written(c, false);
  return begin() ? size() : Size();
}

Choice Chooser::improved(bool begin_written) {
  chosen_.assign(g_.num_classes(), none);
  for (ClassId c : all_) chosen_[c] = begin_written ? first_written(c, true) : base(c);
  if (!begin()) return {};
  constexpr int most_sweeps = 4;
  bool better = true;
  for (int sweep = 0; better && sweep < most_sweeps; ++sweep) {
    better = false;
    const std::vector<ClassId> classes = order_.ascending();
    for (ClassId c : classes) {
      if (uses_[c] != 0 && g_.form(g_.first_form(c)).next != none) better = improve(c) || better;
    }
  }
  return {chosen_, size(), {}};
}

Choice Chooser::run() {
  if (!find_free()) {
    base_ = grounded(g_, q_.base);
    is_grounded_ = true;
    for (ClassId c : q_.roots) {
      if (base_[g_.find(c)] == none) return {};
    }
    find_free();
  }
  // All that any form of what the roots need may need.
  std::vector<bool> seen(g_.num_classes());
  const auto visit = [&](ClassId c) {
    c = g_.find(c);
    if (seen[c] || is_endless(c)) return;
    seen[c] = true;
    all_.push_back(c);
  };
  for (ClassId c : q_.roots) visit(c);
  for (std::size_t next = 0; next < all_.size(); ++next) {
    for (FormId f = g_.first_form(all_[next]); f != none; f = g_.form(f).next) {
      for (ClassId child : children(f)) visit(child);
    }
  }
  std::sort(all_.begin(), all_.end());
  Choice best = improved(true);
  if (Choice normal = improved(false); normal.size < best.size) best = std::move(normal);
  best.as_written = size_as_written();
  return best;
}

}  // namespace

Choice choose(const Question& question) {
  return Chooser(question).run();
}

}  // namespace quarv::forms
