#include "fuzz/faults/FailingCalls.h"

#include <atomic>
#include <cerrno>
#include <sys/stat.h>

namespace tovi::test {

namespace {

constexpr int kNever = 1 << 30;

std::atomic<int> callsLeft = kNever;
std::atomic<bool> failsForGood = false;
std::atomic<int> errorNumber = 0;
std::atomic<const char*> failedFunction = "";

bool fails(const char* function) {
  const int left = --callsLeft;
  if (left > 0 || (left < 0 && !failsForGood)) return false;
  failedFunction = function;
  errno = errorNumber;
  return true;
}

}  // namespace

std::string failCalls(int error, int nth, bool forGood, const std::function<void()>& action) {
  failedFunction = "";
  errorNumber = error;
  failsForGood = forGood;
  callsLeft = nth;
  action();
  failsForGood = false;
  callsLeft = kNever;
  return failedFunction.load();
}

}  // namespace tovi::test

// The linker sends the calls of NAME to __wrap_NAME, and those of __real_NAME to the system.
#define TOVI_FAILING_CALL(Result, name, parameters, arguments)              \
  extern "C" Result __real_##name parameters;                               \
  extern "C" Result __wrap_##name parameters;                               \
  extern "C" Result __wrap_##name parameters {                              \
    return tovi::test::fails(#name) ? Result{-1} : __real_##name arguments; \
  }

using Stat = struct stat;
TOVI_FAILING_CALL(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode))
TOVI_FAILING_CALL(int, openat, (int directory, const char* path, int flags, mode_t mode),
                  (directory, path, flags, mode))
TOVI_FAILING_CALL(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, size))
TOVI_FAILING_CALL(ssize_t, write, (int file, const void* bytes, size_t size), (file, bytes, size))
TOVI_FAILING_CALL(int, fstat, (int file, Stat* facts), (file, facts))
TOVI_FAILING_CALL(int, fstatat, (int directory, const char* path, Stat* facts, int flags),
                  (directory, path, facts, flags))
TOVI_FAILING_CALL(int, fchmod, (int file, mode_t mode), (file, mode))
TOVI_FAILING_CALL(int, flock, (int file, int operation), (file, operation))
TOVI_FAILING_CALL(int, fsync, (int file), (file))
TOVI_FAILING_CALL(int, unlinkat, (int directory, const char* path, int flags),
                  (directory, path, flags))
TOVI_FAILING_CALL(int, renameat2,
                  (int from, const char* path, int to, const char* name, unsigned flags),
                  (from, path, to, name, flags))
