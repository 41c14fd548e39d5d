#include "trace_file.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace quarv::cli {

namespace {

using Json = nlohmann::json;

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

}  // namespace

std::string Expression::key() const {
  // A function's name may hold anything; its length shows where it ends.
  std::string text = kind == value      ? '#' + number.get_str()
                     : kind == function ? '|' + std::to_string(op.size()) + '|' + op
                                        : op;
  for (const std::string& index : indices) text += '_' + index;
  if (copy != 0) text += '!' + std::to_string(copy);
  for (TermName v : variables) text += '?' + std::to_string(v);
  for (const std::string& a : attributes) text += ':' + std::to_string(a.size()) + a;
  for (TermName arg : args) text += ' ' + std::to_string(arg);
  return text;
}

void TraceFile::fail(const std::string& reason) const {
  throw TraceError(name_ + ':' + std::to_string(line_) + ": " + reason);
}

bool TraceFile::next(TraceStep& step) {
  while (!text_.empty()) {
    ++line_;
    const std::size_t end = std::min(text_.find('\n'), text_.size());
    const std::string_view line = text_.substr(0, end);
    text_.remove_prefix(std::min(end + 1, text_.size()));
    if (line_ != 1 && line.empty()) continue;
    try {
      if (read_line(Json::parse(line), step)) return true;
    } catch (const Json::exception&) {
      fail("this is not a line of a trace");
    }
  }
  if (line_ == 0) fail("the trace is empty");
  return false;
}

template <class J>
bool TraceFile::read_line(const J& line, TraceStep& step) {
  if (line_ == 1) {
    if (line.at("trace") != "quarv" || line.at("version") != 1) fail("this is no trace of version 1");
    return false;
  }
  if (line.contains("step")) {
    step = TraceStep();
    step.number = line.at("step").template get<std::uint64_t>();
    step.assertion = line.at("assertion").template get<std::uint64_t>();
    step.after = read_name(line.at("after"));
    if (line.contains("rule")) {
      step.rule = line.at("rule").template get<std::uint64_t>();
      if (step.rule == 0) fail("rules count from 1");
      step.label = line.at("signature").template get<std::string>();
      step.before_name = read_name(line.at("before"));
      step.before = term(*step.before_name);
    } else {
      step.label = line.at("simplifier").template get<std::string>();
      step.before = read_expression(line);
    }
    return true;
  }
  if (line.contains("assertion")) {
    assertions_.push_back(read_name(line.at("term")));
  } else if (line.contains("term")) {
    const auto name = line.at("term").template get<TermName>();
    Expression e = read_expression(line);
    for (TermName arg : e.args) {
      if (arg >= name) fail("a term is older than its argument " + std::to_string(arg));
    }
    if (!terms_.emplace(name, std::move(e)).second) {
      fail("the term " + std::to_string(name) + " is defined twice");
    }
    names_.push_back(name);
  } else {
    read_sort(line);
  }
  return false;
}

template <class J>
TermName TraceFile::read_name(const J& name) const {
  const auto n = name.template get<TermName>();
  if (!terms_.contains(n)) fail("there is no term " + std::to_string(n));
  return n;
}

template <class J>
void TraceFile::read_sort(const J& line) {
  if (line.at("sort").template get<std::size_t>() != sorts_.size()) fail("sorts are numbered from 0");
  TraceSort sort;
  sort.name = line.at("name").template get<std::string>();
  if (line.contains("args")) {
    for (const auto& arg : line.at("args")) {
      sort.args.push_back(arg.template get<std::size_t>());
      if (sort.args.back() >= sorts_.size()) fail("there is no such sort");
    }
  }
  const std::vector<std::string> words = indexed_words(sort.name);
  const auto number = [&](std::size_t i) -> std::size_t {
    const std::string& digits = words[i];
    if (digits.empty() || digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos) {
      fail("a sort's index is no number");
    }
    return std::stoul(digits);
  };
  if (sort.args.size() == 2 && sort.name == "Array") {
    sort.kind = TraceSort::array;
  } else if (sort.name == "Bool") {
    sort.kind = TraceSort::boolean;
  } else if (sort.name == "Int") {
    sort.kind = TraceSort::integer;
  } else if (sort.name == "Real") {
    sort.kind = TraceSort::real;
  } else if (words.size() == 2 && words[0] == "BitVec") {
    sort.kind = TraceSort::bit_vector;
    sort.width = number(1);
  } else if (words.size() == 3 && words[0] == "FloatingPoint") {
    sort.kind = TraceSort::floating_point;
    sort.width = number(1);
    sort.significand = number(2);
  }
  const bool known = std::any_of(sorts_.begin(), sorts_.end(), [&](const TraceSort& other) {
    return other.name == sort.name && other.args == sort.args;
  });
  if (known) fail("the sort " + sort.name + " is defined twice");
  sorts_.push_back(std::move(sort));
}

template <class J>
Expression TraceFile::read_expression(const J& line) const {
  Expression e;
  e.sort = line.at("sort").template get<std::size_t>();
  if (e.sort >= sorts_.size()) fail("there is no sort " + std::to_string(e.sort));
  if (line.contains("value")) {
    e.kind = Expression::value;
    const auto text = line.at("value").template get<std::string>();
    if (e.number.set_str(text, 10) != 0 || e.number.get_den() == 0) fail("this value is no number");
    e.number.canonicalize();
    if (!is_well_sorted(e)) fail("this is no value of its sort");
    return e;
  }
  if (line.contains("fun")) {
    e.kind = Expression::function;
    e.op = line.at("fun").template get<std::string>();
    e.copy = line.value("copy", std::uint64_t{0});
  } else {
    e.op = line.at("op").template get<std::string>();
    std::vector<std::string> words = indexed_words(e.op);
    if (words.size() > 1) {
      e.op = words[0];
      e.indices.assign(words.begin() + 1, words.end());
    }
  }
  for (const auto& attribute : line.value("attributes", J::array())) {
    e.attributes.push_back(attribute.template get<std::string>());
  }
  for (const auto& variable : line.value("variables", J::array())) e.variables.push_back(read_name(variable));
  for (const auto& arg : line.value("args", J::array())) e.args.push_back(read_name(arg));
  if (!is_well_sorted(e)) fail(e.op + ": the sorts of the arguments do not fit");
  return e;
}

}  // namespace quarv::cli
