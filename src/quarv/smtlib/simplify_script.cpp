#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>
#include <sstream>
#include <tuple>

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

/// What ties the output to the input.
void trace_output(std::string_view input, std::string_view output, const std::string& file,
                  const SimplifyOptions& options) {
  SessionOptions as_written = options;
  constexpr bool literals = true;  // what is simplified may become one
  as_written.simplify = false;
  trace_script(input, file, as_written, *options.trace, "input as written", options.lenient, literals);
  trace_script(output, file, options, *options.trace, "output", options.lenient);
  trace_script(output, file, as_written, *options.trace, "output as written", options.lenient, literals);
}

bool has_own_name(std::string_view text, std::uint64_t largest_of_user) {
  Lexer lexer(text);
  for (Token t = lexer.next(); t.kind != TokenKind::end; t = lexer.next()) {
    if (t.kind == TokenKind::symbol && dollar_number(t.text) > largest_of_user) return true;
  }
  return false;
}

/// Forgets the definitions that the printer made, whose names have numbers above all that the user gave: it
/// makes them anew, where they are needed now. Were they kept, another name for the same term could be added
/// in each round.
void forget_own_definitions(Script& script, std::uint64_t largest_of_user) {
  std::erase_if(script.commands, [largest_of_user](const Command& c) {
    return c.kind == Command::Kind::define && dollar_number(c.name) > largest_of_user;
  });
  // Nor can a text be kept that has such a name: the printer wrote it.
  for (std::string_view& text : script.term_texts) {
    if (has_own_name(text, largest_of_user)) text = {};
  }
  script.largest_dollar_name = largest_of_user;
  script.largest_dollar_definition = 0;
}

/// Whether the choice is smaller than the text that it was made from, or as small and has a shorter text.
/// `of_text` is the size that was chosen when the text was printed.
bool is_smaller(const ChosenScript& chosen, std::string_view now, std::string_view text,
                const forms::Size& of_text, const std::string& file, bool lenient) {
  if (chosen.size < chosen.as_written || now == text) return now != text;
  if (chosen.size < of_text) return true;
  if (!chosen.is_written_twice) return chosen.size == chosen.as_written && now.size() < text.size();
  return std::tuple(written_size(now, file, lenient), now.size()) <
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

}  // namespace

SimplifyReport simplify_script(std::string_view text, const std::string& file, std::ostream& out,
                               const SimplifyOptions& options) {
  // The order of creation decides how commutative operations and sums look. When the printed text creates its
  // terms in another order, it is simplified again, as whoever reads it would. The printer notices nearly
  // every such case, as long as it names what is shared; where it does not, or where it costs next to
  // nothing, the text is read again in any case.
  constexpr std::size_t most_rounds = 8;
  constexpr std::size_t small_text = 256 << 10;
  constexpr std::size_t large_text = 1 << 20;
  SimplifyReport report;
  const std::string_view input = text;
  const std::size_t longest = longest_output(input, options);
  std::string previous;
  const auto finish = [&](std::string_view result) {
    if (result.size() > longest) result = input;
    if (options.width == 0) {
      write_text(out, result);
    } else {
      write_text(out, laid_out(input, result, options.width));
    }
    if (options.trace != nullptr) trace_output(input, result, file, options);
    return report;
  };
  std::string lines;             // the input
  forms::Size of_text{0, 0, 0};  // nothing is smaller
  std::uint64_t largest_of_user = 0;
  const bool smallest = options.smallest && !options.library_semantics;
  bool shrinks = smallest && options.sharing == Sharing::automatic;
  for (;; ++report.rounds) {
    if (report.rounds != 1 && text.size() > large_text) give_back_freed();
    Session session(options);
    std::optional<WrittenForms> written;
    if (smallest) written.emplace(session.manager());
    Reader reader(session, {.written = written ? &*written : nullptr, .lenient = options.lenient});
    const auto start = std::chrono::steady_clock::now();
    // A further round repeats what the first one did.
    Script script = report.rounds == 1 ? read_observed(session, reader, text, file, options)
                                       : reader.read_in_place(text, file);
    if (report.rounds == 1) {
      largest_of_user = std::max(script.largest_dollar_name, script.largest_dollar_definition);
      report.passed_through = static_cast<std::size_t>(
          std::ranges::count(script.commands, Command::Kind::foreign, &Command::kind));
    }
    if (!shrinks && report.rounds != 1) forget_own_definitions(script, largest_of_user);
    report.read_seconds += seconds_since(start);
    const auto read = std::chrono::steady_clock::now();
    BoundedText printed(longest_round(longest));
    std::unique_ptr<ChosenScript> chosen;
    if (written) {
      session.simplifier().set_observer(nullptr);
      chosen = choose_smallest(session.manager(), *written, script,
                               [&session](const Term* t) { return session.normalize(t); });
      if (chosen != nullptr) written.reset();
    }
    PrintResult result;
    try {
      result = chosen != nullptr ? print(*chosen->manager, chosen->script, printed.stream(), options.sharing)
                                 : print(session.manager(), script, printed.stream(), options.sharing);
    } catch (const BoundedText::TooLong&) {
      return finish(input);
    }
    report.print_seconds += seconds_since(read);
    std::string now = std::move(printed).take();
    const bool trusted = result.stable && now.size() > small_text && options.sharing != Sharing::none;
    shrinks = shrinks && chosen != nullptr;
    if (shrinks) {
      // Each round makes the script smaller; what does not become smaller stays, so that it is a fixed point:
      // whoever reads it takes its definitions for the user's own, as this does.
      // How the input is laid out must not decide.
      if (report.rounds == 1 && !(chosen->size < chosen->as_written)) text = lines = on_lines(text, script);
      const bool better = is_smaller(*chosen, now, text, of_text, file, options.lenient);
      of_text = chosen->size;
      if (!better) now = text;
      if (!better || report.rounds >= most_shrinking_rounds(text)) return finish(now);
    }
    const bool settled = trusted || now == previous;
    if (!shrinks && (settled || report.rounds == most_rounds)) return finish(now);
    previous = std::move(now);
    text = previous;
  }
}

std::string smallest_text(const TermManager& manager, std::span<const Term* const> formulas,
                          const SimplifyOptions& options) {
  std::ostringstream out;
  simplify_script(script_text(manager, formulas), "formulas", out, options);
  return std::move(out).str();
}

}  // namespace quarv::smtlib
