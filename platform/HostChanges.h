#pragma once

#include <cstdint>
#include <memory>

#include "platform/MainLoop.h"

namespace tovi::platform {

/// Watches, through the main loop, for changes of the machine's addresses and of who is logged in.
class HostChanges {
 public:
  /// `loop` must outlive it. Construction and destruction belong to the loop's thread.
  explicit HostChanges(MainLoop& loop);
  ~HostChanges();
  HostChanges(const HostChanges&) = delete;
  HostChanges& operator=(const HostChanges&) = delete;

  /// A number that changes when the results of interfaceAddresses or loggedInUserName may have
  /// changed, so a caller that sees the number it saw before can keep those results. Where the
  /// operating system offers no notifications of these changes, the number also changes every
  /// second. No thread wakes up for that. Any thread.
  std::uint64_t revision() const;

 private:
  struct Native;
  std::unique_ptr<Native> native_;
};

}  // namespace tovi::platform
