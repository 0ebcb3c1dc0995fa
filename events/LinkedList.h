#pragma once

#include <optional>
#include <utility>

namespace tovi {

/// A circular doubly linked list around a sentinel. It links nodes that its user owns and keeps in
/// place; a node is unlinked, or the list gone, before the node is freed. Every operation takes
/// constant time. One thread at a time.
template <typename Value>
class LinkedList {
 public:
  struct Node {
    Node* next = nullptr;
    Node* prev = nullptr;
    /// Absent in the sentinel alone.
    std::optional<Value> value;
  };

  LinkedList() { sentinel_.next = sentinel_.prev = &sentinel_; }
  LinkedList(const LinkedList&) = delete;
  LinkedList& operator=(const LinkedList&) = delete;

  /// The node at the back; the list must not be empty.
  Node& back() { return *sentinel_.prev; }

  /// `node` must not be linked.
  void pushFront(Node& node) {
    node.prev = &sentinel_;
    node.next = std::exchange(sentinel_.next, &node);
    node.next->prev = &node;
  }

  void unlink(Node& node) {
    node.prev->next = node.next;
    node.next->prev = node.prev;
    node.next = node.prev = nullptr;
  }

  void moveToFront(Node& node) {
    unlink(node);
    pushFront(node);
  }

 private:
  /// Its `next` is the front, its `prev` the back; both are itself in an empty list.
  Node sentinel_;
};

}  // namespace tovi
