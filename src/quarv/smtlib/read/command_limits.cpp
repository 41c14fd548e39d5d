/// \file
/// What a command may cost, and how it is taken back: what would grow too much is read again as it is
/// written.
#include <limits>
#include <span>
#include <utility>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/written_forms.h>

namespace quarv::smtlib {

namespace {

constexpr std::uint64_t no_limit = std::numeric_limits<std::uint64_t>::max();

}  // namespace

/// Forgets a command that was given up on its way.
void Reader::take_back(const Place& place, Script& script) {
  cost_limit_ = no_limit;
  manager_.set_sum_limit({});
  as_written_ = false;
  return_to(place, script);
}

Reader::Place Reader::place(const Script& script, const char* start) const {
  return {start,
          names_.scope(),
          sorts_.scope(),
          script.commands.size(),
          script.terms.size(),
          manager_.num_terms(),
          cost(),
          rule_steps(),
          manager_.sum_work(),
          options_.written != nullptr ? options_.written->num_met() : 0,
          manager_.simplifier()};
}

/// Forgets the command that begins at a place.
void Reader::return_to(const Place& place, Script& script) {
  manager_.set_simplifier(place.simplifier);
  names_.leave(place.names);
  sorts_.leave(place.sorts);
  new_names_.clear();
  frames_.clear();
  drop_values(0);
  bindings_.clear();
  indices_.clear();
  attributes_.clear();
  unsimplified_ = 0;
  num_quantifiers_ = 0;
  if (options_.written != nullptr) options_.written->forget_since(place.met);
  script.commands.resize(place.commands);
  script.terms.resize(place.terms);
  script.sorts.resize(place.terms);
  if (!script.forms.empty()) script.forms.resize(place.terms);
  while (!script.functions.empty() && script.functions.back().term >= place.terms)
    script.functions.pop_back();
  if (script.term_texts.size() > place.terms) script.term_texts.resize(place.terms);
  forget_solver_words_from(place.start);
}

namespace {

/// What a command may cost beyond what its text pays for before it is given up, in terms.
constexpr std::uint64_t free_cost = 1 << 16;
constexpr std::uint64_t cost_per_byte = 4;

/// What the sums of a command may add beyond the terms that its text pays for, one for two bytes: what adds
/// more is longer than it was written, as a comparison of a long sum by its name is. And the steps that
/// looking for this may take.
constexpr std::uint64_t free_expansion = 32;
constexpr std::uint64_t free_steps = 1024;
constexpr std::uint64_t steps_per_byte = 16;

}  // namespace

/// How long the command is so far. How it is laid out makes no difference: blanks that follow each other
/// count as one. What definitions say counts as if it had been written where they are used.
std::size_t Reader::command_bytes() {
  const char* const position = lexer_.position();
  if (counted_to_ == nullptr || counted_to_ < command_.start || counted_to_ > position) {
    counted_to_ = command_.start;
    counted_bytes_ = 0;
  }
  const auto is_blank = [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; };
  for (; counted_to_ != position; ++counted_to_) {
    const bool counted = counted_to_ != command_.start && is_blank(counted_to_[-1]) && is_blank(*counted_to_);
    if (!counted) ++counted_bytes_;
  }
  constexpr std::size_t bytes_per_term = 8;
  return counted_bytes_ + bytes_per_term * (unfolded_ - unfolded_before_);
}

/// Sums that share their parts would be written in full for each of them, and take quadratic time and memory,
/// before it turned out that the command has grown too much.
void Reader::limit_sums() noexcept {
  if (session_.options().library_semantics) return;
  const auto bytes = std::uint64_t{command_bytes()};
  manager_.set_sum_limit({command_.sum_work.steps + free_steps + steps_per_byte * bytes,
                          command_.sum_work.expansion + free_expansion + bytes / 2});
}

/// The command has cost much, but perhaps it is long.
void Reader::check_cost() {
  const auto bytes = static_cast<std::uint64_t>(command_bytes());
  cost_limit_ = command_.cost + free_cost + cost_per_byte * bytes;
  if (cost() > cost_limit_) throw Outgrown();
}

/// Reads a command. When that makes its terms larger than twice what is written, the command is taken back
/// and read again without being simplified.
bool Reader::read_within_limit(Script& script, const Place& place) {
  constexpr std::size_t small = 128;
  bool more = true;
  counted_to_ = nullptr;
  cost_limit_ = place.cost + free_cost;
  try {
    more = read_command(script, place.start);
    cost_limit_ = no_limit;
  } catch (const Outgrown&) {
    cost_limit_ = no_limit;
    growth_.abandon(place.num_terms, manager_.num_terms());
    session_.count_wasted(rule_steps() - place.rule_steps);
    return read_smaller(script, place);
  }
  const auto added = [&] {
    return growth_.added_bytes(std::span(script.terms).subspan(place.terms), place.num_terms);
  };
  // Nearly all commands cost too little to become large.
  const auto with_blanks = static_cast<std::size_t>(lexer_.position() - place.start);
  if (cost() - place.cost <= with_blanks / 8 + small / 4 || script.terms.size() == place.terms) return more;
  const std::size_t bytes = command_bytes();
  if (cost() - place.cost <= bytes / 4 + small / 4) return more;
  const std::size_t simplified = added();
  if (simplified <= 2 * bytes + small) return more;
  const std::uint64_t middle = manager_.num_terms();
  if (unfolded_ != unfolded_before_) {
    growth_.abandon(place.num_terms, middle);
    return read_smaller(script, place);
  }
  GrowthMeter with_both = growth_;
  std::swap(growth_, with_both);
  growth_.abandon(place.num_terms, middle);
  more = read_as_written(script, place);
  if (simplified > 2 * added() + small) {
    session_.count_wasted(rule_steps() - place.rule_steps);
    return more;
  }
  std::swap(growth_, with_both);
  growth_.abandon(middle, manager_.num_terms());
  return_to(place, script);
  begin_again(place);
  return read_command(script, place.start);
}

void Reader::begin_again(const Place& place) {
  unfolded_before_ = unfolded_;
  lexer_ = Lexer(input_.substr(static_cast<std::size_t>(place.start - input_.data())));
  if (!expression_) next();
}

/// Reads a command again that has grown too much: with names for what is defined, or else as it is written.
bool Reader::read_smaller(Script& script, const Place& before) {
  if (unfolded_ == unfolded_before_) return read_as_written(script, before);
  unfolds_ = false;
  return_to(before, script);
  command_ = place(script, before.start);
  begin_again(before);
  return read_within_limit(script, Place(command_));
}

bool Reader::read_as_written(Script& script, const Place& place) {
  return_to(place, script);
  begin_again(place);
  manager_.set_simplifier(nullptr);
  as_written_ = true;
  const bool more = read_command(script, place.start);
  as_written_ = false;
  manager_.set_simplifier(place.simplifier);
  return more;
}

/// Goes on behind the command that begins at `start`: behind the parenthesis that closes it, or behind the
/// one token that it is.
void Reader::skip_command(const char* start) noexcept {
  const auto go_on_at = [this](const char* position) {
    lexer_ = Lexer(input_.substr(static_cast<std::size_t>(position - input_.data())));
  };
  go_on_at(start);
  std::size_t depth = 0;
  do {
    const Token t = next();
    if (t.kind == TokenKind::end) return;
    if (t.kind == TokenKind::left_parenthesis) ++depth;
    if (t.kind == TokenKind::right_parenthesis && depth != 0) --depth;
    if (t.kind == TokenKind::error) go_on_at(t.start + 1);
  } while (depth != 0);
}

}  // namespace quarv::smtlib
