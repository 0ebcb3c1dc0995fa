#pragma once

#include <optional>

#include "platform/linux/DescriptorSearch.h"
#include "platform/linux/MissedProcesses.h"

namespace tovi::platform {

/// Searches all processes, round after round, each time a little further. One thread at a time.
class ProcessScan {
 public:
  /// Goes on where it stopped, until the deadline, or until all processes were searched. Leaves out
  /// those in `missed`, and adds to it those that were searched in vain; a round that leaves some
  /// out and comes to its end makes it forget them, since one of those must be the owner.
  std::optional<SocketOwner> find(const SocketLink& socket, MissedProcesses& missed,
                                  Deadline deadline);

 private:
  bool beginNext(MissedProcesses& missed);
  void endRound(MissedProcesses& missed);

  NumberedEntries processes_{"/proc"};
  NumberedEntries::Entry process_ = {};
  std::optional<DescriptorSearch> search_;
  bool leftOut_ = false;
};

}  // namespace tovi::platform
