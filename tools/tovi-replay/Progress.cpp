#include "tovi-replay/Progress.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <string>

namespace tovi::replay {

// The header in front of each packet of a pcap file; that of pcapng is a little longer, which the
// bar does not need to know.
static constexpr std::uint64_t kRecordHeaderBytes = 16;
static constexpr std::uint64_t kPacketsBetweenLooks = 1024;
static constexpr std::uint64_t kBarWidth = 40;

Progress::Progress(std::uint64_t totalBytes, bool shown) : totalBytes_(totalBytes), shown_(shown) {}

Progress::~Progress() {
  clear();
}

void Progress::advance(std::uint64_t capturedBytes) {
  bytes_ += capturedBytes + kRecordHeaderBytes;
  ++packets_;
  if (!shown_ || packets_ % kPacketsBetweenLooks != 0) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - lastDrawn_ < std::chrono::milliseconds(100)) return;
  lastDrawn_ = now;
  draw();
}

void Progress::clear() {
  std::lock_guard lock(drawing_);
  if (isDrawn_) std::fputs("\r\033[K", stderr);
  isDrawn_ = false;
}

void Progress::draw() {
  std::lock_guard lock(drawing_);
  isDrawn_ = true;
  if (totalBytes_ == 0) {
    std::fprintf(stderr, "\r%" PRIu64 " packets", packets_);
    return;
  }
  const double share =
      std::min(1.0, static_cast<double>(bytes_) / static_cast<double>(totalBytes_));
  const auto filled = static_cast<std::size_t>(share * double{kBarWidth});
  const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
  std::fprintf(stderr, "\r[%s] %3.0f %%  %" PRIu64 " packets", bar.c_str(), share * 100, packets_);
}

}  // namespace tovi::replay
