#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>
#include <set>
#include <sstream>
#include <tuple>
#include <utility>

#include <quarv/session/session.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/smallest_script.h>
#include <quarv/smtlib/trace.h>
#include <quarv/smtlib/write/bounded_text.h>
#include <quarv/smtlib/write/layout.h>
#include <quarv/smtlib/write/script_text.h>
#include <quarv/smtlib/written_forms.h>
#include <quarv/smtlib/written_size.h>
#include <quarv/util/large_pages.h>
#include <quarv/util/write_text.h>

namespace quarv::smtlib {

namespace {

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Reads the script that the user gave, under the eyes of those who want to know what happens.
Script read_observed(Session& session, Reader& reader, std::string_view text, const std::string& file,
                     const SimplifyOptions& options) {
  if (options.trace == nullptr) {
    session.simplifier().set_observer(options.observer);
    return reader.read_in_place(text, file);
  }
  StdTermSimplifier& simplifier = session.simplifier();
  Trace trace(session.manager(), simplifier.normalizer, *options.trace, options.observer, "input");
  simplifier.set_observer(&trace);
  Script script = reader.read_in_place(text, file, [&trace](const Script& s) { trace.command_read(s); });
  simplifier.set_observer(nullptr);
  trace.finish();
  return script;
}

/// What ties the output to the input, by what the rounds between them printed.
void trace_output(std::string_view input, std::span<const std::string> between, std::string_view output,
                  const std::string& file, const SimplifyOptions& options) {
  const SessionOptions simplified = options.session_options();
  SessionOptions as_written = simplified;
  constexpr bool literals = true;  // what is simplified may become one
  as_written.simplify = false;
  trace_script(input, file, as_written, *options.trace, "input as written", options.lenient, literals);
  for (const std::string& text : between) {
    if (text == output) break;
    trace_script(text, file, simplified, *options.trace, "between", options.lenient);
    trace_script(text, file, as_written, *options.trace, "between as written", options.lenient, literals);
  }
  trace_script(output, file, simplified, *options.trace, "output", options.lenient);
  trace_script(output, file, as_written, *options.trace, "output as written", options.lenient, literals);
}

bool has_own_name(std::string_view text, std::uint64_t largest_of_user) {
  Lexer lexer(text);
  for (Token t = lexer.next(); t.kind != TokenKind::end; t = lexer.next()) {
    if (t.kind == TokenKind::symbol && dollar_number(t.text) > largest_of_user) return true;
  }
  return false;
}

/// Whether the printer made the definition: its name has a number above all that the user gave.
bool is_own_definition(const Command& c, std::uint64_t largest_of_user) {
  return c.kind == Command::Kind::define && dollar_number(c.name) > largest_of_user;
}

/// No text can be kept that has such a name: the printer wrote it. Whether there were any.
bool forget_own_texts(Script& script, std::uint64_t largest_of_user) {
  bool any = false;
  for (std::string_view& text : script.term_texts) {
    if (!has_own_name(text, largest_of_user)) continue;
    text = {};
    any = true;
  }
  return any;
}

/// Forgets the printer's definitions: it makes them anew, where they are needed now. Were they kept, another
/// name for the same term could be added in each round. Whether there were any.
bool forget_own_definitions(Script& script, std::uint64_t largest_of_user) {
  const std::size_t num =
      std::erase_if(script.commands, [&](const Command& c) { return is_own_definition(c, largest_of_user); });
  script.largest_dollar_name = largest_of_user;
  script.largest_dollar_definition = 0;
  return forget_own_texts(script, largest_of_user) || num != 0;
}

/// Of the printer's definitions of one term one is enough, where all others are kept.
void forget_repeated(Script& script, std::uint64_t largest_of_user) {
  std::set<std::pair<const Term*, const DataType*>> defined;  // searched, never walked
  const std::size_t num = std::erase_if(script.commands, [&](const Command& c) {
    return is_own_definition(c, largest_of_user) &&
           !defined.emplace(script.terms[c.first_term], script.sorts[c.first_term]).second;
  });
  if (num != 0) forget_own_texts(script, largest_of_user);
}

/// Whether the choice is smaller than the text that it was made from, or as small and has a shorter text;
/// `length` is that of `now` without what makes its new names tell, `of_text` the size that was chosen when
/// the text was printed.
bool is_smaller(const ChosenScript& chosen, std::string_view now, std::size_t length, std::string_view text,
                const forms::Size& of_text, const std::string& file, bool lenient) {
  if (chosen.size < chosen.as_written || now == text) return now != text;
  if (chosen.size < of_text) return true;
  if (!chosen.is_written_twice) return chosen.size == chosen.as_written && length < text.size();
  return std::tuple(written_size(now, file, lenient), length) <
         std::tuple(written_size(text, file, lenient), text.size());
}

/// How many rounds may make a script smaller. Nearly all end after two or three; one that takes a few levels
/// off a deep term each time must not do so all day.
std::size_t most_shrinking_rounds(std::string_view text) {
  constexpr std::size_t most_bytes = 8 << 20;  // read in all rounds together
  return std::clamp<std::size_t>(most_bytes / (text.size() + 1), 8, 64);
}

/// Names are not given to literals, so a long one that many commands share can be written many times over.
/// What would become more than twice as long stays as it was. Without definitions the user asked for a longer
/// text.
std::size_t longest_output(std::string_view input, const SimplifyOptions& options) {
  constexpr std::size_t small = 4096;
  const bool is_limited = options.simplify && options.sharing == Sharing::automatic;
  return is_limited ? 2 * input.size() + small : std::string::npos;
}

/// How long the text of a round may become. What is much too long is not printed to its end, so that memory
/// stays linear in the input; what is a little too long may become shorter in a later round.
std::size_t longest_round(std::size_t longest_output) {
  return longest_output == std::string::npos ? longest_output : 4 * longest_output;
}

/// \throws BoundedText::TooLong
PrintResult print_to(std::string& text, std::size_t longest, const TermManager& manager, const Script& script,
                     Sharing sharing) {
  BoundedText out(longest);
  const PrintResult result = print(manager, script, out.stream(), sharing);
  text = std::move(out).take();
  return result;
}

bool has_definitions(const Script& script) {
  return std::ranges::any_of(script.commands, [](const Command& c) {
    return c.kind == Command::Kind::define || c.kind == Command::Kind::define_function;
  });
}

/// The rounds over one script: each reads what the one before it has printed, until nothing changes any more.
class Rounds {
 public:
  Rounds(std::string_view input, const std::string& file, const SimplifyOptions& options)
      : input_(input),
        file_(file),
        options_(options),
        longest_(longest_output(input, options)),
        smallest_(options.prints_smallest()),
        shrinks_(smallest_ && options.sharing == Sharing::automatic),
        text_(input) {}

  /// The text that the script settles at; lives as long as this and the input.
  std::string_view settle();
  const SimplifyReport& report() const noexcept { return report_; }
  /// What the rounds printed, one after the other, for a trace: so many of them at most.
  std::span<const std::string> between() const noexcept { return between_; }
  /// Where the commands of the input are.
  std::span<const std::string_view> places() const noexcept { return places_; }

 private:
  struct Printed {
    std::string text;
    std::size_t length = 0;  ///< of the text without what makes its new names tell
    std::unique_ptr<ChosenScript> chosen;
  };

  bool is_first() const noexcept { return report_.rounds == 1; }
  std::optional<Printed> round();
  PrintResult print_chosen(const ChosenScript& chosen, std::string& text) const;
  void print_normal_form(const TermManager& manager, Script& script, std::string& text);
  Script read(Session& session, Reader& reader);
  bool is_better(const Printed& printed);
  bool is_last(const Printed& printed);

  const std::string_view input_;
  const std::string& file_;
  const SimplifyOptions& options_;
  const std::size_t longest_;  // output
  const bool smallest_;
  bool shrinks_;                    // each round so far has made the script smaller
  bool keeps_definitions_ = false;  // the printer's own, too
  SimplifyReport report_;
  std::vector<std::string_view> places_;  // of the input's commands
  std::uint64_t largest_of_user_ = 0;
  std::string_view text_;             // to be read
  std::string previous_;              // owns it from the second round on
  std::vector<std::string> between_;  // what rounds printed, for a trace
  std::string lines_;                 // the input, each command on a line
  forms::Size of_text_{0, 0, 0};  // what was chosen when it was printed: nothing is smaller than the input
};

std::string_view Rounds::settle() {
  constexpr std::size_t large_text = 1 << 20, most_between = 8;
  for (;; ++report_.rounds) {
    if (!is_first() && text_.size() > large_text) give_back_freed();
    std::optional<Printed> printed = round();
    if (!printed) return input_;
    const bool stays = shrinks_ && !is_better(*printed);
    if (!stays) {
      const bool last = is_last(*printed);
      if (options_.trace != nullptr && between_.size() < most_between) between_.push_back(printed->text);
      previous_ = std::move(printed->text);
      text_ = previous_;
      if (!last) continue;
    }
    return text_.size() > longest_ ? input_ : text_;
  }
}

/// Reads and prints the text; nothing when the result is much too long.
std::optional<Rounds::Printed> Rounds::round() {
  Session session(options_.session_options());
  std::optional<WrittenForms> written;
  if (smallest_) written.emplace(session.manager());
  Reader reader(session, {.written = written ? &*written : nullptr, .lenient = options_.lenient});
  const auto start = std::chrono::steady_clock::now();
  Script script = read(session, reader);
  report_.read_seconds += seconds_since(start);
  const auto read = std::chrono::steady_clock::now();
  Printed printed;
  std::unique_ptr<ChosenScript>& chosen = printed.chosen;
  if (written) {
    session.simplifier().set_observer(nullptr);
    chosen = choose_smallest(session, *written, script);
    if (chosen != nullptr) written.reset();
  }
  shrinks_ = shrinks_ && chosen != nullptr;
  try {
    if (chosen != nullptr) {
      const PrintResult result = print_chosen(*chosen, printed.text);
      printed.length = printed.text.size() - result.length_of_telling;
    } else {
      print_normal_form(session.manager(), script, printed.text);
      printed.length = printed.text.size();
    }
  } catch (const BoundedText::TooLong&) {
    return std::nullopt;
  }
  // How the input is laid out must not decide.
  if (shrinks_ && is_first() && !(chosen->size < chosen->as_written))
    text_ = lines_ = on_lines(text_, script);
  report_.print_seconds += seconds_since(read);
  return printed;
}

/// Solvers take some scripts with definitions for those of a dialogue, and do less with them before they
/// search. One that has none gets some only where it would be much longer without.
PrintResult Rounds::print_chosen(const ChosenScript& chosen, std::string& text) const {
  const std::size_t longest = longest_round(longest_);
  const PrintResult result = print_to(text, longest, *chosen.manager, chosen.script, options_.sharing);
  if (!result.defines || has_definitions(chosen.script)) return result;
  try {
    const std::size_t little_longer = std::min(longest, text.size() + text.size() / 4);
    return print_to(text, little_longer, *chosen.manager, chosen.script, Sharing::let);
  } catch (const BoundedText::TooLong&) {
    return result;
  }
}

/// What has settled must have settled for whoever reads it, who takes the printer's definitions for the
/// user's own. Until then they are made anew; where that leads nowhere else, they are kept.
void Rounds::print_normal_form(const TermManager& manager, Script& script, std::string& text) {
  const std::size_t longest = longest_round(longest_);
  print_to(text, longest, manager, script, options_.sharing);
  const bool makes_anew = !is_first() && !smallest_ && !keeps_definitions_;
  if (!makes_anew || text == text_ || !forget_own_definitions(script, largest_of_user_)) return;
  std::string anew;
  print_to(anew, longest, manager, script, options_.sharing);
  keeps_definitions_ = anew == text_;
  if (!keeps_definitions_) text = std::move(anew);
}

/// A further round repeats what the first one did: only that one is observed.
Script Rounds::read(Session& session, Reader& reader) {
  if (!is_first()) {
    Script script = reader.read_in_place(text_, file_);
    if (keeps_definitions_) {
      forget_repeated(script, largest_of_user_);
    } else if (smallest_ && !shrinks_) {
      forget_own_definitions(script, largest_of_user_);
    }
    return script;
  }
  Script script = read_observed(session, reader, text_, file_, options_);
  places_ = std::move(script.places);
  largest_of_user_ = std::max(script.largest_dollar_name, script.largest_dollar_definition);
  report_.passed_through =
      static_cast<std::size_t>(std::ranges::count(script.commands, Command::Kind::foreign, &Command::kind));
  return script;
}

/// What does not become smaller stays, so that it is a fixed point: whoever reads it takes its definitions
/// for the user's own, as this does.
bool Rounds::is_better(const Printed& printed) {
  const forms::Size before = std::exchange(of_text_, printed.chosen->size);
  return is_smaller(*printed.chosen, printed.text, printed.length, text_, before, file_, options_.lenient);
}

/// The order of creation decides how commutative operations and sums look, and a reader creates terms in the
/// order of the text. So each text is simplified again, as whoever reads it would, until that changes
/// nothing. Where it has become no shorter it may go round in circles, as definitions are made anew each
/// time: from then on they are kept.
bool Rounds::is_last(const Printed& printed) {
  constexpr std::size_t most_rounds = 8;
  if (report_.rounds >= most_shrinking_rounds(text_)) return true;
  if (shrinks_) return false;
  if (printed.text == previous_) return true;
  if (report_.rounds < most_rounds || printed.text.size() < previous_.size()) return false;
  return std::exchange(keeps_definitions_, true) && report_.rounds >= 2 * most_rounds;
}

}  // namespace

SimplifyReport simplify_script(std::string_view text, const std::string& file, std::ostream& out,
                               const SimplifyOptions& options) {
  Rounds rounds(text, file, options);
  const std::string_view result = rounds.settle();
  if (options.width == 0) {
    write_text(out, result);
  } else {
    write_text(out, laid_out(text, rounds.places(), result, options.width));
  }
  if (options.trace != nullptr) trace_output(text, rounds.between(), result, file, options);
  return rounds.report();
}

std::string smallest_text(const TermManager& manager, std::span<const Term* const> formulas,
                          const SimplifyOptions& options) {
  std::ostringstream out;
  simplify_script(script_text(manager, formulas), "formulas", out, options);
  return std::move(out).str();
}

}  // namespace quarv::smtlib
