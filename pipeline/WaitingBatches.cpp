#include "pipeline/WaitingBatches.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace tovi {

// The time is taken under the lock, so that the batches stand in the order of their times.
WaitingBatches::Added WaitingBatches::add(const std::string& text) {
  std::lock_guard lock(mutex_);
  const Date now = timeProvider_.now();
  added_.push_back({timeProvider_.currentTime("yyyyMMddHHmmss"), text,
                    std::chrono::duration<double>(now.time_since_epoch()).count()});
  addedBytes_ += text.size();
  return {added_.size() == 1, addedBytes_};
}

const std::deque<WaitingBatches::Batch>& WaitingBatches::collect() {
  std::lock_guard lock(mutex_);
  std::ranges::move(added_, std::back_inserter(collected_));
  added_.clear();
  collectedBytes_ += std::exchange(addedBytes_, 0);
  return collected_;
}

void WaitingBatches::clear() {
  collected_.clear();
  collectedBytes_ = 0;
}

std::size_t WaitingBatches::keepNewest(std::size_t bytes) {
  std::size_t count = 0;
  for (; collectedBytes_ > bytes; ++count) {
    collectedBytes_ -= collected_.front().text.size();
    collected_.pop_front();
  }
  return count;
}

}  // namespace tovi
