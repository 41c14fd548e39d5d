#include "rules/check_cache.h"

#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "batch/sha256.h"
#include "io/file_descriptor.h"
#include "io/json.h"
#include "io/output.h"

namespace quarv::cli {

namespace {

constexpr const char* kind_of_file = "rules checked by quarv";

/// Where the user's caches are; empty where the environment names no folder.
std::string cache_home() {
  const char* const named = std::getenv("XDG_CACHE_HOME");
  // A relative one is to be ignored.
  if (named != nullptr && named[0] == '/') return named;
  const char* const home = std::getenv("HOME");
  return home != nullptr && home[0] == '/' ? std::string(home) + "/.cache" : std::string();
}

bool is_mine_alone(const struct stat& status) {
  return status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

/// Of a file and of its folder, so that nobody else can have written it.
std::optional<std::string> text_of(const std::string& folder, const std::string& path) {
  constexpr off_t largest = 16 << 20;
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0 || !is_mine_alone(status)) return std::nullopt;
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  if (file.get() < 0 || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
      !is_mine_alone(status) || status.st_size > largest) {
    return std::nullopt;
  }
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t length = 0;
  while (length < text.size()) {
    const ssize_t n = read(file.get(), text.data() + length, text.size() - length);
    if (n <= 0) return std::nullopt;
    length += static_cast<std::size_t>(n);
  }
  return text;
}

Json as_json(const std::vector<RuleFinding>& findings) {
  Json all = Json::array();
  for (const RuleFinding& f : findings) {
    all.push_back({f.file, f.line, f.column, static_cast<int>(f.kind), f.text});
  }
  return all;
}

std::string digest_of(const std::string& key, const Json& findings) {
  return sha256(key + '\n' + findings.text());
}

}  // namespace

CheckCache::CheckCache(std::string key) : key_(std::move(key)) {
  if (const std::string home = cache_home(); !home.empty()) folder_ = home + "/quarv/rules";
}

std::optional<std::vector<RuleFinding>> CheckCache::find() const {
  if (folder_.empty()) return std::nullopt;
  const std::optional<std::string> text = text_of(folder_, folder_ + '/' + key_);
  if (!text) return std::nullopt;
  try {
    const Json json = Json::parse(*text);
    const Json& findings = json.at("findings");
    if (json.at("file") != kind_of_file || json.at("key") != key_ ||
        json.at("digest") != digest_of(key_, findings)) {
      return std::nullopt;
    }
    std::vector<RuleFinding> all;
    for (const Json& f : findings.elements()) {
      const int kind = f.at(3).number<int>();
      if (kind < 0 || kind > static_cast<int>(RuleFinding::Kind::unordered)) return std::nullopt;
      all.push_back({f.at(0).number<std::size_t>(), f.at(1).number<std::size_t>(),
                     f.at(2).number<std::size_t>(), static_cast<RuleFinding::Kind>(kind), f.at(4).string()});
    }
    return all;
  } catch (const JsonError&) {
    return std::nullopt;
  }
}

void CheckCache::keep(const std::vector<RuleFinding>& findings) const {
  if (folder_.empty()) return;
  const Json all = as_json(findings);
  const Json json = {
      {"file", kind_of_file}, {"key", key_}, {"digest", digest_of(key_, all)}, {"findings", all}};
  // Only what belongs to the user is made; folders that cannot be made are found missing below.
  for (std::size_t end = folder_.find('/', 1); end != std::string::npos; end = folder_.find('/', end + 1)) {
    mkdir(folder_.substr(0, end).c_str(), 0700);
  }
  mkdir(folder_.c_str(), 0700);
  const std::string path = folder_ + '/' + key_;
  // What is no file would be written to as it stands: into a pipe, through a link.
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && unlink(path.c_str()) != 0) return;
  try {
    Output output(path);
    output.stream() << json.text(1) << '\n';
    output.commit();
    chmod(path.c_str(), 0600);
  } catch (const std::exception&) {
    return;  // then the rules are checked anew next time
  }
}

}  // namespace quarv::cli
