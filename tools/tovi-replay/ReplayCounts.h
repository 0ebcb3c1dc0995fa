#pragma once

#include <cstdint>
#include <string>

namespace tovi::replay {

/// What a run has done so far.
struct ReplayCounts {
  std::uint64_t packets = 0;
  std::uint64_t messages = 0;
  std::uint64_t failures = 0;
  std::uint64_t events = 0;
  std::uint64_t repetitions = 0;
  std::uint64_t batches = 0;
};

/// One line, with the rate of packets.
std::string summary(const ReplayCounts& counts, double elapsedSeconds);

}  // namespace tovi::replay
