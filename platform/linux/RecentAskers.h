#pragma once

#include <optional>
#include <vector>

#include "platform/linux/SocketLink.h"
#include "platform/linux/SocketOwner.h"

namespace tovi::platform {

/// The processes that asked lately, the last one first. One thread at a time.
class RecentAskers {
 public:
  void add(const SocketOwner& owner);
  /// To be called before looking: those that asked once and ended are then not looked at, and do
  /// not drive out those that live long.
  void forgetEnded();

  /// Looks only where each had its last socket: a process that opens and closes a socket for each
  /// question mostly gets the same descriptor.
  std::optional<SocketOwner> findAtLastDescriptor(const SocketLink& socket) const;
  /// Searches them all.
  std::optional<SocketOwner> find(const SocketLink& socket, Deadline deadline) const;

 private:
  std::vector<SocketOwner> askers_;
};

/// True when this descriptor of the process is the socket now.
bool holds(const SocketOwner& owner, const SocketLink& socket);

}  // namespace tovi::platform
