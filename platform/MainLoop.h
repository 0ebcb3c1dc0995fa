#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace tovi::platform {

/// The event loop of the main thread: timers, the service bus, and the signals that end the
/// program. While it runs, it feeds the service manager's watchdog, if there is one. Create it
/// before any thread is started, since it blocks the ending signals in the calling thread and every
/// thread started later inherits that; the whole process ignores SIGPIPE. Used from one thread
/// only.
class MainLoop {
 public:
  /// A repeating timer; it stops when destroyed. Must not outlive its loop.
  class Timer {
   public:
    struct Native;
    explicit Timer(std::unique_ptr<Native> native);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

   private:
    std::unique_ptr<Native> native_;
  };

  /// The operating system's side, known to the files of the platform folder only.
  struct Native;

  /// Throws std::system_error when the operating system refuses a loop.
  MainLoop();
  ~MainLoop();
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;

  /// Runs until SIGTERM or SIGINT arrives, or until `quit`; true then. False when it ended because
  /// the service bus was lost. Runs once.
  bool run();
  void quit();

  /// Calls `action` every `period` (at least one millisecond) while `run` runs. A firing that is
  /// late is not made up for.
  std::unique_ptr<Timer> repeat(std::chrono::duration<double> period, std::function<void()> action);

  /// Calls `action` while `run` runs, each time that timers or the bus have been attended to. A
  /// second call replaces it.
  void afterEvents(std::function<void()> action);

  Native& native() { return *native_; }

 private:
  std::unique_ptr<Native> native_;
};

/// Tells the service manager that start-up is complete, as sd_notify(3) READY=1 does. Without a
/// service manager nothing happens.
void notifyReady();
/// Start-up may take as long from now on, as sd_notify(3) EXTEND_TIMEOUT_USEC= says.
void extendStart(std::chrono::seconds time);
/// One line about how things are, for `systemctl status`, as sd_notify(3) STATUS= does.
void notifyStatus(const std::string& status);

}  // namespace tovi::platform
