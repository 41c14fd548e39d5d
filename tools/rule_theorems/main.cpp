// rule_theorems RULES [--digests | --witnesses]
//
// Writes what each rule of a file states for all widths, as definitions for Coq, from the syntax tree that
// the rule compiler compiles. With --digests: number, digest of the statement, and text of each rule, between
// tabs. proofs/check proves the statements.

#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "statement_writer.h"
#include "witness_finder.h"
#include <quarv/rules/language/rule_language.h>

namespace {

using quarv::rules::Rule;

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in) throw std::runtime_error("cannot read " + path);
  return text.str();
}

constexpr const char* prologue =
    "(* Written by rule_theorems. *)\n"
    "From Coq Require Import ZArith Bool.\n"
    "From Quarv Require Import Bv.\n"
    "Local Open Scope Z_scope.\n";

void write_theorems(const std::string& file, const std::string& mode) {
  const std::vector<Rule> rules = quarv::rules::parse_rules(read_file(file));
  if (mode.empty()) std::cout << prologue;
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (!is_in_qf_bv(rules[i])) continue;  // there are no widths to prove it for
    if (mode == "--witnesses") {
      std::cout << rule_theorems::witness(rules[i], i + 1);
      continue;
    }
    const rule_theorems::Statement statement = rule_theorems::statement(rules[i], i + 1);
    if (mode == "--digests") {
      std::cout << i + 1 << '\t' << statement.digest << '\t' << rules[i].text << '\n';
    } else {
      std::cout << statement.text;
    }
  }
  if (!std::cout.flush()) throw std::runtime_error("cannot write");
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  const bool has_mode = args.size() == 2 && (args[1] == "--digests" || args[1] == "--witnesses");
  if (args.size() != (has_mode ? 2 : 1)) {
    std::cerr << "usage: rule_theorems RULES [--digests | --witnesses]\n";
    return 2;
  }
  try {
    write_theorems(args[0], has_mode ? args[1] : "");
  } catch (const quarv::rules::RuleError& e) {
    std::cerr << args[0] << ":" << e.line() << ":" << e.column() << ": error: " << e.reason() << "\n";
    return 1;
  } catch (const std::exception& e) {
    std::cerr << "rule_theorems: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
