#pragma once

#include <cstdint>

namespace tovi::bench {

/// How often memory was allocated by this program so far, on any thread.
std::uint64_t allocations();

}  // namespace tovi::bench
