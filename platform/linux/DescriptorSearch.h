#pragma once

#include "platform/linux/NumberedEntries.h"
#include "platform/linux/SocketLink.h"
#include "platform/linux/SocketOwner.h"

namespace tovi::platform {

/// Goes once through the descriptors of one process. One thread at a time.
class DescriptorSearch {
 public:
  enum class Result { found, missed, interrupted };

  explicit DescriptorSearch(pid_t process);

  /// Goes on where it stopped, up to the end (missed) or the deadline (interrupted).
  Result find(const SocketLink& socket, Deadline deadline);
  /// The owner that was found last.
  SocketOwner owner() const { return owner_; }

 private:
  NumberedEntries descriptors_;
  SocketOwner owner_;
};

}  // namespace tovi::platform
