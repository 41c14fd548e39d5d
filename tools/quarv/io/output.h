#pragma once

#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "io/compression.h"
#include "io/file_descriptor.h"
#include "io/file_error.h"

namespace quarv::cli {

/// The reader of a pipe has gone. For a filter that is a reason to end, and no error.
class ClosedPipe : public FileError {
 public:
  using FileError::FileError;
};

/// A file that is written whole or not at all: the text goes to a temporary file in the same directory, which
/// takes the place of the old file, with its permissions, in one step at the end. Some are written directly.
/// A file whose name says that it is compressed is.
class Output : private std::streambuf {
 public:
  /// What the temporary file is called: a name that no file has, or always the same. The latter does for a
  /// file that only one process writes; what a killed process left is found and replaced by the next one.
  enum class TemporaryName { unused, fixed };

  /// Throws FileError when the path cannot be written, as far as that can be seen now.
  explicit Output(const std::string& path, TemporaryName temporary_name = TemporaryName::unused);
  /// Removes the temporary file if there was no `commit`.
  ~Output() override;

  /// A write that fails throws FileError, or ClosedPipe.
  std::ostream& stream() noexcept { return stream_; }

  /// Writes out all that is buffered and puts the file in its place. Throws FileError.
  void commit();

  /// What goes there is written directly: standard output ("-"), an open file ("/dev/stdout", "/dev/fd/3"), a
  /// device, a pipe.
  static bool is_direct(const std::string& path);

  /// Both paths lead to the same place, where there need be nothing yet.
  static bool is_same(const std::string& path, const std::string& other);

  /// The temporary file of fixed name for `path`.
  static std::string fixed_temporary(const std::string& path);

 private:
  int_type overflow(int_type c) override;
  int sync() override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;

  void put(const char* text, std::size_t size);
  void flush_buffer();
  void write_all(const char* text, std::size_t size);
  void create_temporary();
  void discard() noexcept;
  void forget_temporary() noexcept;

  std::string name_;    // for messages
  std::string target_;  // the path to replace; empty when writing directly
  TemporaryName temporary_name_;
  std::string temporary_;    // empty when there is none
  char* pending_ = nullptr;  // where it is noted
  FileDescriptor file_;
  Compression compression_;
  std::string to_compress_;
  std::vector<char> buffer_;
  std::ostream stream_;
};

}  // namespace quarv::cli
