#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

namespace tovi::replay {

/// A bar on standard error, redrawn ten times a second at most; where the amount of work is not
/// known, the number of packets alone. One thread, but for `clear`: any.
class Progress {
 public:
  /// `totalBytes` of all files, 0 when not known. Nothing is drawn unless `shown`.
  Progress(std::uint64_t totalBytes, bool shown);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// One more packet of so many captured bytes was replayed.
  void advance(std::uint64_t capturedBytes);
  /// Makes room for a line of text.
  void clear();

 private:
  void draw();

  const std::uint64_t totalBytes_;
  const bool shown_;
  std::uint64_t bytes_ = 0;
  std::uint64_t packets_ = 0;
  std::chrono::steady_clock::time_point lastDrawn_;

  std::mutex drawing_;
  bool isDrawn_ = false;  // Guarded by the mutex.
};

}  // namespace tovi::replay
