#include "platform/HostChanges.h"

#include <atomic>
#include <chrono>
#include <linux/rtnetlink.h>
#include <sys/epoll.h>

#include <systemd/sd-login.h>

#include "platform/linux/MainLoopNative.h"
#include "platform/linux/RouteNotifications.h"

namespace tovi::platform {

namespace {

// Addresses of interfaces that are down do not count, so links matter too.
constexpr unsigned kRouteGroups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;

struct MonitorDeleter {
  void operator()(sd_login_monitor* monitor) const { sd_login_monitor_unref(monitor); }
};
using LoginMonitor = std::unique_ptr<sd_login_monitor, MonitorDeleter>;
using EventSource = std::unique_ptr<sd_event_source, EventDeleter>;

// A seat that changes its session writes the sessions concerned anew, so these tell it all.
LoginMonitor openLoginMonitor() {
  sd_login_monitor* monitor = nullptr;
  sd_login_monitor_new("session", &monitor);
  return LoginMonitor(monitor);
}

std::uint64_t wholeSeconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::floor<std::chrono::seconds>(now).count());
}

}  // namespace

struct HostChanges::Native {
  explicit Native(MainLoop& loop);
  EventSource watch(MainLoop& loop, int descriptor, sd_event_io_handler_t handler);
  static int onRoutes(sd_event_source*, int, std::uint32_t, void* userdata) noexcept;
  static int onLogins(sd_event_source*, int, std::uint32_t, void* userdata) noexcept;

  // Constant after construction; null or none where the operating system has none.
  const FileDescriptor routes;
  const LoginMonitor logins;
  const EventSource routeSource;
  const EventSource loginSource;

  // Any thread.
  std::atomic<std::uint64_t> changes = 0;
};

HostChanges::Native::Native(MainLoop& loop)
    : routes(openRouteNotifications(kRouteGroups)),
      logins(openLoginMonitor()),
      routeSource(watch(loop, routes.get(), onRoutes)),
      loginSource(watch(loop, logins ? sd_login_monitor_get_fd(logins.get()) : -1, onLogins)) {}

EventSource HostChanges::Native::watch(MainLoop& loop, int descriptor,
                                       sd_event_io_handler_t handler) {
  sd_event_source* source = nullptr;
  if (descriptor >= 0) {
    sd_event_add_io(loop.native().event.get(), &source, descriptor, EPOLLIN, handler, this);
  }
  return EventSource(source);
}

int HostChanges::Native::onRoutes(sd_event_source*, int, std::uint32_t, void* userdata) noexcept {
  auto& self = *static_cast<Native*>(userdata);
  if (takeRouteNotifications(self.routes)) ++self.changes;
  return 0;
}

int HostChanges::Native::onLogins(sd_event_source*, int, std::uint32_t, void* userdata) noexcept {
  auto& self = *static_cast<Native*>(userdata);
  // A change that comes between the two must not be flushed uncounted.
  const int flushed = sd_login_monitor_flush(self.logins.get());
  ++self.changes;
  return flushed;
}

HostChanges::HostChanges(MainLoop& loop) : native_(std::make_unique<Native>(loop)) {}
HostChanges::~HostChanges() = default;

std::uint64_t HostChanges::revision() const {
  const bool isNotified = native_->routeSource && native_->loginSource;
  return native_->changes + (isNotified ? 0 : wholeSeconds());
}

}  // namespace tovi::platform
