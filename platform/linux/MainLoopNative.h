#pragma once

#include <memory>

#include <systemd/sd-event.h>

#include "platform/MainLoop.h"

namespace tovi::platform {

struct EventDeleter {
  void operator()(sd_event* event) const { sd_event_unref(event); }
  void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};

struct MainLoop::Native {
  std::unique_ptr<sd_event, EventDeleter> event;
  std::function<void()> afterEvents;
  std::unique_ptr<sd_event_source, EventDeleter> afterEventsSource;
};

}  // namespace tovi::platform
