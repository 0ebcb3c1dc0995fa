// Property lists, XML and binary: any bytes are read or refused, and what was read can be written,
// and stays the same from then on.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

#include "core/PropertyList.h"
#include "fuzz/Require.h"

namespace tovi::fuzz {

namespace {

/// A file of this process, removed at its end.
class OwnFile {
 public:
  OwnFile() { std::filesystem::create_directory(directory_); }
  ~OwnFile() {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }
  OwnFile(const OwnFile&) = delete;
  OwnFile& operator=(const OwnFile&) = delete;

  /// Writes the list and returns the bytes; none when it is too large.
  std::string written(const PropertyDictionary& dictionary) const try {
    writePropertyList(file_, dictionary);
    std::ifstream stream(file_, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  } catch (const PropertyListError&) {
    return {};
  }
  PropertyDictionary read() const { return readPropertyList(file_); }

 private:
  const std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("tovi-fuzz-" + std::to_string(getpid()));
  const std::filesystem::path file_ = directory_ / "a.plist";
};

/// Keys that XML cannot carry are others once read again, and then stand elsewhere.
std::string sorted(std::string text) {
  std::ranges::sort(text);
  return text;
}

void check(std::string_view bytes) {
  static const OwnFile file;
  const PropertyDictionary dictionary = parsePropertyList(bytes);
  const std::string first = file.written(dictionary);
  if (!first.empty()) require(sorted(file.written(file.read())) == sorted(first));
}

}  // namespace

}  // namespace tovi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tovi;
  // On the heap and of its very size, so that a read past the end is seen.
  const std::vector<char> bytes(data, data + size);
  try {
    fuzz::check({bytes.data(), bytes.size()});
  } catch (const PropertyListError&) {
  }
  return 0;
}
