#pragma once

#include <cstdint>
#include <limits>

#include "core/KeychainHelper.h"
#include "core/SettingsHandler.h"
#include "events/RepetitionsRemovalMessageFilter.h"
#include "pipeline/CoreDataManager.h"
#include "pipeline/CryptoDataProtector.h"
#include "pipeline/MessageDeliveryHandler.h"
#include "pipeline/MessagePacker.h"
#include "pipeline/MessagePersistence.h"
#include "tovi-replay/EventDestination.h"
#include "tovi-replay/NoVariables.h"
#include "tovi-replay/ReplayClock.h"
#include "tovi-replay/ReplayCounts.h"
#include "tovi-replay/ReplayOptions.h"

namespace tovi::replay {

/// Filters, packs, seals and stores events as the daemon does; all is stored once `finish` returns.
/// The borrowed arguments must outlive it. One thread.
class BatchStore : public EventDestination {
 public:
  /// Opens or makes the store and its key below the options' store directory. Throws
  /// std::exception when that cannot be done, what was there before then being as it was.
  BatchStore(const ReplayOptions& options, ReplayCounts& counts, ReplayClock& clock);

  void addMessage(ToviDNSEventPointer event) override;
  void begin() override;
  bool finish() override;

 private:
  void checkKey() const;

  const std::filesystem::path directory_;
  ReplayCounts& counts_;
  ReplayClock& clock_;
  /// A capture may be larger than what a daemon keeps for its companion.
  SettingsHandler settings_{{{"store_max_bytes", {std::numeric_limits<std::int64_t>::max()}}}};
  NoVariables variables_;
  KeychainHelper keychain_;
  CryptoDataProtector protector_;
  CoreDataManager coreData_;
  MessageDeliveryHandler deliveryHandler_;
  MessagePersistence persistence_;
  RepetitionsRemovalMessageFilter repetitions_;
  MessagePacker packer_;
};

}  // namespace tovi::replay
