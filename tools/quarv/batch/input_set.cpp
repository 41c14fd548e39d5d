#include "batch/input_set.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include <fmt/core.h>

#include "batch/archive.h"
#include "batch/sha256.h"
#include "io/compression.h"
#include "io/json.h"

namespace quarv::cli {

namespace {

namespace fs = std::filesystem;

bool is_script_name(const std::string& name) {
  return name.ends_with(".smt2") || compression_of(name) != Compression::none;
}

/// A path that stays below the folder to which it is appended: like tar, without a root or leading "..".
fs::path inner_path(const fs::path& path) {
  fs::path inner;
  for (const fs::path& part : path.lexically_normal().relative_path()) {
    if (part != ".." && !part.empty()) inner /= part;
  }
  return inner;
}

std::string output_of(const std::string& name) {
  std::string output = inner_path(name).string();
  output.resize(output.size() - suffix_of(compression_of(output)).size());
  return output;
}

bool is_unicode(const std::string& text) {
  try {
    static_cast<void>(Json(text).text());
    return true;
  } catch (const JsonError&) {
    return false;
  }
}

std::string as_unicode(const std::string& name) {
  if (is_unicode(name)) return name;
  std::string text;
  for (const char c : name) {
    constexpr unsigned char first_beyond_ascii = 0x80;
    const auto byte = static_cast<unsigned char>(c);
    text += byte < first_beyond_ascii ? std::string(1, c) : fmt::format("\\x{:02x}", byte);
  }
  return text;
}

/// There is something to open there that is neither a file nor a folder.
bool is_special(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

/// The files by device and number: whatever links lead there, a file is one.
class KnownFiles {
 public:
  void add(const std::string& path, const std::string& name) {
    struct stat status;
    if (stat(path.c_str(), &status) == 0) names_.try_emplace({status.st_dev, status.st_ino}, name);
  }

  /// What the file at `path` was added as; null if it was not.
  const std::string* find(const std::string& path) const {
    struct stat status;
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
    const auto found = names_.find({status.st_dev, status.st_ino});
    return found == names_.end() ? nullptr : &found->second;
  }

 private:
  std::map<std::pair<dev_t, ino_t>, std::string> names_;
};

class Search {
 public:
  explicit Search(const BatchOutputs& outputs) : outputs_(outputs) {}

  /// A path that the user names.
  void add_named(const fs::path& path) {
    const std::size_t before = num_found_;
    add(path);
    if (num_found_ != before) return;
    std::error_code error;
    const bool is_output = !outputs_.folder.empty() && fs::equivalent(path, outputs_.folder, error);
    add_unreadable(path, is_output
                             ? path.string() + " is where output goes"
                             : "no script in " + path.string() + ": names end in .smt2, .gz, .xz, .zst");
  }

  std::vector<BatchInput> inputs() && {
    std::vector<BatchInput> sorted;
    std::map<std::string_view, const BatchInput*> by_output;
    std::map<std::string_view, const BatchInput*> by_name;
    KnownFiles files;
    for (const auto& [name, input] : inputs_) {
      if (!by_name.emplace(input.name, &input).second) {
        refuse("two files would be called " + input.name + " in the results");
      }
      if (!input.error.empty()) continue;
      const auto [other, is_new] = by_output.emplace(input.output, &input);
      if (!is_new && !outputs_.folder.empty()) refuse_same_output(other->second->name, input.name);
      files.add(input.path, input.member ? input.path : input.name);
    }
    check_outputs(files);
    for (auto& [name, input] : inputs_) sorted.push_back(std::move(input));
    return sorted;
  }

 private:
  [[noreturn]] static void refuse(const std::string& reason) { throw InputConflict(reason); }

  [[noreturn]] static void refuse_same_output(const std::string& a, const std::string& b) {
    refuse(a + " and " + b + " would have the same output");
  }

  void add(const fs::path& path) {
    std::error_code error;
    if (fs::is_directory(path, error)) {
      add_folder(path);
    } else if (is_archive_name(path.native())) {
      add_archive(path);
    } else {
      const std::string name = path.lexically_normal().string();
      add_input(name, {as_unicode(name), path.string(), output_of(name), std::nullopt, ""});
    }
  }

  void add_input(const std::string& name, BatchInput&& input) {
    ++num_found_;
    inputs_.try_emplace(name, std::move(input));
  }

  void add_unreadable(const fs::path& path, const std::string& error) {
    const std::string name = path.lexically_normal().string();
    add_input(name, {as_unicode(name), path.string(), "", std::nullopt, error});
  }

  void add_special(const fs::path& path) {
    add_unreadable(path, "cannot read " + path.string() + ": it is not a regular file");
  }

  void add_folder(const fs::path& folder) {
    std::error_code error;
    if (!outputs_.folder.empty() && fs::equivalent(folder, outputs_.folder, error)) return;
    // What cannot be read must not end the walk, as it would with a recursive iterator.
    std::vector<fs::path> entries;
    for (fs::directory_iterator i(folder, error), end; !error && i != end; i.increment(error)) {
      entries.push_back(i->path());
    }
    if (error) add_unreadable(folder, "cannot read " + folder.string() + ": " + error.message());
    for (const fs::path& entry : entries) add_entry(entry);
  }

  void add_entry(const fs::path& path) {
    std::error_code error;
    if (fs::is_directory(path, error)) {
      if (!fs::is_symlink(path, error)) add_folder(path);  // a link may lead back to where the walk came from
    } else if (is_archive_name(path.native()) || is_script_name(path.native())) {
      // To open a pipe is to wait for whoever writes to it.
      if (is_special(path)) return add_special(path);
      add(path);
    }
  }

  void add_archive(const fs::path& path) {
    if (is_special(path)) return add_special(path);  // archives are read twice
    std::map<std::string, std::string> paths;        // in the archive, by the input's name
    try {
      ArchiveReader reader(path.string());
      std::string member;
      for (std::size_t i = 0; reader.next(member); ++i) {
        if (!is_script_name(member)) continue;
        ++num_found_;
        const std::string name = (path.lexically_normal() / inner_path(member)).string();
        const auto [other, is_new] = paths.emplace(name, fs::path(member).lexically_normal().string());
        if (!is_new && other->second != fs::path(member).lexically_normal()) {
          refuse_same_output(as_unicode(other->second), as_unicode(member) + " in " + path.string());
        }
        // Of a file that was added to the archive again, the last version counts.
        inputs_[name] = {as_unicode(name), path.string(), output_of(name), i, ""};
      }
    } catch (const ArchiveError& e) {
      add_unreadable(path, e.what());
    }
  }

  /// No input must be replaced by what is written.
  void check_outputs(const KnownFiles& files) const {
    if (const std::string* const input = files.find(outputs_.results)) {
      refuse(*input + " would be replaced by the results");
    }
    if (outputs_.folder.empty()) return;
    for (const auto& [name, input] : inputs_) {
      if (!input.error.empty()) continue;
      const std::string output = (fs::path(outputs_.folder) / input.output).string() + outputs_.suffix;
      if (fs::path(output).lexically_normal() == fs::path(outputs_.results).lexically_normal()) {
        refuse("the output of " + input.name + " and the results would be the same file");
      }
      const std::string* const replaced = files.find(output);
      if (replaced == nullptr) continue;
      refuse(*replaced == input.name ? input.name + " would be replaced by its own output"
                                     : *replaced + " would be replaced by the output of " + input.name);
    }
  }

  const BatchOutputs& outputs_;
  std::map<std::string, BatchInput> inputs_;  // by name, as it is in the file system
  std::size_t num_found_ = 0;
};

}  // namespace

std::vector<BatchInput> find_inputs(const std::vector<std::string>& paths, const BatchOutputs& outputs) {
  Search search(outputs);
  for (const std::string& path : paths) search.add_named(path);
  return std::move(search).inputs();
}

bool is_in_share(const std::string& name, std::size_t share, std::size_t shares) {
  constexpr std::size_t digits = 16;
  const std::uint64_t key = std::stoull(sha256(name).substr(0, digits), nullptr, 16);
  return key % shares == share - 1;
}

}  // namespace quarv::cli
