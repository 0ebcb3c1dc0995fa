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

  /// A number that is another one than before once the loop has learnt that interfaceAddresses or
  /// loggedInUserName may give something else than before. Where the operating system did not offer
  /// notifications of both at construction, it is another one in every second besides: then whoever
  /// keeps asking learns of a change within a second, and nothing wakes up for it. Any thread.
  std::uint64_t revision() const;

 private:
  struct Native;
  std::unique_ptr<Native> native_;
};

}  // namespace tovi::platform
