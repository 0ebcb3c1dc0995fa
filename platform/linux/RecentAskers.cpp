#include "platform/linux/RecentAskers.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>

#include "platform/linux/DescriptorSearch.h"

namespace tovi::platform {

namespace {

constexpr std::size_t kMostAskers = 16;

bool hasEnded(const SocketOwner& owner) {
  return kill(owner.process, 0) != 0 && errno == ESRCH;
}

}  // namespace

bool holds(const SocketOwner& owner, const SocketLink& socket) {
  char path[48];
  std::snprintf(path, sizeof path, "/proc/%d/fd/%d", owner.process, owner.descriptor);
  return socket.isAt(AT_FDCWD, path);
}

void RecentAskers::add(const SocketOwner& owner) {
  std::erase_if(askers_, [&](const auto& asker) { return asker.process == owner.process; });
  if (askers_.size() == kMostAskers) askers_.pop_back();
  askers_.insert(askers_.begin(), owner);
}

void RecentAskers::forgetEnded() {
  std::erase_if(askers_, hasEnded);
}

std::optional<SocketOwner> RecentAskers::findAtLastDescriptor(const SocketLink& socket) const {
  const auto found =
      std::ranges::find_if(askers_, [&](const auto& asker) { return holds(asker, socket); });
  return found == askers_.end() ? std::nullopt : std::optional(*found);
}

std::optional<SocketOwner> RecentAskers::find(const SocketLink& socket, Deadline deadline) const {
  for (const auto& asker : askers_) {
    DescriptorSearch search(asker.process);
    if (search.find(socket, deadline) == DescriptorSearch::Result::found) return search.owner();
    if (isPast(deadline)) break;
  }
  return std::nullopt;
}

}  // namespace tovi::platform
