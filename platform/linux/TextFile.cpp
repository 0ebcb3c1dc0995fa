#include "platform/TextFile.h"

#include <array>
#include <fstream>

namespace tovi::platform {

std::optional<std::string> readTextFile(const std::filesystem::path& file, std::size_t mostBytes) {
  std::ifstream stream(file, std::ios::binary);
  std::string contents;
  std::array<char, 4096> chunk;
  while (stream && contents.size() <= mostBytes) {
    stream.read(chunk.data(), chunk.size());
    contents.append(chunk.data(), static_cast<std::size_t>(stream.gcount()));
  }
  if (stream.bad() || !stream.eof() || contents.size() > mostBytes) return std::nullopt;
  return contents;
}

}  // namespace tovi::platform
