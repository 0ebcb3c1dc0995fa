#pragma once

#include <cstddef>
#include <unordered_map>
#include <utility>

namespace tovi::platform {

/// A map of bounded size: keeps what was set or found lately, at most twice `generation` entries.
/// One thread at a time.
template <typename Key, typename Value>
class RecentMap {
 public:
  explicit RecentMap(std::size_t generation) : generation_(generation) {}

  /// Null when there is none; holds until the next call.
  Value* find(const Key& key) {
    if (const auto found = young_.find(key); found != young_.end()) return &found->second;
    const auto found = old_.find(key);
    if (found == old_.end()) return nullptr;
    set(key, Value(std::move(found->second)));
    return &young_.at(key);
  }

  void set(const Key& key, Value value) {
    if (young_.size() >= generation_) {
      old_ = std::move(young_);
      young_.clear();
    }
    young_.insert_or_assign(key, std::move(value));
  }

  void clear() {
    young_.clear();
    old_.clear();
  }

 private:
  const std::size_t generation_;
  std::unordered_map<Key, Value> young_;
  std::unordered_map<Key, Value> old_;
};

}  // namespace tovi::platform
