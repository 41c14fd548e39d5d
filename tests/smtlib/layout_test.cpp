#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/corpus.h"
#include "support/simplified_script.h"
#include <quarv/smtlib/simplify_script.h>
#include <quarv/smtlib/write/layout.h>
#include <quarv/util/input_error.h>

namespace quarv::smtlib {
namespace {

std::string simplified_to_width(const std::string& text, std::size_t width) {
  SimplifyOptions options;
  options.smallest = true;
  options.width = width;
  return simplified_script(text, options);
}

const std::string words_of_32_bits = "(declare-const a (_ BitVec 32))\n(declare-const b (_ BitVec 32))\n";

TEST(Layout, CopiesWhatIsAsItWas) {
  const std::string text = "; a script\n\n(set-logic QF_BV)   ; of vectors\n" + words_of_32_bits +
                           "\n; names and literals may be written in several ways\n(assert\n\t(bvult |a| ; "
                           "left\n  #xABCDEF01))\r\n"
                           "  (check-sat)\n(exit)\n; end\n";
  EXPECT_EQ(simplified_to_width(text, 100), text);
  EXPECT_EQ(simplified_to_width(text, 1), text);
  EXPECT_EQ(simplified_to_width("; nothing", 100), "; nothing\n");
  EXPECT_EQ(simplified_to_width("", 100), "");
  EXPECT_EQ(simplified_to_width("\xEF\xBB\xBF(check-sat)", 100), "(check-sat)\n");
}

TEST(Layout, ChangesWhatChanges) {
  EXPECT_EQ(
      simplified_to_width(
          words_of_32_bits + "; first\n(assert ; why\n (bvult a (bvadd b #x00000000))) ; last\n\n(check-sat)",
          100),
      words_of_32_bits + "; first\n; why\n(assert (bvult a b)) ; last\n\n(check-sat)\n");
  EXPECT_EQ(simplified_to_width("(declare-const p Bool) (assert (and p p))(check-sat) ; x", 100),
            "(declare-const p Bool)\n(assert p)\n(check-sat) ; x\n");
  EXPECT_EQ(simplified_to_width("(check-sat)(exit) ; x\n(assert\n", 100), "(check-sat)\n(exit)\n");
}

TEST(Layout, LeavesCommentsWithTheirTerms) {
  const std::string before =
      "(assert ; command\n  ; body\n  (and ; head\n    ; own line\n    (p a ; inner\n b) ; behind\n"
      "    (q a 0) ; changed\n    ; last\n  ) ; closed\n) ; gap\n";
  EXPECT_EQ(laid_out(before, "(assert (and (q a) (p a b)))\n", 100),
            "; command\n(assert\n  ; body\n  ; head\n  (and\n    (q a) ; changed ; last\n    ; own line\n"
            "    (p a ; inner\n      b))) ; behind ; closed ; gap\n");
  // In a `let`, below another operator, and gone.
  EXPECT_EQ(laid_out(before, "(assert (let ((x (f b))) (and (p a b) (q x) (r x))))\n", 100),
            "; command\n(assert\n  ; body\n  ; head\n  ; changed\n  ; last\n  (let ((x (f b)))\n    (and\n"
            "      ; own line\n      (p a ; inner\n        b) ; behind\n      (q x)\n      (r x)))) ; closed "
            "; gap\n");
  EXPECT_EQ(laid_out(before, "(assert (not (p a b)))\n", 100),
            "; command\n(assert\n  ; body\n  ; head\n  ; changed\n  ; last\n  (not\n    ; own line\n    (p a "
            "; inner\n"
            "      b))) ; behind ; closed ; gap\n");
  EXPECT_EQ(laid_out("(assert (|;| \"; no\" a)) ; gap\n", "(assert (|;| \"; no\"))\n", 100),
            "(assert (|;| \"; no\")) ; gap\n");
}

// However many there are, and however deep.
TEST(Layout, PlacesCommentsInLinearTime) {
  constexpr std::size_t levels = 50'000;
  for (const bool is_gone : {false, true}) {
    std::string before = "(assert ", after = is_gone ? "(assert (g " : "(assert ";
    for (std::size_t i = 0; i < levels; ++i) {
      before += "(f ; c\n";
      after += is_gone && i % 2 == 0 ? "(g " : "(f ";
    }
    before += "a b";
    after += is_gone ? "a)" : "a";
    for (std::size_t i = 0; i < levels; ++i) {
      before += ") ; d\n";
      after += ')';
    }
    const std::string out = laid_out(before + ")\n", after + ")\n", 100);
    EXPECT_EQ(std::ranges::count(out, ';'), 2 * levels);
  }
}

TEST(Layout, PutsDefinitionsOnLinesOfTheirOwn) {
  EXPECT_EQ(laid_out("(a) ; x\n; y\n (b) (c)\n",
                     "(a)\n(define-fun $1 () Bool p)\n(b)\n(define-fun $2 () Bool q)\n(c)\n", 9),
            "(a) ; x\n(define-fun\n  $1 ()\n  Bool p)\n; y\n (b)\n(define-fun\n  $2 ()\n  Bool q)\n(c)\n");
}

TEST(Layout, BreaksLongLines) {
  const std::string lets =
      "(assert (let ((x (bvadd a b))) (let ((y (bvmul x x))) (and (bvult x y) (= (bvudiv x y) (bvurem y "
      "x))))))";
  const auto at = [&](std::size_t width) { return laid_out("(assert)", lets, width); };
  EXPECT_EQ(at(lets.size()), lets + '\n');
  EXPECT_EQ(at(54),
            "(assert\n"
            "  (let ((x (bvadd a b)))\n"
            "  (let ((y (bvmul x x)))\n"
            "    (and (bvult x y) (= (bvudiv x y) (bvurem y x))))))\n");
  EXPECT_EQ(at(53),
            "(assert\n"
            "  (let ((x (bvadd a b)))\n"
            "  (let ((y (bvmul x x)))\n"
            "    (and\n"
            "      (bvult x y)\n"
            "      (= (bvudiv x y) (bvurem y x))))))\n");
  EXPECT_EQ(
      laid_out("(assert)",
               "(assert (forall ((x Int) (y Int)) (! (ite (p x y) (q x) (q y)) :pattern ((p x y)))))", 40),
      "(assert\n"
      "  (forall ((x Int) (y Int))\n"
      "    (!\n"
      "      (ite (p x y) (q x) (q y))\n"
      "      :pattern\n"
      "      ((p x y)))))\n");
}

// What was written on one line and has become a little smaller must not become longer by its indentation.
TEST(Layout, IsNoLongerThanTheOriginalForIndentation) {
  const std::string parts = "(p (q a b c) (q d e f) (q (r a b) (r c d) (r e f)))";
  const std::string line = "(assert " + parts + ")";
  const std::size_t room[] = {100, 12, 1, 0};
  const std::string expected[] = {
      "(assert\n  (p\n    (q a b c)\n    (q d e f)\n    (q (r a b) (r c d) (r e f))))\n",
      "(assert (p (q a b c) (q d e f)\n  (q (r a b) (r c d) (r e f))))\n",
      "(assert (p (q a b c) (q d e f)\n (q (r a b) (r c d) (r e f))))\n",
      "(assert (p (q a b c) (q d e f)\n(q (r a b) (r c d) (r e f))))\n"};
  for (std::size_t i = 0; i < std::size(room); ++i) {
    const std::string original = "(assert (" + std::string(line.size() - 11 + room[i], 'p') + "))";
    const std::string text = laid_out(original, line, 36);
    EXPECT_EQ(text, expected[i]);
    EXPECT_LE(text.size(), original.size() + 1);
  }
  const std::string shorter(line.size() - 12, 'p');
  EXPECT_EQ(laid_out("(assert (" + shorter + "))", line, 36), line + '\n');
}

// Nor what was written on several lines, as long as the text itself has not become longer.
TEST(Layout, IsNoLongerThanSeveralLines) {
  const std::string line = "(assert (p (q a b c) (q d e f) (q (r a b) (r c d) (r e f))))";
  const auto original = [](std::size_t size) { return "(assert\n (" + std::string(size - 12, 'p') + "))"; };
  const std::string usual =
      "(assert\n  (p\n    (q a b c)\n    (q d e f)\n    (q (r a b) (r c d) (r e f))))\n";
  EXPECT_EQ(laid_out(original(line.size() + 40), line, 36), usual);
  EXPECT_EQ(laid_out(original(line.size() + 13), line, 36),
            "(assert\n (p\n  (q a b c)\n  (q d e f)\n  (q (r a b) (r c d) (r e f))))\n");
  EXPECT_EQ(laid_out(original(line.size() + 2), line, 36),
            "(assert (p (q a b c) (q d e f)\n  (q (r a b) (r c d) (r e f))))\n");
  EXPECT_EQ(laid_out(original(line.size()), line, 36),
            "(assert (p (q a b c) (q d e f)\n(q (r a b) (r c d) (r e f))))\n");
  EXPECT_EQ(laid_out(original(line.size() - 1), line, 36), usual);
}

// Whatever the room, the tokens stay.
TEST(Layout, KeepsAllTokens) {
  std::string line = "(assert ";
  for (int i = 0; i < 40; ++i) {
    const std::string n = std::to_string(i % 7 == 0 ? i * 1000 : i);
    line +=
        "(let ((v" + n + " (f x" + n + " (g " + std::string(static_cast<std::size_t>(i % 5), 'y') + "y)))) ";
  }
  line += "v" + std::string(40, ')') + ")";
  const auto tokens = [](std::string text) {
    std::ranges::replace(text, '\n', ' ');
    std::string all;
    for (char c : text) {
      if (c != ' ' || (!all.empty() && all.back() != ' ')) all += c;
    }
    return all;
  };
  for (std::size_t width = 10; width < 120; ++width) {
    for (const std::size_t size :
         {std::size_t{12}, line.size(), line.size() + 20, line.size() + 60, line.size() + 200}) {
      const std::string text = laid_out("(assert (" + std::string(size - 11, 'p') + "))", line, width);
      EXPECT_EQ(tokens(text), line + " ") << width << ' ' << size;
    }
  }
}

/// Where lines are filled, an application begins on a line only if its operator fits there.
TEST(Layout, BreaksBeforeLongOperators) {
  const std::string operator_name(20, 'f');
  std::string line = "(assert ";
  for (int i = 0; i < 20; ++i)
    line += "(g " + std::string(static_cast<std::size_t>(i % 7 + 1), 'x') + " (" + operator_name + ' ';
  line += 'x' + std::string(41, ')');
  for (std::size_t width = 40; width < 80; ++width) {
    std::istringstream out(laid_out("(assert x)", line, width));
    for (std::string text; std::getline(out, text);) {
      const bool ends_all = text.ends_with("))))");
      EXPECT_TRUE(ends_all || text.size() <= width) << width << ": " << text;
    }
  }
}

TEST(Layout, IsLinear) {
  constexpr std::size_t depth = 200'000;
  std::string line = "(assert ";
  for (std::size_t i = 0; i < depth; ++i) line += "(f x (g ";
  line += 'x';
  line.append(2 * depth, ')');
  line += ')';
  const std::string out = laid_out("(assert x)", line, 100);
  EXPECT_LT(out.size(), 2 * line.size());
  EXPECT_EQ(laid_out(out, line, 100), out);
  EXPECT_LT(laid_out("(assert x)", line, 1'000'000'000).size(), 2 * line.size());
}

TEST(Layout, IsAFixedPoint) {
  std::size_t num_files = 0;
  for (const auto& file : std::filesystem::recursive_directory_iterator(corpus_folder())) {
    if (file.path().extension() != ".smt2" || file.file_size() > 20'000 || num_files == 60 ||
        file.path().string().find("malformed") != std::string::npos) {
      continue;
    }
    std::ostringstream text;
    text << std::ifstream(file.path()).rdbuf();
    for (const std::size_t width : {30u, 100u}) {
      std::string once;
      try {
        once = simplified_to_width(text.str(), width);
      } catch (const quarv::InputError&) {
        continue;
      }
      EXPECT_EQ(simplified_to_width(once, width), once) << file.path();
      EXPECT_EQ(simplified_to_width(once, 0), simplified_to_width(text.str(), 0)) << file.path();
    }
    ++num_files;
  }
  EXPECT_GT(num_files, 10u);
}

}  // namespace
}  // namespace quarv::smtlib
