#include "simplify/simplify_arguments.h"

#include <CLI/CLI.hpp>

#include "io/input.h"

namespace quarv::cli {

void add_step_options(CLI::App& command, SimplifyArguments& arguments) {
  CLI::Option* const no_rules =
      command.add_flag("--no-rules", arguments.no_rules, "Simplify operators, but apply no rewrite rule");
  command
      .add_flag("--no-simplifiers", arguments.no_simplifiers,
                "Apply rewrite rules, but simplify no operator: not even constants are folded")
      ->excludes(no_rules);
  command
      .add_option("--rules", arguments.rule_files,
                  "Rules of your own, to be tried after the standard ones; may be repeated. It is for you to "
                  "know that they hold: quarv rules check tells")
      ->type_name("FILE.rules")
      ->allow_extra_args(false)
      ->excludes(no_rules);
  command
      .add_option("--disable-rule", arguments.disabled_rules,
                  "Do not apply this rule, given by number (quarv rules list) or text; may be repeated")
      ->type_name("N|TEXT")
      ->allow_extra_args(false);
  command.add_flag("--standard", arguments.standard,
                   "The layer as it is, not restricted to what the SMT-LIB standard warrants");
}

void add_simplify_options(CLI::App& command, SimplifyArguments& arguments) {
  add_step_options(command, arguments);
  command
      .add_option(
          "--share", arguments.sharing,
          "How sub-terms that occur repeatedly are written: define-fun and let, let alone, or repeated")
      ->type_name("auto|let|none")
      ->check(CLI::IsMember({"auto", "let", "none"}).description(""))
      ->capture_default_str();
  command.add_flag(
      "--canonical", arguments.canonical,
      "Print the normal form, for comparing, instead of the smallest form in the words of the input");
}

smtlib::SimplifyOptions read_options(const SimplifyArguments& arguments) {
  smtlib::SimplifyOptions options;
  options.rules = !arguments.no_rules;
  options.simplifiers = !arguments.no_simplifiers;
  options.standard = arguments.standard;
  // What the library's own semantics equates need not be equal for whoever reads the output.
  options.smallest = !arguments.canonical && !arguments.standard;
  if (arguments.sharing == "let") options.sharing = smtlib::Sharing::let;
  if (arguments.sharing == "none") options.sharing = smtlib::Sharing::none;
  options.disabled_rules = arguments.disabled_rules;
  for (const std::string& name : arguments.rule_files) {
    const Input file(name);
    options.extra_rules.push_back({file.name(), std::string(file.text())});
  }
  return options;
}

}  // namespace quarv::cli
