#pragma once

#include <memory>

#include <systemd/sd-bus.h>

namespace tovi::platform {

struct BusDeleter {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
  void operator()(sd_bus_track* track) const { sd_bus_track_unref(track); }
};

/// sd-bus objects that are released when their owner goes.
template <typename Object>
using BusHandle = std::unique_ptr<Object, BusDeleter>;

/// Connects to the system bus, or to the one that DBUS_SYSTEM_BUS_ADDRESS names. Throws
/// ServiceError (`NoBus`) when there is none.
BusHandle<sd_bus> openServiceBus();

/// The texts of a bus error, freed at the end.
struct BusError {
  sd_bus_error error = {};
  ~BusError() { sd_bus_error_free(&error); }
};

}  // namespace tovi::platform
