#include "tovi-replay/ReplayClock.h"

#include <algorithm>

namespace tovi::replay {

static constexpr Date kEarliest{};
static constexpr Date kLatest = std::chrono::sys_days(std::chrono::year(2200) / 1 / 1);

void ReplayClock::set(Date now) {
  now_ = std::clamp(now, kEarliest, kLatest);
}

void ReplayClock::advance(double seconds) {
  now_ += std::chrono::round<Date::duration>(std::chrono::duration<double>(seconds));
}

Date ReplayClock::now() const {
  return now_;
}

}  // namespace tovi::replay
