#include "platform/linux/ProcessScan.h"

namespace tovi::platform {

std::optional<SocketOwner> ProcessScan::find(const SocketLink& socket, MissedProcesses& missed,
                                             Deadline deadline) {
  using Result = DescriptorSearch::Result;
  int rounds = 0;
  while (!isPast(deadline)) {
    if (!search_ && !beginNext(missed)) {
      endRound(missed);
      // The round that was begun before, then a whole one.
      if (++rounds == 2) break;
      continue;
    }
    const Result result = search_->find(socket, deadline);
    if (result == Result::interrupted) break;
    const SocketOwner owner = search_->owner();
    search_.reset();
    if (result == Result::found) return owner;
    missed.add(process_.number, process_.inode, std::chrono::steady_clock::now());
  }
  return std::nullopt;
}

/// False at the end of the round.
bool ProcessScan::beginNext(MissedProcesses& missed) {
  while (const auto process = processes_.next()) {
    if (missed.contains(process->number, [&](pid_t) { return process->inode; })) {
      leftOut_ = true;
      continue;
    }
    process_ = *process;
    search_.emplace(process->number);
    return true;
  }
  return false;
}

void ProcessScan::endRound(MissedProcesses& missed) {
  if (leftOut_) missed.forget();
  leftOut_ = false;
  processes_.rewind();
}

}  // namespace tovi::platform
