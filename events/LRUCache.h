#pragma once

#include <cstdint>
#include <unordered_map>
#include <utility>

#include "events/LinkedList.h"

namespace tovi {

/// A map of bounded size that gives up its least recently used entry for a new one. Every operation
/// takes constant time. One thread at a time.
template <typename Key, typename Value, typename Hash = std::hash<Key>>
class LRUCache {
 public:
  /// With a `maxSize` of 0 or less, nothing is remembered.
  explicit LRUCache(std::int64_t maxSize) : maxSize_(maxSize) { elements_.max_load_factor(0.5); }

  /// The value, which stays where it is until the next change of the cache; null when there is
  /// none. The entry becomes the most recently used one.
  Value* get(const Key& key) {
    const auto found = elements_.find(key);
    if (found == elements_.end()) return nullptr;
    lastAccessOrder_.moveToFront(found->second);
    return &found->second.value->second;
  }

  /// Like `get`, but does not count as a use.
  const Value* peek(const Key& key) const {
    const auto found = elements_.find(key);
    return found == elements_.end() ? nullptr : &found->second.value->second;
  }

  /// Stores or replaces; the entry becomes the most recently used one. True when another entry was
  /// given up for it.
  bool set(const Key& key, Value value) {
    if (Value* const present = get(key)) {
      *present = std::move(value);
      return false;
    }
    return maxSize_ > 0 && add(key, std::move(value));
  }

  void remove(const Key& key) {
    const auto found = elements_.find(key);
    if (found == elements_.end()) return;
    lastAccessOrder_.unlink(found->second);
    elements_.erase(found);
  }

 private:
  /// The keys are those of the map.
  using UseOrder = LinkedList<std::pair<const Key&, Value>>;
  using Node = typename UseOrder::Node;
  using Elements = std::unordered_map<Key, Node, Hash>;

  bool add(const Key& key, Value value) {
    const bool isFull = std::ssize(elements_) >= maxSize_;
    auto place = isFull ? reused(key) : elements_.try_emplace(key).first;
    place->second.value.emplace(place->first, std::move(value));
    lastAccessOrder_.pushFront(place->second);
    return isFull;
  }

  // A full cache takes as many entries in as it gives up: the memory of one goes to the other.
  typename Elements::iterator reused(const Key& key) {
    Node& last = lastAccessOrder_.back();
    lastAccessOrder_.unlink(last);
    auto element = elements_.extract(last.value->first);
    element.key() = key;
    return elements_.insert(std::move(element)).position;
  }

  Elements elements_;
  /// Most recently used first. It goes before the nodes that it links.
  UseOrder lastAccessOrder_;
  const std::int64_t maxSize_;
};

}  // namespace tovi
