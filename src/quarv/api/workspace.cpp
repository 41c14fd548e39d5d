#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include <quarv/api/declared_sorts.h>
#include <quarv/api/named_operators.h>
#include <quarv/api/script_text.h>
#include <quarv/api/term_rebuilder.h>
#include <quarv/api/workspace.h>
#include <quarv/numbers/bv_number.h>
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/smtlib/error.h>
#include <quarv/smtlib/extra_rules.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/read/source_excerpt.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/strict_semantics.h>
#include <quarv/smtlib/write/printer.h>

namespace quarv {

using smtlib::Command;

namespace {

smtlib::ReaderOptions reader_options(const WorkspaceOptions& options) {
  smtlib::ReaderOptions result;
  result.canonical_nan = !options.standard;
  result.limit_growth = true;
  return result;
}

/// What rewriting does, as it is done. Terms must not be made meanwhile: what a simplifier was asked for is
/// kept in parts.
class Recorder : public SimplificationObserver {
 public:
  struct Event {
    std::size_t rule = 0;
    const Symbol* op = nullptr;
    std::vector<const Term*> args;  // of `op`; of a rule: the term before
    const Term* after;
  };
  std::vector<Event> events;

  void on_rule(std::size_t rule, const Term* before, const Term* after) override {
    events.push_back({rule + 1, nullptr, {before}, after});
  }
  void on_simplification(const Symbol* op, std::span<const Term* const> args, const Term* after) override {
    events.push_back({0, op, {args.begin(), args.end()}, after});
  }
};

/// Lets constructors use a simplifier for a while.
class Attached {
 public:
  Attached(TermManager& manager, TermSimplifier* simplifier)
      : manager_(manager), before_(manager.simplifier()) {
    manager.set_simplifier(simplifier);
  }
  ~Attached() { manager_.set_simplifier(before_); }
  Attached(const Attached&) = delete;
  Attached& operator=(const Attached&) = delete;

 private:
  TermManager& manager_;
  TermSimplifier* before_;
};

/// Tells both of the registry and of its normalizer's rules for a while.
class Observed {
 public:
  Observed(StdTermSimplifier& simplifier, SimplificationObserver& observer) : simplifier_(simplifier) {
    simplifier_.set_observer(&observer);
    simplifier_.normalizer.clear_cache();  // what is known already would not be told
  }
  ~Observed() { simplifier_.set_observer(nullptr); }
  Observed(const Observed&) = delete;
  Observed& operator=(const Observed&) = delete;

 private:
  StdTermSimplifier& simplifier_;
};

}  // namespace

struct Workspace::State {
  explicit State(const WorkspaceOptions& o) : options(o), names(manager, reader_options(o)) {
    termsimpl::register_standard_simplifications(&manager, &simplifier);
    if (!options.standard) strict.turn_off_unsound_rules();
    if (options.eager) manager.set_simplifier(active());
    operators.canonical_nan = !options.standard;
  }

  TermSimplifier* active() { return options.standard ? static_cast<TermSimplifier*>(&simplifier) : &strict; }
  smtlib::Script command(std::string_view before, std::string_view text, const char* what);
  const Symbol* declare(std::string_view name, Sorts arguments, const DataType* result);
  void declare_sorts_of(const DataType* sort);
  const Symbol* adopted(const Symbol* s);
  const Term* adopted(const Term* t);
  const Term* built(const Symbol* symbol, Args args);
  api::TermRebuilder rebuilder();
  const Term* simplified(const Term* t, api::TermRebuilder& rebuild);

  WorkspaceOptions options;
  TermManager manager;
  StdTermSimplifier simplifier;
  smtlib::StrictSemantics strict{simplifier};
  smtlib::Reader names;  // knows all declared names
  smtlib::OperatorContext operators{manager};
  std::unordered_map<std::string, const Symbol*> declared;
  api::TermRebuilder build{rebuilder()};  // under the active simplifier
};

Workspace::Workspace(const WorkspaceOptions& options) : state_(std::make_unique<State>(options)) {}
Workspace::~Workspace() = default;

TermManager& Workspace::manager() noexcept {
  return state_->manager;
}

StdTermSimplifier& Workspace::simplifier() noexcept {
  return state_->simplifier;
}

// Texts.
// ---------------------------------------------------------------------------------------------------------

/// Reads the one command `(before text)`. Faults are reported at their places in `text`.
smtlib::Script Workspace::State::command(std::string_view before, std::string_view text, const char* what) {
  const std::string whole = '(' + std::string(before) + std::string(text) + "\n)";
  smtlib::Script script;
  try {
    names.set_input(whole, what);
    names.next_command(script);
  } catch (const smtlib::Error& e) {
    const std::size_t shift = e.line() == 1 ? std::min(before.size() + 1, e.column() - 1) : 0;
    const smtlib::SourcePlace place{e.line(), e.column() - shift};
    throw smtlib::Error(what, place.line, place.column, e.message(), smtlib::source_excerpt(text, place));
  }
  return script;
}

const DataType* Workspace::sort(std::string_view text) {
  State& s = *state_;
  smtlib::Reader::check_expression(text, "sort");
  s.command("push ", "1", "level");
  const DataType* result = nullptr;
  try {
    // A name that no one else gives, for as long as the level is open.
    result = s.command("declare-const |a constant of the sort| ", text, "sort").sorts.at(0);
  } catch (...) {
    s.command("pop ", "1", "level");
    throw;
  }
  s.command("pop ", "1", "level");
  return result;
}

const Term* Workspace::term(std::string_view text) {
  smtlib::Reader::check_expression(text, "term");
  return state_->adopted(state_->command("simplify ", text, "term").terms.at(0));
}

std::string Workspace::text(const Term* t) const {
  std::ostringstream out;
  smtlib::print_term(state_->manager, t, out);
  return std::move(out).str();
}

std::string Workspace::script(Args assertions) const {
  return api::script_text(state_->manager, assertions);
}

std::size_t Workspace::num_nodes(Args terms) const {
  return smtlib::dag_size(state_->manager, terms);
}

// Names.
// ---------------------------------------------------------------------------------------------------------

const DataType* Workspace::declare_sort(std::string_view name, std::size_t num_parameters) {
  return state_->names.declare_sort(name, num_parameters);
}

const Symbol* Workspace::State::declare(std::string_view name, Sorts arguments, const DataType* result) {
  smtlib::Reader::check_name(name);  // a symbol's name would end at a zero byte
  const Symbol* symbol = manager.declare_fun(name, arguments, result);
  const auto [known, is_new] = declared.try_emplace(std::string(name), symbol);
  if (known->second != symbol) {
    throw std::invalid_argument(std::string(name) + " is declared with other sorts already");
  }
  if (!is_new) return symbol;
  try {
    // Scripts bring their own sorts, whose names mean the same from now on.
    for (const DataType* sort : arguments) declare_sorts_of(sort);
    declare_sorts_of(result);
    names.declare(symbol);
  } catch (...) {
    declared.erase(known);
    throw;
  }
  return symbol;
}

void Workspace::State::declare_sorts_of(const DataType* sort) {
  api::for_each_declared_sort(manager, sort,
                              [this](const DataType* declared_sort, std::size_t num_parameters) {
                                std::string name = declared_sort->to_string();
                                if (name.starts_with('|')) name = name.substr(1, name.size() - 2);
                                names.declare_sort(name, num_parameters);
                              });
}

const Term* Workspace::constant(std::string_view name, const DataType* sort) {
  return state_->manager.make_term(state_->declare(name, {}, sort));
}

const Symbol* Workspace::function(std::string_view name, Sorts arguments, const DataType* result) {
  return state_->declare(name, arguments, result);
}

/// A reader makes new symbols for what it declares; here a name is one symbol, whoever declares it.
const Symbol* Workspace::State::adopted(const Symbol* s) {
  if (manager.get_tag(s) != SymbolTag::UF || manager.is_bound_variable(s)) return s;
  std::vector<const DataType*> arguments;
  for (std::size_t i = 0; i < manager.arity(s); ++i) arguments.push_back(manager.argument_type(s, i));
  return declare(s->name, arguments, s->get_output_type());
}

const Term* Workspace::State::adopted(const Term* t) {
  hsh::HashMap<const Symbol*, const Symbol*> known;
  api::TermRebuilder rename(manager, api::TermRebuilder::Parts::all, [&](const Symbol* s, Args args) {
    const Symbol*& symbol = known[s];
    if (symbol == nullptr) symbol = adopted(s);
    return manager.make_term_unchecked(symbol, args);
  });
  return rename(t);
}

// Terms.
// ---------------------------------------------------------------------------------------------------------

const Term* Workspace::bit_vector(const QNumber& value, std::size_t width) {
  if (width > smtlib::max_width)
    throw SortError("BitVec: " + std::to_string(width) + " bits are not supported");
  if (!value.is_integer()) throw SortError("BitVec: " + value.to_string() + " is no integer");
  QNumber modulus;
  BVNumber::pow2(width, &modulus);
  QNumber quotient;
  QNumber rest = value;
  if (value.sign() < 0 || value >= modulus) value.divmod(modulus, quotient, rest);
  if (rest.sign() < 0) rest += modulus;
  return state_->manager.make_bv_number(rest, width);
}

const Term* Workspace::make(std::string_view op, Args args) {
  State& s = *state_;
  constexpr std::string_view constant_array = "(as const ";
  if (op.starts_with(constant_array) && op.ends_with(')')) {
    const std::string wrong = smtlib::wrong_number_of_arguments("as const", args.size(), 1, 1);
    if (!wrong.empty()) throw std::invalid_argument(wrong);
    const std::string_view text = op.substr(constant_array.size(), op.size() - constant_array.size() - 1);
    return s.manager.make_array_const(sort(text), args[0]);
  }
  const auto function = s.declared.find(std::string(op));
  if (function != s.declared.end()) {
    const std::size_t arity = s.manager.arity(function->second);
    const std::string wrong = smtlib::wrong_number_of_arguments(op, args.size(), arity, arity);
    if (!wrong.empty()) throw std::invalid_argument(wrong);
    return s.manager.make_term(function->second, args);
  }
  return api::apply_operator(s.operators, api::split_operator(op), args);
}

std::vector<const Term*> Workspace::parse(std::string_view text, const std::string& file) {
  State& s = *state_;
  smtlib::Reader reader(s.manager, reader_options(s.options));
  const smtlib::Script script = reader.read_in_place(text, file);
  std::vector<const Term*> assertions;
  std::vector<std::size_t> levels;
  for (const Command& c : script.commands) {
    switch (c.kind) {
      case Command::Kind::assertion:
        assertions.push_back(script.terms_of(c)[0]);
        break;
      case Command::Kind::push:
        levels.insert(levels.end(), c.levels, assertions.size());
        break;
      case Command::Kind::pop:
        if (c.levels == 0) break;
        assertions.resize(levels[levels.size() - c.levels]);
        levels.resize(levels.size() - c.levels);
        break;
      case Command::Kind::reset:
      case Command::Kind::reset_assertions:
        assertions.clear();
        levels.clear();
        break;
      case Command::Kind::define_function:
        throw std::invalid_argument(file +
                                    ": functions with parameters are defined, which terms alone cannot say");
      default:
        break;
    }
  }
  for (const Term*& t : assertions) t = s.adopted(t);
  return assertions;
}

// Simplification.
// ---------------------------------------------------------------------------------------------------------

void Workspace::add_rules(std::string_view text, const std::string& file) {
  smtlib::register_rule_file({file, std::string(text)}, state_->simplifier.normalizer);
}

/// Operators that are known by name alone, because no simplifier was there when they were built, may be
/// expressed by others.
const Term* Workspace::State::built(const Symbol* symbol, Args args) {
  if (manager.get_tag(symbol) == SymbolTag::OPAQUE) {
    const api::OperatorText op = api::split_operator(symbol->name);
    if (api::is_operator(op.name)) return api::apply_operator(operators, op, args);
  }
  return manager.make_term_unchecked(symbol, args);
}

api::TermRebuilder Workspace::State::rebuilder() {
  return {manager, api::TermRebuilder::Parts::rewritable,
          [this](const Symbol* symbol, Args args) { return built(symbol, args); }};
}

/// Rules that distribute one operation over others make a tower of such operations exponentially larger.
const Term* Workspace::State::simplified(const Term* t, api::TermRebuilder& rebuild) {
  constexpr std::uint64_t many_steps = 1000;
  const Attached attached(manager, active());
  const std::size_t terms_before = manager.num_terms();
  const Term* built = rebuild(t);
  if (manager.num_terms() - terms_before > many_steps &&
      smtlib::dag_size(manager, {&built, 1}) > 2 * smtlib::dag_size(manager, {&t, 1})) {
    return t;
  }
  if (!options.rules) return built;
  const std::uint64_t before = simplifier.normalizer.statistics().applied;
  const Term* normal = simplifier.normalizer.normalize(&manager, built);
  if (simplifier.normalizer.statistics().applied - before < many_steps) return normal;
  const bool grown = smtlib::dag_size(manager, {&normal, 1}) > 2 * smtlib::dag_size(manager, {&built, 1});
  return grown ? built : normal;
}

const Term* Workspace::simplify(const Term* t) {
  return state_->simplified(t, state_->build);
}

const Term* Workspace::simplify(const Term* t, std::vector<Step>& steps) {
  State& s = *state_;
  Recorder recorder;
  const Term* result = nullptr;
  {
    const Observed observed(s.simplifier, recorder);
    api::TermRebuilder rebuild = s.rebuilder();
    result = s.simplified(t, rebuild);
  }
  for (const Recorder::Event& e : recorder.events) {
    if (e.rule != 0) {
      steps.push_back(
          {e.rule, s.simplifier.normalizer.get_rule(e.rule - 1).get_signature(), e.args[0], e.after});
    } else {
      const SymbolTag::tag tag = s.manager.get_tag(e.op);
      const char* name = tag == SymbolTag::UF ? e.op->name : SymbolTag::name(tag);
      steps.push_back({0, name, s.manager.do_make_term(e.op, e.args), e.after});
    }
  }
  return result;
}

}  // namespace quarv
