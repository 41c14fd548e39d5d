#include "batch/results.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

#include "io/file_error.h"
#include "io/json.h"
#include "io/output.h"

namespace quarv::cli {

namespace {

std::string as_line(const ResultsHeader& h) {
  return Json({
                  {"results", "quarv batch"},
                  {"version", h.version},
                  {"options", Json::parse(h.options)},
                  {"limits", {{"seconds", h.limits.seconds}, {"bytes", h.limits.bytes}}},
                  {"share", h.share},
                  {"shares", h.shares},
                  {"inputs", h.inputs},
              })
      .repaired_text();
}

/// The options of a batch: one of them had another name in earlier results.
Json with_present_names(const Json& options) {
  if (!options.is_object()) return options;
  Json result = Json::object();
  for (const auto& [name, value] : options.members()) {
    result[name == "standard" ? "library_semantics" : name] = value;
  }
  return result;
}

ResultsHeader read_header(const Json& json) {
  ResultsHeader h;
  h.version = json.at("version").string();
  h.options = with_present_names(json.at("options")).repaired_text();
  h.limits.seconds = json.at("limits").at("seconds").number<double>();
  h.limits.bytes = json.at("limits").at("bytes").number<std::uint64_t>();
  h.share = json.at("share").number<std::size_t>();
  h.shares = json.at("shares").number<std::size_t>();
  h.inputs = json.at("inputs").number<std::size_t>();
  return h;
}

bool is_object_of_numbers(const Json& json) {
  return json.is_object() &&
         std::ranges::all_of(json.members(), [](const Json::Member& m) { return m.value.is_number(); });
}

/// What a row has must be what others take it for.
bool is_row(const Json& row) {
  if (!row.is_object() || !row.contains("file") || !row.contains("status")) return false;
  constexpr std::size_t longest_number = 9;
  return std::ranges::all_of(row.members(), [](const Json::Member& member) {
    const auto& [key, value] = member;
    if (key == "rules" && is_object_of_numbers(value)) {
      return std::ranges::all_of(value.members(), [](const Json::Member& rule) {
        const std::string& name = rule.name;
        const bool is_number = name.find_first_not_of("0123456789") == std::string::npos;
        if (is_number) return !name.empty() && name.size() <= longest_number && name != "0";
        return name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == std::string::npos;
      });
    }
    constexpr std::array<std::string_view, 5> texts = {"file", "status", "message", "digest", "formula"};
    constexpr std::array<std::string_view, 3> numbers = {"passed_through", "rounds", "peak_memory_bytes"};
    if (std::ranges::find(texts, key) != texts.end()) return value.is_string();
    if (std::ranges::find(numbers, key) != numbers.end()) return value.is_number();
    return is_object_of_numbers(value);
  });
}

void write_all(int file, std::string_view text, const std::string& name) {
  while (!text.empty()) {
    const ssize_t n = write(file, text.data(), text.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) throw FileError("write", name);
    text.remove_prefix(static_cast<std::size_t>(n));
  }
}

/// Empty when there is no such file.
FileDescriptor lock(const std::string& path) {
  FileDescriptor file(open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
  if (!file && errno != ENOENT) throw FileError("write", path);
  if (file && flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
    throw FileError("write", path, "another batch is writing to it");
  }
  return file;
}

}  // namespace

std::string as_text(const Results& results) {
  std::string text = as_line(results.header) + '\n';
  for (const auto& [name, row] : results.rows) {
    text += row.line;
    text += '\n';
  }
  return text;
}

Row pending_row(const std::string& name) {
  return {std::string(pending_status), Json({{"file", name}, {"status", pending_status}}).repaired_text()};
}

Results read_results(const Input& input) {
  std::string_view text = input.text();
  Results results;
  std::size_t line_number = 0;
  const auto fail = [&](const std::string& what) {
    // The first line may not have been read to its end.
    throw ResultsError(input.name() + ':' + std::to_string(line_number == 0 ? 1 : line_number) + ": " + what);
  };
  for (std::size_t end; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
    const std::string_view line = text.substr(0, end);
    ++line_number;
    try {
      const Json json = Json::parse(line);
      if (line_number == 1) {
        if (json.string_or("results", "") != "quarv batch") fail("these are not results of quarv batch");
        results.header = read_header(json);
      } else {
        if (!is_row(json)) fail("this is not the result of a file");
        results.rows[json.at("file").string()] = {json.at("status").string(), std::string(line)};
      }
    } catch (const JsonError&) {
      fail(line_number == 1 ? "these are not results of quarv batch" : "this is not the result of a file");
    }
  }
  if (line_number == 0) fail("these are not results of quarv batch");
  return results;
}

Journal::Journal(const std::string& path, const Results& results) : path_(path), file_(lock(path)) {
  replace(results);
}

void Journal::replace(const Results& results) {
  Output output(path_);
  output.stream() << as_text(results);
  output.commit();
  file_ = lock(path_);
}

void Journal::add(const Row& row) {
  write_all(file_.get(), row.line + '\n', path_);
}

}  // namespace quarv::cli
