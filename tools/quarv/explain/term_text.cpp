#include "explain/term_text.h"

#include <algorithm>
#include <utility>

#include <quarv/smtlib/read/reader.h>

namespace quarv::cli {

using Id = TraceTerms::Id;

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

/// As much of a text as fits into so many bytes; characters stay whole.
std::string beginning(std::string_view text, std::size_t size) {
  if (text.size() <= size) return std::string(text);
  while (size != 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
  return std::string(text.substr(0, size));
}

}  // namespace

std::string shortened(std::string_view text, std::size_t limit) {
  std::string shown = beginning(text, limit);
  if (shown.size() != text.size()) shown += ellipsis;
  return shown;
}

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

Id TermText::now(TermName arg) const {
  const auto id = static_cast<Id>(arg);
  return current_ != nullptr ? current_->now(id) : id;
}

/// Appends the whole text, or of one that is longer than `limit` the beginning; whether it is whole.
bool TermText::write(Id id, std::size_t limit, std::string& out) const {
  const std::size_t start = out.size();
  struct Open {
    Id id;
    std::size_t next;
  };
  std::vector<Open> open;
  const auto begin = [&](Id t) {
    if (t == place_) {
      out += shown_;
    } else if (terms_.term(t).args.empty()) {
      out += head(t);
    } else {
      out += '(' + head(t);
      open.push_back({t, 0});
    }
  };
  begin(id);
  while (!open.empty() && out.size() - start <= limit) {
    const Expression& e = terms_.term(open.back().id);
    if (open.back().next < e.args.size()) {
      out += ' ';
      begin(now(e.args[open.back().next++]));
      continue;
    }
    for (const std::string& attribute : e.attributes) out += ' ' + attribute;
    out += ')';
    open.pop_back();
  }
  return open.empty() && out.size() - start <= limit;
}

/// The length of a whole text, but no more than `limit`.
std::size_t TermText::length(Id id, std::size_t limit) const {
  std::string text;
  write(id, limit, text);
  return std::min(text.size(), limit);
}

std::string TermText::marked(const std::string& text) const {
  return std::string(marks_.begin) + text + std::string(marks_.end);
}

/// A name for what is left out.
std::string TermText::name(Id id) {
  constexpr std::size_t shown = 100;
  if (!gives_names_) return std::string(ellipsis);
  const auto [known, is_new] = numbers_.try_emplace(id, names_.size() + 1);
  if (is_new) {
    const Id place = std::exchange(place_, nowhere);
    std::string text;
    if (!write(id, shown, text)) text = beginning(text, shown) + std::string(ellipsis);
    names_.push_back({'#' + std::to_string(known->second), std::move(text)});
    place_ = place;
  }
  return names_[known->second - 1].name;
}

std::vector<TermText::Name> TermText::take_names() {
  numbers_.clear();
  return std::exchange(names_, {});
}

std::string TermText::whole_or_name(Id id, std::size_t budget) {
  std::string text;
  return write(id, budget, text) ? text : name(id);
}

/// An application with `inner_text` for the first argument that is `inner`, and names for what is long beside
/// it. Otherwise the budget is divided among the arguments: what one of them does not need is left to those
/// after it.
std::string TermText::application(Id id, std::size_t budget, Id inner, const std::string& inner_text) {
  const Expression& e = terms_.term(id);
  std::string text = '(' + head(id);
  std::size_t rest = budget - std::min(budget, text.size() + 1);
  bool inside = false;
  bool left_out = false;
  for (std::size_t i = 0; i < e.args.size(); ++i) {
    const Id arg = now(e.args[i]);
    if (arg == inner && !inside) {
      inside = true;
      left_out = false;
      text += ' ' + inner_text;
      continue;
    }
    if (rest == 0) {
      if (!left_out) text += ' ' + std::string(ellipsis);
      left_out = true;
      if (inner == nowhere || inside) break;
      continue;
    }
    const std::size_t share = rest / (e.args.size() - i);
    std::size_t later = 0;
    for (std::size_t k = i + 1; k < e.args.size() && later < rest; ++k) {
      if (const Id other = now(e.args[k]); other != inner) later += 1 + length(other, share);
    }
    const std::size_t room = std::max(share, rest - std::min(rest, later));
    const std::string argument = inner != nowhere ? whole_or_name(arg, room) : part(arg, room);
    rest -= std::min(rest, argument.size() + 1);
    text += ' ' + argument;
  }
  for (const std::string& attribute : e.attributes) text += ' ' + attribute;
  return text + ')';
}

/// Nothing but a budget above some characters is divided further, so that the depth of the recursion is
/// below `largest_limit`.
std::string TermText::part(Id id, std::size_t budget) {
  constexpr std::size_t smallest = 16;
  if (id == place_) return shown_;
  std::string text;
  if (write(id, std::max(budget, smallest), text)) return text;
  if (terms_.term(id).args.empty() || budget < smallest) return name(id);
  return application(id, budget - 1, nowhere, {});
}

std::string TermText::text(Id id) {
  place_ = nowhere;
  return part(id, limit_);
}

std::vector<Id> TermText::path_to(Id root, Id place) const {
  constexpr Id none = nowhere;
  std::unordered_map<Id, Id> parents{{root, none}};
  std::vector<Id> pending{root};
  while (!pending.empty() && !parents.contains(place)) {
    const Id id = pending.back();
    pending.pop_back();
    for (TermName arg : terms_.term(id).args) {
      if (parents.emplace(now(arg), id).second) pending.push_back(now(arg));
    }
  }
  std::vector<Id> path;
  for (Id id = place; id != nowhere; id = parents.at(id)) path.push_back(id);
  std::ranges::reverse(path);
  return path;
}

std::string TermText::text_at(std::span<const Id> path, Id shown) {
  constexpr std::size_t beside = 48;      // for what stands beside the place, on each level
  constexpr std::size_t most_levels = 4;  // around it
  place_ = nowhere;
  const bool is_short = length(path.front(), limit_ + 1) <= limit_;
  shown_ = marked(part(shown, limit_));
  place_ = path.back();
  if (is_short) {
    std::string text;
    write(path.front(), std::string::npos, text);
    return text;
  }
  std::string text = shown_;
  for (std::size_t i = path.size() - 1; i != 0; --i) {
    const Id outer = path[i - 1];
    std::string more = application(outer, beside, path[i], text);
    if (path.size() - i > most_levels || more.size() > std::max(limit_, shown_.size() + limit_ / 2)) {
      return std::string(ellipsis) + ' ' + text;
    }
    text = std::move(more);
  }
  return text;
}

bool TermText::differ(Id a, Id b) {
  constexpr std::size_t few = 64;
  place_ = nowhere;
  for (const std::size_t limit : {few, largest_limit}) {
    std::string left, right;
    write(a, limit, left);
    write(b, limit, right);
    if (left != right) return true;
  }
  return false;
}

}  // namespace quarv::cli
