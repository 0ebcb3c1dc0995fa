#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "capture/MessageObserverProtocol.h"
#include "core/Activity.h"
#include "core/TimeProviderProtocol.h"
#include "events/BoundedCounts.h"

namespace tovi {

/// What the machine asked and who answered in the last minute: in this slot of ten seconds, and in
/// the five before. A slot keeps a bounded number of names, processes, failures and resolvers, so
/// that a flood of ever new names cannot make it grow. After a change of the clock it shows what
/// falls into the last minute of the new time. Any thread.
class RecentActivity : public MessageObserverProtocol {
 public:
  static constexpr std::chrono::seconds kWindow{60};

  /// The time provider must outlive it.
  explicit RecentActivity(const TimeProviderProtocol& timeProvider)
      : timeProvider_(timeProvider), start_(timeProvider.now()) {}

  void observe(const ObservedMessage& message) override;
  Activity summary() const;

 private:
  static constexpr std::chrono::seconds kSlotTime{10};
  static constexpr std::size_t kSlots = kWindow / kSlotTime;
  static constexpr BoundedCounts::Capacity kCapacity{.texts = 256, .bytes = 16 * 1024};

  struct Slot {
    /// Since the epoch, in units of kSlotTime.
    std::int64_t number = -1;
    std::uint64_t queries = 0;
    BoundedCounts names{kCapacity};
    BoundedCounts processes{kCapacity};
    BoundedCounts failures{kCapacity};
    BoundedCounts resolvers{kCapacity};
  };

  std::int64_t currentNumber() const;
  Slot& currentSlot();
  static void addQuery(Slot& slot, const ObservedMessage& message, const std::string& process);
  static void addResponse(Slot& slot, const ObservedMessage& message);
  std::vector<Activity::Entry> top(BoundedCounts Slot::*kind) const;
  std::vector<Activity::Entry> topFailures() const;
  bool isRecent(const Slot& slot) const;
  std::chrono::seconds covered() const;

  const TimeProviderProtocol& timeProvider_;
  const Date start_;

  // Guarded by the mutex.
  mutable std::mutex mutex_;
  std::array<Slot, kSlots> slots_;
};

}  // namespace tovi
