// Runs the target on every file of the folders named on the command line, and on nothing at all.
#include "Property.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

std::vector<std::filesystem::path> FilesOf(const char* folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

void Replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    std::exit(1);
  }
  std::fprintf(stderr, "%s\n", path.c_str());  // the last one named is the one that failed
  fuzz::CBlock<std::uint8_t> octets(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  LLVMFuzzerTestOneInput(octets.Data(), octets.Size());
}

}  // namespace

int main(int argc, char** argv) {
  LLVMFuzzerTestOneInput(nullptr, 0);
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& path : FilesOf(argv[i])) {
      Replay(path);
      ++count;
    }
  }
  std::printf("%zu inputs\n", count);
  return count == 0 ? 1 : 0;  // a corpus that is not found must not look like one that passes
}
