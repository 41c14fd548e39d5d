// What a script keeps of the text that it was read from.
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <quarv/smtlib/read/reader.h>
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/write/printer.h>
#include <quarv/smtlib/write/script_text.h>

namespace quarv::smtlib {
namespace {

template <class Text>
concept TextInput = requires(Reader& reader, Text&& whole_text) {
  reader.set_input(std::forward<Text>(whole_text), "in.smt2");
};
static_assert(TextInput<const char*> && TextInput<std::string_view> && TextInput<std::string&> &&
              TextInput<const std::string&>);
static_assert(!TextInput<std::string>, "the text would be gone when it is read");

const std::string whole_text =
    "(set-logic ALL)\n(set-info :source |a text of some length|)\n(declare-fun f (Int Int Int Int Int) "
    "Bool)\n"
    "(push 1)\n(define-fun g ((x Int)) Bool (f x x x x x))\n(assert (g 1))\n(pop 1)\n(check-sat)\n";

std::string printed(const TermManager& manager, const Script& script) {
  std::ostringstream out;
  print(manager, script, out);
  return std::move(out).str();
}

/// A copy in memory that has other contents before long.
std::string overwritten(std::string& copy) {
  copy.assign(copy.size(), '?');
  return copy;
}

TEST(ScriptText, OutlivesTheInput) {
  Session session;
  const Script from_temporary = Reader(session).read(std::string(whole_text), "in.smt2");
  EXPECT_EQ(printed(session.manager(), from_temporary), whole_text);

  Session other;
  std::string local = whole_text;
  const Script script = Reader(other).read(local, "in.smt2");
  overwritten(local);
  EXPECT_EQ(printed(other.manager(), script), whole_text);
}

TEST(ScriptText, OutlivesTheReader) {
  Session session({.simplify = false});
  std::string local = whole_text;
  const Script script = Reader(session).read(local, "in.smt2");
  overwritten(local);
  EXPECT_EQ(printed(session.manager(), script), whole_text);
}

TEST(ScriptText, IsNotCopiedInPlace) {
  Session session;
  const Script script = Reader(session).read_in_place(whole_text, "in.smt2");
  EXPECT_EQ(script.commands[0].text.data(), whole_text.data());
  EXPECT_EQ(printed(session.manager(), script), whole_text);
}

TEST(ScriptText, ScriptsOfSeveralReadersKeepAll) {
  Session session({.simplify = false});
  Script script;
  for (const char* name : {"p", "q"}) {
    Reader reader(session);
    std::string command = "(declare-const " + std::string(name) + " Bool)";
    reader.set_input(command, "in.smt2");
    EXPECT_TRUE(reader.next_command(script));
    overwritten(command);
  }
  EXPECT_EQ(printed(session.manager(), script), "(declare-const p Bool)\n(declare-const q Bool)\n");
}

/// As the interfaces of C and Python print terms.
TEST(ScriptText, SaysWhichOfSeveralFunctionsOfOneNameIsMeant) {
  Session session;
  Reader reader(session, {.names = ReaderOptions::Names::session});
  reader.read(
      "(declare-const x Int)(declare-fun f (Real) Int)(declare-fun f (Int) Int)"
      "(assert (= (f 1.0) 2))(assert (= (f 1) 3))(assert (= (f x) (f (to_real x))))",
      "in.smt2");
  const std::string text = script_text(session.manager(), session.assertions());
  EXPECT_NE(text.find("(declare-fun f (Real) Int)\n"), std::string::npos) << text;
  EXPECT_NE(text.find("(declare-fun f (Int) Int)\n"), std::string::npos) << text;
  EXPECT_NE(text.find("(assert (= (f 1.0) 2))\n"), std::string::npos) << text;
  EXPECT_NE(text.find("(assert (= (f 1) 3))\n"), std::string::npos) << text;
  EXPECT_NE(text.find("(f (to_real x))"), std::string::npos) << text;
  const Term* of_real = session.assertions()[0]->args[0];
  Session other;
  Reader(other).read(text, "again.smt2");
  EXPECT_EQ(script_text(other.manager(), other.assertions()), text);
  EXPECT_EQ(reader.term("(f 1.0)"), of_real);
  EXPECT_NE(reader.term("(f 1)"), of_real);
}

}  // namespace
}  // namespace quarv::smtlib
