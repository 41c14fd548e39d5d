#include <algorithm>
#include <unordered_set>

#include <quarv/forms/form_graph.h>

namespace quarv::forms {

namespace {

std::uint32_t hash(HeadId head, std::span<const ClassId> children) noexcept {
  constexpr std::uint64_t k = 0x9E3779B97F4A7C15u;
  std::uint64_t h = (head + 1) * k;
  for (ClassId c : children) h = ((h ^ (h >> 29)) + c + 1) * k;
  return static_cast<std::uint32_t>(h ^ (h >> 32));
}

template <std::size_t n>
bool is_one_of(std::string_view text, const std::string_view (&words)[n]) {
  return std::find(std::begin(words), std::end(words), text) != std::end(words);
}

/// The standard explains these by a conjunction of comparisons of neighbours.
constexpr std::string_view chains[] = {"=",     "<",     "<=",    ">",      ">=",    "bvult",
                                       "bvule", "bvugt", "bvuge", "bvslt",  "bvsle", "bvsgt",
                                       "bvsge", "fp.eq", "fp.lt", "fp.leq", "fp.gt", "fp.geq"};

/// Arguments of these may be left out where they are repeated.
constexpr std::string_view idempotent[] = {"and", "or", "bvand", "bvor"};

/// And these by nesting.
constexpr std::string_view nested[] = {"-", "/", "div", "=>", "xor", "bvsub"};

}  // namespace

/// A copy that lives as long as the graph.
std::string_view FormGraph::kept(std::string_view text) {
  if (text.empty()) return {};
  auto* const copy = static_cast<char*>(texts_.allocate(text.size()));
  std::ranges::copy(text, copy);
  return {copy, text.size()};
}

HeadId FormGraph::head(std::string_view text, std::uint32_t cost) {
  if (const HeadId* known = heads_by_text_.find(text)) return *known;
  const auto head = static_cast<HeadId>(heads_.size());
  Head h{kept(text), nullptr, cost};
  h.is_chain = is_one_of(text, chains);
  h.is_idempotent = is_one_of(text, idempotent);
  h.is_choice = text == "ite";
  h.is_read = text == "select";
  h.is_write = text == "store";
  h.cost_of_more = h.is_chain || is_one_of(text, nested) ? 1 : 0;
  heads_.push_back(h);
  heads_by_text_[h.text] = head;
  return head;
}

HeadId FormGraph::head(const Symbol* symbol, std::string_view text, std::uint32_t cost) {
  return heads_by_symbol_.find_or_make(symbol, [&] {
    heads_.push_back({kept(text), symbol, cost});
    return static_cast<HeadId>(heads_.size() - 1);
  });
}

HeadId FormGraph::quantifier_head(const Symbol* symbol, std::string_view text, std::size_t num_variables) {
  const HeadId h = head(symbol, text);
  constexpr std::size_t most = 1 << 16;  // more make no difference
  heads_[h].num_bound = static_cast<std::uint32_t>(std::min(num_variables, most));
  return h;
}

HeadId FormGraph::annotation_head(const Symbol* symbol, std::string_view key) {
  const HeadId h = head(key, 0);
  heads_[h].symbol = symbol;
  return h;
}

std::uint32_t FormGraph::number_of(const DataType* sort) {
  constexpr std::size_t few = 4;  // nearly all scripts have no more
  if (sort == replaced_sort_) sort = replacing_sort_;
  for (std::uint32_t i = 0; i < std::min(sorts_.size(), few); ++i) {
    if (sorts_[i] == sort) return i;
  }
  return sort_numbers_.find_or_make(sort, [&] {
    sorts_.push_back(sort);
    return static_cast<std::uint32_t>(sorts_.size() - 1);
  });
}

void FormGraph::take_for(const DataType* sort, const DataType* other) {
  const std::uint32_t from = number_of(sort);
  const std::uint32_t to = number_of(other);
  for (Class& c : classes_) c.sort = c.sort == from ? to : c.sort;
  replaced_sort_ = sort;
  replacing_sort_ = other;
}

ClassId FormGraph::new_class(const DataType* sort) {
  const auto c = static_cast<ClassId>(classes_.size());
  classes_.push_back({c, none, none, number_of(sort)});
  return c;
}

ClassId FormGraph::find(ClassId c) const noexcept {
  while (classes_[c].parent != c) {
    classes_[c].parent = classes_[classes_[c].parent].parent;
    c = classes_[c].parent;
  }
  return c;
}

/// The older class stays, and its forms come first: what was written first is the user's own form.
void FormGraph::merge(ClassId a, ClassId b) {
  a = find(a);
  b = find(b);
  if (a == b || classes_[a].sort != classes_[b].sort) return;
  if (a > b) std::swap(a, b);
  Class& into = classes_[a];
  Class& from = classes_[b];
  from.parent = a;
  if (from.first_form == none) return;
  if (into.first_form == none) {
    into.first_form = from.first_form;
  } else {
    forms_[into.last_form].next = from.first_form;
  }
  into.last_form = from.last_form;
}

/// The form's place in the table, or the one where it belongs, without a form. `children` are canonical.
FormGraph::Entry& FormGraph::slot(HeadId head, std::span<const ClassId> children) noexcept {
  const std::uint32_t h = hash(head, children);
  const std::size_t mask = table_.size() - 1;
  for (std::size_t i = h & mask;; i = (i + 1) & mask) {
    Entry& entry = table_[i];
    if (entry.form == none) {
      entry.hash = h;
      return entry;
    }
    if (entry.hash != h) continue;
    const Form& f = forms_[entry.form];
    if (f.head != head || f.num_children != children.size()) continue;
    const auto own = this->children(f);
    if (std::equal(own.begin(), own.end(), children.begin())) return entry;
  }
}

FormId FormGraph::add_form(ClassId c, HeadId head, std::span<const ClassId> children, Entry& slot) {
  const auto f = static_cast<FormId>(forms_.size());
  const auto first = static_cast<std::uint32_t>(children_.size());
  children_.insert(children_.end(), children.begin(), children.end());
  forms_.push_back({head, first, static_cast<std::uint32_t>(children.size()), none, c});
  Class& own = classes_[c];
  if (own.first_form == none) {
    own.first_form = f;
  } else {
    forms_[own.last_form].next = f;
  }
  own.last_form = f;
  slot.form = f;
  if (2 * ++num_entries_ > table_.size()) grow();
  return f;
}

void FormGraph::grow() {
  LargeVector<Entry> old(2 * table_.size());
  old.swap(table_);
  const std::size_t mask = table_.size() - 1;
  for (const Entry& entry : old) {
    if (entry.form == none) continue;
    std::size_t i = entry.hash & mask;
    while (table_[i].form != none) i = (i + 1) & mask;
    table_[i] = entry;
  }
}

/// The classes that stand for these now.
std::span<const ClassId> FormGraph::canonical(std::span<const ClassId> children) {
  canonical_.assign(children.begin(), children.end());
  for (ClassId& c : canonical_) c = find(c);
  return canonical_;
}

ClassId FormGraph::add(HeadId head, std::span<const ClassId> children, const DataType* sort) {
  Entry& entry = slot(head, canonical(children));
  if (entry.form != none) return find(forms_[entry.form].of);
  const ClassId c = new_class(sort);
  add_form(c, head, canonical_, entry);
  return c;
}

void FormGraph::add_to(ClassId c, HeadId head, std::span<const ClassId> children) {
  Entry& entry = slot(head, canonical(children));
  if (entry.form != none) return merge(c, forms_[entry.form].of);
  add_form(find(c), head, canonical_, entry);
}

/// The first form of a class that has this head, among the first few: a class of values may have thousands.
FormId FormGraph::form_with(ClassId c, HeadId head) const noexcept {
  constexpr int most_seen = 32;
  FormId f = first_form(c);
  for (int seen = 0; f != none; ++seen, f = forms_[f].next) {
    if (forms_[f].head == head) return f;
    if (seen == most_seen) return none;
  }
  return none;
}

std::vector<FormId> FormGraph::only_users(std::span<const ClassId> roots) const {
  constexpr std::uint32_t several = none - 1;
  std::vector<FormId> user(classes_.size(), none);
  for (ClassId c : roots) user[find(c)] = several;
  for (FormId f = 0; f < forms_.size(); ++f) {
    for (ClassId c : children(forms_[f])) {
      FormId& known = user[find(c)];
      known = known == none || known == f ? f : several;
    }
  }
  std::ranges::replace(user, several, none);
  return user;
}

bool FormGraph::consists_of(FormId f, ClassId c) const noexcept {
  return std::ranges::any_of(children(forms_[f]), [this, c](ClassId child) { return find(child) == c; });
}

/// What a form with those below it of the same head stands over, from left to right; only through links that
/// nothing else needs where `only_user` is given. False where that is too much, or nothing new.
bool FormGraph::flat_children(FormId f, const std::vector<FormId>* only_user,
                              std::vector<ClassId>& flat) const {
  constexpr std::size_t most_shared = 24;  // it is written in several places
  constexpr std::size_t most = 1 << 16;
  flat.clear();
  std::vector<ClassId> pending;
  std::size_t num_links = 0;
  const auto enter = [&](FormId form) {
    const auto own = children(forms_[form]);
    pending.insert(pending.end(), own.rbegin(), own.rend());
    ++num_links;  // which may go round in a circle: (and p) is p
  };
  enter(f);
  while (!pending.empty()) {
    if (flat.size() + pending.size() + num_links > (only_user != nullptr ? most : most_shared)) return false;
    const ClassId c = find(pending.back());
    pending.pop_back();
    const FormId link = form_with(c, forms_[f].head);
    if (link != none && link < f && !consists_of(link, c) &&
        (only_user == nullptr || (*only_user)[c] != none)) {
      enter(link);
    } else {
      flat.push_back(c);
    }
  }
  return flat.size() > forms_[f].num_children;
}

namespace {

/// Keeps the first of equal ones.
void drop_repeated(std::vector<ClassId>& classes) {
  std::unordered_set<ClassId> seen;
  std::erase_if(classes, [&seen](ClassId c) { return !seen.insert(c).second; });
}

}  // namespace

void FormGraph::write_flat(ClassId c, HeadId head, std::vector<ClassId>& flat) {
  if (heads_[head].is_idempotent) drop_repeated(flat);
  if (flat.size() > 1) add_to(c, head, flat);
}

void FormGraph::flatten(std::span<const HeadId> heads, std::span<const ClassId> roots) {
  const std::vector<FormId> only_user = only_users(roots);
  const auto is_flat_head = [heads](HeadId h) { return std::ranges::find(heads, h) != heads.end(); };
  std::vector<ClassId> flat;
  const std::size_t n = forms_.size();
  for (FormId f = 0; f < n; ++f) {
    const HeadId head = forms_[f].head;
    if (!is_flat_head(head)) continue;
    const ClassId c = find(forms_[f].of);
    if (heads_[head].is_idempotent && forms_[f].num_children > 2) {
      const auto own = canonical(children(forms_[f]));
      flat.assign(own.begin(), own.end());
      write_flat(c, head, flat);
    }
    // A link of a longer chain is written down with that.
    const FormId user = c < only_user.size() ? only_user[c] : none;
    if (user != none && forms_[user].head == head) continue;
    if (flat_children(f, &only_user, flat)) write_flat(c, head, flat);
    if (flat_children(f, nullptr, flat)) write_flat(c, head, flat);
  }
}

bool FormGraph::cancel_twice(HeadId head) {
  bool merged = false;
  for (FormId f = 0; f < forms_.size(); ++f) {
    if (forms_[f].head != head || forms_[f].num_children != 1) continue;
    const ClassId once[] = {find(forms_[f].of)};
    const FormId twice = slot(head, once).form;
    if (twice == none || find(forms_[twice].of) == find(children(forms_[f])[0])) continue;
    merge(forms_[twice].of, children(forms_[f])[0]);
    merged = true;
  }
  return merged;
}

/// Enters forms anew whose children have been merged; false when that has merged classes, so that it has to
/// be done again. Where such a form was, it is no longer found: the hash there is that of other children.
bool FormGraph::close_once() {
  bool merged = false;
  for (FormId f = 0; f < forms_.size(); ++f) {
    const std::span<ClassId> own(children_.data() + forms_[f].first_child, forms_[f].num_children);
    bool is_new = false;
    for (ClassId& c : own) {
      if (classes_[c].parent == c) continue;
      c = find(c);
      is_new = true;
    }
    if (!is_new) continue;
    Entry& entry = slot(forms_[f].head, own);
    if (entry.form == none) {
      entry.form = f;
      if (2 * ++num_entries_ > table_.size()) grow();
    } else if (find(forms_[f].of) != find(forms_[entry.form].of)) {
      merge(forms_[f].of, forms_[entry.form].of);
      merged = merged || find(forms_[f].of) == find(forms_[entry.form].of);
    }
  }
  return !merged;
}

void FormGraph::close() {
  constexpr int most_rounds = 8;  // each finds the consequences of the one before
  for (int round = 0; round < most_rounds && !close_once(); ++round) {
  }
}

}  // namespace quarv::forms
