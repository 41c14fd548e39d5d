#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "commands.h"
#include "explain/derivation_text.h"
#include "explain/why_not.h"
#include "io/colour.h"
#include "io/command_line.h"
#include "io/input.h"
#include "io/output.h"
#include "io/process.h"
#include "rules/rule_catalogue.h"
#include "simplify/simplify_arguments.h"
#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

namespace {

constexpr const char* footer = R"(Examples:
  quarv explain query.smt2                   show how each assertion is simplified
  quarv explain query.smt2 --assert 2 --steps 10
                                             show the first steps of the second one
  quarv explain query.smt2 --why-not bvmul-one '(bvmul x y)'
                                             say why this rule does not apply to this term)";

struct Arguments {
  std::string input;
  std::size_t assertion = 0;  // 0: all
  std::optional<std::pair<std::string, std::string>> why_not;
  ShownSteps steps;
  std::size_t length = 300;
  std::string colour = "auto";
  SimplifyArguments how;
};

/// Prints derivations of a script's assertions.
class Explanation {
 public:
  Explanation(const Arguments& arguments, const Input& input, std::ostream& out)
      : arguments_(arguments),
        out_(out),
        text_(terms_, arguments.length, wants_colour(arguments.colour) ? colour_marks : quotation_marks) {
    smtlib::SimplifyOptions options = read_options(arguments.how);
    simplified_ = trace_of(input.text(), input.name(), options);
    options.simplify = false;
    written_ = trace_of(input.text(), input.name(), options);
    derivation_.emplace(terms_, written_, simplified_);
  }

  std::size_t num_assertions() const { return derivation_->num_assertions(); }

  /// Of an assertion in which none of the wanted steps is made, nothing is printed.
  void explain(std::size_t assertion) {
    Derivation& derivation = *derivation_;
    derivation.begin(assertion);
    changes_ |= derivation.current() != derivation.result();
    std::ostringstream text;
    text << "assertion " << assertion << '\n';
    const ShownSteps& wanted = arguments_.steps;
    const std::size_t num_shown = print_derivation(terms_, derivation, text_, wanted, text);
    found_ |= num_shown != 0;
    const bool all = wanted.only == 0 && wanted.rule.empty();
    if (all || num_shown != 0) out_ << text.view();
  }

  /// What is to be said of the whole script.
  void conclude() {
    if (!changes_) {
      out_ << "simplification changes no assertion\n";
    } else if (!found_ && !arguments_.steps.rule.empty()) {
      out_ << "rule " << arguments_.steps.rule << " is not applied\n";
    } else if (!found_ && arguments_.steps.only != 0) {
      out_ << "there is no step " << arguments_.steps.only << '\n';
    }
  }

 private:
  const Arguments& arguments_;
  std::ostream& out_;
  TraceTerms terms_;
  TermText text_;
  std::string written_;
  std::string simplified_;
  std::optional<Derivation> derivation_;
  bool changes_ = false;  // an assertion was changed
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

int explain(const Arguments& arguments) {
  const Input input(arguments.input);
  if (arguments.why_not) return explain_rule(arguments, input);
  Output output("-");
  Explanation explanation(arguments, input, output.stream());
  if (arguments.assertion > explanation.num_assertions()) {
    return refuse(fmt::format("there is no assertion {}: the script has {}", arguments.assertion,
                              explanation.num_assertions()));
  }
  const bool all = arguments.assertion == 0;
  const std::size_t last = all ? explanation.num_assertions() : arguments.assertion;
  for (std::size_t i = all ? 1 : last; i <= last; ++i) explanation.explain(i);
  if (all || !arguments.steps.rule.empty() || arguments.steps.only != 0) explanation.conclude();
  output.commit();
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
  command
      .option(
          "--why-not", arguments->why_not,
          "Match a rule, given by name or number (quarv rules list), against a term in the script's context, "
          "and say what does not fit. The term is taken as it is written")
      .type("RULE TERM")
      .excludes(assertion);
  command.option("--steps", arguments->steps.most, "Show at most this many steps of an assertion")
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
