#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace tovi {

using Bytes = std::vector<std::byte>;
using ByteView = std::span<const std::byte>;

inline ByteView bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

}  // namespace tovi
