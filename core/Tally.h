#pragma once

#include <atomic>
#include <cstdint>

namespace tovi {

/// A count of what happened, which only grows. Any thread.
class Tally {
 public:
  void add(std::uint64_t amount = 1) { count_.fetch_add(amount, std::memory_order_relaxed); }
  std::uint64_t count() const { return count_.load(std::memory_order_relaxed); }

 private:
  std::atomic<std::uint64_t> count_ = 0;
};

}  // namespace tovi
