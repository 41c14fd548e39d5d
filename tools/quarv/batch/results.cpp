#include "batch/results.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

#include <nlohmann/json.hpp>

#include "file_error.h"
#include "input.h"
#include "output.h"

namespace quarv::cli {

namespace {

using Json = nlohmann::ordered_json;

std::string dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string as_line(const ResultsHeader& h) {
  return dump({
      {"results", "quarv batch"},
      {"version", h.version},
      {"options", Json::parse(h.options)},
      {"limits", {{"seconds", h.limits.seconds}, {"bytes", h.limits.bytes}}},
      {"share", h.share},
      {"shares", h.shares},
      {"inputs", h.inputs},
  });
}

ResultsHeader read_header(const Json& json) {
  ResultsHeader h;
  h.version = json.at("version").get<std::string>();
  h.options = dump(json.at("options"));
  h.limits.seconds = json.at("limits").at("seconds").get<double>();
  h.limits.bytes = json.at("limits").at("bytes").get<std::uint64_t>();
  h.share = json.at("share").get<std::size_t>();
  h.shares = json.at("shares").get<std::size_t>();
  h.inputs = json.at("inputs").get<std::size_t>();
  return h;
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
  return {std::string(pending_status), dump({{"file", name}, {"status", pending_status}})};
}

Results read_results(const std::string& path) {
  const Input input(path);
  std::string_view text = input.text();
  Results results;
  std::size_t line_number = 0;
  const auto fail = [&](const std::string& what) {
    throw ResultsError(input.name() + ':' + std::to_string(line_number) + ": " + what);
  };
  for (std::size_t end; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
    const std::string_view line = text.substr(0, end);
    ++line_number;
    try {
      const Json json = Json::parse(line);
      if (line_number == 1) {
        if (json.value("results", "") != "quarv batch") fail("these are no results of quarv batch");
        results.header = read_header(json);
      } else {
        results.rows[json.at("file").get<std::string>()] = {json.at("status").get<std::string>(),
                                                            std::string(line)};
      }
    } catch (const Json::exception&) {
      fail(line_number == 1 ? "these are no results of quarv batch" : "this is no result of a file");
    }
  }
  if (line_number == 0) fail("these are no results of quarv batch");
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
