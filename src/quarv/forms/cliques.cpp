#include <algorithm>
#include <compare>
#include <optional>

#include <quarv/forms/cliques.h>

namespace quarv::forms {

namespace {

/// `part` says that `from` and `to` differ; each pair is there in both directions.
struct Edge {
  ClassId from;
  ClassId to;
  std::uint32_t part;

  auto operator<=>(const Edge&) const = default;
};

class Cliques {
 public:
  Cliques(FormGraph& graph, const DataType* bool_sort)
      : g_(graph),
        bool_sort_(bool_sort),
        and_(graph.head("and")),
        or_(graph.head("or")),
        not_(graph.head("not")),
        equal_(graph.head("=")),
        distinct_(graph.head("distinct")) {}

  bool add() {
    bool any = false;
    const std::size_t n = g_.num_forms();
    for (FormId f = 0; f < n && effort_left_ != 0; ++f) {
      const Form& form = g_.form(f);
      const bool is_list = form.head == and_ || form.head == or_;
      if (is_list && form.num_children > 2 && find_in(form)) any = true;
    }
    return any;
  }

 private:
  void add_edges(ClassId c, HeadId relation, std::uint32_t part);
  std::span<const Edge> edges_of(ClassId c) const;
  const Edge* edge(ClassId from, ClassId to) const;
  bool is_beside_all(ClassId c);
  bool grow(const Edge& start);
  std::uint32_t cover();
  bool find_in(const Form& form);

  static constexpr std::size_t most_forms = 16;  // of a class, that are looked at
  static constexpr std::size_t most_members = 64;

  FormGraph& g_;
  const DataType* bool_sort_;
  HeadId and_, or_, not_, equal_, distinct_;
  std::size_t effort_left_ = 1 << 22;

  // Of the list under way.
  std::vector<ClassId> parts_;
  std::vector<Edge> edges_;
  std::vector<ClassId> members_;
  std::vector<std::uint32_t> clique_of_;  // by part; `none`: it stays
};

/// The pairs that the class compares with this relation.
void Cliques::add_edges(ClassId c, HeadId relation, std::uint32_t part) {
  std::size_t seen = 0;
  for (FormId f = g_.first_form(c); f != none && seen < most_forms; f = g_.form(f).next, ++seen) {
    const Form& form = g_.form(f);
    if (form.head != relation || form.num_children != 2) continue;
    const ClassId a = g_.find(g_.children(form)[0]);
    const ClassId b = g_.find(g_.children(form)[1]);
    if (a == b || g_.sort(a) != g_.sort(b) || g_.sort(a) == bool_sort_) continue;
    edges_.push_back({a, b, part});
    edges_.push_back({b, a, part});
  }
}

std::span<const Edge> Cliques::edges_of(ClassId c) const {
  // clang 14 does not compile a range of the library that g++ 12 brings, as std::ranges::equal_range returns.
  const auto first = std::ranges::lower_bound(edges_, c, {}, &Edge::from);
  const auto last = std::ranges::upper_bound(edges_, c, {}, &Edge::from);
  return {first, last};
}

const Edge* Cliques::edge(ClassId from, ClassId to) const {
  const auto found = std::ranges::lower_bound(edges_, Edge{from, to, 0});
  return found != edges_.end() && found->from == from && found->to == to ? &*found : nullptr;
}

bool Cliques::is_beside_all(ClassId c) {
  return std::ranges::all_of(members_, [this, c](ClassId member) {
    effort_left_ -= effort_left_ != 0 ? 1 : 0;
    return edge(c, member) != nullptr;
  });
}

/// A clique with these two, which is not always the largest one. False where there are no others in it.
bool Cliques::grow(const Edge& start) {
  members_ = {start.from, start.to};
  const auto first = edges_of(start.from);
  const auto second = edges_of(start.to);
  for (const Edge& e : first.size() < second.size() ? first : second) {
    if (members_.size() == most_members || effort_left_ == 0) break;
    if (is_beside_all(e.to)) members_.push_back(e.to);
  }
  std::ranges::sort(members_);
  return members_.size() > 2;
}

/// Marks the parts that the clique stands for, if it is for at least two that no other stands for.
std::uint32_t Cliques::cover() {
  std::vector<std::uint32_t> covered;
  for (std::size_t i = 0; i < members_.size(); ++i) {
    for (std::size_t k = i + 1; k < members_.size(); ++k) {
      const std::uint32_t part = edge(members_[i], members_[k])->part;
      if (clique_of_[part] == none) covered.push_back(part);
    }
  }
  std::ranges::sort(covered);
  covered.erase(std::unique(covered.begin(), covered.end()), covered.end());
  if (covered.size() < 2) return none;
  for (const std::uint32_t part : covered) clique_of_[part] = covered[0];
  return covered[0];
}

/// The list with cliques, each in the place of its first part, instead of what they stand for.
bool Cliques::find_in(const Form& form) {
  const bool is_conjunction = form.head == and_;
  const HeadId head = form.head;
  const ClassId own = form.of;
  const auto children = g_.children(form);
  parts_.assign(children.begin(), children.end());
  edges_.clear();
  for (std::uint32_t i = 0; i < parts_.size(); ++i) {
    add_edges(parts_[i], is_conjunction ? distinct_ : equal_, i);
  }
  constexpr std::size_t fewest = 6;  // three pairs
  if (edges_.size() < fewest) return false;
  std::ranges::sort(edges_);
  clique_of_.assign(parts_.size(), none);
  bool any = false;
  for (std::size_t i = 0; i < edges_.size() && effort_left_ != 0; ++i) {
    const Edge e = edges_[i];
    if (e.from > e.to || clique_of_[e.part] != none || !grow(e)) continue;
    const std::uint32_t place = cover();
    if (place == none) continue;
    const ClassId all = g_.add(distinct_, members_, bool_sort_);
    parts_[place] = is_conjunction ? all : g_.add(not_, std::span(&all, 1), bool_sort_);
    any = true;
  }
  if (!any) return false;
  std::uint32_t kept = 0;
  for (std::uint32_t i = 0; i < parts_.size(); ++i) {
    if (clique_of_[i] == none || clique_of_[i] == i) parts_[kept++] = parts_[i];
  }
  parts_.resize(kept);
  kept == 1 ? g_.merge(own, parts_[0]) : g_.add_to(own, head, parts_);
  return true;
}

}  // namespace

bool add_cliques(FormGraph& graph, const DataType* bool_sort) {
  return Cliques(graph, bool_sort).add();
}

}  // namespace quarv::forms
