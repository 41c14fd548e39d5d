#include "simplify/simplify_arguments.h"

#include "io/command_line.h"
#include "io/input.h"
#include "rules/own_rules.h"

namespace quarv::cli {

void add_semantics_option(const CommandLine& command, bool& library_semantics) {
  command.flag(
      "--library-semantics", library_semantics,
      "Apply all of the library's simplifications, also those that do not hold under the SMT-LIB standard");
  command.flag("--standard", library_semantics, "").hidden();  // its former name, for old scripts
}

void add_extension_option(const CommandLine& command, bool& only_standard) {
  command.flag("--rules-only-standard", only_standard,
               "Use the standard rules and simplifiers alone, none of those that are beside them");
}

void add_step_options(const CommandLine& command, SimplifyArguments& arguments) {
  const Option no_rules =
      command.flag("--no-rules", arguments.no_rules, "Simplify operators, but apply no rewrite rule");
  command
      .flag("--no-simplifiers", arguments.no_simplifiers,
            "Apply rewrite rules, but simplify no operator: not even constants are folded")
      .excludes(no_rules);
  command
      .option("--rules", arguments.rule_files,
              "Rules of your own, to be tried after the standard ones; may be repeated. A solver checks them "
              "first: see quarv rules check")
      .type("FILE.rules")
      .one_at_a_time()
      .excludes(no_rules);
  add_trust_option(command, arguments.trust_rules);
  command
      .option("--disable-rule", arguments.disabled_rules,
              "Do not apply this rule, given by name, number (quarv rules list) or text; may be repeated")
      .type("RULE")
      .one_at_a_time();
  add_extension_option(command, arguments.only_standard);
  add_semantics_option(command, arguments.library_semantics);
}

void add_simplify_options(const CommandLine& command, SimplifyArguments& arguments) {
  add_step_options(command, arguments);
  command
      .option("--share", arguments.sharing,
              "How sub-terms that occur repeatedly are written: define-fun and let, let alone, or repeated")
      .type("auto|let|none")
      .one_of({"auto", "let", "none"})
      .shows_default();
  command.flag(
      "--canonical", arguments.canonical,
      "Print the normal form, for comparing, instead of the smallest form in the words of the input");
}

void add_width_option(const CommandLine& command, int& width) {
  width = -1;
  command
      .option("--width", width,
              "Lay out what has changed to lines of this length, and leave the rest as it was written, with "
              "comments; 0, the default with --canonical: one line a command, without comments")
      .type("N")
      .between(0, 1'000'000)
      .shows_default("100");
}

void add_lenient_option(const CommandLine& command, bool& lenient) {
  command.flag(
      "--lenient", lenient,
      "Print commands that are not understood (strings, datatypes, minimize, ...) as they are, and what "
      "mentions the names that they declare");
}

smtlib::SimplifyOptions read_options(const SimplifyArguments& arguments) {
  smtlib::SimplifyOptions options;
  options.rules = !arguments.no_rules;
  options.simplifiers = !arguments.no_simplifiers;
  options.library_semantics = arguments.library_semantics;
  options.extended = !arguments.only_standard && !arguments.library_semantics;
  // What the library's own semantics equates need not be equal for whoever reads the output.
  options.smallest = !arguments.canonical && !arguments.library_semantics;
  options.lenient = arguments.lenient;
  constexpr std::size_t usual_width = 100;
  if (arguments.width >= 0) {
    options.width = static_cast<std::size_t>(arguments.width);
  } else if (options.smallest) {
    options.width = usual_width;
  }
  if (arguments.sharing == "let") options.sharing = smtlib::Sharing::let;
  if (arguments.sharing == "none") options.sharing = smtlib::Sharing::none;
  options.disabled_rules = arguments.disabled_rules;
  for (const std::string& name : arguments.rule_files) {
    const Input file(name);
    options.extra_rules.push_back({file.name(), std::string(file.text())});
  }
  check_own_rules(options.extra_rules, arguments.trust_rules);
  return options;
}

}  // namespace quarv::cli
