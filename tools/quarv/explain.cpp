#include <charconv>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fmt/core.h>

#include "commands.h"
#include "explain/derivation_text.h"
#include "explain/printed_formulas.h"
#include "explain/term_place.h"
#include "explain/why_not.h"
#include "io/colour.h"
#include "io/command_line.h"
#include "io/input.h"
#include "io/json.h"
#include "io/output.h"
#include "io/process.h"
#include "io/waiting_note.h"
#include "rules/rule_catalogue.h"
#include "simplify/simplify_arguments.h"
#include <quarv/smtlib/simplify_script.h>
#include <quarv/util/byte_order_mark.h>

namespace quarv::cli {

namespace {

constexpr const char* footer = R"(Examples:
  quarv explain query.smt2                   show how each assertion is simplified
  quarv explain query.smt2 --assert 2 --steps 10
                                             show the first steps of the second one
  quarv explain query.smt2 --at 2:14         show how the term there is simplified
  quarv explain query.smt2 --why-not bvmul-one '(bvmul x y)'
                                             say why this rule does not apply to this term)";

struct Arguments {
  std::string input;
  std::size_t assertion = 0;  // 0: all
  std::string place;          // of a term, LINE:COLUMN; empty: all
  bool json = false;
  std::optional<std::pair<std::string, std::string>> why_not;
  ShownSteps steps;
  std::size_t length = 300;
  std::string colour = "auto";
  SimplifyArguments how;
};

/// The keyword by which the term that is asked for is found in a trace.
constexpr std::string_view place_keyword = ":quarv-place";

/// A term of an assertion.
struct PlacedTerm {
  std::size_t assertion;
  TermName term;
};

/// The term that is annotated with the keyword, in the trace of a script as it is written.
std::optional<PlacedTerm> placed_term(const std::string& trace) {
  const std::size_t found = trace.find(fmt::format(",\"attributes\":[\"{}\"]", place_keyword));
  if (found == std::string::npos) return std::nullopt;
  const auto line_at = [&trace](std::size_t start) {
    return Json::parse(trace.substr(start, trace.find('\n', start) - start));
  };
  const std::string_view assertion = "\n{\"assertion\":";  // it comes behind its terms
  const std::size_t next = trace.find(assertion, found);
  if (next == std::string::npos) return std::nullopt;
  return PlacedTerm{line_at(next + 1).at("assertion").number<std::size_t>(),
                    line_at(trace.rfind('\n', found) + 1).at("args").at(0).number<std::size_t>()};
}

/// Prints derivations of a script's assertions.
class Explanation {
 public:
  /// `place`: the term that is asked for, if one is.
  Explanation(const Arguments& arguments, const Input& input, const std::optional<TextRange>& place,
              std::ostream& out)
      : arguments_(arguments),
        out_(out),
        text_(terms_, arguments.length,
              !arguments.json && wants_colour(arguments.colour) ? colour_marks : quotation_marks) {
    smtlib::SimplifyOptions options = read_options(arguments.how);
    simplified_ = trace_of(input.text(), input.name(), options);
    options.simplify = false;
    std::string written(without_byte_order_mark(input.text()));
    if (place) {
      written.insert(place->end, fmt::format(" {})", place_keyword));
      written.insert(place->begin, "(! ");
    }
    written_ = trace_of(written, input.name(), options);
    derivation_.emplace(terms_, written_, simplified_);
    options = read_options(arguments.how);
    if (!place && options.prints_smallest()) formulas_ = printed_formulas(input.text(), input.name(), options);
  }

  std::size_t num_assertions() const { return derivation_->num_assertions(); }

  /// Of an assertion in which none of the wanted steps is made, nothing is printed.
  void explain(std::size_t assertion) {
    derivation_->begin(assertion);
    explain(assertion, "");
  }

  /// Likewise for the term at the place that is asked for. False when its assertion does not contain it, as
  /// the value of a `let` need not be used.
  bool explain_place() {
    const std::optional<PlacedTerm> found = placed_term(written_);
    if (!found) return false;
    derivation_->begin(found->assertion, found->term);
    explain(found->assertion, arguments_.place);
    return true;
  }

  /// What is to be said of the whole script.
  void conclude() {
    if (arguments_.json) return;
    if (!changes_) {
      if (arguments_.place.empty()) out_ << "simplification changes no assertion\n";
    } else if (!found_ && !arguments_.steps.rule.empty()) {
      out_ << "rule " << arguments_.steps.rule << " is not applied\n";
    } else if (!found_ && arguments_.steps.only != 0) {
      out_ << "there is no step " << arguments_.steps.only << '\n';
    }
  }

 private:
  void explain(std::size_t assertion, const std::string& place) {
    const ShownSteps& wanted = arguments_.steps;
    ShownDerivation shown = follow(*derivation_, text_, wanted);
    if (assertion <= formulas_.size()) {
      const PrintedFormula& formula = formulas_[assertion - 1];
      shown.printed = shortened(formula.printed, arguments_.length);
      shown.prints_anew = formula.printed != formula.written;
    }
    changes_ |= shown.ending != ShownDerivation::unchanged || shown.prints_anew;
    found_ |= !shown.steps.empty();
    const bool all = wanted.only == 0 && wanted.rule.empty();
    if (!all && shown.steps.empty()) return;
    if (arguments_.json) {
      Json json = {{"assertion", assertion}};
      if (!place.empty()) json["at"] = place;
      json.update(as_json(shown));
      out_ << json.repaired_text() << '\n';
      return;
    }
    out_ << "assertion " << assertion << (place.empty() ? "" : ", the term at " + place) << '\n';
    print(shown, wanted.only == 0, out_);
  }

  const Arguments& arguments_;
  std::ostream& out_;
  TraceTerms terms_;
  TermText text_;
  std::string written_;
  std::string simplified_;
  std::optional<Derivation> derivation_;
  std::vector<PrintedFormula> formulas_;  // the assertions, unless they are printed in normal form
  bool changes_ = false;                  // an assertion was changed
  bool found_ = false;    // a step was shown
};

/// A question that the input does not have an answer to.
int refuse(const std::string& reason) {
  say("quarv: {}\n", reason);
  return usage_error;
}

int explain_rule(const Arguments& arguments, const Input& input) {
  const std::vector<rules::Rule> rules = all_rules_and(arguments.how.rule_files);
  const auto& [name_or_number, term] = *arguments.why_not;
  const std::optional<std::size_t> found = find_rule(rules, name_or_number);
  if (!found) return refuse(no_such_rule(rules, name_or_number));
  const std::string& name = rules[*found].name;
  const std::string label = name.empty() ? std::to_string(*found + 1) : name;
  Output output("-");
  const rules::Rule rule = rules::parse_rule(rules[*found].text);  // columns count within the rule
  explain_mismatch(input.text(), input.name(), label, rule, term, wants_colour(arguments.colour),
                   output.stream());
  if (const char* const values = known_counterexample(name)) {
    output.stream() << "does not hold for all values: " << values
                    << "; quarv simplify does not apply it there\n";
  }
  output.commit();
  return success;
}

/// The term at a place that was given as LINE:COLUMN.
std::optional<TextRange> term_asked_for(const Input& input, const std::string& place) {
  std::size_t line = 0;
  std::size_t column = 0;
  const char* const end = place.data() + place.size();
  const auto [colon, error] = std::from_chars(place.data(), end, line);
  if (error != std::errc() || colon == end || *colon != ':' || line == 0) return std::nullopt;
  const auto [last, column_error] = std::from_chars(colon + 1, end, column);
  if (column_error != std::errc() || last != end || column == 0) return std::nullopt;
  return term_at(without_byte_order_mark(input.text()), line, column);
}

void print(std::string_view text) {
  Output output("-");
  output.stream() << text;
  output.commit();
}

int explain_place(const Arguments& arguments, const Input& input) {
  const std::optional<TextRange> place = term_asked_for(input, arguments.place);
  std::ostringstream text;
  text.exceptions(std::ios::badbit);  // lack of memory must not look like an error of the stream
  std::optional<WaitingNote> note("explaining " + input.name());
  // Errors of the input come first.
  Explanation explanation(arguments, input, place, text);
  if (!place) return refuse(fmt::format("there is no term of an assertion at {}", arguments.place));
  if (!explanation.explain_place()) {
    return refuse(fmt::format("the term at {} is not used in its assertion", arguments.place));
  }
  explanation.conclude();
  note.reset();
  print(text.view());
  return success;
}

int explain(const Arguments& arguments) {
  const Input input(arguments.input);
  if (arguments.why_not) return explain_rule(arguments, input);
  if (!arguments.place.empty()) return explain_place(arguments, input);
  std::ostringstream text;
  text.exceptions(std::ios::badbit);
  std::optional<WaitingNote> note("explaining " + input.name());
  Explanation explanation(arguments, input, std::nullopt, text);
  if (arguments.assertion > explanation.num_assertions()) {
    return refuse(fmt::format("there is no assertion {}: the script has {}", arguments.assertion,
                              explanation.num_assertions()));
  }
  const bool all = arguments.assertion == 0;
  const std::size_t last = all ? explanation.num_assertions() : arguments.assertion;
  for (std::size_t i = all ? 1 : last; i <= last; ++i) explanation.explain(i);
  if (all || !arguments.steps.rule.empty() || arguments.steps.only != 0) explanation.conclude();
  note.reset();  // before anything is printed
  print(text.view());
  return success;
}

}  // namespace

void add_explain(const CommandLine& program, int& status) {
  const CommandLine command = program.subcommand(
      "explain",
      "Show how assertions are simplified, step by step, marking the place of each change, or why a rule "
      "does not apply to a term");
  command.footer(footer);
  const auto arguments = std::make_shared<Arguments>();
  command.option("FILE", arguments->input, "SMT-LIB 2 script; - is standard input").type("").required();
  const Option assertion =
      command.option("--assert", arguments->assertion, "Only this assertion, counting from 1")
          .type("K")
          .positive();
  const Option place =
      command
          .option("--at", arguments->place,
                  "Only the innermost term of an assertion that covers this place in the script; lines and "
                  "columns, in bytes, count from 1")
          .type("LINE:COLUMN")
          .excludes(assertion);
  const Option why_not =
      command
          .option("--why-not", arguments->why_not,
                  "Match a rule, given by name or number (quarv rules list), against a term in the script's "
                  "context, and say what does not fit. The term is taken as it is written")
          .type("RULE TERM")
          .excludes(assertion)
          .excludes(place);
  command.option("--steps", arguments->steps.most, "Show the first so many steps of an assertion")
      .type("N")
      .shows_default();
  command.option("--step", arguments->steps.only, "Show only the step of this number, of each assertion")
      .type("N")
      .positive();
  command.option("--rule", arguments->steps.rule, "Show only steps by the rule of this name").type("NAME");
  command
      .option("--length", arguments->length,
              "Of terms longer than this, in characters, show only the surroundings of the change")
      .type("N")
      .between(std::size_t{20}, TermText::largest_limit)
      .shows_default();
  command
      .option("--color", arguments->colour,
              "Mark places by colour instead of \u00abquotes\u00bb; auto: at a terminal")
      .type("auto|always|never")
      .one_of({"auto", "always", "never"})
      .shows_default();
  command.flag("--json", arguments->json, "Print one JSON object a line for each assertion")
      .excludes(why_not);
  add_step_options(command, arguments->how);
  command.callback([arguments, &status] {
    try {
      status = explain(*arguments);
    } catch (const UnknownRule& e) {
      status = refuse(fmt::format("{} (see quarv rules list)", e.what()));
    }
  });
}

}  // namespace quarv::cli
