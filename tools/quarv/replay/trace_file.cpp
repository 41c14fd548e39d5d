#include "replay/trace_file.h"

#include <algorithm>

#include "io/json.h"

namespace quarv::cli {

namespace {

/// The words of "(_ extract 7 0)" after the underscore.
std::vector<std::string> indexed_words(std::string_view text) {
  std::vector<std::string> words;
  if (!text.starts_with("(_ ") || !text.ends_with(')')) return words;
  text = text.substr(3, text.size() - 4);
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    words.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

/// Whether this can be the name of an operator or an index: nothing that would make another term's text.
bool is_word(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) {
    return c > ' ' && c < '\x7f' && std::string_view("()|\";").find(c) == std::string_view::npos;
  });
}

/// One text for one list of texts.
void append_item(std::string& key, char mark, std::string_view item) {
  key += mark;
  key += std::to_string(item.size());
  key += ':';
  key += item;
}

}  // namespace

std::vector<TracePart> parts_of_trace(std::string_view text) {
  constexpr std::string_view key = "\"trace\":";  // within a string its quotes would be escaped
  std::vector<TracePart> parts;
  for (std::size_t lines = 0;;) {
    const std::size_t first_line = std::min(text.find('\n'), text.size());
    const std::size_t next = text.find(key, first_line);
    const std::size_t end = next == std::string_view::npos ? text.size() : text.rfind('\n', next) + 1;
    parts.push_back({text.substr(0, end), lines});
    if (end == text.size()) return parts;
    lines += static_cast<std::size_t>(std::ranges::count(text.substr(0, end), '\n'));
    text.remove_prefix(end);
  }
}

std::string printable(std::string_view text, std::size_t limit) {
  std::string line(text.substr(0, limit));
  std::ranges::replace_if(
      line, [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
  return text.size() > limit ? line + " ..." : line;
}

std::string Expression::key() const {
  // Names may hold anything; their length shows where they end.
  std::string text;
  append_item(text,
              kind == value      ? '#'
              : kind == function ? '|'
                                 : 'o',
              kind == value ? number.get_str() : op);
  for (const std::string& index : indices) append_item(text, '_', index);
  if (copy != 0) text += '!' + std::to_string(copy);
  for (TermName v : variables) text += '?' + std::to_string(v);
  for (const std::string& a : attributes) append_item(text, '@', a);
  for (TermName arg : args) text += ' ' + std::to_string(arg);
  return text;
}

/// Names in a trace are anyone's; a message stays one line.
void TraceFile::fail(const std::string& reason) const {
  throw TraceError(name_ + ':' + std::to_string(line_) + ": error: " + printable(reason, 200));
}

bool TraceFile::next(TraceStep& step) {
  while (!text_.empty()) {
    ++line_;
    const std::size_t end = std::min(text_.find('\n'), text_.size());
    const std::string_view line = text_.substr(0, end);
    text_.remove_prefix(std::min(end + 1, text_.size()));
    if (line_ != lines_before_ + 1 && line.empty()) continue;
    try {
      if (read_line(Json::parse(line), step)) return true;
    } catch (const JsonError&) {
      fail("this is not a line of a trace");
    }
  }
  if (line_ == lines_before_) fail("the trace is empty");
  return false;
}

bool TraceFile::read_line(const Json& line, TraceStep& step) {
  if (line_ == lines_before_ + 1) {
    if (line.at("trace") != "quarv" || line.at("version") != 1) fail("this is not a trace of version 1");
    has_begun_ = true;
    return false;
  }
  if (line.contains("step")) {
    step = TraceStep();
    step.number = read_number(line.at("step"));
    step.assertion = read_number(line.at("assertion"));
    step.after = read_name(line.at("after"));
    if (line.contains("rule")) {
      step.rule = read_number(line.at("rule"));
      if (step.rule == 0) fail("rules are numbered from 1");
      step.rule_label = line.contains("name") ? line.at("name").string() : std::to_string(step.rule);
      step.label = line.at("signature").string();
      step.before_name = read_name(line.at("before"));
      step.before = term(*step.before_name);
    } else {
      step.label = line.at("simplifier").string();
      step.before = read_expression(line);
      step.is_definition = step.label == "definition";
      step.binds = read_names(line, "binds");
    }
    return true;
  }
  if (line.contains("definition")) {
    read_definition(line);
    return false;
  }
  if (line.contains("assertion")) {
    assertions_.push_back(read_name(line.at("term")));
  } else if (line.contains("term")) {
    read_term(line);
  } else {
    read_sort(line);
  }
  return false;
}

void TraceFile::read_definition(const Json& line) {
  TraceDefinition d;
  d.function = read_expression(line);
  if (d.function.kind != Expression::function || !d.function.args.empty()) fail("this defines no function");
  d.parameters = read_names(line, "parameters");
  d.binds = read_names(line, "binds");
  d.body = read_name(line.at("term"));
  definitions_.push_back(std::move(d));
}

/// The parser of JSON would make a number of `true`, of -1 and of 1.5, too.
std::uint64_t TraceFile::read_number(const Json& number) const {
  if (!number.is_count()) fail("expected a number");
  return number.number<std::uint64_t>();
}

TermName TraceFile::read_name(const Json& name) const {
  const TermName n = read_number(name);
  if (!terms_.contains(n)) fail("there is no term " + std::to_string(n));
  return n;
}

std::vector<TermName> TraceFile::read_names(const Json& line, const char* key) const {
  std::vector<TermName> names;
  const Json* const list = line.find(key);
  if (list == nullptr) return names;
  if (!list->is_array()) fail(std::string(key) + " is not a list");
  for (const Json& name : list->elements()) names.push_back(read_name(name));
  return names;
}

void TraceFile::read_term(const Json& line) {
  const TermName name = read_number(line.at("term"));
  Expression e = read_expression(line);
  for (TermName arg : e.args) {
    if (arg >= name) fail("a term is older than its argument " + std::to_string(arg));
  }
  if (terms_.contains(name)) fail("the term " + std::to_string(name) + " is defined twice");
  // Other terms may differ in what a trace does not show; values are told apart by their names.
  if (e.kind == Expression::value && !value_keys_.insert(e.key() + ' ' + std::to_string(e.sort)).second) {
    fail("the value " + e.number.get_str().substr(0, 40) + " already has another name");
  }
  terms_.emplace(name, std::move(e));
  names_.push_back(name);
}

void TraceFile::read_sort(const Json& line) {
  if (read_number(line.at("sort")) != sorts_.size()) fail("sorts are numbered from 0");
  // Should this sort be refused, the next one has its own number all the same.
  sorts_.emplace_back().kind = TraceSort::refused;
  std::vector<std::size_t> args;
  if (line.contains("args")) {
    if (!line.at("args").is_array()) fail("args is not a list");
    for (const Json& arg : line.at("args").elements()) {
      args.push_back(read_number(arg));
      if (args.back() >= sorts_.size() - 1 || sorts_[args.back()].kind == TraceSort::refused) {
        fail("there is no sort " + std::to_string(args.back()));
      }
    }
  }
  TraceSort sort = understood_sort(line.at("name").string(), std::move(args));
  std::string key;
  append_item(key, 's', sort.name);
  for (std::size_t arg : sort.args) key += ' ' + std::to_string(arg);
  if (!sort_keys_.insert(std::move(key)).second) fail("the sort " + sort.name + " is defined twice");
  sorts_.back() = std::move(sort);
}

/// There is one text for each number: what else GMP would take, such as white space, is refused.
mpq_class TraceFile::read_value(const std::string& text) const {
  mpq_class number;
  if (number.set_str(text, 10) != 0 || number.get_den() == 0) fail("this value is not a number");
  number.canonicalize();
  if (number.get_str() != text) fail("this value is not a number");
  return number;
}

Expression TraceFile::read_expression(const Json& line) const {
  Expression e;
  e.sort = read_number(line.at("sort"));
  if (e.sort >= sorts_.size() || sorts_[e.sort].kind == TraceSort::refused) {
    fail("there is no sort " + std::to_string(e.sort));
  }
  if (line.contains("value")) {
    e.kind = Expression::value;
    e.number = read_value(line.at("value").string());
    if (!is_well_sorted(e)) fail("this is not a value of its sort");
    return e;
  }
  if (line.contains("fun")) {
    e.kind = Expression::function;
    e.op = line.at("fun").string();
    constexpr std::uint64_t most_copies = std::uint64_t{1} << 32;
    if (line.contains("copy")) e.copy = read_number(line.at("copy"));
    if (line.contains("parameter")) e.copy = most_copies + read_number(line.at("parameter"));
    if (line.contains("variable")) e.copy = 2 * most_copies + read_number(line.at("variable"));
  } else {
    e.op = line.at("op").string();
    std::vector<std::string> words = indexed_words(e.op);
    if (words.size() > 1) {
      e.op = words[0];
      e.indices.assign(words.begin() + 1, words.end());
    }
    if (!is_word(e.op) || !std::ranges::all_of(e.indices, is_word)) fail("this is not an operator");
  }
  if (line.contains("attributes")) {
    if (!line.at("attributes").is_array()) fail("attributes is not a list");
    for (const Json& attribute : line.at("attributes").elements()) {
      e.attributes.push_back(attribute.string());
    }
  }
  e.variables = read_names(line, "variables");
  e.args = read_names(line, "args");
  if (!is_well_sorted(e)) fail(e.op + ": the sorts of the arguments do not fit");
  return e;
}

}  // namespace quarv::cli
