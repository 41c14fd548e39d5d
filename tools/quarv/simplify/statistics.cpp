#include "simplify/statistics.h"

#include <algorithm>
#include <string_view>
#include <sys/resource.h>
#include <utility>
#include <vector>

#include <fmt/core.h>

#include <quarv/term/term_manager.h>

namespace quarv::cli {

namespace {

using Count = std::pair<std::string, std::uint64_t>;

/// Operators that simplified at least once, the busiest first.
std::vector<Count> by_operator(const Counter& counter) {
  std::vector<Count> counts(counter.by_word.begin(), counter.by_word.end());
  for (std::size_t i = 0; i < SymbolTag::count; ++i) {
    if (counter.by_tag[i] != 0) {
      counts.emplace_back(SymbolTag::name(static_cast<SymbolTag::tag>(i)), counter.by_tag[i]);
    }
  }
  std::stable_sort(counts.begin(), counts.end(),
                   [](const Count& a, const Count& b) { return a.second > b.second; });
  return counts;
}

std::vector<Count> by_rule(const Counter& counter) {
  std::vector<Count> counts;
  for (const auto& [rule, count] : counter.by_rule) counts.emplace_back(counter.rule_labels.at(rule), count);
  return counts;
}

void append_counts(std::string& text, std::string_view title, std::string_view prefix,
                   const std::vector<Count>& counts) {
  std::uint64_t sum = 0;
  for (const Count& c : counts) sum += c.second;
  text += fmt::format("{:<24}{:>12}\n", title, sum);
  for (const auto& [name, count] : counts) {
    const std::string label = std::string(prefix) + name;
    const std::string number = std::to_string(count);
    const std::size_t rest =
        std::max(std::max<std::size_t>(label.size(), 34) - label.size(), number.size() + 1);
    text += fmt::format("  {}{:>{}}\n", label, number, rest);
  }
}

Json as_object(const std::vector<Count>& counts) {
  Json object = Json::object();
  for (const auto& [name, count] : counts) object[name] = count;
  return object;
}

}  // namespace

void Counter::on_rule(std::size_t rule, const Term*, const Term*) {
  ++by_rule[rule];
}

void Counter::on_simplification(const Symbol* op, std::span<const Term* const>, const Term*) {
  const SymbolTag::tag tag = TermManager::get_tag(op);
  if (tag == SymbolTag::OPAQUE) {
    ++by_word[op->name];
  } else {
    ++by_tag[tag];
  }
}

void Counter::on_definition(const Symbol*, std::span<const Term* const>, std::span<const Term* const>,
                            const Term*) {
  ++by_word["definition"];
}

std::uint64_t peak_memory() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

std::string as_text(const Statistics& s) {
  std::string text;
  const auto line = [&text](std::string_view name, const std::string& value) {
    text += fmt::format("{:<24}{:>12}\n", name, value);
  };
  line("terms before", std::to_string(s.terms_before));
  line("terms after", std::to_string(s.terms_after));
  line("bytes before", std::to_string(s.bytes_before));
  line("bytes after", std::to_string(s.bytes_after));
  append_counts(text, "simplifications", "", by_operator(s.counts));
  append_counts(text, "rule applications", "rule ", by_rule(s.counts));
  if (s.passed_through != 0) line("passed through", std::to_string(s.passed_through));
  line("rounds", std::to_string(s.rounds));
  line("reading", fmt::format("{:.3f} s", s.read_seconds));
  line("simplifying", fmt::format("{:.3f} s", s.simplify_seconds));
  line("printing", fmt::format("{:.3f} s", s.print_seconds));
  line("peak memory", fmt::format("{:.1f} MiB", static_cast<double>(s.peak_memory) / (1 << 20)));
  return text;
}

Json as_object(const Statistics& s) {
  Json object = {
      {"terms", {{"before", s.terms_before}, {"after", s.terms_after}}},
      {"bytes", {{"before", s.bytes_before}, {"after", s.bytes_after}}},
      {"simplifications", as_object(by_operator(s.counts))},
      {"rules", as_object(by_rule(s.counts))},
  };
  if (s.passed_through != 0) object["passed_through"] = s.passed_through;
  object["rounds"] = s.rounds;
  object["seconds"] = {
      {"read", s.read_seconds}, {"simplify", s.simplify_seconds}, {"print", s.print_seconds}};
  object["peak_memory_bytes"] = s.peak_memory;
  return object;
}

std::string as_json(const Statistics& s) {
  return as_object(s).text() + '\n';
}

}  // namespace quarv::cli
