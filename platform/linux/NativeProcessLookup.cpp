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
// For this long a process keeps its user and shares a socket with the same others.
constexpr std::chrono::milliseconds kToldLifetime{100};

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

bool isNamed(pid_t process, std::string_view name) {
  const FileDescriptor file(
      open(("/proc/" + std::to_string(process) + "/comm").c_str(), O_RDONLY | O_CLOEXEC));
  std::array<char, 64> line;
  const ssize_t length = read(file.get(), line.data(), line.size());
  return length > 0 && std::string_view(line.data(), static_cast<std::size_t>(length) - 1) == name;
}

}  // namespace

NativeProcessLookup::NativeProcessLookup() {
  checkThatOthersCanBeRead();
}

std::string NativeProcessLookup::find(const CapturedQuery& query) {
  const std::lock_guard lock(mutex_);
  const auto socket = table_.find(query);
  if (!socket) return {};
  const auto now = Clock::now();
  if (const Told* const told = told_.find(socket->inode); told && isStillTrue(*told, now)) {
    return told->text;
  }
  const auto owners = ownersOf(socket->inode, [&] { return table_.find(query).has_value(); });
  if (owners.empty()) return {};
  auto text = lsofText(*socket, owners, services_);
  told_.set(socket->inode, {socket->inode, owners, text, now});
  return text;
}

bool NativeProcessLookup::isStillTrue(const Told& told, Clock::time_point now) {
  const SocketLink socket(told.inode);
  return now - told.time < kToldLifetime &&
         std::ranges::all_of(told.owners, [&](const NamedOwner& each) {
           return holds(each.owner, socket) && isNamed(each.owner.process, each.processName);
         });
}

// Children inherit a socket under its number.
std::vector<NamedOwner> NativeProcessLookup::ownersOf(ino_t inode,
                                                      const std::function<bool()>& isOpen) {
  std::vector<NamedOwner> owners;
  const SocketLink socket(inode);
  auto next = search_.find(inode, isOpen);
  while (next && owners.size() < kMostOwners) {
    const ProcessDirectory directory(next->process);
    if (!directory.holds(next->descriptor, socket)) break;
    const auto facts = directory.facts();
    if (!facts) break;
    owners.push_back({*next, facts->name, accounts_.name(facts->user, Clock::now())});
    next->process = facts->parent;
  }
  std::ranges::sort(owners, {}, [](const NamedOwner& each) { return each.owner.process; });
  return owners;
}

}  // namespace tovi::platform
