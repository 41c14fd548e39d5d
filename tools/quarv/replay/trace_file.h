#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <gmpxx.h>

/// Traces as they are read back: terms of their own that share nothing with those of the library, so that
/// what is found out about a trace does not rest on the code that wrote it.
namespace quarv::cli {

class Json;

/// A line that is not one of a trace. `what()` reads "file:line: error: reason".
class TraceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using TermName = std::uint64_t;

struct TraceSort {
  enum Kind : std::uint8_t {
    boolean,
    integer,
    real,
    bit_vector,
    floating_point,
    rounding_mode,
    array,
    other,
    refused  ///< what was said of it made no sense; there is no term of it
  };
  Kind kind = other;
  std::string name;               ///< "(_ BitVec 8)"; of an array or another applied sort, the constructor
  std::vector<std::size_t> args;  ///< of an applied sort
  std::size_t width = 0;          ///< of a bit-vector; the exponent's of a floating-point sort
  std::size_t significand = 0;    ///< of a floating-point sort, with the hidden bit
  std::size_t depth = 0;          ///< how deep sorts are nested in it
};

/// An operator on named terms.
struct Expression {
  enum Kind : std::uint8_t { operation, function, value };
  Kind kind = operation;
  std::string op;                       ///< "extract", without indices; a function's name
  std::vector<std::string> indices;     ///< "7", "0"
  std::vector<TermName> variables;      ///< of a quantifier
  std::vector<std::string> attributes;  ///< of an annotation
  std::uint64_t copy = 0;               ///< tells apart functions, and variables, of one name and sort
  std::size_t sort = 0;
  std::vector<TermName> args;
  mpq_class number;  ///< of a value

  /// An operator on so many arguments.
  bool is(std::string_view name, std::size_t arity) const {
    return kind == operation && op == name && args.size() == arity;
  }
  /// The operator with its indices, arguments and what else tells it from others, but for the sort.
  std::string key() const;
};

struct TraceStep {
  std::uint64_t number = 0;
  std::uint64_t assertion = 0;
  std::uint64_t rule = 0;  ///< from 1; 0 for a simplifier
  std::string rule_label;  ///< the rule's name; of a rule without one, and of older traces, its number
  std::string label;       ///< the simplifier's operator, the rule's text
  Expression before;
  std::optional<TermName> before_name;  ///< of rules
  TermName after = 0;
  bool is_definition = false;   ///< `before` is what the definition of its function says
  std::vector<TermName> binds;  ///< then: variables of quantifiers in what it says
};

/// A function with parameters that a script defines.
struct TraceDefinition {
  Expression function;  ///< without arguments
  std::vector<TermName> parameters;
  std::vector<TermName> binds;  ///< variables of quantifiers in the body
  TermName body = 0;
};

/// The text on one line, at most about `limit` bytes of it.
std::string printable(std::string_view text, std::size_t limit);

/// One of several traces that stand one after the other in a file.
struct TracePart {
  std::string_view text;
  std::size_t lines_before = 0;
};

/// A part begins with each line that says it is of a trace.
std::vector<TracePart> parts_of_trace(std::string_view text);

/// Reads a trace line by line. What it lets through makes sense: terms are well-sorted and older than what
/// they occur in, and one value has one name.
class TraceFile {
 public:
  /// `text` must outlive this. It begins after `lines_before` lines of the file.
  TraceFile(std::string_view text, std::string name, std::size_t lines_before = 0)
      : text_(text), name_(std::move(name)), line_(lines_before), lines_before_(lines_before) {}

  /// Reads the next step; false at the end. Throws TraceError for a line that makes no sense; the next
  /// call continues after it.
  bool next(TraceStep& step);

  /// Whether the text began as a trace does.
  bool has_begun() const noexcept { return has_begun_; }

  const Expression& term(TermName name) const { return terms_.at(name); }
  const TraceSort& sort(std::size_t name) const { return sorts_[name]; }
  const TraceSort& sort_of(TermName name) const { return sorts_[term(name).sort]; }
  const std::vector<TraceSort>& sorts() const { return sorts_; }
  /// All terms defined so far, in the order of their definitions.
  const std::vector<TermName>& names() const { return names_; }

  /// The terms that the assertions read so far became.
  const std::vector<TermName>& assertions() const { return assertions_; }

  /// The functions that have been defined so far.
  const std::vector<TraceDefinition>& definitions() const { return definitions_; }

 private:
  [[noreturn]] void fail(const std::string& reason) const;
  std::uint64_t read_number(const Json& number) const;
  void read_sort(const Json& line);
  TraceSort understood_sort(std::string name, std::vector<std::size_t> args) const;
  void read_term(const Json& line);
  mpq_class read_value(const std::string& text) const;
  Expression read_expression(const Json& line) const;
  bool is_well_sorted(const Expression& e) const;
  TermName read_name(const Json& name) const;
  std::vector<TermName> read_names(const Json& line, const char* key) const;
  void read_definition(const Json& line);
  bool read_line(const Json& line, TraceStep& step);

  std::string_view text_;
  std::string name_;
  std::size_t line_;
  std::size_t lines_before_;
  bool has_begun_ = false;
  std::vector<TraceSort> sorts_;
  std::unordered_set<std::string> sort_keys_;
  std::unordered_set<std::string> value_keys_;
  std::unordered_map<TermName, Expression> terms_;
  std::vector<TermName> names_;
  std::vector<TermName> assertions_;
  std::vector<TraceDefinition> definitions_;
};

}  // namespace quarv::cli
