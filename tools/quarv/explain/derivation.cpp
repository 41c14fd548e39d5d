#include "explain/derivation.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include <fmt/format.h>

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
      simplified_names_(terms, simplified_) {
  written_.next(read_ahead_);  // there are no steps in it
  has_read_ahead_ = simplified_.next(read_ahead_);
}

/// What earlier assertions have in common with this one has been done there: their steps are used too.
void Derivation::begin(std::size_t assertion) {
  while (has_read_ahead_ && read_ahead_.assertion <= assertion) {
    learn(read_ahead_);
    has_read_ahead_ = simplified_.next(read_ahead_);
  }
  current_ = written_names_(written_.assertions().at(assertion - 1));
  result_ = simplified_names_(simplified_.assertions().at(assertion - 1));
  index_chains();
  seen_ = {current_};
}

void Derivation::begin(std::size_t assertion, TermName term) {
  begin(assertion);
  current_ = written_names_(term);
  result_.reset();
  seen_ = {current_};
}

void Derivation::learn(const TraceStep& step) {
  const Id before = step.rule != 0 ? simplified_names_(*step.before_name) : simplified_names_(step.before);
  const Id after = simplified_names_(step.after);
  if (before == after) return;
  (step.rule != 0 ? rewrites_ : simplifications_)
      .try_emplace(before, Replacement{after, step.rule_label,
                                       step.is_definition ? step.before.op : step.label, step.is_definition});
}

bool Derivation::next(Step& step) {
  return current_ != result_ &&
         (try_known(simplifications_, step) || try_reordering(step) || try_known(rewrites_, step));
}

bool Derivation::try_known(const Replacements& known, Step& step) {
  for (Id id : in_post_order(terms_, current_)) {
    const auto found = known.find(id);
    if (found == known.end()) continue;
    const Replacement& r = found->second;
    if (!replace(id, r.after, step)) continue;
    step.kind = r.is_definition ? Step::definition : !r.rule_label.empty() ? Step::rule : Step::simplifier;
    step.rule_label = r.rule_label;
    step.label = r.label;
    return true;
  }
  return false;
}

/// Makes the step unless it leads back, as rules do that undo each other.
bool Derivation::replace(Id before, Id after, Step& step) {
  const Id root = terms_.replaced(current_, before, after);
  if (!seen_.insert(root).second) return false;
  step.root = current_;
  step.before = before;
  step.after = after;
  current_ = root;
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

bool Derivation::try_reordering(Step& step) {
  const std::vector<Id> order = in_post_order(terms_, current_);
  std::unordered_set<Id> starts{current_};  // chains that are not only the rest of another one
  for (Id id : order) {
    for (TermName arg : terms_.term(id).args) {
      if (!is_chain(id) || terms_.term(static_cast<Id>(arg)).op != terms_.term(id).op) {
        starts.insert(static_cast<Id>(arg));
      }
    }
  }
  for (Id id : order) {
    if (!is_chain(id) || !starts.contains(id)) continue;
    const Id other = reordered(id);
    if (other == id || !replace(id, other, step)) continue;
    step.kind = Step::reordering;
    step.rule_label.clear();
    step.label = terms_.term(id).op;
    return true;
  }
  return false;
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
