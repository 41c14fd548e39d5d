#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>

#include <quarv/smtlib/read/assertions.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/term/declared_sorts.h>
#include <quarv/term/translation.h>
#include <quarv/util/checkpoint.h>

namespace quarv::smtlib {

namespace {

/// Declares in the session what occurs in some terms of its manager, whose symbols are one for each name and
/// sorts.
class Adoption {
 public:
  explicit Adoption(Session& session) : session_(session), m_(session.manager()) {}

  void adopt(const Term* root) {
    seen_.resize(m_.num_terms());
    std::vector<const Term*> pending{root};
    while (!pending.empty()) {
      Checkpoint::pass();
      const Term* t = pending.back();
      pending.pop_back();
      if (seen_[t->id]) continue;
      seen_[t->id] = true;
      adopt(t->symbol);
      const TermManager::Args args = m_.args_of(t);
      pending.insert(pending.end(), args.begin(), args.end());
      if (!m_.is_quantifier(t->symbol)) continue;
      for (const Term* v : m_.quantifier_variables(t->symbol)) adopt(m_.type_of(v));
    }
  }

 private:
  void adopt(const Symbol* s) {
    adopt(s->get_output_type());
    if (m_.get_tag(s) != SymbolTag::UF || m_.is_bound_variable(s)) return;
    std::vector<const DataType*> arguments;
    for (std::size_t i = 0; i < m_.arity(s); ++i) {
      arguments.push_back(m_.argument_type(s, i));
      adopt(arguments.back());
    }
    session_.function(s->name, arguments, s->get_output_type());
  }

  void adopt(const DataType* sort) {
    for_each_declared_sort(
        m_, sort,
        [this](const DataType* declared, std::size_t num_parameters) {
          std::string name = declared->to_string();
          if (name.starts_with('|')) name = name.substr(1, name.size() - 2);
          session_.declare_sort(name, {declared, num_parameters});
        },
        seen_sorts_);
  }

  Session& session_;
  TermManager& m_;
  std::vector<bool> seen_;
  std::set<const DataType*> seen_sorts_;
};

/// What the script asserts in the end; the session keeps nothing of it.
std::vector<const Term*> assertions_of(Session& session, std::string_view text, const std::string& file) {
  const Session::Place before = session.place();
  try {
    Reader reader(session, {.names = Reader::Options::Names::shared, .normalize = false});
    const Script script = reader.read_in_place(text, file);
    const bool defines = std::any_of(script.commands.begin(), script.commands.end(), [](const Command& c) {
      return c.kind == Command::Kind::define_function;
    });
    if (defines) {
      throw std::invalid_argument(file +
                                  ": functions with parameters are defined, which terms alone cannot say");
    }
  } catch (...) {
    session.return_to(before);
    throw;
  }
  const Session::Args own = session.assertions().subspan(before.formulas);
  std::vector<const Term*> assertions(own.begin(), own.end());
  session.return_to(before);
  return assertions;
}

}  // namespace

std::vector<const Term*> read_assertions(Session& session, std::string_view text, const std::string& file) {
  std::vector<const Term*> assertions = assertions_of(session, text, file);
  const Session::Place before = session.place();
  try {
    Adoption adoption(session);
    for (const Term* t : assertions) adoption.adopt(t);
  } catch (...) {
    session.return_to(before);
    throw;
  }
  return assertions;
}

const Term* translate(const TermManager& from, const Term* t, Session& to) {
  const Term* result = quarv::translate(from, t, to.manager());
  const Session::Place before = to.place();
  try {
    Adoption(to).adopt(result);
  } catch (...) {
    to.return_to(before);
    throw;
  }
  return result;
}

}  // namespace quarv::smtlib
