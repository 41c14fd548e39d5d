// A cache of a solver's answers, by the canonical form of the query. Three keys are compared on a generated
// exploration: the query as it is written; the normal form of the conditions that matter; and that form with
// the constants named in the order in which they occur. All hits are checked with z3.
//
// Build with -lz3.
#include <array>
#include <iostream>
#include <stdexcept>
#include <unordered_map>
#include <z3++.h>

#include "exploration.h"
#include "term_machine.h"
#include <quarv/smtlib.h>

namespace {

using quarv::Term;

struct Cache {
  const char* key;
  std::unordered_map<std::string, bool> answers{};
  std::size_t hits = 0;

  /// Remembers an answer, or checks the one that is remembered.
  void meet(const std::string& query, bool answer) {
    const auto [known, is_new] = answers.try_emplace(query, answer);
    if (!is_new) ++hits;
    if (known->second != answer) throw std::runtime_error("the cache is wrong");
  }
};

class Caching : public exploration::TermMachine {
 public:
  std::size_t num_queries = 0;
  std::array<Cache, 3> caches{{{"as written"}, {"normal form"}, {"normal form, constants renamed"}}};

  bool can_hold(const Term* c) {
    ++num_queries;
    const std::string written = text(terms_.make_and(whole_path(), c));
    const bool answer = ask(written);
    const Term* normal = session_.simplify(terms_.make_and(related(c), c));
    caches[0].meet(written, answer);
    caches[1].meet(text(normal), answer);
    caches[2].meet(text(renamed(normal)), answer);
    return answer;
  }

 private:
  const Term* whole_path() {
    const Term* result = terms_.true_term;
    for (const Step& s : path_) result = terms_.make_and(result, s.condition);
    return result;
  }

  std::string text(const Term* t) { return quarv::smtlib::script_text(terms_, {&t, 1}); }

  /// Two formulas that differ in the names of their constants alone hold for some values, or neither does.
  const Term* renamed(const Term* t) {
    std::vector<const Term*> in_order;
    quarv::visit_post_order(terms_, t, [&](const Term* part) {
      if (terms_.arity(part) == 0 && terms_.type_of(part) != terms_.bool_type &&
          terms_.get_number(part) == nullptr) {
        in_order.push_back(part);
      }
    });
    quarv::Substitution names(terms_);
    for (std::size_t i = 0; i < in_order.size(); ++i) {
      names.set(in_order[i], session_.constant("v" + std::to_string(i), terms_.type_of(in_order[i])));
    }
    return session_.simplify(session_.substitute(t, names));
  }

  static bool ask(const std::string& script) {
    z3::context context;
    z3::solver solver(context, "QF_BV");
    solver.from_string(script.c_str());
    return solver.check() == z3::sat;
  }
};

}  // namespace

int main() {
  try {
    Caching machine;
    std::size_t paths = 0;
    for (const unsigned seed : {2U, 3U, 4U, 7U, 8U}) {
      const std::vector<exploration::Statement> program = exploration::generate(seed, 10);
      paths += exploration::Explorer<Caching>(machine, program).run();
    }
    std::cout << paths << " paths, " << machine.num_queries << " queries\n";
    for (const Cache& c : machine.caches) std::cout << c.key << ": " << c.hits << " hits\n";
  } catch (const z3::exception& e) {
    std::cerr << e << '\n';
    return 1;
  } catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
  }
}
