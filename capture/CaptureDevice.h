#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "capture/PacketHandler.h"

namespace tovi {

/// Why an interface cannot be captured. The text's first line is the failure, its second the
/// capture library's reason.
class CaptureDeviceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Captures the packets from and to port 53 of one interface, in both directions, on a thread of
/// its own. Frames that wait are kept in two rings in the kernel: thousands of short ones and a few
/// that are as long as a packet can be, since every place in a ring takes the room of its longest
/// packet. Short frames are handed out before long ones, else in their order.
class CaptureDevice {
 public:
  /// Takes each frame, on the capture thread. Must not throw.
  using FrameHandler = std::function<void(const CapturedFrame&)>;

  /// Opens the interface; throws CaptureDeviceError. On the loopback interface, where each packet
  /// leaves and arrives, only those that arrive are captured.
  CaptureDevice(const std::string& interfaceName, bool isLoopback, FrameHandler handler);
  /// Stops.
  ~CaptureDevice();

  /// Begins to hand out frames. Throws std::system_error when there can be no thread.
  void start();
  /// Returns once no frame can arrive any more; frames that wait are dropped.
  void stop();

 private:
  class Ring;
  struct Rings;

  void run();
  bool drain();

  const FrameHandler handler_;
  std::unique_ptr<Rings> rings_;
  std::atomic<bool> stopping_ = false;
  std::thread thread_;
};

}  // namespace tovi
