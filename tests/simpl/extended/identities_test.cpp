// Everyday identities over all theories: does each reach the form in which a person would write it?
#include "support/identities.h"

#include <cstddef>
#include <iostream>
#include <sstream>
#include <string>
#include <support/external_solver.h>
#include <vector>

#include <gtest/gtest.h>

#include "support/test_scale.h"
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/written_size.h>

namespace quarv {
namespace {

struct Output {
  std::string canonical;      // the normal form of `(P term)`
  std::size_t num_terms = 0;  // distinct terms of the smallest form
};

Output simplified(const IdentityTable& table, const std::string& sort, const std::string& term) {
  const std::string script =
      table.declarations + "(declare-fun P (" + sort + ") Bool)\n(assert (P " + term + "))\n";
  smtlib::SimplifyOptions options;
  options.smallest = false;
  options.sharing = smtlib::Sharing::none;
  std::ostringstream canonical;
  smtlib::simplify_script(script, "identity", canonical, options);
  options.smallest = true;
  std::ostringstream smallest;
  smtlib::simplify_script(script, "identity", smallest, options);
  const std::string text = canonical.str();
  return {text.substr(text.rfind("(assert ")), smtlib::written_size(smallest.str(), "identity")};
}

TEST(Identities, AreReached) {
  const IdentityTable table = read_identities();
  ASSERT_GE(table.identities.size(), 200u);
  std::size_t open = 0;
  for (const Identity& identity : one_in_when_sanitized(5, table.identities)) {
    const std::string sort = sort_of(table, identity.term);
    const Output found = simplified(table, sort, identity.term);
    const Output wanted = simplified(table, sort, identity.form);
    if (!identity.reached) ++open;
    const bool is_reached = found.canonical == wanted.canonical && found.num_terms <= wanted.num_terms;
    EXPECT_EQ(is_reached, identity.reached)
        << identity.term << "\n  becomes " << found.canonical << "\n  wanted  " << wanted.canonical
        << (identity.reached ? "" : "\n  which is reached now: take the mark away");
  }
  constexpr std::size_t not_reached_yet = 0;
  std::cout << table.identities.size() - open << " of " << table.identities.size() << " are reached\n";
  EXPECT_EQ(open, not_reached_yet);
}

/// No interpretation tells the two sides apart.
TEST(Identities, AreEqualities) {
  if (!has_program("z3")) GTEST_SKIP() << "z3 is not installed: nothing to ask";
  const IdentityTable table = read_identities();
  std::string script = table.declarations;
  for (const Identity& identity : table.identities) {
    // Some variables that are bound have to be eliminated first. No limit of time: that is another one on
    // each machine.
    const bool is_quantified = identity.term.find("(exists ") != std::string::npos ||
                               identity.term.find("(forall ") != std::string::npos;
    script += "(push)\n(assert (distinct " + identity.term + ' ' + identity.form + "))\n" +
              "(check-sat-using " + (is_quantified ? "(then qe smt)" : "smt") + ")\n(pop)\n";
  }
  const std::vector<std::string> answers = solver_output("z3 -in", script);
  ASSERT_EQ(answers.size(), table.identities.size());
  for (std::size_t i = 0; i < answers.size(); ++i) EXPECT_EQ(answers[i], "unsat") << table.identities[i].term;
}

}  // namespace
}  // namespace quarv
