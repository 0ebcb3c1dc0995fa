#include "core/Pacer.h"

namespace tovi {

void Pacer::wait() {
  std::unique_lock lock(mutex_);
  wake_.wait_until(lock, last_ + spacing_, [this] { return isHurried_; });
  isHurried_ = false;
  last_ = Clock::now();
}

void Pacer::hurry() {
  std::lock_guard lock(mutex_);
  isHurried_ = true;
  wake_.notify_one();
}

}  // namespace tovi
