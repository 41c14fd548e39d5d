// Null pointers and what belongs to another session, given to sessions, readers and printers.
#include <functional>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/sort_errors.h"
#include <quarv/smtlib/composed.h>
#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/trace.h>
#include <quarv/smtlib/write/printer.h>
#include <quarv/smtlib/write/script_text.h>

namespace quarv::smtlib {
namespace {

class GivenPointers : public ::testing::Test {
 protected:
  Session session;
  TermManager& m = session.manager();
  Session other;
  const Term* p = session.constant("p", m.bool_type);
  const Term* foreign = other.constant("p", other.manager().bool_type);
};

TEST_F(GivenPointers, Terms) {
  Reader reader(session);
  const std::function<void(const Term*)> calls[] = {
      [&](const Term* t) { session.simplify(t); },
      [&](const Term* t) { session.normalize(t); },
      [&](const Term* t) { session.assert_formula(t); },
      [&](const Term* t) { session.substitute(t, Substitution(m)); },
      [&](const Term* t) { session.evaluate(t, Model(m)); },
      [&](const Term* t) { Model(m).set(t, p); },
      [&](const Term* t) { Model(m).set(p, t); },
      [&](const Term* t) {
        make_and(m, {p, t});
      },
      [&](const Term* t) {
        reader.make("and", {{p, t}});
      },
      [&](const Term* t) {
        reader.make("=", {{t, p}});
      },
      [&](const Term* t) {
        reader.make("ite", {{t, t, t}});
      },
      [&](const Term* t) {
        script_text(m, {&t, 1});
      },
      [&](const Term* t) {
        smallest_text(m, {&t, 1});
      },
  };
  for (const auto& call : calls) {
    const std::string null = error_of([&] { call(nullptr); }), mixed = error_of([&] { call(foreign); });
    EXPECT_TRUE(null.ends_with(" is a null pointer")) << null;
    EXPECT_TRUE(mixed.ends_with(" belongs to another manager")) << mixed;
  }
  EXPECT_TRUE(session.assertions().empty());
}

TEST_F(GivenPointers, TermsToPrint) {
  std::ostringstream out;
  EXPECT_EQ(error_of([&] { term_text(m, nullptr); }), "print: the term is a null pointer");
  EXPECT_EQ(error_of([&] { print_term(m, nullptr, out); }), "print: the term is a null pointer");
  Trace trace(m, session.simplifier().normalizer, out);
  EXPECT_EQ(error_of([&] { trace.define(nullptr); }), "trace: a term is a null pointer");
}

TEST_F(GivenPointers, SortsAndSymbols) {
  Reader reader(session);
  const std::function<void(const DataType*)> calls[] = {
      [&](const DataType* s) { session.constant("q", s); },
      [&](const DataType* s) {
        session.function("q", {&s, 1}, m.bool_type);
      },
      [&](const DataType* s) {
        session.declare_sort("q", {s, 0});
      },
      [&](const DataType* s) { reader.constant("q", s); },
  };
  for (const auto& call : calls) {
    EXPECT_EQ(error_of([&] { call(nullptr); }), "q: a sort is a null pointer");
    EXPECT_EQ(error_of([&] { call(other.manager().bool_type); }), "q: a sort belongs to another manager");
  }
  EXPECT_EQ(session.declared("q"), nullptr);
  EXPECT_EQ(session.declared_sort("q"), nullptr);
  const auto none = [](Model::Args) -> const Term* { return nullptr; };
  const Symbol* null = nullptr;
  EXPECT_EQ(error_of([&] { Model(m).set(null, none); }), "model: the symbol is a null pointer");
  EXPECT_EQ(error_of([&] {
              const DataType* sort = other.manager().bool_type;
              Model(m).set(other.function("f", {&sort, 1}, sort), none);
            }),
            "model: the symbol belongs to another manager");
}

}  // namespace
}  // namespace quarv::smtlib
