#include "platform/linux/OwnerSearch.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <fstream>
#include <string>

#include "platform/linux/NumberedEntries.h"
#include "platform/linux/ProcessDirectory.h"

namespace tovi::platform {

namespace {

// Who sent has ended by then, or waits for an answer that is long in coming.
constexpr std::chrono::milliseconds kLongestScan{10};
constexpr int kTimesBetweenScans = 7;

// While others are let run, it stands still.
std::chrono::nanoseconds processorTime() {
  timespec time = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// The last number of proc_loadavg(5).
pid_t newestProcess() {
  std::ifstream file("/proc/loadavg");
  std::string word;
  while (file >> word) {
  }
  pid_t newest = 0;
  std::from_chars(word.data(), word.data() + word.size(), newest);
  return newest;
}

}  // namespace

std::optional<SocketOwner> OwnerSearch::find(ino_t inode) {
  const SocketLink socket(inode);
  const SocketOwner* const known = owners_.find(inode);
  if (known != nullptr && ProcessDirectory(known->process).holds(known->descriptor, socket)) {
    return *known;
  }
  if (Clock::now() < nextScan_) return std::nullopt;
  const auto begin = processorTime();
  const auto found = scan(socket);
  nextScan_ = Clock::now() + kTimesBetweenScans * (processorTime() - begin);
  if (found) owners_.set(inode, *found);
  if (found) askers_.set(found->process, true);
  return found;
}

std::optional<SocketOwner> OwnerSearch::scan(const SocketLink& socket) {
  const auto end = processorTime() + kLongestScan;
  for (const pid_t process : likelyFirst()) {
    if (processorTime() > end) break;
    NumberedEntries descriptors(("/proc/" + std::to_string(process) + "/fd").c_str());
    while (const auto descriptor = descriptors.next()) {
      const auto name = std::to_string(*descriptor);
      if (socket.isAt(descriptors.directory(), name.c_str())) return {{process, *descriptor}};
    }
  }
  return std::nullopt;
}

std::vector<pid_t> OwnerSearch::likelyFirst() {
  std::vector<pid_t> processes;
  NumberedEntries entries("/proc");
  while (const auto process = entries.next()) processes.push_back(*process);
  // Identifiers begin anew when they have run out.
  const pid_t newest = newestProcess();
  std::ranges::sort(processes, {}, [=](pid_t process) {
    return static_cast<unsigned>(newest) - static_cast<unsigned>(process);
  });
  std::ranges::stable_partition(processes,
                                [&](pid_t process) { return askers_.find(process) != nullptr; });
  return processes;
}

}  // namespace tovi::platform
