#include <algorithm>
#include <array>
#include <charconv>

#include <quarv/smtlib/read/lexer.h>
#include <quarv/smtlib/write/telling_names.h>
#include <quarv/term/walk.h>

namespace quarv::smtlib {

namespace {

constexpr std::size_t longest_name = 16;

struct Word {
  std::string_view head;
  std::string_view word;
};

/// What stands between the arguments. Of other operators the name comes first.
constexpr auto words = std::to_array<Word>({
    {"bvadd", "plus"},  {"+", "plus"},      {"bvsub", "minus"},   {"-", "minus"},     {"bvmul", "times"},
    {"*", "times"},     {"/", "over"},      {"div", "div"},       {"mod", "mod"},     {"bvand", "and"},
    {"and", "and"},     {"bvor", "or"},     {"or", "or"},         {"bvxor", "xor"},   {"xor", "xor"},
    {"bvshl", "shl"},   {"bvlshr", "lshr"}, {"bvashr", "ashr"},   {"bvudiv", "udiv"}, {"bvurem", "urem"},
    {"bvsdiv", "sdiv"}, {"bvsrem", "srem"}, {"concat", "concat"}, {"=", "eq"},        {"bvult", "ult"},
    {"bvule", "ule"},   {"bvugt", "ugt"},   {"bvuge", "uge"},     {"bvslt", "slt"},   {"bvsle", "sle"},
    {"bvsgt", "sgt"},   {"bvsge", "sge"},   {"<", "lt"},          {"<=", "le"},       {">", "gt"},
    {">=", "ge"},       {"select", "at"},
});

constexpr bool is_letter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool is_digit(char c) {
  return c >= '0' && c <= '9';
}
bool is_word(std::string_view name) {
  return !name.empty() && is_letter(name[0]) && name.size() <= longest_name &&
         std::ranges::all_of(name, [](char c) { return is_letter(c) || is_digit(c) || c == '_'; });
}

/// "#x0a", "#b101" or "17" as a decimal of up to four digits; empty for all else.
std::string small_number(std::string_view text) {
  int base = 10;
  if (text.starts_with("#x") || text.starts_with("#b")) {
    base = text[1] == 'x' ? 16 : 2;
    text.remove_prefix(2);
  }
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole && value < 10000 ? std::to_string(value) : std::string();
}

/// "extract_7_0" for "(_ extract 7 0)"; empty where the head has no word.
std::string word_of(std::string_view head) {
  if (!head.starts_with("(_ ") || !head.ends_with(')')) return std::string(is_word(head) ? head : "");
  std::string word(head.substr(3, head.size() - 4));
  std::ranges::replace(word, ' ', '_');
  return is_word(word) ? word : std::string();
}

}  // namespace

std::string TellingNames::text(const Term* t) const {
  const std::size_t arity = m_.arity(t);
  if (arity == 0 || arity > 4 || m_.is_quantifier(t->symbol) || m_.is_annotation(t->symbol)) return {};
  const std::string_view head = t->symbol->name;
  const auto known = std::ranges::find(words, head, &Word::head);
  const bool infix = arity > 1 && known != words.end();
  std::size_t length = head.size() + 2;  // of the term as it is written
  std::string name;
  const auto append = [&name](std::string_view word) {
    if (!name.empty()) name += '_';
    name += word;
  };
  if (!infix) {
    const std::string word = known == words.end() ? word_of(head) : head == "-" ? "minus" : "";
    if (word.empty()) return {};
    name = word;
  }
  for (std::size_t i = 0; i < arity; ++i) {
    if (m_.arity(t->args[i]) != 0) return {};
    const std::string_view argument = t->args[i]->symbol->name;
    length += argument.size() + 1;
    const std::string number = small_number(argument);
    if (number.empty() && !is_word(argument)) return {};
    if (infix && i != 0) append(known->word);
    append(number.empty() ? argument : number);
    if (name.size() > longest_name) return {};
  }
  return is_letter(name[0]) && name.size() < length ? name : std::string();
}

std::uint32_t TellingNames::number(Node n) {
  if (n.as_real()) return none;
  const auto [entry, is_new] = numbers_.try_emplace(n.term(), none);
  if (!is_new) return entry->second;
  std::string name = text(n.term());
  if (name.empty() || !is_free(name)) return none;
  entry->second = static_cast<std::uint32_t>(names_.size());
  names_.push_back(std::move(name));
  return entry->second;
}

/// Takes the name, too.
bool TellingNames::is_free(const std::string& name) {
  if (!collected_) collect_names();
  return taken_.insert(name).second;
}

/// All names that the script has where it is not a term, those of annotations and of quantifiers' variables.
/// Only names with an underscore count.
void TellingNames::collect_names() {
  collected_ = true;
  const auto take = [this](std::string_view name) {
    if (name.find('_') != name.npos) taken_.emplace(name);
  };
  const auto take_all = [&](std::string_view text) {
    Lexer lexer(text);
    for (Token t = lexer.next(); t.kind != TokenKind::end && t.kind != TokenKind::error; t = lexer.next()) {
      if (t.kind == TokenKind::symbol) take(t.text);
    }
  };
  for (const Command& c : script_.commands) {
    take_all(c.text);
    take_all(c.suffix);
  }
  for (const std::string_view text : script_.term_texts) take_all(text);
  for (const auto& [term, name] : script_.let_names) take(name);
  visit_unchecked(m_, script_.terms, [&](const Term* t) {
    if (m_.arity(t) == 0) return take(t->symbol->name);
    if (m_.is_quantifier(t->symbol)) {
      for (const Term* v : m_.quantifier_variables(t->symbol)) take(v->symbol->name);
    } else if (m_.is_annotation(t->symbol)) {
      for (const Attribute& a : m_.annotation_attributes(t->symbol)) take_all(a.text);
    }
  });
}

}  // namespace quarv::smtlib
