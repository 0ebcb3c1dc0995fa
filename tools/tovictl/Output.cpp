#include "tovictl/Output.h"

#include <cerrno>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>

namespace tovi::ctl {

// A pipe or terminal that was made not to block is waited for all the same.
static void waitForSpace() {
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  poll(&output, 1, -1);
}

static std::size_t writeSome(std::string_view text) {
  const auto written = write(STDOUT_FILENO, text.data(), text.size());
  if (written >= 0) return static_cast<std::size_t>(written);
  if (errno == EINTR) return 0;
  if (errno == EAGAIN) {
    waitForSpace();
    return 0;
  }
  if (errno == EPIPE) throw OutputClosed();
  throw std::system_error(errno, std::generic_category(), "cannot write the output");
}

void writeOut(std::string_view text) {
  while (!text.empty()) text.remove_prefix(writeSome(text));
}

void waitWhileOutputIsOpen(std::chrono::milliseconds duration) {
  // No events are asked for: a pipe without a reader reports POLLERR all the same.
  pollfd output{STDOUT_FILENO, 0, 0};
  if (poll(&output, 1, static_cast<int>(duration.count())) > 0) throw OutputClosed();
}

bool outputIsTerminal() {
  return isatty(STDOUT_FILENO) == 1;
}

std::size_t outputColumns() {
  constexpr std::size_t kUsual = 80;
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

void endQuietlyOnSignals() {
  struct sigaction action {};
  action.sa_handler = [](int) { _exit(0); };
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace tovi::ctl
