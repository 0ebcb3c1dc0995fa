#include "tovi-replay/ReplayClock.h"

#include <algorithm>

#include "core/TimeProvider.h"

namespace tovi::replay {

static constexpr Date kEarliest{};
static constexpr Date kLatest = std::chrono::sys_days(std::chrono::year(2200) / 1 / 1);

void ReplayClock::set(Date now) {
  now_ = std::clamp(now, kEarliest, kLatest);
}

void ReplayClock::advance(double seconds) {
  now_ += std::chrono::round<Date::duration>(std::chrono::duration<double>(seconds));
}

std::string ReplayClock::currentTime() const {
  return internetDateTime(now_);
}

std::string ReplayClock::currentTime(std::string_view pattern) const {
  return formattedDate(now_, pattern);
}

Date ReplayClock::now() const {
  return now_;
}

}  // namespace tovi::replay
