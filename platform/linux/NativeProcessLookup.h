#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/AccountNames.h"
#include "platform/linux/LsofText.h"
#include "platform/linux/OwnerSearch.h"
#include "platform/linux/ServiceNames.h"
#include "platform/linux/SocketTable.h"

namespace tovi::platform {

/// Finds the processes behind a datagram by the kernel's table of sockets and the links in /proc.
/// Nobody is named whose link was not read just before, in the same directory in /proc as the name,
/// which is never another process's; a socket whose owner is not found is nobody's. Sees the
/// sockets of its own network namespace, which is the one that it captures in, and the processes of
/// its own PID namespace: one outside is not found, wherever its socket is. Any thread.
class NativeProcessLookup {
 public:
  /// Throws std::system_error where this way cannot work: the table cannot be asked, or this
  /// process lacks the privileges to read what others hold: CAP_SYS_PTRACE, which also sees through
  /// a /proc that hides processes (hidepid in proc(5)), and CAP_DAC_READ_SEARCH or
  /// CAP_DAC_OVERRIDE.
  NativeProcessLookup();

  /// The text that lsof(8) would print, the lowest process identifier first; empty when nobody is
  /// found. Besides the process that was found, those above it are told that share the socket with
  /// it by inheritance.
  std::string find(const CapturedQuery& query);

 private:
  std::vector<NamedOwner> ownersOf(ino_t inode);

  std::mutex mutex_;

  // Constant after construction.
  const ServiceNames services_;

  // Under the mutex.
  SocketTable table_;
  OwnerSearch search_;
  AccountNames accounts_;
};

}  // namespace tovi::platform
