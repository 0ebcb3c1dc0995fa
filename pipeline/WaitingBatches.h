#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "core/TimeProviderProtocol.h"

namespace tovi {

/// Closed batches on their way to the store, the oldest first. Any thread may add; all else is for
/// one thread at a time.
class WaitingBatches {
 public:
  struct Batch {
    /// The second in which it came.
    std::string id;
    std::string text;
    /// When it came, in seconds since the Unix epoch.
    double time;
  };
  struct Added {
    /// Nothing else was added since the last `collect`.
    bool isFirst;
    /// Bytes of text that were added since then.
    std::size_t bytes;
  };

  /// The clock is borrowed and must outlive it.
  explicit WaitingBatches(TimeProviderProtocol& timeProvider) : timeProvider_(timeProvider) {}

  Added add(const std::string& text);

  /// Takes in what was added; all that waits, valid until the next call of any but `add`.
  const std::deque<Batch>& collect();
  void clear();
  /// Gives up the oldest, so that at most `bytes` of text wait; returns how many.
  std::size_t keepNewest(std::size_t bytes);

 private:
  TimeProviderProtocol& timeProvider_;

  // Guarded by the mutex.
  std::mutex mutex_;
  std::vector<Batch> added_;
  std::size_t addedBytes_ = 0;

  // Only by the one thread.
  std::deque<Batch> collected_;
  std::size_t collectedBytes_ = 0;
};

}  // namespace tovi
