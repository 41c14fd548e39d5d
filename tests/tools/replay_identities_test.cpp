/// \file
/// What the simplifiers make of everyday identities is understood by the checker, which shares nothing with
/// them.
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "program_fixture.h"
#include "support/identities.h"
#include "support/test_scale.h"

namespace {

class ReplayIdentities : public Program {};

/// Each stands alone, so that none decides another.
TEST_F(ReplayIdentities, AreAllJustified) {
  const quarv::IdentityTable table = quarv::read_identities();
  std::string commands;
  std::set<std::string> sorts;
  std::size_t number = 0;
  for (const quarv::Identity& identity : quarv::one_in_when_sanitized(5, table.identities)) {
    const std::string sort = sort_of(table, identity.term);
    sorts.insert(sort);
    commands += "(push)\n(assert (|P " + sort + "| " + identity.term + "))\n(pop)\n";
    ++number;
  }
  std::string script = table.declarations;
  for (const std::string& sort : sorts) script += "(declare-fun |P " + sort + "| (" + sort + ") Bool)\n";
  write("identities.smt2", script + commands);
  const Result simplified = run("$quarv simplify identities.smt2 -o out.smt2 --trace trace");
  ASSERT_EQ(simplified.status, 0) << simplified.err;
  const Result result = run("$quarv replay trace");
  EXPECT_EQ(result.status, 0) << result.out;
  const std::string n = std::to_string(number);
  EXPECT_NE(result.out.find(n + " assertions, " + n + " in the output: " + n + " shown"), std::string::npos)
      << result.out;
}

}  // namespace
