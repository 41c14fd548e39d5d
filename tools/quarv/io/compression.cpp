#include "io/compression.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <memory>
#include <new>
#include <vector>

#include "io/decompression_limit.h"
#include "io/file_error.h"

namespace quarv::cli {

namespace {

constexpr std::array kinds = {Compression::gz, Compression::xz, Compression::zst};

struct FreeReader {
  void operator()(archive* a) const { archive_read_free(a); }
};

struct FreeWriter {
  void operator()(archive* a) const { archive_write_free(a); }
};

struct FreeEntry {
  void operator()(archive_entry* e) const { archive_entry_free(e); }
};

std::string reason(archive* a) {
  const char* const text = archive_error_string(a);
  return text != nullptr ? text : "it is damaged";
}

la_ssize_t append(archive*, void* text, const void* bytes, std::size_t size) {
  static_cast<std::string*>(text)->append(static_cast<const char*>(bytes), size);
  return static_cast<la_ssize_t>(size);
}

}  // namespace

Compression compression_of(std::string_view name) {
  const auto* const found =
      std::ranges::find_if(kinds, [&](Compression c) { return name.ends_with(suffix_of(c)); });
  return found == kinds.end() ? Compression::none : *found;
}

std::string_view suffix_of(Compression compression) {
  constexpr std::array<std::string_view, 4> suffixes = {"", ".gz", ".xz", ".zst"};
  return suffixes[static_cast<std::size_t>(compression)];
}

bool is_compressed(std::string_view bytes) {
  constexpr std::array<std::string_view, 3> beginnings = {"\x1f\x8b",
                                                          "\xfd"
                                                          "7zXZ",
                                                          "\x28\xb5\x2f\xfd"};
  return std::ranges::any_of(beginnings, [&](std::string_view b) { return bytes.starts_with(b); });
}

std::optional<std::string> decompressed(std::string_view bytes, const std::string& name) {
  if (!is_compressed(bytes)) {
    if (compression_of(name) == Compression::none) return std::nullopt;
    throw FileError("read", name, "it is not compressed as its name says");
  }
  const std::unique_ptr<archive, FreeReader> reader(archive_read_new());
  if (!reader) throw std::bad_alloc();
  archive* const a = reader.get();
  const auto fail = [&] { throw FileError("read", name, reason(a)); };
  accept_compression(a);
  archive_read_support_format_raw(a);
  archive_read_support_format_empty(a);
  archive_entry* entry;
  if (archive_read_open_memory(a, bytes.data(), bytes.size()) != ARCHIVE_OK) fail();
  const int status = archive_read_next_header(a, &entry);
  if (archive_filter_count(a) < 2) fail();  // there is always one filter, which does nothing
  if (status == ARCHIVE_EOF) return "";
  if (status != ARCHIVE_OK) fail();
  const DecompressionLimit limit(bytes.size());
  std::string text;
  std::vector<char> buffer(std::size_t{1} << 16);
  for (;;) {
    const la_ssize_t n = archive_read_data(a, buffer.data(), buffer.size());
    if (n == 0) return text;
    if (n < 0) fail();
    text.append(buffer.data(), static_cast<std::size_t>(n));
    if (!limit.admits(text.size())) throw FileError("read", name, limit.reason());
  }
}

std::string compressed(std::string_view text, Compression compression, const std::string& name) {
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
  if (!written) throw FileError("compress", name, reason(w));
  return bytes;
}

void accept_compression(archive* reader) {
  archive_read_support_filter_gzip(reader);
  archive_read_support_filter_xz(reader);
  archive_read_support_filter_zstd(reader);
}

}  // namespace quarv::cli
