#pragma once

#include <functional>
#include <memory>
#include <string>
#include <type_traits>

namespace tovi {

/// Runs blocks one at a time, first in, first out across `sync` and `async`. `sync` runs its block
/// on the caller's thread once all that was submitted before has run, and returns what the block
/// returns; it must not be called from a block of the same queue. `async` leaves its block to the
/// queue's worker thread, which is started at the first `async`. Destruction waits until every
/// submitted block has run. Blocks of `async` must not throw. Any thread.
///
/// The label is "io.COMPONENT.serialqueue"; the worker thread is named after the component.
class SerialQueue {
 public:
  explicit SerialQueue(std::string label);
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  template <typename Block>
  std::invoke_result_t<Block> sync(Block&& block) {
    Turn turn(*this);
    return std::forward<Block>(block)();
  }

  void async(std::function<void()> block);

 private:
  /// Holds the queue for the caller of `sync`, from its turn to its end.
  class Turn {
   public:
    explicit Turn(SerialQueue& queue);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

   private:
    SerialQueue& queue_;
  };
  struct State;

  std::string label_;
  std::unique_ptr<State> state_;
};

}  // namespace tovi
