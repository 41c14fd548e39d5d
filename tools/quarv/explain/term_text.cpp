#include "explain/term_text.h"

#include <algorithm>
#include <unordered_map>

#include <quarv/smtlib/read/reader.h>

namespace quarv::cli {

namespace {

constexpr std::string_view ellipsis = "\u2026";

std::string binary(const mpz_class& value, std::size_t width) {
  std::string digits = value.get_str(2);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

std::string bit_vector(const mpz_class& value, std::size_t width) {
  if (width % 4 != 0) return "#b" + binary(value, width);
  std::string digits = value.get_str(16);
  if (digits.size() < width / 4) digits.insert(0, width / 4 - digits.size(), '0');
  return "#x" + digits;
}

std::string floating_point(const mpz_class& value, const TraceSort& sort) {
  const std::string bits = binary(value, sort.width + sort.significand);
  return "(fp #b" + bits.substr(0, 1) + " #b" + bits.substr(1, sort.width) + " #b" +
         bits.substr(1 + sort.width) + ')';
}

std::string rational(const mpq_class& value, bool real) {
  const mpq_class magnitude = abs(value);
  const std::string point = real ? ".0" : "";
  std::string text = magnitude.get_num().get_str() + point;
  if (magnitude.get_den() != 1) text = "(/ " + text + ' ' + magnitude.get_den().get_str() + point + ')';
  return value < 0 ? "(- " + text + ')' : text;
}

}  // namespace

TermText::TermText(const TraceTerms& terms, std::size_t limit, const Marks& marks)
    : terms_(terms), limit_(std::min(limit, largest_limit)), marks_(marks) {}

std::string TermText::number(Id id) const {
  const TraceSort& sort = terms_.sort_of(id);
  const mpq_class& value = terms_.term(id).number;
  switch (sort.kind) {
    case TraceSort::bit_vector:
      return bit_vector(value.get_num(), sort.width);
    case TraceSort::floating_point:
      return floating_point(value.get_num(), sort);
    default:
      return rational(value, sort.kind == TraceSort::real);
  }
}

/// A constant, or what stands before an application's arguments.
std::string TermText::head(Id id) const {
  const Expression& e = terms_.term(id);
  if (e.kind == Expression::value) return number(id);
  if (e.kind == Expression::function) return smtlib::Reader::quoted(e.op);
  if (e.op == "const") return "(as const " + terms_.sort_text(id) + ')';
  std::string text = e.op;
  for (const std::string& index : e.indices) text += ' ' + index;
  if (!e.indices.empty()) text = "(_ " + text + ')';
  if (!e.variables.empty()) {
    text += " (";
    for (TermName v : e.variables) {
      const auto variable = static_cast<Id>(v);
      if (text.back() != '(') text += ' ';
      text += '(' + head(variable) + ' ' + terms_.sort_text(variable) + ')';
    }
    text += ')';
  }
  return text;
}

/// The length of a whole text, saturated.
std::size_t TermText::length(Id id) {
  constexpr std::size_t unknown = 0, very_long = 1 << 30;
  lengths_.resize(terms_.size(), unknown);
  if (lengths_[id] != unknown) return lengths_[id];
  for (Id t : in_post_order(terms_, id)) {
    if (lengths_[t] != unknown) continue;
    const Expression& e = terms_.term(t);
    std::size_t sum = head(t).size() + (e.args.empty() ? 0 : 2);
    for (TermName arg : e.args) sum += 1 + lengths_[arg];
    for (const std::string& attribute : e.attributes) sum += 1 + attribute.size();
    lengths_[t] = std::min(sum, very_long);
  }
  return lengths_[id];
}

std::string TermText::marked(const std::string& text) const {
  return std::string(marks_.begin) + text + std::string(marks_.end);
}

/// An application with `inner_text` for the first argument that is `inner`. The budget is divided among the
/// arguments: what one of them does not need is left to those after it.
std::string TermText::application(Id id, std::size_t budget, Id inner, const std::string& inner_text) {
  const Expression& e = terms_.term(id);
  std::string text = '(' + head(id);
  std::size_t rest = budget - std::min(budget, text.size() + 1);
  bool inside = false;
  for (std::size_t i = 0; i < e.args.size(); ++i) {
    const auto arg = static_cast<Id>(e.args[i]);
    text += ' ';
    if (arg == inner && !inside) {
      inside = true;
      text += inner_text;
      continue;
    }
    if (rest == 0) {
      text += ellipsis;
      if (inner == nowhere || inside) break;
      continue;
    }
    const std::size_t share = rest / (e.args.size() - i);
    std::size_t later = 0;
    for (std::size_t k = i + 1; k < e.args.size() && later < rest; ++k) {
      later += 1 + std::min(share, length(static_cast<Id>(e.args[k])));
    }
    const std::string argument = part(arg, std::max(share, rest - std::min(rest, later)));
    rest -= std::min(rest, argument.size() + 1);
    text += argument;
  }
  for (const std::string& attribute : e.attributes) text += ' ' + attribute;
  return text + ')';
}

/// Nothing but a budget above some characters is divided further, so that the depth of the recursion is
/// below `largest_limit`.
std::string TermText::part(Id id, std::size_t budget) {
  constexpr std::size_t smallest = 4;
  if (id == place_) return shown_;
  if (terms_.term(id).args.empty()) {
    std::string text = head(id);
    return text.size() <= std::max<std::size_t>(budget, 16) ? text : std::string(ellipsis);
  }
  if (budget < smallest) return std::string(ellipsis);
  return application(id, budget - 1, nowhere, {});
}

std::string TermText::text(Id id) {
  place_ = nowhere;
  return part(id, limit_);
}

std::string TermText::text_at(Id root, Id place, Id shown) {
  constexpr std::size_t beside = 32;
  place_ = nowhere;
  shown_ = marked(part(shown, limit_));
  place_ = place;
  if (length(root) <= limit_) return part(root, limit_);
  // The arguments on the way down to the place, the last one first.
  std::unordered_map<Id, Id> parents{{root, nowhere}};
  std::vector<Id> pending{root};
  while (!pending.empty() && !parents.contains(place)) {
    const Id id = pending.back();
    pending.pop_back();
    for (TermName arg : terms_.term(id).args) {
      if (parents.emplace(static_cast<Id>(arg), id).second) pending.push_back(static_cast<Id>(arg));
    }
  }
  std::string text = shown_;
  Id inner = place;
  for (Id outer = parents.at(inner); outer != nowhere; inner = outer, outer = parents.at(inner)) {
    std::string more =
        application(outer, beside * std::min<std::size_t>(terms_.term(outer).args.size(), 4), inner, text);
    if (more.size() > std::max(limit_, shown_.size() + limit_ / 2)) {
      return std::string(ellipsis) + ' ' + text + ' ' + std::string(ellipsis);
    }
    text = std::move(more);
  }
  return text;
}

}  // namespace quarv::cli
