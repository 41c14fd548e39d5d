#include "batch/archive.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <new>
#include <utility>
#include <vector>

namespace quarv::cli {

namespace {

// Only these formats, so that no more of libarchive than needed becomes part of the program.
void accept_compression(archive* a) {
  archive_read_support_filter_gzip(a);
  archive_read_support_filter_xz(a);
  archive_read_support_filter_zstd(a);
}

std::string reason(archive* a) {
  const char* const text = archive_error_string(a);
  return text != nullptr ? text : "it is damaged";
}

std::string read_data(archive* a, const std::string& name) {
  std::string data;
  std::vector<char> buffer(std::size_t{1} << 16);
  for (;;) {
    const la_ssize_t n = archive_read_data(a, buffer.data(), buffer.size());
    if (n == 0) return data;
    if (n < 0) throw ArchiveError("cannot read " + name + ": " + reason(a));
    data.append(buffer.data(), static_cast<std::size_t>(n));
  }
}

struct FreeWriter {
  void operator()(archive* a) const { archive_write_free(a); }
};

struct FreeEntry {
  void operator()(archive_entry* e) const { archive_entry_free(e); }
};

la_ssize_t append(archive*, void* text, const void* bytes, std::size_t size) {
  static_cast<std::string*>(text)->append(static_cast<const char*>(bytes), size);
  return static_cast<la_ssize_t>(size);
}

}  // namespace

Compression compression_of(std::string_view name) {
  for (Compression c : {Compression::gz, Compression::xz, Compression::zst}) {
    if (name.ends_with(suffix_of(c))) return c;
  }
  return Compression::none;
}

std::string_view suffix_of(Compression compression) {
  constexpr std::array<std::string_view, 4> suffixes = {"", ".gz", ".xz", ".zst"};
  return suffixes[static_cast<std::size_t>(compression)];
}

bool is_archive_name(std::string_view name) {
  constexpr std::array<std::string_view, 7> suffixes = {".tar",     ".tar.gz", ".tgz", ".tar.xz",
                                                        ".tar.zst", ".txz",    ".tzst"};
  return std::any_of(suffixes.begin(), suffixes.end(), [&](std::string_view s) { return name.ends_with(s); });
}

std::string decompressed(std::string_view bytes, const std::string& name) {
  const std::unique_ptr<archive, ArchiveReader::Free> reader(archive_read_new());
  if (!reader) throw std::bad_alloc();
  accept_compression(reader.get());
  archive_read_support_format_raw(reader.get());
  archive_read_support_format_empty(reader.get());
  archive_entry* entry;
  if (archive_read_open_memory(reader.get(), bytes.data(), bytes.size()) != ARCHIVE_OK) {
    throw ArchiveError("cannot read " + name + ": " + reason(reader.get()));
  }
  const int status = archive_read_next_header(reader.get(), &entry);
  // There is always one filter, which does nothing.
  if (archive_filter_count(reader.get()) < 2) {
    throw ArchiveError("cannot read " + name + ": it is not compressed as its name says");
  }
  if (status == ARCHIVE_EOF) return {};
  if (status != ARCHIVE_OK) throw ArchiveError("cannot read " + name + ": " + reason(reader.get()));
  return read_data(reader.get(), name);
}

std::string compressed(std::string_view text, Compression compression) {
  std::string bytes;
  const std::unique_ptr<archive, FreeWriter> writer(archive_write_new());
  const std::unique_ptr<archive_entry, FreeEntry> entry(archive_entry_new());
  if (!writer || !entry) throw std::bad_alloc();
  archive* const w = writer.get();
  archive_write_set_format_raw(w);
  if (compression == Compression::gz) {
    archive_write_add_filter_gzip(w);
    archive_write_set_filter_option(w, "gzip", "timestamp", nullptr);
  }
  if (compression == Compression::xz) archive_write_add_filter_xz(w);
  if (compression == Compression::zst) archive_write_add_filter_zstd(w);
  archive_write_set_bytes_per_block(w, 0);
  archive_entry_set_filetype(entry.get(), AE_IFREG);
  const bool written =
      archive_write_open(w, &bytes, nullptr, append, nullptr) == ARCHIVE_OK &&
      archive_write_header(w, entry.get()) == ARCHIVE_OK &&
      archive_write_data(w, text.data(), text.size()) == static_cast<la_ssize_t>(text.size()) &&
      archive_write_close(w) == ARCHIVE_OK;
  if (!written) throw ArchiveError("cannot compress: " + reason(w));
  return bytes;
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
    name = text;
    return true;
  }
}

std::string ArchiveReader::contents() {
  return read_data(archive_.get(), path_);
}

}  // namespace quarv::cli
