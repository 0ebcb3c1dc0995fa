#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tovi {

/// Where a stored message stands; the codes are those in the store.
enum class DeliveryState : std::int64_t {
  /// Never in the store: the record goes with the next save.
  Delivered = 0,
  Pending = 1,
  HandedOver = 2,
  /// The payload cannot be opened; never offered again.
  Undecryptable = 3,
  /// There is no payload; never offered again.
  Empty = 4,
};

/// A stored message. Its payload stays in the store until it is asked for.
struct Messages {
  std::int64_t row = 0;
  std::optional<std::string> id;
  DeliveryState state = DeliveryState::Pending;
  /// Seconds since the Unix epoch.
  std::optional<double> lastUpdate;
};

}  // namespace tovi
