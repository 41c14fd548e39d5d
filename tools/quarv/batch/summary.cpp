#include "batch/summary.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <vector>

#include <fmt/core.h>

#include "io/json.h"

namespace quarv::cli {

namespace {

/// A number in a row; 0 if it is not there.
double number(const Json& row, const char* group, const char* key) {
  const Json* const found = row.find(group);
  return found == nullptr ? 0 : found->number_or(key, 0.0);
}

struct Sums {
  std::map<std::string, std::size_t> files;  // by status
  double terms_before = 0, terms_after = 0;
  double bytes_before = 0, bytes_after = 0;
  double read = 0, simplify = 0, print = 0, total = 0;
  double peak_memory = 0;
};

void add(Sums& sums, const Json& row) {
  sums.total += number(row, "seconds", "total");
  sums.peak_memory = std::max(sums.peak_memory, row.number_or("peak_memory_bytes", 0.0));
  if (row.at("status") != "ok") return;  // sizes of one side are not to be compared
  sums.terms_before += number(row, "terms", "before");
  sums.terms_after += number(row, "terms", "after");
  sums.bytes_before += number(row, "bytes", "before");
  sums.bytes_after += number(row, "bytes", "after");
  sums.read += number(row, "seconds", "read");
  sums.simplify += number(row, "seconds", "simplify");
  sums.print += number(row, "seconds", "print");
}

void append_size(std::string& text, std::string_view name, double before, double after) {
  const double change = before == 0 ? 0 : (after - before) / before * 100;
  text += fmt::format("{:<12}{:>14.0f} -> {:>14.0f}  {:+.1f} %\n", name, before, after, change);
}

/// Names may hold any character; what is said of a file stands on one line.
std::string on_one_line(std::string_view text) {
  std::string line;
  for (const char c : text) {
    constexpr unsigned char blank = 0x20;
    if (c == '\n') {
      line += "\\n";
    } else if (static_cast<unsigned char>(c) < blank) {
      line += fmt::format("\\x{:02x}", c);
    } else {
      line += c;
    }
  }
  return line;
}

constexpr std::size_t most_failures = 50;

void append_failures(std::string& text, const Results& results) {
  std::size_t count = 0;
  for (const auto& [name, row] : results.rows) {
    if (row.status == "ok" || row.status == pending_status || ++count > most_failures) continue;
    const std::string message = Json::parse(row.line).string_or("message", "");
    const bool names_file = message.find(name) != std::string::npos;
    text += fmt::format("{}: {}{}\n", row.status, names_file ? "" : on_one_line(name) + ": ",
                        on_one_line(message));
  }
  if (count > most_failures) {
    text += fmt::format("... {} further failures\n", count - most_failures);
  }
}

}  // namespace

std::string summary_of(const Results& results) {
  Sums sums;
  for (const auto& [name, row] : results.rows) {
    ++sums.files[row.status];
    add(sums, Json::parse(row.line));
  }
  std::string text;
  append_failures(text, results);
  text += fmt::format("{:<12}{:>14}\n", "files", results.rows.size());
  for (const auto& [status, count] : sums.files) text += fmt::format("  {:<10}{:>14}\n", status, count);
  append_size(text, "terms", sums.terms_before, sums.terms_after);
  append_size(text, "bytes", sums.bytes_before, sums.bytes_after);
  text += fmt::format("{:<12}{:>14.3f} s of work: reading {:.3f}, simplifying {:.3f}, printing {:.3f}\n",
                      "time", sums.total, sums.read, sums.simplify, sums.print);
  text += fmt::format("{:<12}{:>14.1f} MiB in one file\n", "memory", sums.peak_memory / (1 << 20));
  return text;
}

std::string duplicates_in(const Results& results) {
  std::map<std::string, std::vector<std::string_view>> files;  // by formula
  for (const auto& [name, row] : results.rows) {
    if (row.status == "ok") files[Json::parse(row.line).string_or("formula", "")].push_back(name);
  }
  std::vector<const std::vector<std::string_view>*> groups;
  for (const auto& [formula, names] : files) {
    if (names.size() > 1) groups.push_back(&names);
  }
  std::sort(groups.begin(), groups.end(),
            [](const auto* a, const auto* b) { return a->front() < b->front(); });
  std::string text;
  for (const auto* names : groups) {
    text += "the same formula:\n";
    for (std::string_view name : *names) text += fmt::format("  {}\n", on_one_line(name));
  }
  return text;
}

bool all_well(const Results& results) {
  return std::all_of(results.rows.begin(), results.rows.end(),
                     [](const auto& entry) { return entry.second.status == "ok"; });
}

}  // namespace quarv::cli
