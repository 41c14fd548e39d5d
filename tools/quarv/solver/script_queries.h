#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "solver/query_set.h"
#include "solver/standalone_terms.h"

namespace quarv::cli {

/// Asks whether a script's terms equal those that stand in their place in its simplified form: of assertions,
/// of definitions, and of the other commands with terms.
///
/// Both scripts are taken as text, and a query holds the text of both terms, with the declarations that they
/// need: what was read and what was printed is trusted no more than what was simplified. What the user
/// defines stands for its own definition in both terms; that it may is shown by a query for the definition.
class ScriptQueries : public QuerySet {
 public:
  /// Both texts must be scripts that can be read, and outlive this. Throws std::runtime_error when `output`
  /// is not `input` with some terms replaced and some definitions added.
  ScriptQueries(std::string_view input, std::string_view output, std::string file);

  std::size_t size() const override { return queries_.size(); }
  std::string title(std::size_t i) const override;
  std::string short_name(std::size_t i) const override;
  bool is_trivial(std::size_t i) const override { return queries_[i].trivial; }
  std::string script(std::size_t i, Form form) const override;

 private:
  struct Declaration {
    std::string text;
    std::vector<std::uint32_t> uses;  // of earlier declarations, or of itself
  };
  struct Query {
    std::string subject;
    std::size_t line;
    bool trivial;
    bool named;                 // the terms have names; of others the sort is not known
    std::string parameters;     // declared as constants
    std::string before, after;  // definitions of the names, or terms
    std::vector<std::uint32_t> uses_before, uses_after;
  };
  /// Two functions that must be equal, or two terms: without parameters, and perhaps without a known sort.
  struct Pair {
    std::string_view parameters_before = "()", parameters_after = "()";
    std::string_view sort_before = {}, sort_after = {};
    std::string before = {}, after = {};
  };
  /// Sorts and functions may have the same names.
  enum Space : std::uint8_t { functions, sorts };
  struct Undo {
    Space space;
    std::string name;
    std::optional<std::uint32_t> previous;
  };

  void read_commands(std::string_view output);
  void add_command(std::string_view before, std::string_view after);
  void add_definition(std::string_view before, std::string_view after);
  void add_term_list(std::string_view kind, std::string_view before, std::string_view after);
  void change_state(std::string_view kind, std::string_view command);
  void change_levels(std::string_view kind, std::string_view command);
  void forget_all();

  void declare(Space space, const std::vector<std::string_view>& names, std::string text);
  void ask(std::string subject, const Pair& pair);
  std::string application(const Pair& pair, std::string& text) const;
  std::vector<std::uint32_t> uses_of(std::string_view text) const;

  std::string_view input_;
  std::string file_;
  const char* line_start_;  // of the line on which the last command began that was looked at
  std::size_t line_ = 1;
  std::size_t num_assertions_ = 0;

  StandaloneTerms before_terms_, after_terms_;
  std::vector<Declaration> declarations_;
  std::map<std::string, std::uint32_t, std::less<>> names_[2];
  std::vector<std::vector<Undo>> levels_;
  bool global_declarations_ = false;
  std::vector<Query> queries_;
};

}  // namespace quarv::cli
