#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace quarv::smtlib {

/// A comment's place in the text of a command.
struct PlacedComment {
  std::size_t at;         ///< where the term begins before which it stands, or ends behind which
  bool behind;            ///< on the line of that term
  std::string_view text;  ///< with its semicolon
};

/// Where the comments of a command go when it is written anew.
struct PlacedComments {
  std::vector<std::string_view> before;  ///< the command
  std::vector<PlacedComment> within;     ///< by place
};

/// Finds places for the comments in `original` within `command`, a text without any, in linear time. A
/// comment stays with its term: that in front of it on its line, else the next one. Where the term has
/// changed, it is the one in its stead; where there is none, the comment stands before what the term was a
/// part of.
PlacedComments placed_comments(std::string_view original, std::string_view command);

}  // namespace quarv::smtlib
