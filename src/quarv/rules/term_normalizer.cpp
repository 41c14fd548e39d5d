#include <algorithm>
#include <utility>

#include <quarv/rules/term_normalizer.h>
#include <quarv/term/given.h>
#include <quarv/term/term_manager.h>
#include <quarv/util/checkpoint.h>

namespace quarv {

namespace {

/// Marks a term that is being normalised. It is only ever compared by address.
const Term* const in_progress = [] {
  static constexpr std::uint64_t mark[2] = {};
  return reinterpret_cast<const Term*>(mark);
}();

}  // namespace

TermNormalizer::TermNormalizer() = default;
TermNormalizer::~TermNormalizer() = default;

// Rules.

void TermNormalizer::register_rule(norm_fun* rule) {
  std::unique_ptr<norm_fun> owned(rule);
  rules_.push_back({std::move(owned), true});
  index_is_current_ = false;
}

void TermNormalizer::set_rule_enabled(std::size_t i, bool enabled) {
  if (rules_[i].enabled == enabled) return;
  rules_[i].enabled = enabled;
  index_is_current_ = false;
}

std::optional<std::size_t> TermNormalizer::find_rule(std::string_view name) const {
  for (std::size_t i = 0; i < rules_.size() && !name.empty(); ++i) {
    if (rules_[i].fun->get_name() == name) return i;
  }
  return std::nullopt;
}

std::string TermNormalizer::rule_label(std::size_t i) const {
  const std::string_view name = rules_[i].fun->get_name();
  return name.empty() ? std::to_string(i + 1) : std::string(name);
}

std::size_t TermNormalizer::set_rule_enabled(std::string_view name_or_signature, bool enabled) {
  if (const auto named = find_rule(name_or_signature)) {
    set_rule_enabled(*named, enabled);
    return 1;
  }
  std::size_t found = 0;
  for (std::size_t i = 0; i < rules_.size(); ++i) {
    if (rules_[i].fun->get_signature() != name_or_signature) continue;
    set_rule_enabled(i, enabled);
    ++found;
  }
  return found;
}

void TermNormalizer::build_index() {
  std::vector<rules::RuleIndex::Entry> entries;
  candidates_.clear();
  const auto add = [&](std::size_t i, std::uint32_t order, const rules::ChildShapes& shapes) {
    norm_fun& rule = *rules_[i].fun;
    entries.push_back({static_cast<std::uint32_t>(candidates_.size()), rule.get_applicant(), shapes});
    candidates_.push_back({&rule, static_cast<std::uint32_t>(i), order, shapes.below});
  };
  for (std::size_t i = 0; i < rules_.size(); ++i) {
    if (!rules_[i].enabled) continue;
    const norm_fun& rule = *rules_[i].fun;
    const auto num_orders = static_cast<std::uint32_t>(rule.num_orders());
    if (num_orders == 0) add(i, Candidate::as_written, rule.get_child_shapes());
    for (std::uint32_t order = 0; order < num_orders; ++order) add(i, order, rule.get_order_shapes(order));
  }
  index_.build(entries);
  index_is_current_ = true;
}

// Results.

void TermNormalizer::clear_cache() {
  cache_.clear();
}

bool TermNormalizer::is_finished(const Term* t) {
  const Term* const form = entry(t);
  return form != nullptr && form != in_progress;
}

/// What is to stand for `t`: its normal form when that is known, else itself.
inline const Term* TermNormalizer::form_of(const Term* t) {
  const Term* const form = entry(t);
  return form != nullptr && form != in_progress ? form : t;
}

// Rewriting.

inline void TermNormalizer::note_visit(bool is_input) noexcept {
  ++visited_;
  visited_inputs_ += is_input ? 1 : 0;
}

const Term* TermNormalizer::normalize(TermManager* mgr, const Term* t, std::uint64_t most_steps) {
  check_given(*mgr, "normalize", t);
  prepare(mgr);
  most_steps_ = most_steps;
  if (is_finished(t)) return entry(t);
  try {
    push(t, true);
    run();
  } catch (...) {
    abandon();
    throw;
  }
  statistics_.applied += applied_;
  statistics_.visited += visited_;
  const Term* const result = entry(t);
  // Terms whose rewriting was cut short are not normal: forget them.
  if (budget_spent_) {
    ++statistics_.budget_spent;
    clear_cache();
  }
  return result;
}

void TermNormalizer::prepare(TermManager* mgr) {
  if (!index_is_current_) {
    build_index();
    clear_cache();
  }
  cache_.follow(*mgr);
  mgr_ = mgr;
  first_new_id_ = mgr->num_terms();
  applied_ = 0;
  visited_ = 0;
  visited_inputs_ = 0;
  budget_spent_ = false;
}

void TermNormalizer::abandon() {
  stack_.clear();
  trail_.clear();
  clear_cache();
}

std::uint64_t TermNormalizer::budget() const {
  return std::min(most_steps_, step_budget_.value_or(base_budget + budget_per_term * visited_inputs_));
}

void TermNormalizer::run() {
  while (!stack_.empty()) {
    Checkpoint::pass();
    Frame& frame = stack_.back();
    if (push_next_child(frame)) continue;
    const Term* const current = frame.current;
    const Term* next = rebuild(current, current->id < first_new_id_ && !inputs_are_simplified_);
    if (next == current) {
      trail_.back().rules_tried = true;
      next = apply_rule(current);
      if (budget_spent_) return unwind();
    }
    if (next == current) {
      finish(current);
    } else {
      advance(next);
    }
  }
}

/// Ends all frames without rewriting any further: what is known of the arguments goes into the terms above
/// them.
void TermNormalizer::unwind() {
  while (!stack_.empty()) finish(rebuild(stack_.back().current, false));
}

void TermNormalizer::push(const Term* t, bool is_input) {
  note_visit(is_input);
  entry(t) = in_progress;
  stack_.push_back({t, trail_.size(), 0, is_input});
  trail_.push_back({t, false});
}

/// Pushes the next argument that has not been looked at; false when there is none.
bool TermNormalizer::push_next_child(Frame& frame) {
  const Term* const t = frame.current;
  const auto end = static_cast<std::uint32_t>(mgr_->rewritable_args(t->symbol));
  while (frame.next_child < end) {
    const Term* const child = t->args[frame.next_child++];
    const Term*& form = entry(child);
    if (form != nullptr) continue;
    if (mgr_->arity(child) != 0 || index_.has_rules(mgr_->get_tag(child->symbol))) {
      push(child, frame.is_input);
      return true;
    }
    note_visit(frame.is_input);
    form = child;
  }
  return false;
}

/// The term with its arguments' normal forms in their places, from the full constructor if any of them
/// changed, or `always`.
const Term* TermNormalizer::rebuild(const Term* t, bool always) {
  const TermManager::Args args = mgr_->args_of(t);
  const auto rewritable = args.first(mgr_->rewritable_args(t->symbol));
  const auto is_normal = [this](const Term* arg) { return form_of(arg) == arg; };
  if (args.empty() || (!always && std::ranges::all_of(rewritable, is_normal))) return t;
  args_.assign(args.begin(), args.end());
  std::ranges::transform(rewritable, args_.begin(), [this](const Term* arg) { return form_of(arg); });
  return mgr_->make_term_unchecked(t->symbol, args_);
}

namespace {

/// What rules may ask of `t` two levels down.
std::uint64_t shape_of(const TermManager& mgr, const Term* t) {
  using Shape = rules::TermShape;
  const Term* terms[Shape::num_places] = {};
  const auto is_write = [&mgr](const Term* of) { return mgr.get_tag(of->symbol) == SymbolTag::ARRAY_WRITE; };
  const bool in_chain = is_write(t);
  const auto take_two = [&](const Term* of, const Term** two) {
    if (of == nullptr) return;
    const std::size_t arity = mgr.arity(of);
    const std::size_t first = arity < 3 || (in_chain && is_write(of)) ? 0 : arity - 2;
    if (arity > 0) two[0] = of->args[first];
    if (arity > 1) two[1] = of->args[first + 1];
  };
  take_two(t, terms + Shape::x);
  take_two(terms[Shape::x], terms + Shape::x0);
  take_two(terms[in_chain ? Shape::x0 : Shape::y], terms + Shape::y0);
  std::uint64_t shape = 0;
  for (std::uint8_t place = Shape::y; place < Shape::num_places; ++place) {
    const Term* const term = terms[place];
    const std::uint8_t tag =
        term == nullptr ? Shape::absent : static_cast<std::uint8_t>(mgr.get_tag(term->symbol));
    shape |= Shape::tag(static_cast<Shape::Place>(place), tag);
  }
  const auto compare = [&]<Shape::Place A, Shape::Place B> {
    constexpr std::uint64_t same = Shape::same(A, B);
    shape |= terms[A] == terms[B] ? same : 0;
  };
  compare.template operator()<Shape::x, Shape::y>();
  compare.template operator()<Shape::x, Shape::y0>();
  compare.template operator()<Shape::x, Shape::y1>();
  compare.template operator()<Shape::y, Shape::x0>();
  compare.template operator()<Shape::y, Shape::x1>();
  compare.template operator()<Shape::x0, Shape::y0>();
  compare.template operator()<Shape::x0, Shape::y1>();
  compare.template operator()<Shape::x1, Shape::y0>();
  compare.template operator()<Shape::x1, Shape::y1>();
  compare.template operator()<Shape::x0, Shape::x1>();
  compare.template operator()<Shape::y0, Shape::y1>();
  compare.template operator()<Shape::y, Shape::y1>();
  return shape;
}

}  // namespace

/// What the first rule that rewrites `t` makes of it; `t` when none does or none may any more.
const Term* TermNormalizer::apply_rule(const Term* t) {
  const SymbolTag::tag tag = mgr_->get_tag(t->symbol);
  if (!index_.has_rules(tag)) return t;
  const TermManager::Args args = mgr_->args_of(t);
  const auto tag_of_child = [&](std::size_t i) {
    return i < args.size() ? mgr_->get_tag(args[i]->symbol) : SymbolTag::UF;
  };
  const Term* result = t;
  std::uint64_t shape = 0;
  bool has_shape = false;
  for (const std::uint32_t i : index_.candidates(tag, tag_of_child(0), tag_of_child(1))) {
    const Candidate& candidate = candidates_[i];
    if (candidate.shape.mask != 0) {
      if (!has_shape) shape = shape_of(*mgr_, t);
      has_shape = true;
      if (!candidate.shape.admits(shape)) continue;
    }
    ++statistics_.attempts;
    // A rule that yields the term itself has rewritten nothing.
    if (!candidate.apply(mgr_, t, &result) || result == t) continue;
    if (applied_ == budget()) {
      budget_spent_ = true;
      return t;
    }
    ++applied_;
    if (observer_ != nullptr) observer_->on_rule(candidate.rule, t, result);
    return result;
  }
  return t;
}

/// Continues with `next` in place of the top frame's term.
void TermNormalizer::advance(const Term* next) {
  const Term*& form = entry(next);
  if (form == in_progress) return finish(stop_cycle(next));
  if (form != nullptr) return finish(form);
  form = in_progress;
  trail_.push_back({next, false});
  stack_.back().current = next;
  stack_.back().is_input = false;
  stack_.back().next_child = 0;
}

/// Ends the top frame: all terms of its trail have this normal form.
void TermNormalizer::finish(const Term* normal_form) {
  const std::size_t begin = stack_.back().trail_begin;
  for (std::size_t i = begin; i < trail_.size(); ++i) {
    entry(trail_[i].term) = normal_form;
    cache_.note(trail_[i].term, normal_form);
  }
  trail_.resize(begin);
  stack_.pop_back();
  const Term*& own_form = entry(normal_form);
  if (own_form == nullptr) own_form = normal_form;
}

/// The term to stop at when rewriting came back to `repeated`. In a cycle that is the oldest term whose
/// arguments are normal, whichever term of the cycle rewriting began with. A term that has become an argument
/// of itself is left alone.
const Term* TermNormalizer::stop_cycle(const Term* repeated) {
  ++statistics_.cycles;
  const auto trail = trail_.begin() + static_cast<std::ptrdiff_t>(stack_.back().trail_begin);
  const auto first =
      std::find_if(trail, trail_.end(), [&](const TrailEntry& e) { return e.term == repeated; });
  const Term* oldest = nullptr;
  for (auto e = first; e != trail_.end(); ++e) {
    if (e->rules_tried && (oldest == nullptr || e->term->id < oldest->id)) oldest = e->term;
  }
  return oldest != nullptr ? oldest : repeated;
}

}  // namespace quarv
