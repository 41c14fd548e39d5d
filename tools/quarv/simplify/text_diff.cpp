#include "simplify/text_diff.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <unordered_map>
#include <vector>

#include <fmt/core.h>

namespace quarv::cli {

namespace {

using Line = std::uint32_t;  // lines with the same text have the same number

/// The lines of a text, each with the newline that ends it.
std::vector<std::string_view> lines_of(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
    lines.push_back(text.substr(0, size));
    text.remove_prefix(size);
  }
  return lines;
}

/// Lines from `a0` to before `a1` of one text, and from `b0` to before `b1` of the other, which take their
/// place.
struct Range {
  std::size_t a0, a1, b0, b1;
};

/// Finds the lines that two texts share. Scripts have the same commands in the same order before and after:
/// within a range, lines that are as frequent on both sides are taken for the same ones, the longest
/// increasing sequence of such pairs stays, and the ranges between them are looked at likewise.
class LineMatcher {
 public:
  LineMatcher(const std::vector<std::string_view>& before, const std::vector<std::string_view>& after) {
    std::unordered_map<std::string_view, Line> numbers;
    const auto number = [&](const std::vector<std::string_view>& lines) {
      std::vector<Line> result;
      result.reserve(lines.size());
      for (const std::string_view line : lines) {
        result.push_back(numbers.try_emplace(line, static_cast<Line>(numbers.size())).first->second);
      }
      return result;
    };
    a_ = number(before);
    b_ = number(after);
    places_a_.resize(numbers.size());
    places_b_.resize(numbers.size());
  }

  /// What differs, in order.
  std::vector<Range> differences() {
    partner_.assign(a_.size(), none);
    constexpr int most_levels = 16;
    std::vector<Range> ranges = {{0, a_.size(), 0, b_.size()}};
    for (int level = 0; level < most_levels && !ranges.empty(); ++level) {
      std::vector<Range> next;
      for (const Range& r : ranges) match(r, next);
      ranges = std::move(next);
    }
    return unmatched();
  }

 private:
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  struct Pair {
    std::size_t a, b;
  };

  void match(Range r, std::vector<Range>& next) {
    for (; r.a0 < r.a1 && r.b0 < r.b1 && a_[r.a0] == b_[r.b0]; ++r.a0, ++r.b0) partner_[r.a0] = r.b0;
    for (; r.a0 < r.a1 && r.b0 < r.b1 && a_[r.a1 - 1] == b_[r.b1 - 1]; --r.a1, --r.b1) {
      partner_[r.a1 - 1] = r.b1 - 1;
    }
    if (r.a0 == r.a1 || r.b0 == r.b1) return;
    const std::vector<Pair> kept = longest_increasing(pairs(r));
    Range between = r;
    for (const Pair& p : kept) {
      partner_[p.a] = p.b;
      between.a1 = p.a;
      between.b1 = p.b;
      next.push_back(between);
      between.a0 = p.a + 1;
      between.b0 = p.b + 1;
    }
    between.a1 = r.a1;
    between.b1 = r.b1;
    if (!kept.empty()) next.push_back(between);
  }

  /// Lines that are as frequent on both sides, the first with the first, in the order of one side.
  std::vector<Pair> pairs(const Range& r) {
    for (std::size_t i = r.a0; i < r.a1; ++i) places_a_[a_[i]].push_back(i);
    for (std::size_t i = r.b0; i < r.b1; ++i) places_b_[b_[i]].push_back(i);
    std::vector<Pair> result;
    for (std::size_t i = r.a0; i < r.a1; ++i) {
      const std::vector<std::size_t>& a = places_a_[a_[i]];
      const std::vector<std::size_t>& b = places_b_[a_[i]];
      if (a.size() != b.size()) continue;
      const auto nth = std::ranges::lower_bound(a, i) - a.begin();
      result.push_back({i, b[static_cast<std::size_t>(nth)]});
    }
    for (std::size_t i = r.a0; i < r.a1; ++i) places_a_[a_[i]].clear();
    for (std::size_t i = r.b0; i < r.b1; ++i) places_b_[b_[i]].clear();
    return result;
  }

  /// The longest of the sequences of pairs that increase on both sides.
  static std::vector<Pair> longest_increasing(const std::vector<Pair>& pairs) {
    std::vector<std::size_t> ends;  // of the sequences of each length: the pair with the least end
    std::vector<std::size_t> previous(pairs.size(), none);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
      const auto place =
          std::ranges::lower_bound(ends, pairs[i].b, {}, [&pairs](std::size_t end) { return pairs[end].b; });
      if (place != ends.begin()) previous[i] = *(place - 1);
      if (place == ends.end()) {
        ends.push_back(i);
      } else {
        *place = i;
      }
    }
    std::vector<Pair> result(ends.size());
    std::size_t pair = ends.empty() ? none : ends.back();
    for (auto kept = result.rbegin(); kept != result.rend(); ++kept, pair = previous[pair])
      *kept = pairs[pair];
    return result;
  }

  std::vector<Range> unmatched() const {
    std::vector<Range> result;
    std::size_t a = 0;
    std::size_t b = 0;
    while (a < a_.size() || b < b_.size()) {
      if (a < a_.size() && partner_[a] == b) {
        ++a;
        ++b;
        continue;
      }
      Range changed = {a, a, b, b};
      while (changed.a1 < a_.size() && partner_[changed.a1] == none) ++changed.a1;
      changed.b1 = changed.a1 < a_.size() ? partner_[changed.a1] : b_.size();
      result.push_back(changed);
      a = changed.a1;
      b = changed.b1;
    }
    return result;
  }

  std::vector<Line> a_, b_;
  std::vector<std::size_t> partner_;                           // of each line before; none
  std::vector<std::vector<std::size_t>> places_a_, places_b_;  // of each number, in the range at hand
};

/// Lines of the diff.
class DiffPrinter {
 public:
  DiffPrinter(const std::vector<std::string_view>& before, const std::vector<std::string_view>& after,
              bool colour, std::ostream& out)
      : a_(before), b_(after), colour_(colour), out_(out) {}

  void head(char mark, const std::string& name) {
    const std::string marks(3, mark);
    put(bold, marks, ' ' + name + '\n');
  }

  /// Changes that are printed together, with what stands around them.
  void hunk(std::span<const Range> changes) {
    Range around = {changes.front().a0, changes.back().a1, changes.front().b0, changes.back().b1};
    const std::size_t above = std::min(context, around.a0);
    const std::size_t below = std::min(context, a_.size() - around.a1);
    around = {around.a0 - above, around.a1 + below, around.b0 - above, around.b1 + below};
    put(cyan, fmt::format("@@ -{} +{} @@", place(around.a0, around.a1), place(around.b0, around.b1)), "\n");
    std::size_t a = around.a0;
    for (const Range& change : changes) {
      for (; a < change.a0; ++a) put("", " ", a_[a]);
      for (; a < change.a1; ++a) put(red, "-", a_[a]);
      for (std::size_t b = change.b0; b < change.b1; ++b) put(green, "+", b_[b]);
    }
    for (; a < around.a1; ++a) put("", " ", a_[a]);
  }

  static constexpr std::size_t context = 3;

 private:
  static constexpr std::string_view bold = "\033[1m";
  static constexpr std::string_view cyan = "\033[36m";
  static constexpr std::string_view red = "\033[31m";
  static constexpr std::string_view green = "\033[32m";

  /// Of no lines, the place is the line before.
  static std::string place(std::size_t begin, std::size_t end) {
    const std::size_t size = end - begin;
    if (size == 1) return std::to_string(begin + 1);
    return fmt::format("{},{}", size == 0 ? begin : begin + 1, size);
  }

  void put(std::string_view colour, std::string_view mark, std::string_view line) {
    const bool ended = line.ends_with('\n');
    if (ended) line.remove_suffix(1);
    const bool coloured = colour_ && !colour.empty();
    if (coloured) out_ << colour;
    out_ << mark << line;
    if (coloured) out_ << "\033[0m";
    out_ << '\n';
    if (!ended) out_ << "\\ No newline at end of file\n";
  }

  const std::vector<std::string_view>& a_;
  const std::vector<std::string_view>& b_;
  bool colour_;
  std::ostream& out_;
};

}  // namespace

void print_diff(const std::string& name, std::string_view before, std::string_view after, bool colour,
                std::ostream& out) {
  const std::vector<std::string_view> a = lines_of(before);
  const std::vector<std::string_view> b = lines_of(after);
  const std::vector<Range> changes = LineMatcher(a, b).differences();
  if (changes.empty()) return;
  DiffPrinter printer(a, b, colour, out);
  printer.head('-', name);
  printer.head('+', name);
  for (std::size_t i = 0; i < changes.size();) {
    std::size_t end = i + 1;
    while (end < changes.size() && changes[end].a0 - changes[end - 1].a1 <= 2 * DiffPrinter::context) ++end;
    printer.hunk(std::span(changes).subspan(i, end - i));
    i = end;
  }
}

}  // namespace quarv::cli
