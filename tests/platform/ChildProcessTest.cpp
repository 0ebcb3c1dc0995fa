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

TEST(ChildProcess, ReturnsAllOutputWhateverTheExitStatus) {
  EXPECT_EQ(runShell("printf 'a\\0b\\n'; exit 3"), std::string("a\0b\n", 4));
  EXPECT_EQ(runShell("head -c 300000 /dev/zero").size(), 300000u);
  EXPECT_FALSE(hasChildren());
}

TEST(ChildProcess, ArgumentsAreNotSeenByAShell) {
  EXPECT_EQ(runProgram("/usr/bin/printf", {"%s|", "a b", "$HOME", "*", ""}), "a b|$HOME|*||");
}

TEST(ChildProcess, MissingProgramThrows) {
  EXPECT_THROW(runProgram("/nonexistent/program", {}), std::system_error);
  EXPECT_FALSE(hasChildren());
}

TEST(ChildProcess, LimitKillsAndKeepsWhatWasWritten) {
  for (const char* script : {"echo early; exec sleep 600", "echo early; exec sleep 600 >&-"}) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(runShell(script, 300ms), "early\n") << script;
    EXPECT_LT(std::chrono::steady_clock::now() - start, 60s) << script;
    EXPECT_FALSE(hasChildren());
  }
}

TEST(ChildProcess, EndlessOutputIsCutOff) {
  const std::string output = runProgram("/usr/bin/yes", {});
  EXPECT_GE(output.size(), 16u << 20);
  EXPECT_LT(output.size(), 17u << 20);
}

TEST(ChildProcess, DescriptorsAreNotInherited) {
  const int kept = open("/dev/null", O_RDONLY);  // Without O_CLOEXEC.
  for (const int number : {kept, fcntl(kept, F_DUPFD, 200)}) {
    const std::string file = "/proc/$$/fd/" + std::to_string(number);
    EXPECT_EQ(runShell("test -e " + file + " || echo closed"), "closed\n");
    close(number);
  }
}

TEST(ChildProcess, BlockedAndIgnoredSignalsAreNotInherited) {
  sigset_t blocked;
  sigset_t before;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  sigprocmask(SIG_BLOCK, &blocked, &before);
  const auto handler = signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(runShell("kill -TERM $$; echo blocked"), "");
  EXPECT_EQ(runShell("kill -PIPE $$; echo ignored"), "");
  signal(SIGPIPE, handler);
  sigprocmask(SIG_SETMASK, &before, nullptr);
}
