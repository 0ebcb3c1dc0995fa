#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <span>

namespace tovi {

/// One captured frame, borrowed for the duration of a call.
struct CapturedFrame {
  /// The link type, a LINKTYPE_ or DLT_ number of pcap-linktype(7).
  int linkType;
  /// The bytes that were captured, possibly fewer than were on the wire.
  std::span<const std::byte> bytes;
  std::chrono::system_clock::time_point time;
};

using FrameHandler = std::function<void(const CapturedFrame&)>;

}  // namespace tovi
