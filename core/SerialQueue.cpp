#include "core/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string_view>
#include <thread>

#include "platform/ThreadName.h"

namespace tovi {

namespace {

/// A thread that waits for its turn. Each has a condition of its own, so that the end of a block
/// wakes only the one that is next.
struct Waiter {
  std::condition_variable wake;
  bool hasTurn = false;
};

/// One submitted block: that of `async` is kept here, that of `sync` stays with its caller.
struct Entry {
  Waiter* waiter;
  std::function<void()> block;
};

std::string_view componentOf(std::string_view label) {
  constexpr std::string_view kPrefix = "io.";
  constexpr std::string_view kSuffix = ".serialqueue";
  if (label.starts_with(kPrefix)) label.remove_prefix(kPrefix.size());
  if (label.ends_with(kSuffix)) label.remove_suffix(kSuffix.size());
  return label;
}

}  // namespace

struct SerialQueue::State {
  std::mutex mutex;

  // Guarded by the mutex. The entry that has its turn stays in front until its thread takes it.
  std::deque<Entry> entries;
  bool busy = false;
  bool ending = false;
  Waiter worker;
  std::thread workerThread;

  void passTurn() {
    busy = !entries.empty();
    if (!busy) return;
    entries.front().waiter->hasTurn = true;
    entries.front().waiter->wake.notify_one();
  }

  void work() {
    std::unique_lock lock(mutex);
    for (;;) {
      worker.wake.wait(lock, [this] { return worker.hasTurn || ending; });
      if (!worker.hasTurn) return;
      worker.hasTurn = false;
      runFront(lock);
      passTurn();
    }
  }

  // The block is gone before the lock is taken again: what it holds may call the queue as it goes.
  void runFront(std::unique_lock<std::mutex>& lock) {
    {
      const std::function<void()> block = std::move(entries.front().block);
      entries.pop_front();
      lock.unlock();
      block();
    }
    lock.lock();
  }
};

SerialQueue::Turn::Turn(SerialQueue& queue) : queue_(queue) {
  State& state = *queue_.state_;
  std::unique_lock lock(state.mutex);
  if (!state.busy) {
    state.busy = true;
    return;
  }
  Waiter self;
  state.entries.push_back({&self, {}});
  self.wake.wait(lock, [&self] { return self.hasTurn; });
  state.entries.pop_front();
}

SerialQueue::Turn::~Turn() {
  std::lock_guard lock(queue_.state_->mutex);
  queue_.state_->passTurn();
}

SerialQueue::SerialQueue(std::string label)
    : label_(std::move(label)), state_(std::make_unique<State>()) {}

SerialQueue::~SerialQueue() {
  sync([] {});
  {
    std::lock_guard lock(state_->mutex);
    state_->ending = true;
    state_->worker.wake.notify_one();
  }
  if (state_->workerThread.joinable()) state_->workerThread.join();
}

void SerialQueue::async(std::function<void()> block) {
  std::lock_guard lock(state_->mutex);
  if (!state_->workerThread.joinable()) {
    state_->workerThread = std::thread([this] {
      platform::nameThisThread(componentOf(label_));
      state_->work();
    });
  }
  state_->entries.push_back({&state_->worker, std::move(block)});
  if (!state_->busy) state_->passTurn();
}

}  // namespace tovi
