#include "platform/linux/NativeProcessLookup.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/ProcessDirectory.h"
#include "platform/linux/SystemCall.h"

namespace tovi::platform {

namespace {

constexpr std::size_t kMostOwners = 4;

bool isEffective(const __user_cap_data_struct (&capabilities)[2], unsigned capability) {
  return (capabilities[capability / 32].effective & (1u << capability % 32)) != 0;
}

// Listing the descriptors of others takes one privilege and reading their links another
// (capabilities(7)). To try it on some process would tell only of that one.
void checkThatOthersCanBeRead() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct own[2] = {};
  checkCall(syscall(SYS_capget, &header, own), "capabilities");
  const bool canList = isEffective(own, CAP_DAC_READ_SEARCH) || isEffective(own, CAP_DAC_OVERRIDE);
  if (!canList || !isEffective(own, CAP_SYS_PTRACE)) throwSystemError(EPERM, "descriptors");
}

}  // namespace

NativeProcessLookup::NativeProcessLookup() {
  checkThatOthersCanBeRead();
}

std::string NativeProcessLookup::find(const CapturedQuery& query) {
  const std::lock_guard lock(mutex_);
  const auto socket = table_.find(query);
  if (!socket) return {};
  const auto owners = ownersOf(socket->inode);
  return owners.empty() ? std::string() : lsofText(*socket, owners, services_);
}

// Children inherit a socket under its number.
std::vector<NamedOwner> NativeProcessLookup::ownersOf(ino_t inode) {
  std::vector<NamedOwner> owners;
  const SocketLink socket(inode);
  auto next = search_.find(inode);
  while (next && owners.size() < kMostOwners) {
    const ProcessDirectory directory(next->process);
    if (!directory.holds(next->descriptor, socket)) break;
    const auto facts = directory.facts();
    if (!facts) break;
    owners.push_back(
        {*next, facts->name, accounts_.name(facts->user, AccountNames::Time::clock::now())});
    next->process = facts->parent;
  }
  std::ranges::sort(owners, {}, [](const NamedOwner& each) { return each.owner.process; });
  return owners;
}

}  // namespace tovi::platform
