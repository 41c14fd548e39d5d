#pragma once

#include <cstdio>
#include <string>
#include <utility>

#include <fmt/core.h>

namespace quarv::cli {

/// Makes the process safe from what its parent may have left it: closed standard files, whose numbers the
/// next files to be opened would get, and signals that end a program in the middle of a file.
void prepare_process();

/// Ends the process as its system ends a filter whose reader is gone: silently, by SIGPIPE. Returns when the
/// parent ignores that signal, and so asks for a message instead.
void end_by_closed_pipe();

/// Prints a message on standard error. There is no one to tell when that fails.
template <typename... Args>
void say(fmt::format_string<Args...> format, Args&&... args) {
  const std::string text = fmt::format(format, std::forward<Args>(args)...);
  std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace quarv::cli
