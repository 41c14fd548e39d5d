#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <quarv/smtlib/simplify_script.h>

namespace quarv::cli {

class CommandLine;

/// How a script is to be simplified and printed, as it stands on the command line.
struct SimplifyArguments {
  bool no_rules = false;
  bool no_simplifiers = false;
  bool library_semantics = false;
  bool canonical = false;
  bool only_standard = false;
  bool lenient = false;
  bool trust_rules = false;
  int width = 0;  // -1: as the form demands
  std::string sharing = "auto";
  std::vector<std::string> rule_files;
  std::vector<std::string> disabled_rules;
};

/// Adds the options to a subcommand; `arguments` must outlive it.
void add_simplify_options(const CommandLine& command, SimplifyArguments& arguments);

/// Only those that say how a script is to be simplified.
void add_step_options(const CommandLine& command, SimplifyArguments& arguments);

/// The option that leaves strict semantics out.
void add_semantics_option(const CommandLine& command, bool& library_semantics);

/// The option that leaves out what is beside the standard rules and simplifiers.
void add_extension_option(const CommandLine& command, bool& only_standard);

/// The option that says how wide lines may be.
void add_width_option(const CommandLine& command, int& width);

/// The option by which commands that are not understood pass through.
void add_lenient_option(const CommandLine& command, bool& lenient);
/// What the message that something is not understood says of it.
inline constexpr std::string_view lenient_hint = "--lenient prints it as it is";

/// Reads the rule files, and checks them unless they are trusted. Throws FileError and InputError.
smtlib::SimplifyOptions read_options(const SimplifyArguments& arguments);

}  // namespace quarv::cli
