#pragma once

#include <chrono>

#include "capture/PacketReceiver.h"
#include "events/DNSMessageContainer.h"
#include "events/RecentActivity.h"
#include "events/ToviDNSMessageBuilder.h"
#include "pipeline/MessagePacker.h"
#include "pipeline/MessagePersistence.h"
#include "platform/ProcessLookup.h"
#include "service/GetStatisticsProtocol.h"

namespace tovi {

/// Gathers what the components have counted. Main loop only.
class DaemonStatistics : public GetStatisticsProtocol {
 public:
  /// All must outlive it.
  struct Sources {
    const PacketReceiver& capture;
    const platform::ProcessFinder& finder;
    const DNSMessageContainer& container;
    const ToviDNSMessageBuilder& builder;
    const MessagePacker& packer;
    MessagePersistence& persistence;
    const CryptoDataProtectorProtocol& crypto;
    const RecentActivity& activity;
  };

  explicit DaemonStatistics(const Sources& sources) : sources_(sources) {}

  Counters counters() override;
  Activity activity() override;

 private:
  const Sources sources_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace tovi
