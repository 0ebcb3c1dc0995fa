#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>

#include "events/LinkedList.h"

namespace tovi {

/// A map of bounded size that gives up its least recently used entry for a new one. Every operation
/// takes constant time. One thread at a time.
template <typename Key, typename Value>
class LRUCache {
 public:
  /// With a `maxSize` of 0 or less, nothing is remembered.
  explicit LRUCache(std::int64_t maxSize) : maxSize_(maxSize) {}

  /// The entry becomes the most recently used one.
  std::optional<Value> get(const Key& key) {
    const auto found = elements_.find(key);
    if (found == elements_.end()) return std::nullopt;
    lastAccessOrder_.moveToFront(*found->second);
    return found->second->value->second;
  }

  /// Like `get`, but does not count as a use.
  std::optional<Value> peek(const Key& key) const {
    const auto found = elements_.find(key);
    if (found == elements_.end()) return std::nullopt;
    return found->second->value->second;
  }

  /// Stores or replaces; the entry becomes the most recently used one.
  void set(const Key& key, Value value) {
    const auto found = elements_.find(key);
    if (found != elements_.end()) {
      found->second->value->second = std::move(value);
      return lastAccessOrder_.moveToFront(*found->second);
    }
    auto& node = *elements_.emplace(key, std::make_unique<Node>()).first->second;
    node.value.emplace(key, std::move(value));
    lastAccessOrder_.pushFront(node);
    if (std::ssize(elements_) > maxSize_) remove(lastAccessOrder_.back().value->first);
  }

  void remove(const Key& key) {
    const auto found = elements_.find(key);
    if (found == elements_.end()) return;
    lastAccessOrder_.unlink(*found->second);
    elements_.erase(found);
  }

 private:
  using UseOrder = LinkedList<std::pair<Key, Value>>;
  using Node = typename UseOrder::Node;

  /// Most recently used first.
  UseOrder lastAccessOrder_;
  std::unordered_map<Key, std::unique_ptr<Node>> elements_;
  const std::int64_t maxSize_;
};

}  // namespace tovi
