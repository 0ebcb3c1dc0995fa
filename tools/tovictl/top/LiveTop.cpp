#include "tovictl/top/LiveTop.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

namespace tovi::ctl {

static constexpr std::array kEndingSignals = {SIGINT, SIGTERM, SIGQUIT, SIGHUP};

static volatile sig_atomic_t isToEnd = 0;

/// Held back but while `ppoll` waits, so that none comes between a look at the flag and the wait.
static sigset_t heldBack() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int each : kEndingSignals) sigaddset(&signals, each);
  sigaddset(&signals, SIGWINCH);
  return signals;
}

static std::chrono::milliseconds withSignalsHeldBack(std::chrono::milliseconds interval) {
  struct sigaction action {};
  action.sa_handler = [](int) { isToEnd = 1; };
  for (const int each : kEndingSignals) sigaction(each, &action, nullptr);
  const auto signals = heldBack();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return interval;
}

LiveTop::LiveTop(const Sample& first, std::chrono::milliseconds interval, bool coloured)
    : interval_(interval), sampler_(withSignalsHeldBack(interval)), screen_(coloured) {
  model_.take({first, ""});
}

void LiveTop::run() {
  do {
    if (auto outcome = sampler_.take()) {
      model_.take(*outcome);
      heard_ = std::chrono::steady_clock::now();
    }
    model_.setSilence(silence());
    draw();
  } while (wait() && pressAll());
}

bool LiveTop::wait() {
  std::array<pollfd, 2> waited = {{{STDIN_FILENO, POLLIN, 0}, {sampler_.readable(), POLLIN, 0}}};
  sigset_t none;
  sigemptyset(&none);
  // Then the daemon's silence is a second longer.
  constexpr timespec kSecond = {1, 0};
  const int result = ppoll(waited.data(), waited.size(), &kSecond, &none);
  if (isToEnd != 0) return false;
  if (result < 0) return errno == EINTR;
  return (waited[0].revents & (POLLHUP | POLLERR | POLLNVAL)) == 0;
}

bool LiveTop::pressAll() {
  while (const auto key = screen_.key()) {
    if (!press(*key)) return false;
  }
  return true;
}

bool LiveTop::press(int key) {
  switch (key) {
    case 'q':
      return false;
    case 'p':
    case ' ':
      model_.apply(TopAction::TogglePause);
      break;
    case 's':
      model_.apply(TopAction::ToggleOrder);
      break;
    case '?':
    case 'h':
      model_.apply(TopAction::ToggleHelp);
      break;
    case '\t':
      model_.apply(TopAction::NextPanel);
      break;
    case '0':
    case '1':
    case '2':
    case '3':
    case '4':
      model_.choose(static_cast<TopPanel>(key - '0'));
      break;
    default:
      break;
  }
  return true;
}

std::chrono::seconds LiveTop::silence() const {
  constexpr std::chrono::seconds kPatience{3};
  const auto since = std::chrono::steady_clock::now() - heard_;
  if (since < interval_ + kPatience) return std::chrono::seconds(0);
  return std::chrono::duration_cast<std::chrono::seconds>(since);
}

void LiveTop::draw() {
  screen_.draw(TopView(model_, screen_.size()).lines());
}

}  // namespace tovi::ctl
