#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include <quarv/smtlib/read/lexer.h>
#include <quarv/smtlib/read/parentheses.h>
#include <quarv/smtlib/write/comments.h>
#include <quarv/smtlib/write/layout.h>
#include <quarv/util/byte_order_mark.h>

namespace quarv::smtlib {

namespace {

/// What a command begins with.
struct CommandHead {
  std::string_view word;  // "assert"
  std::string_view name;  // that it declares or defines
};

bool names_something(std::string_view word) {
  return word.starts_with("define-") || word.starts_with("declare-");
}

CommandHead head_of(std::string_view command) {
  Lexer lexer(command.substr(1));
  CommandHead head{.word = lexer.next().text, .name = {}};
  if (names_something(head.word)) head.name = lexer.next().text;
  return head;
}

/// The commands of a text, one after the other.
class CommandScanner {
 public:
  explicit CommandScanner(std::string_view text) : rest_(text) {}

  /// None at the end of the text and where no command is.
  std::optional<std::string_view> next() {
    const Token open = Lexer(rest_).next();
    if (open.kind != TokenKind::left_parenthesis) return std::nullopt;
    const char* const text_end = rest_.data() + rest_.size();
    const char* const end = behind_parenthesis(open.start, text_end);
    if (end == nullptr) return std::nullopt;
    rest_ = {end, text_end};
    return std::string_view(open.start, end);
  }

  /// What stands behind the last command.
  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

/// Whether a command stands in the stead of another one, whatever it says now.
bool are_the_same_command(std::string_view a, std::string_view b) {
  constexpr std::string_view assertion = "(assert ";  // as most begin
  if (a.starts_with(assertion) && b.starts_with(assertion)) return true;
  const CommandHead left = head_of(a);
  const CommandHead right = head_of(b);
  return left.word == right.word && left.name == right.name;
}

bool is_same_token(const Token& a, const Token& b) {
  if (a.kind != b.kind) return false;
  if (a.kind != TokenKind::hexadecimal) return a.text == b.text;
  const auto lower = [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::ranges::equal(a.text, b.text, {}, lower, lower);
}

/// Whether texts may say the same of which one has `a` where the other has `b`, alike up to there.
bool may_say_the_same(char a, char b) {
  constexpr std::string_view between_tokens = " \t\r\n;";
  constexpr std::string_view hexadecimal = "abcdefABCDEF";
  const auto is_any_of = [](char c, std::string_view set) { return set.find(c) != std::string_view::npos; };
  return is_any_of(a, between_tokens) || is_any_of(b, between_tokens) || a == '|' || b == '|' ||
         (is_any_of(a, hexadecimal) && is_any_of(b, hexadecimal));
}

/// Whether two commands say the same, token by token.
bool are_same(std::string_view a, std::string_view b) {
  if (a == b) return true;
  const auto [in_a, in_b] = std::ranges::mismatch(a, b);
  if (in_a == a.end() || in_b == b.end()) return false;  // no command begins another one
  if (!may_say_the_same(*in_a, *in_b)) return false;
  Lexer left(a);
  Lexer right(b);
  for (;;) {
    const Token s = left.next();
    const Token t = right.next();
    if (!is_same_token(s, t)) return false;
    if (s.kind == TokenKind::end || s.kind == TokenKind::error) return true;
  }
}

/// Where the parentheses of a command are closed, in the order in which they are opened.
class Parentheses {
 public:
  struct Pair {
    std::size_t end;     // behind the closing one
    std::size_t behind;  // the first pair that is not within
  };

  void find(std::string_view text) {
    text_ = text;
    pairs_.clear();
    open_.clear();
    for_each_parenthesis(text.data(), text.data() + text.size(), [this](const char* p) {
      if (*p == '(') {
        open_.push_back(pairs_.size());
        pairs_.push_back({text_.size(), 0});
      } else if (!open_.empty()) {
        pairs_[open_.back()] = {static_cast<std::size_t>(p + 1 - text_.data()), pairs_.size()};
        open_.pop_back();
      }
      return true;
    });
  }

  std::string_view text() const { return text_; }
  const Pair& operator[](std::size_t i) const { return pairs_[i]; }

 private:
  std::string_view text_;
  std::vector<Pair> pairs_;
  std::vector<std::size_t> open_;
};

/// Breaks a command's line. What fits on the rest of the line is written flat; of any other application, the
/// compound arguments begin lines of their own, and the atoms fill lines. Deep inside, where lines would get
/// short, compound arguments fill lines, too, and are indented no further than `deepest` columns: the layout
/// is not much longer than the line, and as long where `deepest` is 0. A comment ends its line.
class LineBreaker {
 public:
  /// Lines are indented by `step` more than what they are a part of, up to `deepest`.
  struct Indentation {
    std::size_t deepest;
    std::size_t step = 2;
  };

  LineBreaker(const Parentheses& parentheses, std::size_t width, Indentation indentation,
              std::span<const PlacedComment> comments, std::string& out)
      : line_(parentheses.text()),
        parentheses_(parentheses),
        width_(width),
        deepest_(indentation.deepest),
        step_(indentation.step),
        comments_(comments),
        out_(out) {}

  void write() {
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
        const std::size_t end = parentheses_[next_].end;
        const std::size_t size = end - from;
        const bool fits = place(from, end, true);
        if (fits) {
          out_ += line_.substr(from, size);
          end_part(end);
          next_ = parentheses_[next_].behind;
          lexer = Lexer(line_.substr(end));
          if (!open_.empty()) arrive(true);
        } else {
          ++next_;
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
    if (stays(o, from, compound, fits)) {
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
  bool stays(const Open& o, std::size_t from, bool compound, bool fits) const {
    if (indentation(o) >= deepest_) return fits || (compound && column() + room_to_begin(from) <= width_);
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

  /// Where lines are filled: what an application needs of one to begin there, at least its operator.
  std::size_t room_to_begin(std::size_t from) const {
    std::size_t end = from;
    while (end - from < width_ && line_[end] != ' ' && line_[end] != ')') ++end;
    return std::max(width_ / 4, 1 + end - from);  // with the blank before
  }

  /// The column of the parts of an application that begin lines. The body of a `let` stands as deep as the
  /// `let` when it is one, too: chains of them are common, and long.
  std::size_t indentation(const Open& o) const {
    if (o.kind == Kind::list) return std::min(o.column + 1, deepest_);
    return std::min(o.column + step_, deepest_);
  }

  void break_line(std::size_t indentation) {
    out_ += '\n';
    line_start_ = out_.size();
    out_.append(indentation, ' ');
  }

  void open(const Lexer& at_head) {
    Open o{.column = column()};
    o.in_list = !open_.empty() && open_.back().kind == Kind::list;
    const bool lets_within = !open_.empty() && open_.back().kind == Kind::let &&
                             open_.back().num_parts == 2 && Lexer(at_head).next().text == "let";
    const auto begins_line = [this] { return out_.find_first_not_of(' ', line_start_) == std::string::npos; };
    if (lets_within && o.column == open_.back().column + step_ && begins_line()) {
      out_.resize(out_.size() - step_);
      o.column -= step_;
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
  const Parentheses& parentheses_;
  std::size_t width_;
  std::size_t deepest_;  // column to which lines are indented
  std::size_t step_;
  std::span<const PlacedComment> comments_;
  std::size_t next_comment_ = 0;
  std::string behind_;  // comments that end the line
  std::string& out_;
  std::size_t line_start_ = 0;
  std::size_t next_ = 0;  // of the parentheses
  std::vector<Open> open_;
};

/// A command on one line, without comments. Operators are called as usual: `words` are those that are not,
/// from this command on; those that follow it stay in it.
void append_line(std::string_view command, std::span<const Script::SolverWord>& words, std::string& out) {
  Lexer lexer(command);
  bool blank = false;
  for (Token t = lexer.next(); t.kind != TokenKind::end && t.kind != TokenKind::error; t = lexer.next()) {
    if (blank && t.kind != TokenKind::right_parenthesis) out += ' ';
    blank = t.kind != TokenKind::left_parenthesis;
    if (!words.empty() && words.front().place == t.start) {
      out += words.front().usual;
      words = words.subspan(1);
    } else {
      out.append(t.start, lexer.position());
    }
  }
}

template <class NextCommand>
class Layout {
 public:
  /// `next_original` gives the commands of the original one after the other.
  Layout(std::string_view original, NextCommand next_original, std::size_t width)
      : width_(width),
        original_(without_byte_order_mark(original)),
        next_original_(std::move(next_original)),
        behind_(original_.data()) {}

  std::string of(std::string_view simplified) {
    out_.reserve(simplified.size() + simplified.size() / 4 + original_.size() / 4);
    CommandScanner scanner(simplified);
    std::optional<std::string_view> expected = next_original_();
    while (const auto command = scanner.next()) {
      if (expected && are_the_same_command(*expected, *command)) {
        write_original(*expected, *command);
        expected = next_original_();
      } else {
        write_new(*command);
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

  void write_original(std::string_view before, std::string_view after) {
    const std::string_view gap(behind_, before.data());
    const bool breaks = gap.find_first_of("\n\r;") != std::string_view::npos;
    if (out_.empty() || breaks) {
      write_up_to(before.data());
    } else {
      end_line();
    }
    behind_ = before.data() + before.size();
    if (are_same(before, after)) {
      out_ += before;
      return;
    }
    const PlacedComments comments = placed_comments(before, after);
    for (const std::string_view comment : comments.before) {
      out_ += comment;
      out_ += '\n';
    }
    const bool was_one_line = before.find('\n') == std::string_view::npos;
    write_broken(after, before.size(), was_one_line, comments.within);
  }

  /// A command that nothing stood for.
  void write_broken(std::string_view command) { write_broken(command, std::string_view::npos, false, {}); }

  /// Indentation must not make longer what had `before` bytes, unless there are comments on lines of their
  /// own. One line that was wider than it should be rather stays one.
  void write_broken(std::string_view command, std::size_t before, bool was_one_line,
                    std::span<const PlacedComment> comments) {
    if (command.size() <= width_ && comments.empty()) {
      out_ += command;
      return;
    }
    parentheses_.find(command);
    const std::size_t start = out_.size();
    const auto try_to_break = [&](std::size_t deepest, std::size_t step = 2) {
      out_.resize(start);
      LineBreaker(parentheses_, width_, {deepest, step}, comments, out_).write();
      return out_.size() - start <= before;
    };
    const std::size_t usual = std::min<std::size_t>(width_ / 3, 32);
    if (try_to_break(usual) || (was_one_line ? before <= width_ : !comments.empty())) return;
    if (!was_one_line && try_to_break(usual, 1)) return;
    if (try_to_break(2) || try_to_break(1) || try_to_break(0) || !comments.empty()) return;
    if (was_one_line) {
      out_.resize(start);
      out_ += command;
    } else {
      try_to_break(usual);  // the command itself is longer
    }
  }

  std::size_t width_;
  std::string_view original_;
  NextCommand next_original_;
  const char* behind_;  // the last command of the original that has been met
  Parentheses parentheses_;
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
  std::span words(script.solver_words);
  CommandScanner scanner(text);
  while (const auto command = scanner.next()) {
    if (foreign != script.commands.end() && foreign->text.data() == command->data()) {
      result += *command;
      ++foreign;
      next_foreign();
    } else {
      append_line(*command, words, result);
    }
    result += '\n';
    if (head_of(*command).word == "exit") break;
  }
  return result;
}

std::string laid_out(std::string_view original, std::string_view simplified, std::size_t width) {
  CommandScanner scanner(without_byte_order_mark(original));
  return Layout(
             original, [&] { return scanner.next(); }, width)
      .of(simplified);
}

std::string laid_out(std::string_view original, std::span<const std::string_view> commands,
                     std::string_view simplified, std::size_t width) {
  std::size_t next = 0;
  const auto next_original = [&] {
    return next == commands.size() ? std::nullopt : std::optional(commands[next++]);
  };
  return Layout(original, next_original, width).of(simplified);
}

}  // namespace quarv::smtlib
