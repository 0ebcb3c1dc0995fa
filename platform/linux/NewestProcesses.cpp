#include "platform/linux/NewestProcesses.h"

#include <array>
#include <charconv>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/DescriptorSearch.h"

namespace tovi::platform {

namespace {

constexpr int kMostIdentifiers = 128;
// When the identifiers have run out, the kernel begins here again. Smaller ones are given out once,
// when the system or its PID namespace is young.
constexpr pid_t kLowestGivenAgain = 300;
// Asking for the time takes as long as trying an identifier that was never given out.
constexpr int kIdentifiersBetweenLooks = 8;

/// The number behind the last space of a file that holds one line; 0 when there is none.
pid_t lastNumber(int file) {
  std::array<char, 128> buffer;
  const ssize_t count = pread(file, buffer.data(), buffer.size(), 0);
  const std::string_view line(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  pid_t number = 0;
  std::from_chars(line.data() + line.rfind(' ') + 1, line.data() + line.size(), number);
  return number;
}

ino_t inodeOfProcess(pid_t process) {
  struct stat status;
  const bool isThere = stat(("/proc/" + std::to_string(process)).c_str(), &status) == 0;
  return isThere ? status.st_ino : 0;
}

// Threads have identifiers as well, which pidfd_open(2) refuses.
bool isProcess(pid_t identifier) {
  return bool(FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, identifier, 0))));
}

}  // namespace

NewestProcesses::NewestProcesses()
    : loadAverage_(open("/proc/loadavg", O_RDONLY | O_CLOEXEC)),
      highestIdentifier_(lastNumber(
          FileDescriptor(open("/proc/sys/kernel/pid_max", O_RDONLY | O_CLOEXEC)).get())) {}

std::optional<SocketOwner> NewestProcesses::find(const SocketLink& socket, MissedProcesses& missed,
                                                 Deadline deadline) const {
  pid_t process = lastNumber(loadAverage_.get());
  const pid_t lowest = process < kLowestGivenAgain ? 1 : kLowestGivenAgain;
  for (int tried = 0; tried < kMostIdentifiers; ++tried, --process) {
    if (tried % kIdentifiersBetweenLooks == 0 && isPast(deadline)) break;
    if (process < lowest) process = highestIdentifier_;
    if (missed.contains(process, inodeOfProcess) || !isProcess(process)) continue;
    DescriptorSearch search(process);
    const auto result = search.find(socket, deadline);
    if (result == DescriptorSearch::Result::found) return search.owner();
    if (result == DescriptorSearch::Result::missed) {
      missed.add(process, inodeOfProcess(process), std::chrono::steady_clock::now());
    }
  }
  return std::nullopt;
}

}  // namespace tovi::platform
