// Runs a fuzz target once on every file of its corpus: replay DIRECTORY.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/Require.h"

static void replay(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> input{std::istreambuf_iterator<char>(stream), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

int main(int count, char** arguments) {
  if (count != 2) return 2;
  int replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
    std::printf("%s\n", entry.path().c_str());
    replay(entry.path());
    ++replayed;
  }
  return replayed > 0 ? 0 : 1;
}
