#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include <quarv/smtlib/read/lexer.h>
#include <quarv/smtlib/write/comments.h>

namespace quarv::smtlib {

namespace {

using PartId = std::uint32_t;
constexpr PartId none = 0xFFFFFFFF;

/// A name, a literal, or what stands in parentheses.
struct Part {
  const char* begin;
  const char* end;
  PartId parent;
  PartId behind = none;         // the first part that is not within
  std::uint32_t num_parts = 0;  // of which it consists
  std::uint64_t hash = 0;       // of its tokens; were two alike, a comment would stand elsewhere
  bool is_compound = false;
};

struct Comment {
  std::string_view text;
  PartId anchor;
  bool behind;
};

std::uint64_t combined(std::uint64_t a, std::uint64_t b) {
  a = (a ^ b) * 0x9E3779B97F4A7C15U;
  return a ^ (a >> 32);
}

/// The parts of a command in the order of the text, each before those of which it consists, and its comments.
class CommandParts {
 public:
  explicit CommandParts(std::string_view text) : behind_(text.data()) {
    Lexer lexer(text);
    for (Token t = lexer.next(); t.kind != TokenKind::end && t.kind != TokenKind::error; t = lexer.next()) {
      note_comments(t);
      if (t.kind == TokenKind::right_parenthesis) {
        close(lexer.position());
      } else {
        add(t, lexer.position());
      }
      last_ = t.kind;
      behind_ = lexer.position();
    }
  }

  const Part& operator[](PartId p) const { return parts_[p]; }
  std::size_t size() const { return parts_.size(); }
  const std::vector<Comment>& comments() const { return comments_; }

  /// The parts of which one consists.
  std::vector<PartId> parts_of(PartId p) const {
    std::vector<PartId> all;
    for (PartId i = p + 1; i != parts_[p].behind; i = parts_[i].behind) all.push_back(i);
    return all;
  }

  bool is_let(PartId p) const { return parts_[p].num_parts == 3 && text(p + 1) == "let"; }

 private:
  std::string_view text(PartId p) const { return {parts_[p].begin, parts_[p].end}; }

  void add(const Token& t, const char* end) {
    const auto id = static_cast<PartId>(parts_.size());
    if (open_ != none) ++parts_[open_].num_parts;
    parts_.push_back({.begin = t.start, .end = end, .parent = open_});
    Part& part = parts_.back();
    part.is_compound = t.kind == TokenKind::left_parenthesis;
    if (part.is_compound) {
      part.hash = 1;
      open_ = id;
    } else {
      part.hash = std::hash<std::string_view>()({t.start, end});
      finish(id);
    }
  }

  void close(const char* end) {
    if (open_ == none) return;
    const PartId closed = open_;
    parts_[closed].end = end;
    open_ = parts_[closed].parent;
    finish(closed);
  }

  void finish(PartId p) {
    parts_[p].behind = static_cast<PartId>(parts_.size());
    last_finished_ = p;
    if (open_ != none) parts_[open_].hash = combined(parts_[open_].hash, parts_[p].hash);
  }

  /// Those between the last token and this one. What stands at the head of an application tells of all of it.
  void note_comments(const Token& next) {
    bool on_line = true;
    for (const char* p = behind_; p != next.start; ++p) {
      if (*p == '\n' || *p == '\r') on_line = false;
      if (*p != ';') continue;
      const char* const end = std::find_if(p, next.start, [](char c) { return c == '\n' || c == '\r'; });
      const std::string_view text(p, end);
      const bool behind = on_line || next.kind == TokenKind::right_parenthesis;
      const bool at_head =
          last_ == TokenKind::left_parenthesis
              ? behind || next.kind != TokenKind::left_parenthesis
              : behind && open_ != none && last_finished_ == open_ + 1 && !parts_[last_finished_].is_compound;
      if (at_head) {
        comments_.push_back({text, open_, false});
      } else if (behind) {
        comments_.push_back({text, last_finished_, true});
      } else {
        comments_.push_back({text, static_cast<PartId>(parts_.size()), false});
      }
      p = end - 1;
    }
  }

  std::vector<Part> parts_;
  std::vector<Comment> comments_;
  PartId open_ = none;
  PartId last_finished_ = none;
  TokenKind last_ = TokenKind::end;
  const char* behind_;
};

/// Which part of a new command stands in the stead of which one of the old.
class Partners {
 public:
  Partners(const CommandParts& before, const CommandParts& after)
      : before_(before), after_(after), partners_(before.size(), none), wanted_(before.size()) {
    for (const Comment& c : before.comments()) {
      for (PartId p = c.anchor; p != none && !wanted_[p]; p = before_[p].parent) wanted_[p] = true;
    }
    for (PartId p = 0; p < after.size(); ++p) {
      if (after[p].is_compound) copies_.emplace(after[p].hash, p);
    }
    pair(0, 0);
    for (const Comment& c : before.comments()) {
      if (partners_[c.anchor] == none) pair_with_copy(c.anchor);
    }
    for (PartId p = 0; p < before.size(); ++p) {
      nearest_.push_back(partners_[p] != none ? p : nearest_[before[p].parent]);
    }
  }

  PartId of(PartId p) const { return partners_[p]; }
  /// The smallest part with a partner that this one is within, or itself.
  PartId nearest(PartId p) const { return nearest_[p]; }

 private:
  using Pair = std::pair<PartId, PartId>;

  void pair(PartId b, PartId a) {
    std::vector<Pair> pending{{b, a}};
    while (!pending.empty()) {
      const auto [before, after] = pending.back();
      pending.pop_back();
      partners_[before] = after;
      pair_parts(before, after, pending);
    }
  }

  void pair_with_copy(PartId b) {
    if (!before_[b].is_compound) return;
    const auto copy = copies_.find(before_[b].hash);
    if (copy != copies_.end()) pair(b, copy->second);
  }

  /// What is within a part with a partner has been dealt with.
  bool is_open(PartId p) const { return wanted_[p] && partners_[p] == none; }

  /// Parts that are as they were belong together, and so do others in their order when there are as many.
  void pair_parts(PartId b, PartId a, std::vector<Pair>& pending) const {
    while (after_.is_let(a) && !before_.is_let(b)) a = after_.parts_of(a)[2];
    const bool same_head =
        before_[b].num_parts != 0 && after_[a].num_parts != 0 && before_[b + 1].hash == after_[a + 1].hash;
    if (!same_head) return;
    const std::vector<PartId> old_parts = before_.parts_of(b);
    const std::vector<PartId> new_parts = after_.parts_of(a);
    std::unordered_map<std::uint64_t, std::vector<PartId>> known;
    for (auto p = new_parts.rbegin(); p != new_parts.rend(); ++p) known[after_[*p].hash].push_back(*p);
    std::vector<PartId> changed;
    for (PartId p : old_parts) {
      std::vector<PartId>& same = known[before_[p].hash];
      if (same.empty()) {
        changed.push_back(p);
        continue;
      }
      if (is_open(p)) pending.emplace_back(p, same.back());
      same.pop_back();
    }
    std::vector<PartId> left;
    for (const auto& [hash, parts] : known) left.insert(left.end(), parts.begin(), parts.end());
    if (left.size() != changed.size()) return;
    std::ranges::sort(left);
    for (std::size_t i = 0; i < left.size(); ++i) {
      if (is_open(changed[i])) pending.emplace_back(changed[i], left[i]);
    }
  }

  const CommandParts& before_;
  const CommandParts& after_;
  std::vector<PartId> partners_, nearest_;
  std::vector<bool> wanted_;
  std::unordered_map<std::uint64_t, PartId> copies_;
};

}  // namespace

PlacedComments placed_comments(std::string_view original, std::string_view command) {
  PlacedComments result;
  if (original.find(';') == std::string_view::npos) return result;
  const CommandParts before(original);
  if (before.comments().empty()) return result;
  const CommandParts after(command);
  if (after.size() == 0) return result;
  const Partners partners(before, after);
  for (const Comment& c : before.comments()) {
    const PartId anchor = partners.nearest(c.anchor);
    const bool behind = c.behind && anchor == c.anchor;
    const PartId p = partners.of(anchor);
    if (p == 0) {
      result.before.push_back(c.text);
    } else {
      const char* const at = behind ? after[p].end : after[p].begin;
      result.within.push_back({static_cast<std::size_t>(at - command.data()), behind, c.text});
    }
  }
  std::ranges::stable_sort(result.within, {}, &PlacedComment::at);
  return result;
}

}  // namespace quarv::smtlib
