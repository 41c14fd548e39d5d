/// \file
/// Runs a fuzz target on files instead of random inputs, with any compiler: each argument is a file or a
/// folder of files.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> files_of(const fs::path& path) {
  if (!fs::is_directory(path)) return {path};
  std::vector<fs::path> result;
  for (const fs::directory_entry& entry : fs::directory_iterator(path)) result.push_back(entry.path());
  std::sort(result.begin(), result.end());
  return result;
}

bool run(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return false;
  // The fuzzer hands over a block of just this size, so that reads beyond it are noticed.
  const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  std::printf("%s\n", file.c_str());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t num_files = 0;
  for (int i = 1; i < argc; ++i) {
    for (const fs::path& file : files_of(argv[i])) {
      if (!run(file)) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        return 1;
      }
      ++num_files;
    }
  }
  std::printf("%zu files\n", num_files);
  return num_files != 0 ? 0 : 1;
}
