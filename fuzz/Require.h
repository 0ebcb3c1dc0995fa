#pragma once

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

/// Entry of every fuzz target; libFuzzer or the replay of a corpus calls it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace tovi::fuzz {

/// Ends the process when a promise is broken, which is how a fuzz target tells of a finding.
inline void require(bool holds) {
  if (!holds) std::abort();
}

/// True for a text that no line end or other control character below the blank breaks.
inline bool isOneLine(std::string_view text) {
  for (const char c : text) {
    if (c >= 0 && c < 0x20) return false;
  }
  return true;
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace tovi::fuzz
