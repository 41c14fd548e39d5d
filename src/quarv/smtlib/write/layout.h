#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include <quarv/export.h>
#include <quarv/smtlib/script.h>

namespace quarv::smtlib {

/// Lays out a script that was made of another one by simplifying its commands and by inserting definitions:
/// `simplified` has the commands of `original` in their order. A command that is the same but for blanks,
/// comments and the spelling of names and literals is copied as it was written, and so is what stands between
/// commands. Any other one goes on one line if that has up to `width` bytes; otherwise each compound argument
/// begins a line of its own. Where that makes a command longer than it was, arguments fill lines with less
/// indentation; a line that was wider than `width` rather stays one. Comments that stood within the command
/// stand before it. Laying out the result once more gives the same. Time is linear in the texts.
QUARV_API std::string laid_out(std::string_view original, std::string_view simplified, std::size_t width);

/// The same where it is known where the commands of the original are.
std::string laid_out(std::string_view original, std::span<const std::string_view> commands,
                     std::string_view simplified, std::size_t width);

/// The script that was read from `text` as it was written, each command on one line and without comments;
/// what was not understood is as it was. Only solvers' words for operators give way to the usual ones.
std::string on_lines(std::string_view text, const Script& script);

}  // namespace quarv::smtlib
