#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <quarv/smtlib/read/lexer.h>
#include <quarv/smtlib/write/comments.h>
#include <quarv/smtlib/write/layout.h>
#include <quarv/util/byte_order_mark.h>

namespace quarv::smtlib {

namespace {

/// A command's text, from parenthesis to parenthesis.
struct CommandText {
  std::string_view text;
  std::string_view word;  // "assert"
  std::string_view name;  // that it declares or defines
};

bool names_something(std::string_view word) {
  return word.starts_with("define-") || word.starts_with("declare-");
}

/// The commands of a text, one after the other.
class CommandScanner {
 public:
  explicit CommandScanner(std::string_view text) : text_(text), rest_(text), lexer_(text) {}

  /// None at the end of the text and where no command is.
  std::optional<CommandText> next() {
    const Token open = lexer_.next();
    if (open.kind != TokenKind::left_parenthesis) return std::nullopt;
    CommandText command;
    std::size_t depth = 1;
    for (std::size_t i = 0; depth != 0; ++i) {
      const Token t = lexer_.next();
      if (t.kind == TokenKind::end || t.kind == TokenKind::error) return std::nullopt;
      if (t.kind == TokenKind::left_parenthesis) ++depth;
      if (t.kind == TokenKind::right_parenthesis) --depth;
      if (i == 0) command.word = t.text;
      if (i == 1 && names_something(command.word)) command.name = t.text;
    }
    command.text = {open.start, lexer_.position()};
    rest_ = {lexer_.position(), text_.data() + text_.size()};
    return command;
  }

  /// What stands behind the last command.
  std::string_view rest() const { return rest_; }

 private:
  std::string_view text_;
  std::string_view rest_;
  Lexer lexer_;
};

bool is_same_token(const Token& a, const Token& b) {
  if (a.kind != b.kind) return false;
  if (a.kind != TokenKind::hexadecimal) return a.text == b.text;
  const auto lower = [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::ranges::equal(a.text, b.text, {}, lower, lower);
}

/// Whether two texts say the same, token by token.
bool are_same(std::string_view a, std::string_view b) {
  if (a == b) return true;
  Lexer left(a);
  Lexer right(b);
  for (;;) {
    const Token s = left.next();
    const Token t = right.next();
    if (!is_same_token(s, t)) return false;
    if (s.kind == TokenKind::end || s.kind == TokenKind::error) return true;
  }
}

/// Breaks a command's line. What fits on the rest of the line is written flat; of any other application, the
/// compound arguments begin lines of their own, and the atoms fill lines. Deep inside, where lines would get
/// short, compound arguments fill lines, too, and are indented no further than `deepest` columns: the layout
/// is not much longer than the line, and as long where `deepest` is 0. A comment ends its line.
class LineBreaker {
 public:
  LineBreaker(std::string_view line, std::size_t width, std::size_t deepest,
              std::span<const PlacedComment> comments, std::string& out)
      : line_(line), width_(width), deepest_(deepest), comments_(comments), out_(out) {}

  void write() {
    find_ends();
    line_start_ = out_.size();
    Lexer lexer(line_);
    for (Token t = lexer.next(); t.kind != TokenKind::end && t.kind != TokenKind::error; t = lexer.next()) {
      const auto from = static_cast<std::size_t>(t.start - line_.data());
      if (t.kind == TokenKind::right_parenthesis) {
        out_ += ')';
        open_.pop_back();
        end_part(from + 1);
        if (!open_.empty()) arrive(true);
        continue;
      }
      if (t.kind == TokenKind::left_parenthesis) {
        const std::size_t end = ends_[next_end_];
        const std::size_t size = end - from;
        const bool fits = place(from, end, true);
        if (fits) {
          out_ += line_.substr(from, size);
          end_part(end);
          while (next_end_ < ends_.size() && starts_[next_end_] < end) ++next_end_;
          lexer = Lexer(line_.substr(end));
          if (!open_.empty()) arrive(true);
        } else {
          ++next_end_;
          open(lexer);
        }
        continue;
      }
      const auto end = static_cast<std::size_t>(lexer.position() - line_.data());
      place(from, end, false);
      out_ += line_.substr(from, end - from);
      end_part(end);
      arrive(false);
      if (open_.back().num_parts == 1) open_.back().kind = kind_of(t);
    }
    out_ += behind_;
  }

 private:
  enum class Kind : std::uint8_t { list, application, assertion, let, binder, choice, definition };

  /// An application that is broken.
  struct Open {
    std::size_t column;         // of its parenthesis
    Kind kind = Kind::list;     // nothing before its parts: bindings, parameters
    std::size_t num_parts = 0;  // that have been written
    bool after_compound = false;
    bool in_list = false;  // it is itself a part of a list
  };

  /// Where each parenthesis, in the order of the text, is closed.
  void find_ends() {
    std::vector<std::size_t> pending;
    Lexer lexer(line_);
    for (Token t = lexer.next(); t.kind != TokenKind::end && t.kind != TokenKind::error; t = lexer.next()) {
      const auto at = static_cast<std::size_t>(t.start - line_.data());
      if (t.kind == TokenKind::left_parenthesis) {
        pending.push_back(starts_.size());
        starts_.push_back(at);
        ends_.push_back(line_.size());
      } else if (t.kind == TokenKind::right_parenthesis && !pending.empty()) {
        ends_[pending.back()] = at + 1;
        pending.pop_back();
      }
    }
  }

  static Kind kind_of(const Token& head) {
    if (head.text == "let") return Kind::let;
    if (head.text == "forall" || head.text == "exists") return Kind::binder;
    if (head.text == "ite") return Kind::choice;
    if (head.text == "define-fun" || head.text == "define-fun-rec" || head.text == "define-const") {
      return Kind::definition;
    }
    return Kind::application;
  }

  std::size_t column() const { return out_.size() - line_start_; }

  /// How much room a text needs that ends at `end`: what closes there must follow.
  std::size_t with_closing(std::size_t size, std::size_t end) const {
    for (; size <= width_ && end < line_.size() && line_[end] == ')'; ++end) ++size;
    return size;
  }

  /// Goes to where the next part of the innermost application begins; whether it may be written flat.
  bool place(std::size_t from, std::size_t end, bool compound) {
    const bool begins_line = write_comments(from);
    const std::size_t room = has_comments_before(end) ? width_ + 1 : with_closing(end - from, end);
    if (open_.empty()) return room <= width_;
    const Open& o = open_.back();
    if (begins_line) return column() + room <= width_;
    const bool first = o.num_parts == 0;
    const bool fits = column() + (first ? 0 : 1) + room <= width_;
    if (first) return fits;
    if (stays(o, compound, fits)) {
      out_ += ' ';
      return fits;
    }
    break_line(indentation(o));
    return column() + room <= width_;
  }

  bool has_comments_before(std::size_t end) const {
    return next_comment_ < comments_.size() && comments_[next_comment_].at < end;
  }

  /// What stands on the line behind a part, once all is closed that closes there.
  void end_part(std::size_t end) {
    for (; next_comment_ < comments_.size(); ++next_comment_) {
      const PlacedComment& c = comments_[next_comment_];
      if (!c.behind || c.at != end) return;
      behind_.append(1, ' ').append(c.text);
    }
  }

  /// Writes those that come before what begins here; whether that is then at the beginning of its line.
  bool write_comments(std::size_t from) {
    if (behind_.empty() && !has_comments_before(from + 1)) return false;
    const std::size_t indent = indentation(open_.back());
    out_ += behind_;
    behind_.clear();
    break_line(indent);
    for (; has_comments_before(from + 1); ++next_comment_) {
      out_ += comments_[next_comment_].text;
      break_line(indent);
    }
    return true;
  }

  /// Whether the next part stays on the line.
  bool stays(const Open& o, bool compound, bool fits) const {
    if (indentation(o) >= deepest_) return fits || (compound && column() + width_ / 4 <= width_);
    switch (o.kind) {
      case Kind::let:
      case Kind::binder:
        if (o.num_parts == 1) return true;
        break;
      case Kind::choice:
        if (o.num_parts == 1) return fits;
        break;
      case Kind::definition:
        if (o.num_parts <= 3) return fits;
        break;
      default:
        break;
    }
    if (o.in_list && o.num_parts == 1) return fits || compound;
    return !compound && !o.after_compound && fits;
  }

  /// The column of the parts of an application that begin lines. The body of a `let` stands as deep as the
  /// `let` when it is one, too: chains of them are common, and long.
  std::size_t indentation(const Open& o) const {
    if (o.kind == Kind::list) return std::min(o.column + 1, deepest_);
    return std::min(o.column + 2, deepest_);
  }

  void break_line(std::size_t indentation) {
    out_ += '\n';
    line_start_ = out_.size();
    out_.append(indentation, ' ');
  }

  void open(const Lexer& at_head) {
    Open o{.column = column()};
    o.in_list = !open_.empty() && open_.back().kind == Kind::list;
    Lexer ahead = at_head;
    const bool lets_within = !open_.empty() && open_.back().kind == Kind::let &&
                             open_.back().num_parts == 2 && ahead.next().text == "let";
    const bool begins_line = out_.find_first_not_of(' ', line_start_) == std::string::npos;
    if (lets_within && begins_line && o.column == open_.back().column + 2) {
      out_.resize(out_.size() - 2);
      o.column -= 2;
    }
    out_ += '(';
    open_.push_back(o);
  }

  /// A part has been written.
  void arrive(bool compound) {
    ++open_.back().num_parts;
    open_.back().after_compound = compound;
  }

  std::string_view line_;
  std::size_t width_;
  std::size_t deepest_;  // column to which lines are indented
  std::span<const PlacedComment> comments_;
  std::size_t next_comment_ = 0;
  std::string behind_;  // comments that end the line
  std::string& out_;
  std::size_t line_start_ = 0;
  std::vector<std::size_t> starts_, ends_;  // of parentheses
  std::size_t next_end_ = 0;
  std::vector<Open> open_;
};

/// A command on one line, without comments.
void append_line(std::string_view command, std::string& out) {
  Lexer lexer(command);
  bool blank = false;
  for (Token t = lexer.next(); t.kind != TokenKind::end && t.kind != TokenKind::error; t = lexer.next()) {
    if (blank && t.kind != TokenKind::right_parenthesis) out += ' ';
    blank = t.kind != TokenKind::left_parenthesis;
    out.append(t.start, lexer.position());
  }
}

class Layout {
 public:
  Layout(std::string_view original, std::size_t width)
      : width_(width), original_(without_byte_order_mark(original)), behind_(original_.data()) {}

  std::string of(std::string_view simplified) {
    out_.reserve(simplified.size() + simplified.size() / 4 + original_.size() / 4);
    CommandScanner scanner(simplified);
    CommandScanner originals(original_);
    std::optional<CommandText> expected = originals.next();
    while (const auto command = scanner.next()) {
      if (expected && command->word == expected->word && command->name == expected->name) {
        write_original(*expected, *command);
        expected = originals.next();
      } else {
        write_new(command->text);
      }
    }
    // What stands behind the last command of all; what follows `exit` is gone.
    if (Lexer(std::string_view(behind_, end_of_original())).next().kind == TokenKind::end) {
      write_up_to(end_of_original());
    }
    end_line();
    const std::string_view rest = scanner.rest();
    if (Lexer(rest).next().kind != TokenKind::end) out_ += rest;
    return std::move(out_);
  }

 private:
  const char* end_of_original() const { return original_.data() + original_.size(); }

  void end_line() {
    if (!out_.empty() && out_.back() != '\n') out_ += '\n';
  }

  /// What stands between commands, up to a place.
  void write_up_to(const char* place) {
    out_.append(behind_, place);
    behind_ = place;
  }

  /// What stands behind the last command on its line.
  void finish_line() {
    const char* const end = end_of_original();
    const char* p = behind_;
    while (p != end && (*p == ' ' || *p == '\t')) ++p;
    if (p != end && *p == ';') {
      while (p != end && *p != '\n' && *p != '\r') ++p;
    }
    if (p != end && *p == '\r') ++p;
    if (p != end && *p == '\n') ++p;
    if (p != behind_ && (p[-1] == '\n' || p[-1] == '\r')) write_up_to(p);
    end_line();
  }

  void write_new(std::string_view command) {
    if (!out_.empty()) finish_line();
    write_broken(command);
    out_ += '\n';
  }

  void write_original(const CommandText& before, const CommandText& after) {
    const std::string_view gap(behind_, before.text.data());
    const bool breaks = gap.find_first_of("\n\r;") != std::string_view::npos;
    if (out_.empty() || breaks) {
      write_up_to(before.text.data());
    } else {
      end_line();
    }
    behind_ = before.text.data() + before.text.size();
    if (are_same(before.text, after.text)) {
      out_ += before.text;
      return;
    }
    const PlacedComments comments = placed_comments(before.text, after.text);
    for (const std::string_view comment : comments.before) {
      out_ += comment;
      out_ += '\n';
    }
    const bool was_one_line = before.text.find('\n') == std::string_view::npos;
    write_broken(after.text, was_one_line ? before.text.size() : std::string_view::npos, comments.within);
  }

  /// In no more than `wanted` bytes where the command itself has no more: indentation must not make longer
  /// what was one line and has become smaller.
  void write_broken(std::string_view command, std::size_t wanted = std::string::npos,
                    std::span<const PlacedComment> comments = {}) {
    if (command.size() <= width_ && comments.empty()) {
      out_ += command;
      return;
    }
    const std::size_t start = out_.size();
    for (const std::size_t deepest :
         {std::min<std::size_t>(width_ / 3, 32), std::size_t{2}, std::size_t{1}, std::size_t{0}}) {
      out_.resize(start);
      LineBreaker(command, width_, deepest, comments, out_).write();
      if (command.size() > wanted || out_.size() - start <= wanted) return;
    }
  }

  std::size_t width_;
  std::string_view original_;
  const char* behind_;  // the last command of the original that has been met
  std::string out_;
};

}  // namespace

std::string on_lines(std::string_view text, const Script& script) {
  std::string result;
  text = without_byte_order_mark(text);
  result.reserve(text.size());
  auto foreign = script.commands.begin();
  const auto next_foreign = [&] {
    foreign = std::find_if(foreign, script.commands.end(),
                           [](const Command& c) { return c.kind == Command::Kind::foreign; });
  };
  next_foreign();
  CommandScanner scanner(text);
  while (const auto command = scanner.next()) {
    if (foreign != script.commands.end() && foreign->text.data() == command->text.data()) {
      result += command->text;
      ++foreign;
      next_foreign();
    } else {
      append_line(command->text, result);
    }
    result += '\n';
    if (command->word == "exit") break;
  }
  return result;
}

std::string laid_out(std::string_view original, std::string_view simplified, std::size_t width) {
  return Layout(original, width).of(simplified);
}

}  // namespace quarv::smtlib
