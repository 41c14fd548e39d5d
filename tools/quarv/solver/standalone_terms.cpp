#include "solver/standalone_terms.h"

#include <algorithm>

#include <fmt/core.h>

#include "solver/s_expressions.h"
#include <quarv/smtlib/read/lexer.h>

namespace quarv::cli {

using smtlib::Lexer;
using smtlib::Token;
using smtlib::TokenKind;

namespace {

struct Renamed {
  std::string_view newer, older;
};
constexpr Renamed renamed[] = {{"ubv_to_int", "bv2nat"}, {"int_to_bv", "int2bv"}};

/// What newer operators say of their operands `a` and `b`, which are bound once. `(bvsub a a)` is zero.
struct Expressed {
  std::string_view newer;
  std::size_t operands;
  std::string_view text;
};
constexpr Expressed expressed[] = {
    {"sbv_to_int", 1, "(ite (bvslt a (bvsub a a)) (- (bv2nat (bvneg a))) (bv2nat a))"},
    {"bvnego", 1, "(and (= (bvneg a) a) (distinct a (bvsub a a)))"},
    {"bvuaddo", 2, "(bvult (bvadd a b) a)"},
    {"bvsaddo", 2,
     "(and (= (bvslt a (bvsub a a)) (bvslt b (bvsub b b)))"
     " (distinct (bvslt a (bvsub a a)) (bvslt (bvadd a b) (bvsub a a))))"},
    {"bvumulo", 2, "(not (bvumul_noovfl a b))"},
    {"bvsmulo", 2, "(not (and (bvsmul_noovfl a b) (bvsmul_noudfl a b)))"},
    {"bvusubo", 2, "(bvult a b)"},
    {"bvssubo", 2,
     "(and (distinct (bvslt a (bvsub a a)) (bvslt b (bvsub b b)))"
     " (distinct (bvslt a (bvsub a a)) (bvslt (bvsub a b) (bvsub a a))))"},
    {"bvsdivo", 2, "(and (= (bvneg a) a) (distinct a (bvsub a a)) (= b (bvnot (bvsub b b))))"},
};

template <typename Table>
const auto* find_newer(const Table& table, std::string_view name) {
  const auto entry = std::ranges::find_if(table, [&](const auto& e) { return e.newer == name; });
  return entry == std::end(table) ? nullptr : &*entry;
}

/// n of "(_ divisible n)", empty for anything else.
std::string_view divisor(std::string_view operator_text) {
  if (!operator_text.starts_with("(_ divisible ")) return {};
  return items(operator_text)[2];
}

}  // namespace

void StandaloneTerms::reset() {
  all_.clear();
  named_.clear();
  declared_.clear();
}

void StandaloneTerms::declare(std::string_view name) {
  if (const auto known = named_.find(name); known != named_.end()) named_.erase(known);
  if (find_newer(renamed, name) != nullptr || find_newer(expressed, name) != nullptr) declared_.emplace(name);
}

bool StandaloneTerms::needs_rewriting(std::string_view term) const {
  Lexer lexer(term);
  for (Token t = lexer.next(); t.kind != TokenKind::end && t.kind != TokenKind::error; t = lexer.next()) {
    if (t.kind == TokenKind::keyword && t.text == ":named") return true;
    if (t.kind != TokenKind::symbol || declared_.contains(t.text)) continue;
    if (t.text == "divisible" || find_newer(renamed, t.text) || find_newer(expressed, t.text)) return true;
  }
  return false;
}

std::string StandaloneTerms::standalone(std::string_view term, std::span<const std::string_view> hidden) {
  std::string text = needs_rewriting(term) ? rewritten(term) : std::string(term);
  if (named_.empty()) return text;
  // A name's own text may use earlier names.
  std::vector<std::size_t> bound = used_names(text, hidden);
  for (std::size_t i = 0; i < bound.size(); ++i) {
    for (std::size_t use : all_[bound[i]].uses) {
      if (std::ranges::find(bound, use) == bound.end()) bound.push_back(use);
    }
  }
  std::ranges::sort(bound);
  std::string wrapped;
  for (std::size_t i : bound) wrapped += fmt::format("(let (({} {})) ", all_[i].name, all_[i].text);
  return wrapped + text + std::string(bound.size(), ')');
}

std::vector<std::size_t> StandaloneTerms::used_names(std::string_view term,
                                                     std::span<const std::string_view> hidden) const {
  std::set<std::size_t> used;
  for_each_symbol(term, [&](std::string_view symbol) {
    const auto known = named_.find(symbol);
    if (known != named_.end() && std::ranges::find(hidden, symbol) == hidden.end())
      used.insert(known->second);
  });
  return {used.begin(), used.end()};
}

std::string StandaloneTerms::rewritten(std::string_view term) {
  std::string out;
  std::vector<std::size_t> parts;   // of all open parentheses: where each part begins
  std::vector<std::size_t> frames;  // for each open parenthesis: its first part
  Lexer lexer(term);
  for (Token t = lexer.next(); t.kind != TokenKind::end && t.kind != TokenKind::error; t = lexer.next()) {
    if (t.kind == TokenKind::right_parenthesis) {
      out += ')';
      close(out, Parts(parts).subspan(frames.back()));
      parts.resize(frames.back());
      frames.pop_back();
      continue;
    }
    if (!out.empty() && out.back() != '(') out += ' ';
    parts.push_back(out.size());
    if (t.kind == TokenKind::left_parenthesis) frames.push_back(parts.size());
    const Renamed* const name = t.kind == TokenKind::symbol ? find_newer(renamed, t.text) : nullptr;
    if (name != nullptr && !declared_.contains(t.text)) {
      out += name->older;
    } else {
      out.append(t.start, lexer.position());
    }
  }
  return out;
}

/// An application has just been closed in `out`; `parts` are without its parenthesis.
void StandaloneTerms::close(std::string& out, Parts parts) {
  if (parts.size() < 2) return;
  const auto part = [&](std::size_t i) {
    const std::size_t end = i + 1 < parts.size() ? parts[i + 1] - 1 : out.size() - 1;
    return out.substr(parts[i], end - parts[i]);
  };
  const std::size_t start = parts[0] - 1;
  const std::string op = part(0);
  if (op == "!") return close_annotation(out, parts);
  const Expressed* const known = declared_.contains(op) ? nullptr : find_newer(expressed, op);
  if (known != nullptr && parts.size() == known->operands + 1) {
    const std::string second = known->operands == 2 ? " (b " + part(2) + ')' : "";
    const std::string text = fmt::format("(let ((a {}){}) {})", part(1), second, known->text);
    out.replace(start, std::string::npos, text);
  } else if (const std::string_view n = divisor(op); !n.empty() && parts.size() == 2) {
    const std::string text = fmt::format("(= (mod {} {}) 0)", part(1), n);
    out.replace(start, std::string::npos, text);
  }
}

void StandaloneTerms::close_annotation(std::string& out, Parts parts) {
  const std::size_t start = parts[0] - 1;
  const std::vector<std::string_view> all = items(std::string_view(out).substr(start));
  const auto keyword = std::ranges::find(all, std::string_view(":named"));
  if (keyword == all.end()) return;
  const std::string name(*(keyword + 1));
  std::string text;
  if (all.size() == 4) {
    text = all[1];
  } else {
    for (auto i = all.begin(); i != all.end(); ++i) {
      if (i == keyword)
        ++i;
      else
        text += (text.empty() ? "(" : " ") + std::string(*i);
    }
    text += ')';
  }
  out.replace(start, std::string::npos, text);
  named_[std::string(unquoted(name))] = all_.size();
  std::vector<std::size_t> uses = used_names(text, std::vector{unquoted(name)});
  all_.push_back({name, std::move(text), std::move(uses)});
}

}  // namespace quarv::cli
