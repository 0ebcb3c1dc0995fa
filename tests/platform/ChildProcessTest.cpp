#include <chrono>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"

using namespace std::chrono_literals;
using tovi::platform::runProgram;

namespace {

std::string runShell(const std::string& script,
                     std::optional<std::chrono::milliseconds> limit = std::nullopt) {
  return runProgram("/bin/sh", {"-c", script}, limit);
}

bool hasChildren() {
  return waitpid(-1, nullptr, WNOHANG) >= 0;
}

}  // namespace

TEST(ChildProcess, ReturnsOutputWhateverTheExitStatus) {
  EXPECT_EQ(runShell("printf 'a\\0b\\n'; exit 3"), std::string("a\0b\n", 4));
  EXPECT_EQ(runShell("head -c 300000 /dev/zero").size(), 300000u);
  EXPECT_EQ(runProgram("/usr/bin/printf", {"%s|", "a b", "$HOME", "*", ""}), "a b|$HOME|*||");
  EXPECT_THROW(runProgram("/nonexistent/program", {}), std::system_error);
  EXPECT_LT(runProgram("/usr/bin/yes", {}).size(), 17u << 20);
  EXPECT_FALSE(hasChildren());
}

TEST(ChildProcess, LimitKillsAndKeepsWhatWasWritten) {
  for (const char* script : {"echo early; exec sleep 600", "echo early; exec sleep 600 >&-"}) {
    EXPECT_EQ(runShell(script, 300ms), "early\n") << script;
    EXPECT_FALSE(hasChildren());
  }
}

TEST(ChildProcess, DescriptorsAreNotInherited) {
  const int kept = open("/dev/null", O_RDONLY);  // Without O_CLOEXEC.
  EXPECT_EQ(runShell("test -e /proc/$$/fd/" + std::to_string(kept) + " || echo closed"),
            "closed\n");
  close(kept);
}

TEST(ChildProcess, BlockedAndIgnoredSignalsAreNotInherited) {
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  sigprocmask(SIG_BLOCK, &blocked, nullptr);
  const auto handler = signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(runShell("kill -TERM $$; echo blocked"), "");
  EXPECT_EQ(runShell("kill -PIPE $$; echo ignored"), "");
  signal(SIGPIPE, handler);
  sigprocmask(SIG_UNBLOCK, &blocked, nullptr);
}
