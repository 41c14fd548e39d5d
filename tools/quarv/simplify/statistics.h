#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "io/json.h"
#include <quarv/rules/simplification_observer.h>
#include <quarv/rules/term_normalizer.h>

namespace quarv::cli {

/// Counts what was simplified, by operator, and which rules were applied.
class Counter : public SimplificationObserver {
 public:
  void on_rule(std::size_t rule, const Term* before, const Term* after) override;
  void on_simplification(const Symbol* op, std::span<const Term* const> args, const Term* after) override;
  void on_definition(const Symbol* f, std::span<const Term* const> args,
                     std::span<const Term* const> variables, const Term* after) override;

  std::uint64_t by_tag[SymbolTag::count] = {};
  std::map<std::string, std::uint64_t, std::less<>>
      by_word;                                   ///< quantifiers, and "definition" for what definitions say
  std::map<std::size_t, std::uint64_t> by_rule;  ///< rules count from 0
  std::vector<std::string> rule_labels;          ///< what they are called
};

/// What one run of the program did.
struct Statistics {
  std::size_t terms_before = 0;  ///< distinct sub-terms of the input as it is written
  std::size_t terms_after = 0;   ///< the same of the output
  std::size_t bytes_before = 0;
  std::size_t bytes_after = 0;
  std::size_t rounds = 1;          ///< how often the text was simplified until it did not change any more
  std::size_t passed_through = 0;  ///< commands that were not understood
  double read_seconds = 0;         ///< reading and building unsimplified terms
  double simplify_seconds = 0;     ///< what reading with simplification takes longer
  double print_seconds = 0;
  std::uint64_t peak_memory = 0;  ///< bytes, resident
  Counter counts;
};

/// The largest resident size of this process so far, in bytes.
std::uint64_t peak_memory();

/// For people.
std::string as_text(const Statistics& statistics);

/// Keys: "terms" {"before", "after"}, "simplifications" (by operator), "rules"
/// (by name; those without one by number, from 1 in registration order), "passed_through" (where any),
/// "rounds", "seconds" {"read", "simplify", "print"}, "peak_memory_bytes".
Json as_object(const Statistics& statistics);

/// The same on one line.
std::string as_json(const Statistics& statistics);

}  // namespace quarv::cli
