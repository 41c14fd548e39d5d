#include <algorithm>
#include <cstring>
#include <tuple>
#include <unordered_set>

#include <quarv/smtlib/write/sharing.h>
#include <quarv/util/checkpoint.h>

namespace quarv::smtlib {

using Kind = Command::Kind;

void SharingPlan::start(std::size_t first) {
  ++epoch_;
  first_command_ = first;
  first_units_.clear();
  unit_commands_.clear();
  unit_scopes_.clear();
  roots_.clear();
  is_multiple_.clear();
  post_order_.clear();
  scopes_.assign(1, {none, none, true});
  scope_ = 0;
  user_names_.assign(1, {});
  for (auto& map : common_scopes_) map.clear(false);
  definitions_.clear();
  bindings_.clear();
  infos_.resize(manager_.num_terms());
}

void SharingPlan::plan(std::size_t first, std::size_t last) {
  start(first);
  for (std::size_t c = first; c < last; ++c) count_command(c);
  assign_units();
}

void SharingPlan::plan_term(Node root) {
  start(0);
  add_unit(root, 0);
  assign_units();
}

// First pass: from the commands' terms downwards.
// ------------------------------------------------------------------------------

void SharingPlan::count_command(std::size_t index) {
  const Command& c = script_.commands[index];
  first_units_.push_back(static_cast<std::uint32_t>(roots_.size()));
  if (c.kind == Kind::push) return open_scopes(index, c.levels);
  if (c.kind == Kind::pop) return close_scopes(c.levels);
  if (c.kind == Kind::declare) return;
  const auto terms = script_.terms_of(c);
  const auto sorts = script_.sorts_of(c);
  for (std::size_t i = 0; i < terms.size(); ++i) {
    // What is printed as it was written has no part in the plan but a number.
    const bool written = !script_.text_of(c, i).empty();
    const Node root = written ? Node(manager_.true_term, false) : node_for(manager_, terms[i], sorts[i]);
    add_unit(root, static_cast<std::uint32_t>(index));
    if (c.kind == Kind::define && !is_multiple(manager_, terms[i])) name_by_user(root);
  }
}

void SharingPlan::add_unit(Node root, std::uint32_t command) {
  const auto unit = static_cast<std::uint32_t>(roots_.size());
  const Node bare = without_coefficient(manager_, root);
  is_multiple_.push_back(bare != root);
  root = bare;
  roots_.push_back(root);
  unit_commands_.push_back(command);
  unit_scopes_.push_back(scope_);
  count_uses(root, unit);
}

void SharingPlan::open_scopes(std::size_t command, std::uint32_t levels) {
  if (script_.global_declarations) return;
  for (std::uint32_t i = 0; i < levels; ++i) {
    scopes_.push_back({scope_, static_cast<std::uint32_t>(command), true});
    scope_ = static_cast<std::uint32_t>(scopes_.size() - 1);
    user_names_.emplace_back();
  }
}

void SharingPlan::close_scopes(std::uint32_t levels) {
  if (script_.global_declarations) return;
  for (std::uint32_t i = 0; i < levels && scope_ != 0; ++i) {
    scopes_[scope_].alive = false;
    scope_ = scopes_[scope_].parent;
    for (Node n : user_names_.back()) info(n).flags &= static_cast<std::uint8_t>(~user_named);
    user_names_.pop_back();
  }
}

/// From here on the definition's own name stands for the term, when the term is met here first.
void SharingPlan::name_by_user(Node n) {
  if (manager_.arity(n.term()) == 0) return;
  Info& i = info(n);
  if (i.unit + 1 != roots_.size() || (is_small(n) && !script_.chosen) || (i.flags & (open | user_named)) != 0)
    return;
  i.flags |= user_named | user_defined;
  user_names_.back().push_back(n);
}

/// Counts one use; true when the node has to be entered.
bool SharingPlan::first_use(Node n, std::uint32_t unit) {
  if (n.as_real() && real_infos_.size() != infos_.size()) real_infos_.resize(infos_.size());
  Info& i = info(n);
  if (i.epoch != epoch_) {
    i = Info{};
    i.epoch = epoch_;
    i.unit = unit;
    i.uses = 1;
    return true;
  }
  if (i.uses != 255) ++i.uses;
  if (i.unit != unit && (i.flags & user_named) == 0) share(n, i);
  return false;
}

/// The node occurs in several units; what defines it must be visible in all of them.
void SharingPlan::share(Node n, Info& i) {
  i.flags |= shared;
  auto& common = common_scopes_[n.as_real()];
  const std::uint32_t* known = common.find(n.term());
  std::uint32_t s = known != nullptr ? *known : unit_scopes_[i.unit];
  while (!scopes_[s].alive) s = scopes_[s].parent;
  common[n.term()] = s;
}

void SharingPlan::enter(Node n) {
  const auto first = static_cast<std::uint32_t>(children_.size());
  frames_.push_back({n, first, first});
  planned_children(manager_, n, children_);
}

void SharingPlan::count_uses(Node root, std::uint32_t unit) {
  if (manager_.arity(root.term()) == 0 || !first_use(root, unit)) return;
  enter(root);
  while (!frames_.empty()) {
    Checkpoint::pass();
    Frame& frame = frames_.back();
    if (frame.next_child < children_.size()) {
      const Node child = children_[frame.next_child++];
      if (manager_.arity(child.term()) != 0 && first_use(child, unit)) enter(child);
      continue;
    }
    finish(frame.node, std::span(children_).subspan(frame.first_child));
    children_.resize(frame.first_child);
    frames_.pop_back();
  }
}

std::uint64_t SharingPlan::variable_bit(const Term* variable) {
  std::uint64_t& bit = variable_bits_[variable];
  if (bit == 0) bit = std::uint64_t{1} << std::min<std::size_t>(variable_bits_.size() - 1, 63);
  return bit;
}

/// Adds the variables of the annotation's patterns, which are not part of the plan, to those that are free;
/// true when the annotation gives a name.
bool SharingPlan::note_annotation(const Term* annotation, std::uint64_t& free) {
  const TermManager::Args patterns = manager_.args_of(annotation).subspan(1);
  std::vector<const Term*> pending(patterns.begin(), patterns.end());
  std::unordered_set<const Term*> seen(pending.begin(), pending.end());
  while (!pending.empty()) {
    const Term* t = pending.back();
    pending.pop_back();
    if (manager_.is_bound_variable(t->symbol)) free |= variable_bit(t);
    for (const Term* a : manager_.args_of(t)) {
      if (seen.insert(a).second) pending.push_back(a);
    }
  }
  const auto& attributes = manager_.annotation_attributes(annotation->symbol);
  return std::any_of(attributes.begin(), attributes.end(),
                     [](const Attribute& a) { return a.keyword == ":named"; });
}

void SharingPlan::finish(Node n, std::span<const Node> children) {
  const Symbol* symbol = n.term()->symbol;
  unsigned size = 1;
  std::uint64_t free = 0;
  std::uint8_t inherited = 0;
  for (Node child : children) {
    const Term* t = child.term();
    if (manager_.arity(t) != 0) {
      size += info(child).size;
      inherited |= info(child).flags & holds_name;
      if (is_open(child)) free |= free_variables_[t];
      continue;
    }
    ++size;
    if (manager_.is_bound_variable(t->symbol)) free |= variable_bit(t);
  }
  Info& i = info(n);
  i.flags |= inherited;
  if (manager_.is_quantifier(symbol)) {
    size = largest_size;
    for (const Term* t = n.term()->args[0]; manager_.is_annotation(t->symbol); t = t->args[0]) {
      if (note_annotation(t, free)) i.flags |= holds_name;
    }
    for (const Term* v : manager_.quantifier_variables(symbol)) {
      const std::uint64_t* bit = variable_bits_.find(v);
      if (bit != nullptr && *bit != std::uint64_t{1} << 63) free &= ~*bit;
    }
  }
  if (manager_.is_annotation(symbol)) {
    size = largest_size;
    if (note_annotation(n.term(), free)) i.flags |= annotated | holds_name;
  }
  if (free != 0) {
    i.flags |= open;
    free_variables_[n.term()] = free;
  }
  i.size = static_cast<std::uint8_t>(std::min<unsigned>(size, largest_size));
  if (script_.chosen) {
    std::size_t bytes = std::strlen(symbol->name) + 2;
    for (Node child : children) {
      const Term* t = child.term();
      bytes += 1 + (manager_.arity(t) != 0 ? info(child).bytes : std::strlen(t->symbol->name));
    }
    i.bytes = static_cast<std::uint8_t>(std::min<std::size_t>(bytes, 255));
  }
  post_order_.push_back(n);
}

// Second pass: parents first.
// --------------------------------------------------------------------------------------------------

/// Before which command a node can be defined: that which met it first, or the push that would hide it from
/// others.
std::uint32_t SharingPlan::first_position(Node n, const Info& i) const {
  std::uint32_t position = unit_commands_[i.unit];
  const std::uint32_t* common = common_scopes_[n.as_real()].find(n.term());
  if (common == nullptr) return position;
  for (std::uint32_t s = unit_scopes_[i.unit]; s != *common; s = scopes_[s].parent)
    position = scopes_[s].push_command;
  return position;
}

void SharingPlan::assign_units() {
  for (std::uint32_t u = 0; u < roots_.size(); ++u) {
    if (manager_.arity(roots_[u].term()) != 0) assign(roots_[u], u, unit_commands_[u], false);
  }
  for (std::size_t k = post_order_.size(); k-- > 0;) {
    Checkpoint::pass();
    place(post_order_[k]);
  }
  std::sort(definitions_.begin(), definitions_.end(), [](const Definition& a, const Definition& b) {
    return std::tuple(a.position, a.node.term()->id, a.node.as_real()) <
           std::tuple(b.position, b.node.term()->id, b.node.as_real());
  });
  std::sort(bindings_.begin(), bindings_.end(), [](const Binding& a, const Binding& b) {
    return std::tuple(a.unit, a.node.term()->id, a.node.as_real()) <
           std::tuple(b.unit, b.node.term()->id, b.node.as_real());
  });
}

/// The node occurs in the text of `unit`, which stands before or in command `position`, and in those of other
/// units if it is `repeated`.
void SharingPlan::assign(Node n, std::uint32_t unit, std::uint32_t position, bool repeated) {
  Info& i = info(n);
  if ((i.flags & assigned) == 0) {
    i.position = std::min(position, first_position(n, i));
    i.unit = unit;
    i.flags |= assigned;
  } else {
    // A name that the user gave serves everywhere behind its definition.
    if ((i.flags & user_defined) != 0 && (i.flags & shared) == 0 && position > unit_commands_[i.unit]) return;
    i.position = std::min(i.position, position);
    if (i.unit != unit) i.flags |= shared;
  }
  if (repeated) i.flags |= shared;
}

/// Whether a name saves bytes: the term is written once instead of each time that it is used.
bool SharingPlan::pays(const Info& i, bool everywhere) const noexcept {
  constexpr unsigned length_of_name = 3;
  constexpr unsigned length_of_let = 12;
  constexpr unsigned length_of_definition = 36;
  constexpr unsigned size_of_literal = 2;  // (not p): easier to read than a name for it
  constexpr unsigned short_length = 24;
  if (!script_.chosen) return i.size > small_size;
  if (i.size <= size_of_literal && i.bytes <= short_length) return false;
  const unsigned uses = std::max<unsigned>(i.uses, 2);
  return (uses - 1) * i.bytes > uses * length_of_name + (everywhere ? length_of_definition : length_of_let);
}

/// A value such as `(- 5)`, `(/ 1 3)` or `((_ to_fp 8 24) #x3f800000)`, in a chosen script: easier to read
/// than any name for it, unless it is longer than a number of single precision in binary.
bool SharingPlan::is_short_literal(const Term* t, const Info& i) const noexcept {
  constexpr unsigned short_length = 48;
  if (i.bytes > short_length) return false;
  const auto is_numeral = [this](const Term* a) {
    const char first = a->symbol->name[0];
    return manager_.arity(a) == 0 && ((first >= '0' && first <= '9') || first == '#');
  };
  const auto is_negative = [this](const Term* a) {
    return manager_.arity(a) == 1 && std::string_view(a->symbol->name) == "-";
  };
  const auto is_signed = [&](const Term* a) { return is_numeral(is_negative(a) ? a->args[0] : a); };
  const auto is_quotient = [&](const Term* a) {
    return manager_.arity(a) == 2 && std::string_view(a->symbol->name) == "/" && is_signed(a->args[0]) &&
           is_numeral(a->args[1]);
  };
  const std::string_view head = t->symbol->name;
  if (head == "fp" || head.starts_with("(_ to_fp ")) {
    return std::ranges::all_of(manager_.args_of(t), is_numeral);
  }
  return is_signed(t) || is_quotient(is_negative(t) ? t->args[0] : t);
}

/// All that the node occurs in has been placed: now it is clear whether it is named, and where its parts
/// belong.
void SharingPlan::place(Node n) {
  Info& i = info(n);
  std::uint32_t unit = i.unit;
  const bool everywhere = (i.flags & shared) != 0 || define_only(i.unit);
  const bool nameable = pays(i, everywhere) && (i.flags & (open | annotated)) == 0 &&
                        !(script_.chosen && is_short_literal(n.term(), i));
  const bool used_again = i.uses > 1 && (i.flags & user_defined) == 0;
  if (nameable && ((i.flags & shared) != 0 || (used_again && define_only(i.unit)))) {
    unit = static_cast<std::uint32_t>(roots_.size() + definitions_.size());
    definitions_.push_back({n, i.position, unit});
    i.flags |= named_here;
  } else if (nameable && used_again) {
    bindings_.push_back({i.unit, n});
    i.flags |= named_here;
  }
  // What has no name of its own is written wherever it occurs, and its parts with it.
  const bool repeated = (i.flags & (shared | named_here | annotated)) == shared;
  const std::uint32_t position = i.position;
  children_.clear();
  planned_children(manager_, n, children_);
  for (Node child : children_) {
    if (manager_.arity(child.term()) != 0) assign(child, unit, position, repeated);
  }
  children_.clear();
}

/// The unit's text gives a name below its root. No `let` may stand around that: its variable would be out of
/// scope where the name is used.
bool SharingPlan::define_only(std::uint32_t unit) const noexcept {
  if (unit >= roots_.size()) return (info(definitions_[unit - roots_.size()].node).flags & holds_name) != 0;
  const Node root = roots_[unit];
  const Term* t = root.term();
  if (!manager_.is_annotation(t->symbol) || is_multiple_[unit]) return (info(root).flags & holds_name) != 0;
  const Node body(t->args[0], false);
  return manager_.arity(body.term()) != 0 && (info(body).flags & holds_name) != 0;
}

}  // namespace quarv::smtlib
