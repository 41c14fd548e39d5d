#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <fmt/core.h>

#include "batch/batch_run.h"
#include "batch/merge.h"
#include "batch/sha256.h"
#include "batch/summary.h"
#include "commands.h"
#include "io/command_line.h"
#include "io/compression.h"
#include "io/file_error.h"
#include "io/json.h"
#include "io/output.h"
#include "io/process.h"
#include "simplify/simplify_arguments.h"

namespace quarv::cli {

namespace {

constexpr const char* description =
    "Simplify many scripts: files, folders and tar archives, also compressed (.gz, .xz, .zst)";

constexpr const char* footer =
    R"(Examples:
  quarv batch queries -j 8 --out small       simplify all scripts of a folder
  quarv batch queries -j 8 --out small --resume
                                             do what an earlier run did not finish
  quarv batch queries.tar.xz --time 60 --memory 2GiB --results results.jsonl
                                             only collect the results
  quarv batch queries --shard 1/2 --results first.jsonl
                                             do half of them; the rest runs elsewhere
  quarv batch --merge first.jsonl second.jsonl --results all.jsonl
                                             join the results

Results are JSON lines: a header, and a row for each file. A row's "status" is
  ok          simplified                  rejected    the script has an error
  timeout     over the time limit         memory      over the memory limit
  crash       the process died            unreadable  the file cannot be read
  unwritable  the output cannot be written failed     anything else

Exit status: 0 when all files are ok, 1 when some are not or are missing, 2 for usage errors.)";

struct Arguments {
  std::vector<std::string> paths;
  std::string output_folder;
  std::string results;
  std::string compress;
  unsigned jobs = std::max(1u, std::thread::hardware_concurrency());
  BatchLimits limits = {300, 0};
  std::pair<std::size_t, std::size_t> share = {1, 1};
  bool resume = false;
  bool dedupe = false;
  bool merge = false;
  SimplifyArguments how;
};

/// "2/5"
std::string parse_share(const std::string& text, std::pair<std::size_t, std::size_t>& share) {
  std::size_t i = 0;
  std::size_t n = 0;
  int end = 0;
  const bool complete = std::sscanf(text.c_str(), "%5zu/%5zu%n", &i, &n, &end) == 2;
  if (!complete || static_cast<std::size_t>(end) != text.size() || i == 0 || i > n) {
    return "the share must be I/N with 1 <= I <= N";
  }
  share = {i, n};
  return "";
}

/// All that decides what the output looks like.
std::string describe(const SimplifyArguments& how, const smtlib::SimplifyOptions& options) {
  Json rule_files = Json::array();
  for (const RuleFile& file : options.extra_rules) rule_files.push_back(sha256(file.text));
  return Json({
                  {"rules", !how.no_rules},
                  {"simplifiers", !how.no_simplifiers},
                  {"library_semantics", how.library_semantics},
                  {"canonical", how.canonical},
                  {"lenient", how.lenient},
                  {"width", options.width},
                  {"extended", options.extended},
                  {"share", how.sharing},
                  {"rule_files", rule_files},
                  {"disabled_rules", Json::array({how.disabled_rules.begin(), how.disabled_rules.end()})},
              })
      .text();
}

std::string results_path(const Arguments& arguments) {
  if (!arguments.results.empty()) return arguments.results;
  return arguments.output_folder.empty() ? "-" : arguments.output_folder + "/results.jsonl";
}

/// Prints a summary, and returns the exit status.
int conclude(const Results& results, const Arguments& arguments) {
  say("{}{}", arguments.dedupe ? duplicates_in(results) : "", summary_of(results));
  return all_well(results) ? success : failure;
}

int merge(const Arguments& arguments) {
  const MergedResults merged = merge_results(arguments.paths);
  Output output(arguments.results.empty() ? "-" : arguments.results);
  output.stream() << as_text(merged.results);
  output.commit();
  for (const std::string& sentence : merged.missing) say("missing: {}\n", sentence);
  const int status = conclude(merged.results, arguments);
  return merged.missing.empty() ? status : failure;
}

int batch(const Arguments& arguments) {
  BatchOptions options;
  options.task.simplify = read_options(arguments.how);
  options.task.output_folder = arguments.output_folder;
  options.task.compression = compression_of('.' + arguments.compress);
  options.header.version = QUARV_VERSION;
  options.header.options = describe(arguments.how, options.task.simplify);
  options.header.limits = arguments.limits;
  std::tie(options.header.share, options.header.shares) = arguments.share;
  options.jobs = arguments.jobs;
  options.resume = arguments.resume;
  options.results = results_path(arguments);
  // An error in the options would be one for every file; and what is built once here need not be built in
  // each process.
  const Session session(options.task.simplify);

  std::vector<BatchInput> inputs =
      find_inputs(arguments.paths, {arguments.output_folder, std::string(suffix_of(options.task.compression)),
                                    Output::is_direct(options.results) ? "" : options.results});
  options.header.inputs = inputs.size();
  std::erase_if(inputs, [&](const BatchInput& input) {
    return !is_in_share(input.name, arguments.share.first, arguments.share.second);
  });
  if (std::error_code error; !arguments.output_folder.empty() &&
                             !std::filesystem::create_directories(arguments.output_folder, error) && error) {
    throw FileError("create", arguments.output_folder, error.value());
  }
  return conclude(run_batch(inputs, options), arguments);
}

void add_work_options(const CommandLine& command, Arguments& arguments) {
  command.option("-j,--jobs", arguments.jobs, "Simplify this many files in parallel")
      .type("N")
      .between(1u, 4096u)
      .shows_default();
  command
      .option("--out", arguments.output_folder,
              "Write simplified scripts to this folder, each whole or not at all, in the "
              "subfolders that they come from; if omitted, there are only results")
      .type("DIR");
  command.option("--compress", arguments.compress, "Compress what is written to the folder")
      .type("gz|xz|zst")
      .one_of({"gz", "xz", "zst"});
  command.option("--time", arguments.limits.seconds, "Give up on a file after this time; 0: never")
      .type("SECONDS")
      .not_negative()
      .shows_default();
  command
      .option("--memory", arguments.limits.bytes,
              "Give up on a file that needs more than this (500MiB, 2GiB), by address space; 0: no limit")
      .type("SIZE")
      .size()
      .shows_default("0");
}

}  // namespace

void add_batch(const CommandLine& program, int& status) {
  const CommandLine command = program.subcommand("batch", description);
  const auto arguments = std::make_shared<Arguments>();
  command.footer(footer);
  command.option("PATH", arguments->paths, "Files, folders and archives; with --merge: result files")
      .type("")
      .required();
  add_work_options(command, *arguments);
  command
      .option("--results", arguments->results,
              "Where results go; DIR/results.jsonl with --out DIR, otherwise standard output")
      .type("FILE");
  const Option resume = command.flag(
      "--resume", arguments->resume,
      "Skip what an earlier run of the same version and options has done, according to its results");
  const Option share = command
                           .option(
                               "--shard",
                               [arguments](const std::string& text) {
                                 const std::string error = parse_share(text, arguments->share);
                                 if (!error.empty()) refuse_value("--shard", error);
                               },
                               "Do only share I of N; the division depends only on the names of the files")
                           .type("I/N");
  command.flag("--dedupe", arguments->dedupe,
               "List the files that became the same formula up to the names declared in them");
  command.flag("--merge", arguments->merge, "Join the result files of shares, and report what is missing")
      .excludes(resume)
      .excludes(share);
  add_simplify_options(command, arguments->how);
  add_lenient_option(command, arguments->how.lenient);
  add_width_option(command, arguments->how.width);
  command.callback([arguments, &status] {
    const bool to_file = !arguments->results.empty() || !arguments->output_folder.empty();
    if (arguments->resume && (!to_file || arguments->results == "-")) {
      refuse_value("--resume", "needs --results or --out");
    }
    if (arguments->resume && Output::is_direct(results_path(*arguments))) {
      refuse_value("--resume",
                   "needs results in a regular file: " + results_path(*arguments) + " is not one");
    }
    if (!arguments->merge && compression_of(arguments->results) != Compression::none) {
      refuse_value("--results", "rows are appended to the file as they come, so it cannot be compressed");
    }
    if (!arguments->compress.empty() && arguments->output_folder.empty()) {
      refuse_value("--compress", "needs --out");
    }
    try {
      status = arguments->merge ? merge(*arguments) : batch(*arguments);
    } catch (const UnknownRule& e) {
      say("quarv: {} (see quarv rules list)\n", e.what());
      status = usage_error;
    } catch (const InputConflict& e) {
      say("quarv: {}\n", e.what());
      status = usage_error;
    }
  });
}

}  // namespace quarv::cli
