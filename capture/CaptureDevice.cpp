#include "capture/CaptureDevice.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace tovi {

namespace {

// Libpcap keeps each packet in a place of the ring that has room for a whole snapshot, rounded up
// to a share or to a power of two of pages. A snapshot of 1,940 octets takes 2 KiB whatever the
// link's header, one of the longest packet 128 KiB.

// Room for link headers and for the VLAN tag that libpcap puts back, which the filter does not see.
constexpr int kLongestShortPacket = 1900;
constexpr int kShortSnapshot = kLongestShortPacket + 40;
constexpr int kShortFrames = 2048;
constexpr int kLongSnapshot = 65535 + 40;
constexpr int kLongFrames = 16;

CaptureRing::Shape shortRing() {
  return {kShortSnapshot, kShortFrames * 2048, "less " + std::to_string(kLongestShortPacket)};
}

CaptureRing::Shape longRing() {
  return {kLongSnapshot, kLongFrames * (kLongSnapshot + 100),
          "greater " + std::to_string(kLongestShortPacket + 1)};
}

}  // namespace

CaptureDevice::CaptureDevice(const std::string& interfaceName, bool isLoopback,
                             FrameHandler handler, Tally& dropped)
    : handler_([this, handler = std::move(handler)](const CapturedFrame& frame) {
        if (!stopping_) handler(frame);
      }),
      shortFrames_(interfaceName, isLoopback, shortRing()),
      longFrames_(interfaceName, isLoopback, longRing()),
      dropped_(dropped) {
  if (pipe(wakeUp_.data()) != 0) throw CaptureDeviceError("Cannot open device");
  for (const int end : wakeUp_) fcntl(end, F_SETFD, FD_CLOEXEC);
}

CaptureDevice::~CaptureDevice() {
  stop();
  for (const int end : wakeUp_) close(end);
}

void CaptureDevice::start() {
  thread_ = std::thread([this] { run(); });
}

void CaptureDevice::stop() {
  if (!thread_.joinable()) return;
  stopping_ = true;
  close(std::exchange(wakeUp_[1], -1));
  thread_.join();
}

// An interface that goes down fails to be read until it is up again.
void CaptureDevice::run() {
  bool readable = true;
  while (!stopping_) {
    wait(readable);
    readable = drain();
  }
}

/// Waits for frames or for the end; without `forFrames`, for the end or a second.
void CaptureDevice::wait(bool forFrames) {
  std::array<pollfd, 3> waiting = {{{wakeUp_[0], POLLIN, 0},
                                    {shortFrames_.descriptor(), POLLIN, 0},
                                    {longFrames_.descriptor(), POLLIN, 0}}};
  poll(waiting.data(), forFrames ? waiting.size() : 1, forFrames ? -1 : 1000);
}

/// A ring drops frames only while it is full, so only a read that found frames can find new drops.
int CaptureDevice::read(CaptureRing& ring, int count) {
  const int frames = ring.read(count, handler_);
  if (frames > 0) dropped_.add(ring.newlyDropped());
  return frames;
}

/// Hands out all frames that wait; false when a ring cannot be read. Before a long frame go as many
/// short ones as can have been there before it.
bool CaptureDevice::drain() {
  while (!stopping_) {
    const bool longFrameWaits = longFrames_.isReadable();
    const int shortFrames = read(shortFrames_, kShortFrames);
    const int longFrames = longFrameWaits ? read(longFrames_, 1) : 0;
    if (shortFrames < 0 || longFrames < 0) return false;
    if (shortFrames == 0 && !longFrameWaits) return true;
  }
  return true;
}

}  // namespace tovi
