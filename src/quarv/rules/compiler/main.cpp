// rulec RULES OUTPUT_FOLDER NUM_PARTS
//
// Compiles a rule file to C++: a header with one class for each rule, NUM_PARTS sources with what the rules
// do, and a source with the function that registers them all in the order of the file. Runs when the library
// is built.

#include <charconv>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "quarv/rules/compiler/class_writer.h"
#include "quarv/rules/compiler/matcher_writer.h"
#include <quarv/rules/language/rule_language.h>

namespace {

namespace fs = std::filesystem;
using quarv::rules::Rule;

std::string read_file(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in) throw std::runtime_error("cannot read " + path.string());
  return text.str();
}

void write_file(const fs::path& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
  out.close();
  if (!out) throw std::runtime_error("cannot write " + path.string());
}

std::size_t parse_count(const std::string& text) {
  std::size_t count = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), count);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size() || count == 0) {
    throw std::runtime_error("NUM_PARTS must be a positive number");
  }
  return count;
}

void compile(const fs::path& rule_file, const fs::path& folder, std::size_t num_parts) {
  const std::vector<Rule> rules = quarv::rules::parse_rules(read_file(rule_file));
  const std::string set = rule_file.stem().string();
  fs::create_directories(folder);
  write_file(folder / (set + "_rule_classes.h"), rulec::class_header(set, rules));
  for (std::size_t part = 0; part < num_parts; ++part) {
    const std::size_t begin = rules.size() * part / num_parts;
    const std::size_t end = rules.size() * (part + 1) / num_parts;
    std::string text = rulec::matcher_prologue(set);
    for (std::size_t i = begin; i < end; ++i) text += rulec::matcher(rules[i]);
    text += "}  // namespace quarv\n";
    write_file(folder / (set + "_rules_" + std::to_string(part + 1) + ".cpp"), text);
  }
  write_file(folder / ("register_" + set + "_rules.cpp"), rulec::registration(set, rules));
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (args.size() != 3) {
    std::cerr << "usage: rulec RULES OUTPUT_FOLDER NUM_PARTS\n";
    return 2;
  }
  try {
    compile(args[0], args[1], parse_count(args[2]));
  } catch (const quarv::rules::RuleError& e) {
    std::cerr << args[0] << ":" << e.line() << ":" << e.column() << ": error: " << e.reason() << "\n";
    return 1;
  } catch (const std::exception& e) {
    std::cerr << "rulec: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
