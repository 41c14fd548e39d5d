#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct archive;

namespace quarv::cli {

enum class Compression : std::uint8_t { none, gz, xz, zst };

/// How a file is compressed, by the end of its name: ".gz", ".xz", ".zst".
Compression compression_of(std::string_view name);

/// With its dot; empty for none.
std::string_view suffix_of(Compression compression);

/// The first bytes are those of compressed data. No SMT-LIB text begins so.
bool is_compressed(std::string_view bytes);

/// What a compressed file holds; nothing when it is not compressed. Throws FileError when it is damaged, when
/// it is not compressed though its name says so, and when it holds more than `DecompressionLimit` admits.
std::optional<std::string> decompressed(std::string_view bytes, const std::string& name);

/// Equal texts have equal results: no time is written into them. `name` is for messages. Throws FileError.
std::string compressed(std::string_view text, Compression compression, const std::string& name);

/// Makes a reader of archives accept these kinds of compression and no others, so that no more of libarchive
/// than needed becomes part of the program.
void accept_compression(archive* reader);

}  // namespace quarv::cli
