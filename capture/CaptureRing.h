#pragma once

#include <memory>
#include <string>

#include "capture/CaptureDeviceError.h"
#include "capture/CapturedFrame.h"

struct pcap;

namespace tovi {

/// The frames of one interface from and to port 53, in both directions, of a range of lengths;
/// those that were not read yet wait in a ring in the kernel. One thread.
class CaptureRing {
 public:
  struct Shape {
    /// Octets of a frame that are captured.
    int snapshotLength;
    /// Octets of the whole ring.
    int bufferSize;
    /// Which frames, by length; see pcap-filter(7).
    std::string lengthFilter;
  };

  /// Begins to capture; throws CaptureDeviceError. On the loopback interface, where each packet
  /// leaves and arrives, only those that arrive are captured.
  CaptureRing(const std::string& interfaceName, bool isLoopback, const Shape& shape);
  ~CaptureRing();
  CaptureRing(const CaptureRing&) = delete;
  CaptureRing& operator=(const CaptureRing&) = delete;

  /// Index of the interface that is captured, also while it is down; 0 once it is deleted. Any
  /// thread.
  unsigned interfaceIndex() const;
  /// Readable, for poll(2), while frames wait, and when reading would fail.
  int descriptor() const;
  /// Whether `descriptor` is readable now.
  bool isReadable() const;
  /// Hands out up to `count` frames that wait. Returns how many, negative on failure, as while the
  /// interface is down. The handler must not throw.
  int read(int count, const FrameHandler& handler);
  /// Frames for which the ring had no room since the last call.
  unsigned newlyDropped();

 private:
  void activate(const std::string& interfaceName, const Shape& shape);
  void setFilter(const std::string& filter);
  void keepDepartingPacketsOut(const std::string& filter);

  struct Close {
    void operator()(pcap* handle) const;
  };
  std::unique_ptr<pcap, Close> pcap_;
  unsigned dropped_ = 0;
};

}  // namespace tovi
