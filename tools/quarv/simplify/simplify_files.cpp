#include "simplify/simplify_files.h"

#include <exception>
#include <new>
#include <optional>
#include <sstream>

#include "commands.h"
#include "io/input.h"
#include "io/output.h"
#include "io/process.h"
#include "io/waiting_note.h"
#include "simplify/simplify_arguments.h"
#include "simplify/text_diff.h"
#include <quarv/smtlib/read/reader.h>
#include <quarv/util/input_error.h>

namespace quarv::cli {

namespace {

/// A script, and what became of it.
struct SimplifiedFile {
  Input input;
  std::string output;

  SimplifiedFile(const std::string& path, const smtlib::SimplifyOptions& options) : input(path) {
    const WaitingNote note("simplifying " + input.name());
    std::ostringstream out;
    smtlib::simplify_script(input.text(), input.name(), out, options);
    output = std::move(out).str();
  }

  bool changed() const { return output != input.text(); }
};

/// Writes the script to where it was read from, compressed as it was.
void replace(const std::string& path, const SimplifiedFile& file) {
  if (file.input.compressed() && compression_of(path) == Compression::none) {
    throw FileError("replace", path, "it is compressed, but its name does not say how");
  }
  if (!file.changed()) return;
  Output output(path);
  output.stream() << file.output;
  output.commit();
}

/// Simplifies a file and replaces it. Returns true, or throws.
bool simplify_in_place(const std::string& path, const smtlib::SimplifyOptions& options) {
  // What is no file could not be read again, nor replaced in one step.
  if (Output::is_direct(path)) throw FileError("replace", path, "it is not a regular file");
  replace(path, SimplifiedFile(path, options));
  return true;
}

/// What `work` returns; none if it fails, which is reported as it is when there is one file.
template <class Work>
auto attempt(Work work) -> std::optional<decltype(work())> {
  try {
    return work();
  } catch (const UnknownRule&) {
    throw;  // not an error of any file
  } catch (const smtlib::NotUnderstood& e) {
    say("{} ({})\n{}", e.what(), lenient_hint, e.excerpt());
  } catch (const InputError& e) {
    say("{}\n{}", e.what(), e.excerpt());
  } catch (const std::bad_alloc&) {
    say("quarv: error: out of memory\n");
  } catch (const std::exception& e) {
    say("quarv: error: {}\n", e.what());
  }
  return std::nullopt;
}

}  // namespace

int simplify_files(const std::vector<std::string>& paths, const FileActions& actions,
                   const smtlib::SimplifyOptions& options) {
  const Session errors_of_rules(options);  // are not those of each file
  Output out("-");
  int status = success;
  for (const std::string& path : paths) {
    if (actions.in_place) {
      if (!attempt([&] { return simplify_in_place(path, options); })) status = failure;
      continue;
    }
    const auto file = attempt([&] { return SimplifiedFile(path, options); });
    if (!file) {
      status = failure;
      continue;
    }
    if (actions.diff) {
      print_diff(file->input.name(), file->input.text(), file->output, actions.colour, out.stream());
    } else if (!actions.check) {
      out.stream() << file->output;
    }
    out.stream().flush();
    if (!actions.check || !file->changed()) continue;
    say("{}: simplification would change it\n", file->input.name());
    status = failure;
  }
  out.commit();
  return status;
}

}  // namespace quarv::cli
