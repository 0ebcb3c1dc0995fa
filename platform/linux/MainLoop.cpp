#include "platform/MainLoop.h"

#include <algorithm>
#include <csignal>
#include <pthread.h>
#include <utility>

#include <systemd/sd-daemon.h>

#include "platform/linux/MainLoopNative.h"
#include "platform/linux/SystemCall.h"

namespace tovi::platform {

namespace {

// Firings may be put off by this much, so that the kernel can join wake-ups.
constexpr std::uint64_t kTimerAccuracyMicroseconds = 1000;
constexpr double kLeastPeriodMicroseconds = 1e3;
constexpr double kMostPeriodMicroseconds = 1e15;

std::uint64_t microseconds(std::chrono::duration<double> period) {
  const double wanted = std::chrono::duration<double, std::micro>(period).count();
  return static_cast<std::uint64_t>(
      std::clamp(wanted, kLeastPeriodMicroseconds, kMostPeriodMicroseconds));
}

}  // namespace

struct MainLoop::Timer::Native {
  std::uint64_t period;
  std::function<void()> action;
  std::unique_ptr<sd_event_source, EventDeleter> source;

  // Nothing may be thrown through the event library.
  static int fire(sd_event_source* source, std::uint64_t, void* userdata) noexcept {
    const auto& self = *static_cast<Native*>(userdata);
    const int armed = sd_event_source_set_time_relative(source, self.period);
    if (armed < 0) return armed;
    self.action();
    return 0;
  }
};

MainLoop::Timer::Timer(std::unique_ptr<Native> native) : native_(std::move(native)) {}
MainLoop::Timer::~Timer() = default;

MainLoop::MainLoop() : native_(std::make_unique<Native>()) {
  sd_event* event = nullptr;
  checkSystemd(sd_event_new(&event), "event loop");
  native_->event.reset(event);
  sigset_t ending;
  sigemptyset(&ending);
  for (const int signal : {SIGTERM, SIGINT}) sigaddset(&ending, signal);
  checkSystemd(-pthread_sigmask(SIG_BLOCK, &ending, nullptr), "signal mask");
  for (const int signal : {SIGTERM, SIGINT}) {
    // Without a handler of ours, the signal ends the loop.
    checkSystemd(sd_event_add_signal(event, nullptr, signal, nullptr, nullptr), "signal");
  }
  checkSystemd(sd_event_set_watchdog(event, true), "watchdog");
  // A pipe whose reader went away is an error of that write alone.
  std::signal(SIGPIPE, SIG_IGN);
}

MainLoop::~MainLoop() = default;

bool MainLoop::run() {
  return checkSystemd(sd_event_loop(native_->event.get()), "event loop") == 0;
}

void MainLoop::quit() {
  sd_event_exit(native_->event.get(), 0);
}

std::unique_ptr<MainLoop::Timer> MainLoop::repeat(std::chrono::duration<double> period,
                                                  std::function<void()> action) {
  auto timer =
      std::make_unique<Timer::Native>(Timer::Native{microseconds(period), std::move(action), {}});
  sd_event_source* source = nullptr;
  checkSystemd(
      sd_event_add_time_relative(native_->event.get(), &source, CLOCK_MONOTONIC, timer->period,
                                 kTimerAccuracyMicroseconds, &Timer::Native::fire, timer.get()),
      "timer");
  timer->source.reset(source);
  checkSystemd(sd_event_source_set_enabled(source, SD_EVENT_ON), "timer");
  return std::make_unique<Timer>(std::move(timer));
}

void MainLoop::afterEvents(std::function<void()> action) {
  native_->afterEvents = std::move(action);
  sd_event_source* source = nullptr;
  checkSystemd(sd_event_add_post(
                   native_->event.get(), &source,
                   [](sd_event_source*, void* userdata) noexcept {
                     static_cast<Native*>(userdata)->afterEvents();
                     return 0;
                   },
                   native_.get()),
               "after events");
  native_->afterEventsSource.reset(source);
}

void notifyReady() {
  sd_notify(0, "READY=1");
}

void extendStart(std::chrono::seconds time) {
  sd_notify(0,
            ("EXTEND_TIMEOUT_USEC=" + std::to_string(time / std::chrono::microseconds(1))).c_str());
}

void notifyStatus(const std::string& status) {
  sd_notify(0, ("STATUS=" + status).c_str());
}

}  // namespace tovi::platform
