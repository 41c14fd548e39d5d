#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include <quarv/export.h>
#include <quarv/rules/simplification_observer.h>
#include <quarv/rules/term_normalizer.h>
#include <quarv/session/session.h>
#include <quarv/smtlib/script.h>
#include <quarv/smtlib/write/term_writer.h>
#include <quarv/term/term_manager.h>

namespace quarv::smtlib {

/// Writes down every step of simplification as it is done, one JSON object a line, so that it can be looked
/// at, replayed and checked by other programs.
///
/// Terms and sorts are named by numbers. Each is defined once, by a line of its own before the first line
/// that refers to it, so that the size of a trace is linear in the work done. A term's number is its creation
/// number: an older term has a smaller one, which is what the rules' condition `prec` asks for.
///
///     {"trace":"quarv","version":1}
///     {"sort":0,"name":"(_ BitVec 8)"}
///     {"sort":1,"name":"Array","args":[0,0]}
///     {"term":7,"fun":"x","sort":0}                       a declared constant, or a variable
///     {"term":8,"value":"255","sort":0}                   a number; literals by their unsigned encoding
///     {"term":9,"op":"(_ extract 7 0)","sort":0,"args":[7]}
///     {"step":1,"assertion":1,"simplifier":"bvadd","op":"bvadd","sort":0,"args":[8,8],"after":12}
///     {"step":2,"assertion":1,"rule":17,"name":"bvadd-zero","signature":"rewrite(...","before":13,"after":7}
///     {"assertion":1,"term":20}
///     {"term":7,"fun":"a","parameter":1,"sort":0}
///     {"definition":1,"fun":"f","sort":0,"parameters":[7],"term":9}
///     {"step":3,"assertion":2,"simplifier":"definition","fun":"f","sort":0,"args":[8],"after":12}
///
/// A declared function that has the name and sort of another one, which it shadows, has a "copy" number from
/// 1, a variable of a quantifier a "variable" number from 0. A quantifier lists its "variables", an
/// annotation its "attributes". What a simplifier was asked for, `op(args)`, need not exist as a term, and is
/// written out in the step. Steps made for a definition are counted with the assertion that follows. A
/// formula in `check-sat-assuming` that is not a literal is an assertion here. A definition, whose number its
/// parameters have, is that of a function with parameters; "binds" lists the variables that quantifiers bind
/// in it, and in a step those that took their places. "simplifier" is the operator's name, rules count from
/// 1; a rule without a name has no "name". Bytes that are not UTF-8 appear as the characters of the same
/// number.
///
/// What the program writes has four parts or more, each a trace of its own, whose first lines say "part": how
/// the input was simplified, the input as it is written, how the output is simplified, the output as it is
/// written. Before those of the output there are two more, "between", for each text that a round printed and
/// the next one made smaller. What is written has no steps. So whoever reads it can tie each assertion of the
/// output to that of the input.
///
/// Tracing changes no result: nothing is interned for it.
class QUARV_API Trace : public SimplificationObserver {
 public:
  /// `rules` gives the rules their signatures. `also`, which may be null, is told of everything too. `part`
  /// says which part of several this is.
  Trace(const TermManager& manager, const TermNormalizer& rules, std::ostream& out,
        SimplificationObserver* also = nullptr, std::string_view part = {});

  void on_rule(std::size_t rule, const Term* before, const Term* after) override;
  void on_simplification(const Symbol* op, std::span<const Term* const> args, const Term* after) override;
  void on_parameters(std::span<const Term* const> parameters) override;
  void on_definition(const Symbol* f, std::span<const Term* const> args,
                     std::span<const Term* const> variables, const Term* after) override;

  /// To be called when a command of the script has been read: `script` ends in it. `literals`: those of
  /// `check-sat-assuming` count, too.
  void command_read(const Script& script, bool literals = false);

  /// Defines a term and all that occurs in it, unless that has been done. \throws SortError for a null
  /// pointer
  void define(const Term* t);

  /// Writes out what is buffered. Throws std::runtime_error when the stream fails.
  void finish() { out_.flush(); }

 private:
  void define_one(const Term* t);
  std::size_t define_sort(const DataType* type);
  void begin_step();
  void end_step(const Symbol* op, std::span<const Term* const> args, std::span<const Term* const> binds,
                const Term* after);
  void put_definition(const Script& script, const Script::DefinedFunction& f);
  void put_head(const Symbol* s);
  void put_attributes(const Symbol* s);
  void put_list(std::string_view key, std::span<const Term* const> terms);
  void put_string(std::string_view text);
  void put_number(std::string_view key, std::uint64_t n);
  std::size_t copy_of(const Symbol* s, std::size_t sort);

  const TermManager& manager_;
  const TermNormalizer& rules_;
  OutputBuffer out_;
  SimplificationObserver* also_;
  std::vector<bool> defined_;  // by id
  std::vector<const Term*> pending_;
  std::ostringstream head_;  // scratch
  std::unordered_map<const Symbol*, std::size_t> copies_;
  std::unordered_map<const Symbol*, std::uint64_t> parameters_;                     // the definition's number
  std::map<std::tuple<std::string, std::size_t, std::size_t>, std::size_t> names_;  // how many of each
  std::map<const DataType*, std::size_t> sorts_;                                    // searched, never walked
  std::vector<std::string> signatures_;                                             // as they stand in a line
  std::uint64_t steps_ = 0;
  std::uint64_t assertions_ = 0;
  std::uint64_t definitions_ = 0;
};

/// Reads a script in a session of its own, and traces that. `lenient`: see ReaderOptions; `literals`: see
/// Trace::command_read. Throws InputError.
QUARV_API void trace_script(std::string_view text, const std::string& file, const SessionOptions& options,
                            std::ostream& out, std::string_view part = {}, bool lenient = false,
                            bool literals = false);

}  // namespace quarv::smtlib
