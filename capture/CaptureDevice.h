#pragma once

#include <array>
#include <atomic>
#include <string>
#include <thread>

#include "capture/CaptureRing.h"
#include "core/Tally.h"

namespace tovi {

/// Captures the packets from and to port 53 of one interface, in both directions, on a thread of
/// its own. The kernel keeps waiting frames in two rings, since every slot of a ring is as large as
/// the longest packet that the ring takes: one ring has thousands of slots for short frames, the
/// other a few for frames of any length. Frames of one ring keep their order. A long frame is
/// handed out after the short frames that arrived before it, since one of them may be the query
/// that it answers.
class CaptureDevice {
 public:
  /// Opens the interface, as CaptureRing does; throws CaptureDeviceError. `handler` takes each
  /// frame, on the capture thread, and must not throw. `dropped` counts the frames that found a
  /// ring full, and must outlive the device.
  CaptureDevice(const std::string& interfaceName, bool isLoopback, FrameHandler handler,
                Tally& dropped);
  /// Stops.
  ~CaptureDevice();

  /// Begins to hand out frames. Throws std::system_error when there can be no thread.
  void start();
  /// Returns once no frame can arrive any more; frames that wait are dropped.
  void stop();

  /// Index of the interface that is captured, also while it is down; 0 once it is deleted. Any
  /// thread.
  unsigned interfaceIndex() const { return shortFrames_.interfaceIndex(); }

 private:
  void run();
  void wait(bool forFrames);
  bool drain();
  int read(CaptureRing& ring, int count);

  // Only on the capture thread.
  const FrameHandler handler_;
  CaptureRing shortFrames_;
  CaptureRing longFrames_;
  Tally& dropped_;

  /// A pipe whose reading end is readable once the capture thread is to stop.
  std::array<int, 2> wakeUp_ = {-1, -1};
  std::atomic<bool> stopping_ = false;
  std::thread thread_;
};

}  // namespace tovi
