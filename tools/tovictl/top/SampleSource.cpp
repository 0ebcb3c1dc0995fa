#include "tovictl/top/SampleSource.h"

namespace tovi::ctl {

Sample SampleSource::look() {
  if (!agent_) agent_.emplace(platform::ServiceStart::Never);
  auto counters = agent_->counters();
  auto activity = agent_->activity();
  return {std::chrono::steady_clock::now(), std::move(counters), std::move(activity)};
}

SampleOutcome SampleSource::tryToLook() {
  try {
    return {look(), ""};
  } catch (const platform::ServiceError& fault) {
    // The bus itself may have been started anew.
    agent_.reset();
    return {std::nullopt, fault.what()};
  }
}

}  // namespace tovi::ctl
