#include "batch/input_set.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <system_error>
#include <utility>

#include "batch/archive.h"
#include "batch/sha256.h"
#include "compression.h"

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

class Search {
 public:
  explicit Search(const std::string& output_folder) : output_folder_(output_folder) {}

  void add(const fs::path& path) {
    std::error_code error;
    if (fs::is_directory(path, error)) {
      add_folder(path);
    } else if (is_archive_name(path.native())) {
      add_archive(path);
    } else {
      const std::string name = path.lexically_normal().string();
      add_input({name, path.string(), output_of(name), std::nullopt, ""});
    }
  }

  std::vector<BatchInput> inputs() && {
    std::vector<BatchInput> sorted;
    std::map<std::string_view, const BatchInput*> by_output;
    for (auto& [name, input] : inputs_) {
      if (input.fault.empty()) {
        const auto [other, is_new] = by_output.emplace(input.output, &input);
        if (!is_new) refuse(other->second->name + " and " + name + " would have the same output");
      }
      check_output(input);
    }
    for (auto& [name, input] : inputs_) sorted.push_back(std::move(input));
    return sorted;
  }

 private:
  [[noreturn]] static void refuse(const std::string& reason) { throw InputConflict(reason); }

  void add_input(BatchInput&& input) { inputs_.try_emplace(input.name, std::move(input)); }

  void add_fault(const fs::path& path, const std::string& fault) {
    add_input({path.lexically_normal().string(), path.string(), "", std::nullopt, fault});
  }

  void add_folder(const fs::path& folder) {
    std::error_code error;
    if (!output_folder_.empty() && fs::equivalent(folder, output_folder_, error)) return;
    // What cannot be read must not end the walk, as it would with a recursive iterator.
    std::vector<fs::path> entries;
    for (fs::directory_iterator i(folder, error), end; !error && i != end; i.increment(error)) {
      entries.push_back(i->path());
    }
    if (error) add_fault(folder, "cannot read " + folder.string() + ": " + error.message());
    for (const fs::path& entry : entries) add_entry(entry);
  }

  void add_entry(const fs::path& path) {
    std::error_code error;
    if (fs::is_directory(path, error)) {
      if (!fs::is_symlink(path, error)) add_folder(path);  // a link may lead back to where the walk came from
    } else if (is_archive_name(path.native()) || is_script_name(path.native())) {
      add(path);
    }
  }

  void add_archive(const fs::path& path) {
    try {
      ArchiveReader reader(path.string());
      std::string member;
      for (std::size_t i = 0; reader.next(member); ++i) {
        if (!is_script_name(member)) continue;
        const std::string name = (path.lexically_normal() / inner_path(member)).string();
        // Of a file that was added to the archive again, the last version counts.
        inputs_[name] = {name, path.string(), output_of(name), i, ""};
      }
    } catch (const ArchiveError& e) {
      add_fault(path, e.what());
    }
  }

  void check_output(const BatchInput& input) const {
    std::error_code error;
    if (output_folder_.empty() || input.member || !input.fault.empty()) return;
    if (fs::equivalent(fs::path(output_folder_) / input.output, input.path, error)) {
      refuse(input.name + " would be replaced by its own output");
    }
  }

  fs::path output_folder_;
  std::map<std::string, BatchInput> inputs_;  // by name
};

}  // namespace

std::vector<BatchInput> find_inputs(const std::vector<std::string>& paths, const std::string& output_folder) {
  Search search(output_folder);
  for (const std::string& path : paths) search.add(path);
  return std::move(search).inputs();
}

bool is_in_share(const std::string& name, std::size_t share, std::size_t shares) {
  constexpr std::size_t digits = 16;
  const std::uint64_t key = std::stoull(sha256(name).substr(0, digits), nullptr, 16);
  return key % shares == share - 1;
}

}  // namespace quarv::cli
