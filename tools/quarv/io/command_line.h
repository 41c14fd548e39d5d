#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/// Describes command lines. Only the source file of this knows the library that reads them, whose header
/// takes several times as long to compile as a command.
namespace quarv::cli {

/// An option or a positional argument of a command. Copies stand for one option.
class Option {
 public:
  explicit Option(CLI::Option* option) : option_(option) {}

  /// How the help names its value: "FILE".
  Option type(const char* name) const;
  /// The help shows the value that the variable has now, or that text.
  Option shows_default() const;
  Option shows_default(const char* text) const;
  Option required() const;
  /// The help does not show it.
  Option hidden() const;
  /// Takes one value each time that it is written.
  Option one_at_a_time() const;
  Option excludes(Option other) const;

  Option one_of(std::initializer_list<const char*> words) const;
  Option between(double least, double most) const;
  Option between(int least, int most) const;
  Option between(unsigned least, unsigned most) const;
  Option between(std::size_t least, std::size_t most) const;
  Option positive() const;
  Option not_negative() const;
  /// A number of bytes, with or without a unit.
  Option size() const;

 private:
  CLI::Option* option_;
};

/// A command, with its options and subcommands. Copies stand for one command.
class CommandLine {
 public:
  explicit CommandLine(CLI::App* app) : app_(app) {}

  CommandLine subcommand(const char* name, const char* description) const;
  void requires_subcommand() const;

  /// An option that leaves its value in `value`, which must live until the command line is read. The types
  /// are those that the source file lists.
  template <class T>
  Option option(const char* names, T& value, const std::string& description) const;
  Option option(const char* names, const std::function<void(const std::string&)>& use,
                const char* description) const;
  template <class T>
  Option flag(const char* names, T& value, const char* description) const;

  /// What the help ends with.
  void footer(const std::string& text) const;
  /// What is done when the command line names the command.
  void callback(std::function<void()> run) const;

  const std::string& name() const;
  std::vector<CommandLine> subcommands() const;
  bool needs_subcommand() const;
  bool is_named() const;  ///< by the command line that was read
  std::string help(const std::string& path_above = "") const;

 protected:
  CLI::App* app_;
};

/// The outcome of reading a command line.
struct Reading {
  enum Kind { done, help, version, error };
  Kind kind = done;
  std::string reason{};  ///< of an error
};

/// The command at the top.
class Program : public CommandLine {
 public:
  Program(const char* description, const char* name, const char* version);
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program();

  /// Sets the variables and runs what is named.
  Reading read(int argc, char** argv);
  /// Forgets what was read.
  void clear();
};

/// The bytes that "4GiB", or a number without a unit, says; nothing for a text that says no size.
std::optional<std::uint64_t> size_in_bytes(std::string text);

/// Ends the reading of a command line with an error. \param option "--trace"
[[noreturn]] void refuse_value(const char* option, const std::string& reason);

}  // namespace quarv::cli
