#include "platform/ChildProcess.h"

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/SystemCall.h"

namespace tovi::platform {

namespace {

using Clock = std::chrono::steady_clock;
using Deadline = std::optional<Clock::time_point>;

constexpr std::size_t kMostOutputBytes = 16u << 20;

class FileActions {
 public:
  FileActions() { posix_spawn_file_actions_init(&actions_); }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  void sendStandardOutputTo(int descriptor) {
    posix_spawn_file_actions_adddup2(&actions_, descriptor, STDOUT_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
  }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

class DefaultSignals {
 public:
  DefaultSignals() {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~DefaultSignals() { posix_spawnattr_destroy(&attributes_); }
  DefaultSignals(const DefaultSignals&) = delete;
  DefaultSignals& operator=(const DefaultSignals&) = delete;

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
};

pid_t spawn(const std::string& path, const std::vector<std::string>& arguments, int output) {
  FileActions actions;
  actions.sendStandardOutputTo(output);
  std::vector<char*> words = {const_cast<char*>(path.c_str())};
  for (const auto& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  pid_t child = 0;
  checkSystemd(-posix_spawn(&child, path.c_str(), actions.get(), DefaultSignals().get(),
                            words.data(), environ),
               path);
  return child;
}

int millisecondsUntil(const Deadline& deadline) {
  if (!deadline) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<long>(left, 0, INT_MAX));
}

// False when the deadline passed first.
bool waitUntilReadable(int descriptor, const Deadline& deadline) {
  pollfd waited = {descriptor, POLLIN, 0};
  int ready = 0;
  do {
    ready = poll(&waited, 1, millisecondsUntil(deadline));
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

// True when all of it, up to its end, was read in time and is not more than what is kept.
bool readOutput(int descriptor, const Deadline& deadline, std::string& output) {
  std::array<char, 16384> chunk;
  while (output.size() < kMostOutputBytes) {
    if (!waitUntilReadable(descriptor, deadline)) return false;
    const ssize_t count = read(descriptor, chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return count == 0;
    output.append(chunk.data(), static_cast<std::size_t>(count));
  }
  return false;
}

// A started program: killed, unless it ended by itself, and reaped in any case.
class Child {
 public:
  explicit Child(pid_t process) : process_(process) {}
  ~Child() {
    if (!ended_) kill(process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  void waitForEnd(const Deadline& deadline) {
    const FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, process_, 0)));
    ended_ = !deadline || (process && waitUntilReadable(process.get(), deadline));
  }

 private:
  pid_t process_;
  bool ended_ = false;
};

}  // namespace

std::string runProgram(const std::string& path, const std::vector<std::string>& arguments,
                       std::optional<std::chrono::milliseconds> limit) {
  const Deadline deadline = limit ? Deadline(Clock::now() + *limit) : std::nullopt;
  std::array<int, 2> ends;
  checkCall(pipe2(ends.data(), O_CLOEXEC), "pipe");
  const FileDescriptor readEnd(ends[0]);
  FileDescriptor writeEnd(ends[1]);
  Child child(spawn(path, arguments, writeEnd.get()));
  writeEnd.reset();
  std::string output;
  if (readOutput(readEnd.get(), deadline, output)) child.waitForEnd(deadline);
  return output;
}

}  // namespace tovi::platform
