#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>

#include "platform/ProcessLookup.h"
#include "platform/linux/AccountNames.h"
#include "platform/linux/ServiceNames.h"
#include "platform/linux/kernel/SenderMap.h"

namespace tovi::platform {

/// Finds who sent a query in what the programs in the kernel noted while it was sent. An entry
/// counts only if the query was captured while its packet can have been this sender's. Any thread.
class SenderLookup {
 public:
  /// Throws std::system_error.
  SenderLookup();

  /// Nobody when there is no entry that counts.
  QuerySender find(const SenderMap& map, const CapturedQuery& query);

 private:
  std::optional<tovi_sender> findEntry(const SenderMap& map, const CapturedQuery& query) const;
  QuerySender describe(const CapturedQuery& query, const tovi_sender& sender);

  // Constant after construction.
  const std::uint32_t network_;
  const ServiceNames services_;

  std::mutex mutex_;
  // Under the mutex.
  AccountNames accounts_;
};

/// The systemd unit or the container that the last parts of a control group's path tell of, the
/// innermost last; empty for none.
std::string unitOf(std::string_view group, std::string_view outerGroup);

}  // namespace tovi::platform
