#include "platform/linux/OwnerSearch.h"

namespace tovi::platform {

std::optional<SocketOwner> OwnerSearch::find(ino_t inode, const std::function<bool()>& isOpen) {
  const SocketLink socket(inode);
  if (const auto known = findKnown(inode, socket)) return known;
  const auto found = search(socket, isOpen);
  if (!found) return std::nullopt;
  owners_.set(inode, *found);
  askers_.add(*found);
  return found;
}

std::optional<SocketOwner> OwnerSearch::findKnown(ino_t inode, const SocketLink& socket) {
  const SocketOwner* const owner = owners_.find(inode);
  if (owner == nullptr || !holds(*owner, socket)) return std::nullopt;
  return *owner;
}

// Each way gets its share of the time even if the one before took all it might.
std::optional<SocketOwner> OwnerSearch::search(const SocketLink& socket,
                                               const std::function<bool()>& isOpen) {
  askers_.forgetEnded();
  if (const auto found = askers_.findAtLastDescriptor(socket)) return found;
  const auto allowed = allowance_.next(SearchAllowance::Clock::now());
  const auto begin = ThreadClock::now();
  auto found = askers_.find(socket, begin + allowed / 4);
  if (!found) found = newest_.find(socket, missed_, begin + allowed / 2);
  if (!found && isOpen()) found = scan_.find(socket, missed_, begin + allowed);
  allowance_.take(ThreadClock::now() - begin);
  return found;
}

}  // namespace tovi::platform
