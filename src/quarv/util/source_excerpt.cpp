#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

#include <quarv/util/byte_order_mark.h>
#include <quarv/util/source_excerpt.h>

namespace quarv {

SourcePlace place_in(std::string_view text, std::size_t offset) noexcept {
  const std::string_view before = text.substr(0, offset);
  const auto line = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
  return {line, before.size() - (before.rfind('\n') + 1) + 1};  // npos + 1 is 0
}

namespace {

/// How many columns of a line are shown, and how many of them stand at most before the place, so that
/// something of what follows is seen.
constexpr std::size_t max_columns = 76;
constexpr std::size_t max_columns_before = 50;

constexpr std::string_view indent = "  ";
constexpr std::string_view cut = "...";
constexpr std::string_view replacement = "\xEF\xBF\xBD";

/// A character as it is shown, and how many columns it takes.
struct Character {
  std::string_view bytes;
  std::size_t columns;
};

struct Range {
  char32_t first;
  char32_t last;
};

bool is_in(char32_t c, const Range* begin, const Range* end) noexcept {
  return std::any_of(begin, end, [c](const Range& r) { return r.first <= c && c <= r.last; });
}

std::size_t columns_of(char32_t c) noexcept {
  static constexpr Range combining[] = {{0x300, 0x36F}, {0x200B, 0x200D}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};
  // East Asian wide characters and pictures.
  static constexpr Range wide[] = {
      {0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},
      {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
  if (is_in(c, std::begin(combining), std::end(combining))) return 0;
  return is_in(c, std::begin(wide), std::end(wide)) ? 2 : 1;
}

/// Characters that move the cursor or change the direction of writing instead of showing something.
bool is_control(char32_t c) noexcept {
  static constexpr Range controls[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x200E, 0x200F},
                                       {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}};
  return is_in(c, std::begin(controls), std::end(controls));
}

std::size_t length_by_first_byte(unsigned char byte) noexcept {
  if (byte < 0x80) return 1;
  if (byte >= 0xC2 && byte < 0xE0) return 2;
  if (byte >= 0xE0 && byte < 0xF0) return 3;
  return byte >= 0xF0 && byte < 0xF5 ? 4 : 0;
}

/// Takes the first character of `text` away; bytes that are not UTF-8 go one by one.
Character take_character(std::string_view& text) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const std::size_t length = length_by_first_byte(byte(0));
  bool valid = length != 0 && length <= text.size();
  char32_t c = length <= 1 ? byte(0) : byte(0) & (0x7FU >> length);
  for (std::size_t i = 1; valid && i < length; ++i) {
    valid = (byte(i) & 0xC0U) == 0x80;
    c = c << 6 | (byte(i) & 0x3FU);
  }
  const bool overlong = (length == 3 && c < 0x800) || (length == 4 && c < 0x10000);
  const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
  if (!valid || overlong || surrogate || c > 0x10FFFF) {
    text.remove_prefix(1);
    return {replacement, 1};
  }
  const std::string_view bytes = text.substr(0, length);
  text.remove_prefix(length);
  if (c == '\t') return {" ", 1};
  if (is_control(c)) return {replacement, 1};
  return {bytes, columns_of(c)};
}

std::vector<Character> characters_of(std::string_view text) {
  std::vector<Character> result;
  while (!text.empty()) result.push_back(take_character(text));
  return result;
}

/// How many columns the characters take, counted from the first, until `limit` is reached.
std::size_t num_columns(const std::vector<Character>& characters, std::size_t limit) noexcept {
  std::size_t columns = 0;
  for (const Character& c : characters) {
    if ((columns += c.columns) >= limit) return limit;
  }
  return columns;
}

/// The end of `text` that has few enough bytes to be looked at, beginning with a whole character.
std::string_view last_bytes(std::string_view text) noexcept {
  constexpr std::size_t bytes = 4 * max_columns;
  if (text.size() <= bytes) return text;
  text.remove_prefix(text.size() - bytes);
  while (!text.empty() && (static_cast<unsigned char>(text[0]) & 0xC0U) == 0x80) text.remove_prefix(1);
  return text;
}

}  // namespace

std::string source_excerpt(std::string_view text, std::size_t offset) {
  offset = std::min(offset, text.size());
  const std::size_t line_start = offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;
  const std::string_view before = text.substr(line_start, offset - line_start);
  std::string_view after = text.substr(offset, text.find('\n', offset) - offset);
  if (after.ends_with('\r')) after.remove_suffix(1);
  constexpr std::string_view blanks = " \t\r";
  if (before.find_first_not_of(blanks) == std::string_view::npos &&
      after.find_first_not_of(blanks) == std::string_view::npos)
    return {};

  // The rest of the line gets what the beginning leaves, and the beginning what the rest does not need.
  std::vector<Character> left = characters_of(last_bytes(before));
  const std::vector<Character> right = characters_of(after.substr(0, 4 * max_columns));
  std::reverse(left.begin(), left.end());
  const std::size_t right_columns =
      std::min(num_columns(right, max_columns), max_columns - num_columns(left, max_columns_before));

  std::size_t columns = 0;
  auto first = left.begin();
  while (first != left.end() && columns + first->columns <= max_columns - right_columns)
    columns += (first++)->columns;
  std::string shown(indent);
  std::size_t caret = indent.size() + columns;
  if (first != left.end() || last_bytes(before).size() != before.size()) {
    shown += cut;
    caret += cut.size();
  }
  while (first != left.begin()) shown += (--first)->bytes;

  columns = 0;
  auto next = right.begin();
  for (; next != right.end() && columns + next->columns <= right_columns; ++next) {
    shown += next->bytes;
    columns += next->columns;
  }
  if (next != right.end() || after.size() > 4 * max_columns) shown += cut;
  return shown + '\n' + std::string(caret, ' ') + "^\n";
}

std::string source_excerpt(std::string_view text, SourcePlace place) {
  text = without_byte_order_mark(text);  // columns do not count it
  std::size_t start = 0;
  for (std::size_t line = 1; line < place.line; ++line) {
    start = text.find('\n', start) + 1;
    if (start == 0) return {};
  }
  const std::size_t end = std::min(text.find('\n', start), text.size());
  return place.column == 0 || place.column - 1 > end - start ? std::string()
                                                             : source_excerpt(text, start + place.column - 1);
}

}  // namespace quarv
