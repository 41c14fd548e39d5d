#include "batch/archive.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include "io/compression.h"
#include "io/decompression_limit.h"

namespace quarv::cli {

namespace {

std::string reason(archive* a) {
  const char* const text = archive_error_string(a);
  return text != nullptr ? text : "it is damaged";
}

std::string read_data(archive* a, const std::string& name, const DecompressionLimit& limit) {
  std::string data;
  std::vector<char> buffer(std::size_t{1} << 16);
  for (;;) {
    const la_ssize_t n = archive_read_data(a, buffer.data(), buffer.size());
    if (n == 0) return data;
    if (n < 0) throw ArchiveError("cannot read " + name + ": " + reason(a));
    data.append(buffer.data(), static_cast<std::size_t>(n));
    if (!limit.admits(data.size())) throw MemberTooLarge("cannot read " + name + ": " + limit.reason());
  }
}

}  // namespace

bool is_archive_name(std::string_view name) {
  constexpr std::array<std::string_view, 7> suffixes = {".tar",     ".tar.gz", ".tgz", ".tar.xz",
                                                        ".tar.zst", ".txz",    ".tzst"};
  return std::any_of(suffixes.begin(), suffixes.end(), [&](std::string_view s) { return name.ends_with(s); });
}

void ArchiveReader::Free::operator()(archive* a) const {
  archive_read_free(a);
}

ArchiveReader::ArchiveReader(const std::string& path) : path_(path), archive_(archive_read_new()) {
  constexpr std::size_t block = std::size_t{1} << 16;
  if (!archive_) throw std::bad_alloc();
  accept_compression(archive_.get());
  archive_read_support_format_tar(archive_.get());
  if (archive_read_open_filename(archive_.get(), path.c_str(), block) != ARCHIVE_OK) fail();
}

void ArchiveReader::fail() const {
  throw ArchiveError("cannot read " + path_ + ": " + reason(archive_.get()));
}

bool ArchiveReader::next(std::string& name) {
  for (;;) {
    archive_entry* entry;
    const int status = archive_read_next_header(archive_.get(), &entry);
    if (status == ARCHIVE_EOF) return false;
    if (status < ARCHIVE_WARN) fail();
    // A hard link has no contents of its own: the file that it leads to is there under its first name.
    if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_hardlink(entry) != nullptr) continue;
    // Where the locale does not know a name's letters, there is only the name in UTF-8.
    const char* text = archive_entry_pathname(entry);
    if (text == nullptr) text = archive_entry_pathname_utf8(entry);
    if (text == nullptr) continue;
    name = member_ = text;
    return true;
  }
}

std::string ArchiveReader::contents() {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path_, error);
  return read_data(archive_.get(), path_ + '/' + member_, DecompressionLimit(error ? 0 : size));
}

}  // namespace quarv::cli
