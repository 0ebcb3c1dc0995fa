#include "events/RepetitionsRemovalMessageFilter.h"

#include <utility>

#include "core/Settings.h"

namespace tovi {

static constexpr SettingKey<double> kTimeout = "removal_register_timeout";

RepetitionsRemovalMessageFilter::RepetitionsRemovalMessageFilter(
    std::int64_t memorySize, TimeProviderProtocol& timeProvider,
    SavePropertyManagerProtocol& permanentVariable)
    : timeProvider_(timeProvider),
      permanentVariable_(permanentVariable),
      cache_(memorySize),
      registersTimeout_(setting(permanentVariable, kTimeout)) {}

bool RepetitionsRemovalMessageFilter::filterResult(const std::string& key) {
  const auto now = timeProvider_.now();
  Date* const last = cache_.get(key);
  if (!last) {
    cache_.set(key, now);
    return true;
  }
  const double timeout = serialQueue_.sync([this] { return registersTimeout_; });
  if (secondsBetween(*last, now) < timeout) return false;
  *last = now;
  return true;
}

void RepetitionsRemovalMessageFilter::setMessageTimeoutSec(double seconds) {
  const double previous =
      serialQueue_.sync([&] { return std::exchange(registersTimeout_, seconds); });
  if (previous == seconds) return;
  logger_.debug("setMessageTimeoutSec(_:)", "Message timeout set to: ", seconds);
  permanentVariable_.save(kTimeout.name, PropertyValue{seconds});
}

}  // namespace tovi
