/// \file
/// Each operator with arguments and indices that do not fit it: the message names the operator as it was
/// written and the place of what is at fault, whatever other operators it is made of.
#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/test_scale.h"
#include <quarv/simpl/register_standard_simplifications.h>
#include <quarv/simpl/std_term_simplifier.h>
#include <quarv/smtlib/read/operators.h>
#include <quarv/smtlib/read/reader.h>

namespace quarv::smtlib {
namespace {

struct Constant {
  const char* name;
  const char* sort;
  const char* kind;
};

/// One constant or more of each kind of sort; what has another kind than an argument is refused in its place.
constexpr Constant constants[] = {{"p", "Bool", "Bool"},
                                  {"i", "Int", "number"},
                                  {"r", "Real", "number"},
                                  {"x", "(_ BitVec 8)", "bit-vector"},
                                  {"y", "(_ BitVec 4)", "bit-vector"},
                                  {"s", "(_ BitVec 1)", "bit-vector"},
                                  {"b", "(_ BitVec 16)", "bit-vector"},
                                  {"f", "(_ FloatingPoint 5 11)", "float"},
                                  {"g", "(_ FloatingPoint 8 24)", "float"},
                                  {"m", "RoundingMode", "mode"},
                                  {"a", "(Array Int Bool)", "array"},
                                  {"w", "W", "W"},
                                  // Literals, which are folded before sorts are looked at closely.
                                  {"#x01", "(_ BitVec 8)", "bit-vector"},
                                  {"7", "Int", "number"},
                                  {"2.5", "Real", "number"},
                                  {"RNE", "RoundingMode", "mode"},
                                  {"true", "Bool", "Bool"},
                                  {"(fp #b0 #b00001 #b0000000000)", "(_ FloatingPoint 5 11)", "float"}};

const Constant& constant(const std::string& name) {
  for (const Constant& c : constants) {
    if (name == c.name) return c;
  }
  throw std::logic_error(name);
}

struct Row {
  std::string name;
  std::vector<std::string> args;  ///< that fit
  std::vector<std::string> indices = {};
  std::size_t least = 0;    ///< arguments; 0: as many as there are in `args`
  bool any_number = false;  ///< the last one may be repeated
};

std::vector<Row> rows() {
  std::vector<Row> rows = {
      {"not", {"p"}},
      {"and", {"p", "p"}, {}, 1, true},
      {"or", {"p", "p"}, {}, 1, true},
      {"=>", {"p", "p"}, {}, 2, true},
      {"xor", {"p", "p"}, {}, 2, true},
      {"=", {"x", "x"}, {}, 2, true},
      {"distinct", {"x", "x"}, {}, 2, true},
      {"ite", {"p", "x", "x"}},
      {"+", {"i", "i"}, {}, 1, true},
      {"-", {"i", "i"}, {}, 1, true},
      {"*", {"i", "i"}, {}, 1, true},
      {"/", {"r", "r"}, {}, 2, true},
      {"div", {"i", "i"}, {}, 2, true},
      {"mod", {"i", "i"}},
      {"abs", {"i"}},
      {"<=", {"i", "i"}, {}, 2, true},
      {"<", {"i", "i"}, {}, 2, true},
      {">=", {"i", "i"}, {}, 2, true},
      {">", {"i", "i"}, {}, 2, true},
      {"to_real", {"i"}},
      {"to_int", {"r"}},
      {"is_int", {"r"}},
      {"divisible", {"i"}, {"3"}},
      {"select", {"a", "i"}},
      {"store", {"a", "i", "p"}},
      {"concat", {"x", "y"}, {}, 2, true},
      {"extract", {"x"}, {"0", "0"}},
      {"int2bv", {"i"}, {"8"}},
      {"int_to_bv", {"i"}, {"8"}},
      {"fp", {"s", "x", "y"}},
      {"fp.fma", {"m", "f", "f", "f"}},
      {"fp.sqrt", {"m", "f"}},
      {"fp.roundToIntegral", {"m", "f"}},
      {"to_fp", {"m", "f"}, {"8", "24"}, 1},
      {"to_fp_unsigned", {"m", "x"}, {"8", "24"}},
      {"fp.to_ubv", {"m", "f"}, {"8"}},
      {"fp.to_sbv", {"m", "f"}, {"8"}},
  };
  for (const char* name :
       {"bvnot", "bvneg", "bvredor", "bvredand", "bvnego", "bv2nat", "ubv_to_int", "sbv_to_int"})
    rows.push_back({name, {"x"}});
  for (const char* name : {"zero_extend", "sign_extend", "rotate_left", "rotate_right", "repeat"})
    rows.push_back({name, {"x"}, {"3"}});
  for (const char* name : {"bvand", "bvor", "bvxor", "bvadd", "bvmul", "bvsub", "bvxnor", "bvult", "bvule",
                           "bvugt", "bvuge", "bvslt", "bvsle", "bvsgt", "bvsge"})
    rows.push_back({name, {"x", "x"}, {}, 2, true});
  for (const char* name : {"bvudiv",  "bvurem",          "bvsdiv",           "bvsrem",  "bvsmod",
                           "bvshl",   "bvlshr",          "bvashr",           "bvnand",  "bvnor",
                           "bvcomp",  "ext_rotate_left", "ext_rotate_right", "bvuaddo", "bvsaddo",
                           "bvumulo", "bvsmulo",         "bvusubo",          "bvssubo", "bvsdivo"})
    rows.push_back({name, {"x", "x"}});
  for (const char* name : {"fp.abs", "fp.neg", "fp.isNormal", "fp.isSubnormal", "fp.isZero", "fp.isInfinite",
                           "fp.isNaN", "fp.isNegative", "fp.isPositive", "fp.to_real", "fp.to_ieee_bv"})
    rows.push_back({name, {"f"}});
  for (const char* name : {"fp.add", "fp.sub", "fp.mul", "fp.div"}) rows.push_back({name, {"m", "f", "f"}});
  for (const char* name : {"fp.rem", "fp.min", "fp.max"}) rows.push_back({name, {"f", "f"}});
  for (const char* name : {"fp.leq", "fp.lt", "fp.geq", "fp.gt", "fp.eq"})
    rows.push_back({name, {"f", "f"}, {}, 2, true});
  return rows;
}

/// An application, and where its parts are in its text.
struct Application {
  std::string text;
  std::vector<std::size_t> indices;
  std::vector<std::size_t> args;

  Application(const std::string& name, const std::vector<std::string>& index_texts,
              const std::vector<std::string>& arg_texts)
      : text(index_texts.empty() ? "(" + name : "((_ " + name) {
    for (const std::string& index : index_texts) {
      indices.push_back(text.size() + 1);
      text += ' ' + index;
    }
    if (!index_texts.empty()) text += ')';
    for (const std::string& arg : arg_texts) {
      args.push_back(text.size() + 1);
      text += ' ' + arg;
    }
    text += ')';
  }
};

class OperatorErrors : public ::testing::TestWithParam<bool> {
 protected:
  /// "no error", or the message with the place in `application`, from 0: "12: bvadd: ..."
  static std::string error_of(const std::string& application) {
    std::string text = "(declare-sort W 0)";
    for (const Constant& c : constants) {
      if (c.name[1] == '\0' && c.name[0] > '9')
        text += std::string("(declare-const ") + c.name + ' ' + c.sort + ')';
    }
    text += "\n(simplify\n" + application + ")";
    Session session({.simplify = false});
    TermManager& manager = session.manager();
    StdTermSimplifier simplifier;
    termsimpl::register_standard_simplifications(&manager, &simplifier);
    if (GetParam()) manager.set_simplifier(&simplifier);
    try {
      Reader(session).read(text, "");
      return "no error";
    } catch (const InputError& e) {
      EXPECT_EQ(e.line(), 3u) << e.what();
      return std::to_string(e.column() - 1) + ": " + e.message();
    }
  }

  static std::string expected(std::size_t place, const std::string& message) {
    return std::to_string(place) + ": " + message;
  }
};

std::string counted(std::size_t n, const char* one, const char* many) {
  return std::to_string(n) + ' ' + (n == 1 ? one : many);
}

TEST_P(OperatorErrors, TheTestKnowsEveryOperator) {
  std::multiset<std::string> known;
  for (const Row& row : rows()) known.insert(row.name);
  std::multiset<std::string> there;
  for (const auto& table : all_operators()) {
    for (const OperatorDefinition& op : table) there.insert(std::string(op.name));
  }
  EXPECT_EQ(known, there);
}

TEST_P(OperatorErrors, WhatFitsIsAccepted) {
  for (const Row& row : rows()) {
    EXPECT_EQ(error_of(Application(row.name, row.indices, row.args).text), "no error") << row.name;
  }
}

TEST_P(OperatorErrors, TooFewArgumentsAreReportedWhereTheApplicationBegins) {
  for (const Row& row : rows()) {
    const std::size_t least = row.least == 0 ? row.args.size() : row.least;
    const bool exact = !row.any_number && least == row.args.size();
    for (std::size_t n = 0; n < least; ++n) {
      const Application a(row.name, row.indices, {row.args.begin(), row.args.begin() + static_cast<long>(n)});
      EXPECT_EQ(error_of(a.text),
                expected(0, row.name + ": " + counted(n, "argument", "arguments") + " given, " +
                                (exact ? "" : "at least ") + std::to_string(least) + " expected"));
    }
  }
}

TEST_P(OperatorErrors, TooManyArgumentsAreReportedWhereTheFirstOfThemIs) {
  for (const Row& row : rows()) {
    std::vector<std::string> args = row.args;
    for (int more = 0; more < 2; ++more) {
      args.push_back(args.back());
      const Application a(row.name, row.indices, args);
      if (row.any_number) {
        EXPECT_EQ(error_of(a.text), "no error") << a.text;
        continue;
      }
      const bool exact = row.least == 0;
      EXPECT_EQ(error_of(a.text),
                expected(a.args[row.args.size()], row.name + ": " + std::to_string(args.size()) +
                                                      " arguments given, " + (exact ? "" : "at most ") +
                                                      std::to_string(row.args.size()) + " expected"));
    }
  }
}

TEST_P(OperatorErrors, IndicesAreCounted) {
  for (const Row& row : rows()) {
    for (std::size_t n = 0; n <= row.indices.size() + 2; ++n) {
      if (n == row.indices.size()) continue;
      const Application a(row.name, std::vector<std::string>(n, "1"), row.args);
      const std::size_t place = n < row.indices.size() ? 0 : a.indices[row.indices.size()];
      EXPECT_EQ(error_of(a.text),
                expected(place, row.name + ": " + counted(n, "index", "indices") + " given, " +
                                    std::to_string(row.indices.size()) + " expected"));
    }
  }
}

/// Which argument a message speaks of, from 1: "12: bvadd: argument 2 has sort S, expected T" for the
/// application whose second argument stands at 12 and has the sort S. 0 for other messages.
std::size_t argument_at_fault(const std::string& message, const Row& row, const Application& a,
                              const std::vector<std::string>& args) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string beginning = std::to_string(a.args[i]) + ": " + row.name + ": argument " +
                                  std::to_string(i + 1) + " has sort " + constant(args[i]).sort +
                                  ", expected ";
    if (message.starts_with(beginning) && message.size() > beginning.size()) return i + 1;
  }
  return 0;
}

TEST_P(OperatorErrors, WrongSortsAreReportedWhereTheArgumentIs) {
  const auto try_all = [](const Row& row, const std::vector<std::string>& args) {
    for (std::size_t i = 0; i < args.size(); ++i) {
      for (const Constant& c : constants) {
        std::vector<std::string> wrong = args;
        wrong[i] = c.name;
        const Application a(row.name, row.indices, wrong);
        const std::string message = error_of(a.text);
        SCOPED_TRACE(a.text + ": " + message);
        if (message != "no error") {
          // The argument that was exchanged, or the next one, which is not like it.
          const std::size_t fault = argument_at_fault(message, row, a, wrong);
          EXPECT_TRUE(fault == i + 1 || fault == i + 2);
          EXPECT_STRNE(c.sort, constant(args[i]).sort);
        } else if (row.name != "to_fp" || i == 0) {
          EXPECT_STREQ(c.kind, constant(args[i]).kind);
        }
      }
    }
  };
  for (const Row& row : one_in_when_sanitized(5, rows())) {
    std::vector<std::string> args = row.args;
    if (row.any_number) args.push_back(args.back());
    try_all(row, args);
    for (std::string& arg : args) {
      const auto literal =
          std::find_if(std::begin(constants), std::end(constants), [&arg](const Constant& c) {
            return arg != c.name && std::string_view(c.sort) == constant(arg).sort;
          });
      if (literal != std::end(constants)) arg = literal->name;
    }
    try_all(row, args);
    args.resize(row.args.size());
    try_all(row, args);
  }
}

TEST_P(OperatorErrors, IndicesOutOfRangeAreReportedWhereTheyAre) {
  EXPECT_EQ(error_of("((_ extract 8 0) x)"), "12: extract: index 8 is out of range for 8 bits");
  EXPECT_EQ(error_of("((_ extract 3 5) x)"), "14: extract: the low index 5 is above the high index 3");
  EXPECT_EQ(error_of("((_ repeat 0) x)"), "11: repeat: the index must be positive");
  EXPECT_EQ(error_of("((_ divisible 0) i)"), "14: divisible: the index must be positive");
  EXPECT_EQ(error_of("((_ int2bv 0) i)"), "11: int2bv: the width must be positive");
  EXPECT_EQ(error_of("((_ fp.to_sbv 0) m f)"), "14: fp.to_sbv: the width must be positive");
  EXPECT_EQ(error_of("((_ sign_extend 16777216) x)"),
            "0: sign_extend: the result would have 16777224 bits, more than the 16777216 that are supported");
  EXPECT_EQ(error_of("((_ to_fp 5 11) x)"),
            "16: to_fp: argument 1 has sort (_ BitVec 8), expected (_ BitVec 16)");
}

/// What is folded before a constructor looks at it.
TEST_P(OperatorErrors, NoLiteralIsTakenForOneOfAnotherSort) {
  EXPECT_EQ(error_of("(/ #x01 2.5)"), "3: /: argument 1 has sort (_ BitVec 8), expected Int or Real");
  EXPECT_EQ(error_of("(= (mod i 3) #x07)"), "13: =: argument 2 has sort (_ BitVec 8), expected Int");
  EXPECT_EQ(error_of("(distinct #x07 (mod i 3))"),
            "15: distinct: argument 2 has sort Int, expected (_ BitVec 8)");
  EXPECT_EQ(error_of("((_ to_fp 5 11) #x07 2.5)"),
            "16: to_fp: argument 1 has sort (_ BitVec 8), expected RoundingMode");
}

TEST_P(OperatorErrors, PlacesAreFoundBehindNestedAndQuotedTerms) {
  EXPECT_EQ(error_of("(bvugt (bvadd x (let ((|x)| x)) |x)|)) (! y :named |(|))"),
            "39: bvugt: argument 2 has sort (_ BitVec 4), expected (_ BitVec 8)");
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutSimplifier, OperatorErrors, ::testing::Bool());

/// Functions that a script declares are no different.
TEST(FunctionErrors, AreReportedWhereTheArgumentIs) {
  const auto error_of = [](const std::string& application) {
    Session session({.simplify = false});
    try {
      Reader(session).read("(declare-fun |f g| (Int Bool) Int)\n(simplify " + application + ")", "in");
    } catch (const InputError& e) {
      return std::string(e.what());
    }
    return std::string("no error");
  };
  EXPECT_EQ(error_of("(|f g| 1 true)"), "no error");
  EXPECT_EQ(error_of("(|f g| 1)"), "in:2:11: error: f g: 1 argument given, 2 expected");
  EXPECT_EQ(error_of("(|f g|)"), "in:2:11: error: f g: 0 arguments given, 2 expected");
  EXPECT_EQ(error_of("(|f g| 1 true 3)"), "in:2:25: error: f g: 3 arguments given, 2 expected");
  EXPECT_EQ(error_of("((as |f g| Int) (+ 1 2) (- 3))"),
            "in:2:35: error: f g: argument 2 has sort Int, expected Bool");
  EXPECT_EQ(error_of("((as const (Array Int Int)) true)"),
            "in:2:39: error: const: argument 1 has sort Bool, expected Int");
}

}  // namespace
}  // namespace quarv::smtlib
