#pragma once

#include <atomic>
#include <future>
#include <thread>

#include "platform/MainLoop.h"

namespace tovi::test {

/// A main loop on a thread of its own, from construction to destruction, with what serves on it.
class LoopThread {
 public:
  /// What `make` returns for the loop lives as long as the loop runs.
  template <typename Make>
  explicit LoopThread(Make make) : thread_([this, make] { run(make); }) {
    up_.get_future().get();
  }
  ~LoopThread() {
    ending_ = true;
    thread_.join();
  }

 private:
  template <typename Make>
  void run(const Make& make) {
    platform::MainLoop loop;
    const auto served = make(loop);
    const auto watch = loop.repeat(std::chrono::milliseconds(10), [&] {
      if (ending_) loop.quit();
    });
    up_.set_value();
    loop.run();
  }

  std::promise<void> up_;
  std::atomic<bool> ending_ = false;
  std::thread thread_;
};

}  // namespace tovi::test
