#include "batch/file_task.h"

#include <cstring>
#include <filesystem>
#include <new>
#include <sstream>
#include <string_view>
#include <system_error>
#include <unistd.h>

#include <fmt/core.h>

#include "batch/formula_digest.h"
#include "batch/script_source.h"
#include "batch/sha256.h"
#include "io/file_error.h"
#include "io/json.h"
#include "io/output.h"
#include "simplify/simplify_arguments.h"
#include "simplify/simplify_text.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/util/input_error.h>

namespace quarv::cli {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view unchanged = "unchanged";

void write_output(const BatchInput& input, const std::string& text, const FileTaskOptions& options) {
  const std::string path = output_path(input, options);
  std::error_code error;
  fs::create_directories(fs::path(path).parent_path(), error);
  if (error) throw FileError("write", path, error.value());
  Output output(path, Output::TemporaryName::fixed);
  output.stream() << text;
  output.commit();
}

/// A row is completed from what is known when work begins, what becomes of it, and what it cost.
class FileWork {
 public:
  FileWork(const BatchInput& input, const FileTaskOptions& options, TaskLog& log)
      : input_(input), options_(options), log_(log) {}

  void run(const std::string* bytes, const std::string& known_digest) {
    const auto fail = [this](std::string_view status, const std::string& message) {
      log_.add(Json({{"status", status}, {"message", message}}).repaired_text());
    };
    std::string_view phase = "unreadable";
    try {
      const ScriptSource source(input_.name, input_.path, bytes);
      const std::string_view script = source.text();
      const std::string digest = sha256(script);
      log_.add(Json({{"digest", digest}, {"bytes", {{"before", script.size()}}}}).repaired_text());
      if (digest == known_digest && has_output()) {
        log_.add(unchanged);
        return;
      }
      phase = "failed";
      std::ostringstream out;
      Statistics statistics = simplify_text(script, input_.name, out, options_.simplify);
      const std::string text = std::move(out).str();
      phase = "unwritable";
      if (!options_.output_folder.empty()) write_output(input_, text, options_);
      phase = "failed";
      measure_texts(script, text, input_.name, statistics);
      finish(normal_form(script, text), statistics);
    } catch (const smtlib::NotUnderstood& e) {
      fail("rejected", fmt::format("{} ({})", e.what(), lenient_hint));
    } catch (const InputError& e) {
      fail("rejected", e.what());
    } catch (const std::bad_alloc&) {
      fail("memory", "out of memory");
    } catch (const std::exception& e) {
      fail(phase, e.what());
    }
  }

 private:
  bool has_output() const {
    return options_.output_folder.empty() || access(output_path(input_, options_).c_str(), F_OK) == 0;
  }

  /// What formulas that simplify to the same have in common.
  std::string normal_form(std::string_view script, const std::string& simplified) const {
    if (!options_.simplify.smallest) return simplified;
    smtlib::SimplifyOptions canonical = options_.simplify;
    canonical.smallest = false;
    canonical.width = 0;
    std::ostringstream out;
    smtlib::simplify_script(script, input_.name, out, canonical);
    return std::move(out).str();
  }

  void finish(std::string_view normal_form, const Statistics& statistics) {
    Json row = {{"status", "ok"}, {"formula", formula_digest(normal_form)}};
    row.update(as_object(statistics));
    log_.add(row.repaired_text());
  }

  const BatchInput& input_;
  const FileTaskOptions& options_;
  TaskLog& log_;
};

/// The last line of text that says something.
std::string last_line(std::string_view text) {
  while (!text.empty() && text.back() == '\n') text.remove_suffix(1);
  const std::size_t newline = text.rfind('\n');
  return std::string(newline == std::string_view::npos ? text : text.substr(newline + 1));
}

/// Says why a process left no result.
Json failure_of(const Ending& ending, const BatchLimits& limits) {
  switch (ending.kind) {
    case Ending::Kind::time_limit:
      return {{"status", "timeout"}, {"message", fmt::format("not done after {} s", limits.seconds)}};
    case Ending::Kind::killed: {
      std::string message = fmt::format("ended by signal {}: {}", ending.code, strsignal(ending.code));
      if (!ending.errors.empty()) message += ": " + last_line(ending.errors);
      return {{"status", "crash"}, {"message", message}};
    }
    case Ending::Kind::exited:
      break;
  }
  return {{"status", "crash"},
          {"message", fmt::format("ended with status {}: {}", ending.code, last_line(ending.errors))}};
}

}  // namespace

std::string output_path(const BatchInput& input, const FileTaskOptions& options) {
  return (fs::path(options.output_folder) / input.output).string() +
         std::string(suffix_of(options.compression));
}

void do_file(const BatchInput& input, const std::string* bytes, const std::string& known_digest,
             const FileTaskOptions& options, TaskLog& log) {
  FileWork(input, options, log).run(bytes, known_digest);
}

std::optional<Row> row_of(const BatchInput& input, const Ending& ending, const BatchLimits& limits) {
  Json row = {{"file", input.name}, {"status", ""}};
  std::istringstream lines(ending.log);
  for (std::string line; std::getline(lines, line);) {
    if (line == unchanged) return std::nullopt;
    row.update(Json::parse(line));
  }
  if (row.at("status").string().empty()) row.update(failure_of(ending, limits));
  if (row.at("status") == "memory" && limits.bytes != 0) {
    row["message"] =
        fmt::format("more than {:.0f} MiB needed", static_cast<double>(limits.bytes) / (1 << 20));
  }
  // What differs between two runs stands at the end.
  Json seconds = row.contains("seconds") ? std::move(row["seconds"]) : Json::object();
  seconds["total"] = ending.seconds;
  const Json peak = row.contains("peak_memory_bytes") ? row.at("peak_memory_bytes") : ending.peak_memory;
  row.erase("seconds");
  row.erase("peak_memory_bytes");
  row["seconds"] = std::move(seconds);
  row["peak_memory_bytes"] = peak;
  return Row{row.at("status").string(), row.repaired_text()};
}

Row unreadable_row(const BatchInput& input, const std::string& message) {
  return {"unreadable",
          Json({{"file", input.name}, {"status", "unreadable"}, {"message", message}}).repaired_text()};
}

std::string digest_in(const Row& row) {
  return Json::parse(row.line).string_or("digest", "");
}

}  // namespace quarv::cli
