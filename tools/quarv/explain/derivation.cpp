#include "explain/derivation.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include <fmt/core.h>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/trace.h>

namespace quarv::cli {

namespace {

/// Spreads consecutive numbers over all 64 bits, so that sums of them tell sets apart (splitmix64).
std::uint64_t spread(std::uint64_t n) {
  n += 0x9e3779b97f4a7c15;
  n = (n ^ (n >> 30)) * 0xbf58476d1ce4e5b9;
  n = (n ^ (n >> 27)) * 0x94d049bb133111eb;
  return n ^ (n >> 31);
}

}  // namespace

Derivation::Derivation(TraceTerms& terms, std::string_view written, std::string_view simplified)
    : terms_(terms),
      written_(written, ""),
      simplified_(simplified, ""),
      written_names_(terms, written_),
      simplified_names_(terms, simplified_),
      terms_now_(terms) {
  written_.next(read_ahead_);  // there are no steps in it
  has_read_ahead_ = simplified_.next(read_ahead_);
}

/// What earlier assertions have in common with this one has been done there: their steps are used too.
void Derivation::begin(std::size_t assertion) {
  while (has_read_ahead_ && read_ahead_.assertion <= assertion) {
    learn(read_ahead_);
    has_read_ahead_ = simplified_.next(read_ahead_);
  }
  const Id written = written_names_(written_.assertions().at(assertion - 1));
  result_ = simplified_names_(simplified_.assertions().at(assertion - 1));
  index_chains();
  start(written);
}

void Derivation::begin(std::size_t assertion, TermName term) {
  begin(assertion);
  result_.reset();
  start(written_names_(term));
}

void Derivation::learn(const TraceStep& step) {
  const Id before = step.rule != 0 ? simplified_names_(*step.before_name) : simplified_names_(step.before);
  const Id after = simplified_names_(step.after);
  if (before == after) return;
  (step.rule != 0 ? rewrites_ : simplifications_)
      .try_emplace(before, Replacement{after, step.rule_label,
                                       step.is_definition ? step.before.op : step.label, step.is_definition});
}

void Derivation::start(Id root) {
  while (!path_.empty()) close();
  terms_now_.begin(root);
  num_passes_ = 0;
  is_stuck_ = false;
  is_pending_ = false;
  if (root != result_) begin_pass(Pass::simplifiers);
}

void Derivation::begin_pass(Pass pass) {
  pass_ = pass;
  has_changed_ = false;
  ++num_passes_;
  ++pass_number_;
  const Id root = terms_now_.root();
  chain_starts_ = pass == Pass::order ? whole_chains(root) : std::unordered_set<Id>{};
  open(root);
}

/// What rules have changed may be simplified again. Rules that undo each other could do so for ever.
bool Derivation::begin_next_pass() {
  constexpr std::size_t most_passes = 64;
  if (num_passes_ == 0 || is_stuck_ || num_passes_ == most_passes || terms_now_.root() == result_)
    return false;
  if (pass_ == Pass::rules && !has_changed_) return false;
  begin_pass(pass_ == Pass::simplifiers              ? Pass::order
             : pass_ == Pass::order && !has_changed_ ? Pass::rules
                                                     : Pass::simplifiers);
  return true;
}

void Derivation::open(Id id) {
  is_open_.resize(terms_.size());
  done_in_.resize(terms_.size());
  is_open_[id] = true;
  path_.push_back(id);
  frames_.push_back({.is_chain = chain_starts_.contains(id), .forms = {id}});
}

void Derivation::close() {
  is_open_[path_.back()] = false;
  path_.pop_back();
  frames_.pop_back();
}

/// Makes the innermost open term another one. What that is has been dealt with if it occurs elsewhere, too.
void Derivation::become(Id after) {
  const Id before = path_.back();
  terms_now_.become(before, after);
  is_open_.resize(terms_.size());
  done_in_.resize(terms_.size());
  is_open_[before] = false;
  is_open_[after] = true;
  path_.back() = after;
  frames_.back().next_arg = 0;
  frames_.back().forms.push_back(after);
}

/// Opens the next argument that has not been dealt with. False when there is none.
bool Derivation::descend() {
  Frame& frame = frames_.back();
  const std::vector<TermName>& args = terms_.term(path_.back()).args;
  while (frame.next_arg < args.size()) {
    const Id arg = terms_now_.now(static_cast<Id>(args[frame.next_arg++]));
    if (arg < done_in_.size() && done_in_[arg] == pass_number_) continue;
    if (arg < is_open_.size() && is_open_[arg]) {
      is_stuck_ = true;
      return false;
    }
    open(arg);
    return true;
  }
  return false;
}

/// Builds the innermost open term of what its arguments have become. False when they are as they were.
bool Derivation::rebuild() {
  const Id id = path_.back();
  std::vector<Id> args;
  bool same = true;
  for (TermName arg : terms_.term(id).args) {
    args.push_back(terms_now_.now(static_cast<Id>(arg)));
    same = same && args.back() == arg;
  }
  if (same) return false;
  const Id built = terms_now_.now(terms_.with_args(id, args));
  if (built == id) return false;
  if (built < is_open_.size() && is_open_[built]) {
    is_stuck_ = true;
    return false;
  }
  become(built);
  return true;
}

bool Derivation::next(Step& step) {
  if (std::exchange(is_pending_, false)) become(after_);
  do {
    while (!path_.empty() && !is_stuck_) {
      if (done_in_[path_.back()] == pass_number_) {
        close();
      } else if (!descend() && !is_stuck_ && !rebuild() && !is_stuck_) {
        if (find_step(step)) return true;
        done_in_[path_.back()] = pass_number_;
        close();
      }
    }
  } while (begin_next_pass());
  return false;
}

bool Derivation::find_step(Step& step) {
  switch (pass_) {
    case Pass::simplifiers:
      return try_known(simplifications_, step);
    case Pass::order:
      return try_reordering(step);
    case Pass::rules:
      break;
  }
  return try_known(simplifications_, step) || try_known(rewrites_, step);
}

bool Derivation::try_known(const Replacements& known, Step& step) {
  const auto found = known.find(path_.back());
  if (found == known.end()) return false;
  const Replacement& r = found->second;
  if (!replace(r.after, step)) return false;
  step.kind = r.is_definition ? Step::definition : !r.rule_label.empty() ? Step::rule : Step::simplifier;
  step.rule_label = r.rule_label;
  step.label = r.label;
  return true;
}

/// The step that makes the innermost open term another one, unless it leads back, as rules do that undo each
/// other. What `after` became earlier it is at once.
bool Derivation::replace(Id after, Step& step) {
  const Id further = terms_now_.now(after);
  if (further < is_open_.size() && is_open_[further]) return false;
  const std::vector<Id>& forms = frames_.back().forms;
  if (std::ranges::find(forms, further) != forms.end()) return false;
  step.path = path_;
  step.before = path_.back();
  step.after = after;
  after_ = further;
  is_pending_ = true;
  has_changed_ = true;
  return true;
}

// Chains of conjunctions, or of disjunctions. Of more than two arguments the reader puts each once, in the
// order of their age, leaves out neutral ones, and sees which are absorbing; only the pairs that are left are
// seen by simplifiers.

bool Derivation::is_chain(Id id) const {
  const Expression& e = terms_.term(id);
  return e.kind == Expression::operation && e.args.size() == 2 && (e.op == "and" || e.op == "or");
}

void Derivation::index_chains() {
  for (auto id = static_cast<Id>(digests_.size()); id < terms_.size(); ++id) {
    const Expression& e = terms_.term(id);
    if (e.args.empty() && e.kind == Expression::operation) constants_.try_emplace(e.op, id);
    std::uint64_t digest = spread(id);
    if (is_chain(id)) {
      digest = 0;
      for (TermName arg : e.args) {
        const bool continued = is_chain(static_cast<Id>(arg)) && terms_.term(static_cast<Id>(arg)).op == e.op;
        digest += continued ? digests_[arg] : spread(arg);
      }
      chains_.try_emplace(digest, id);
    }
    digests_.push_back(digest);
  }
}

/// Those that are not chains of the same operator, each once, in ascending order.
std::vector<Derivation::Id> Derivation::elements(Id chain) const {
  std::vector<Id> found, pending{chain};
  std::unordered_set<Id> seen{chain};
  const std::string& op = terms_.term(chain).op;
  while (!pending.empty()) {
    const Id id = pending.back();
    pending.pop_back();
    if (!is_chain(id) || terms_.term(id).op != op) {
      found.push_back(id);
      continue;
    }
    for (TermName arg : terms_.term(id).args) {
      if (seen.insert(static_cast<Id>(arg)).second) pending.push_back(static_cast<Id>(arg));
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

bool Derivation::is_absorbed(const std::vector<Id>& elements, std::optional<Id> absorbing) const {
  return std::any_of(elements.begin(), elements.end(), [&](Id id) {
    const Expression& e = terms_.term(id);
    const bool negation = e.kind == Expression::operation && e.op == "not" && e.args.size() == 1;
    return id == absorbing || (negation && std::binary_search(elements.begin(), elements.end(), e.args[0]));
  });
}

/// A term of the trace with the elements of `chain`; or `chain` itself.
Derivation::Id Derivation::reordered(Id chain) const {
  const auto constant = [this](const char* name) {
    const auto found = constants_.find(name);
    return found != constants_.end() ? std::optional(found->second) : std::nullopt;
  };
  const bool conjunction = terms_.term(chain).op == "and";
  const std::optional<Id> neutral = constant(conjunction ? "true" : "false");
  const std::optional<Id> absorbing = constant(conjunction ? "false" : "true");
  std::vector<Id> wanted = elements(chain);
  if (absorbing && is_absorbed(wanted, absorbing)) return *absorbing;
  if (neutral && wanted.size() > 1) std::erase(wanted, *neutral);
  if (wanted.size() == 1) return wanted[0];
  std::uint64_t digest = 0;
  for (Id id : wanted) digest += spread(id);
  const auto known = chains_.find(digest);
  if (known == chains_.end() || terms_.term(known->second).op != terms_.term(chain).op) return chain;
  return elements(known->second) == wanted ? known->second : chain;
}

/// Chains that are not only the rest of another one.
std::unordered_set<Derivation::Id> Derivation::whole_chains(Id root) const {
  std::unordered_set<Id> starts{root};
  for (Id id : in_post_order(terms_, root)) {
    for (TermName arg : terms_.term(id).args) {
      if (!is_chain(id) || terms_.term(static_cast<Id>(arg)).op != terms_.term(id).op) {
        starts.insert(static_cast<Id>(arg));
      }
    }
  }
  std::erase_if(starts, [this](Id id) { return !is_chain(id); });
  return starts;
}

bool Derivation::try_reordering(Step& step) {
  const Id chain = path_.back();
  if (!frames_.back().is_chain || !is_chain(chain)) return false;
  const Id other = reordered(chain);
  if (other == chain || !replace(other, step)) return false;
  step.kind = Step::reordering;
  step.rule_label.clear();
  step.label = terms_.term(chain).op;
  return true;
}

std::string title_of(const Derivation::Step& step) {
  switch (step.kind) {
    case Derivation::Step::rule:
      return fmt::format("rule {}: {}", step.rule_label, step.label);
    case Derivation::Step::simplifier:
      return "simplifier of " + step.label;
    case Derivation::Step::definition:
      return "definition of " + step.label;
    case Derivation::Step::reordering:
      break;
  }
  return "arguments of " + step.label + ", each once and in order";
}

std::string trace_of(std::string_view text, const std::string& name, const smtlib::SimplifyOptions& options) {
  std::ostringstream out;
  smtlib::trace_script(text, name, options.session_options(), out);
  return std::move(out).str();
}

}  // namespace quarv::cli
