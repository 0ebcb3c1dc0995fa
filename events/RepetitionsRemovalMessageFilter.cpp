#include "events/RepetitionsRemovalMessageFilter.h"

#include <utility>

#include "core/Settings.h"

namespace tovi {

static constexpr SettingKey<double> kTimeout = "removal_register_timeout";

RepetitionsRemovalMessageFilter::RepetitionsRemovalMessageFilter(
    std::int64_t memorySize, TimeProviderProtocol& timeProvider,
    SavePropertyManagerProtocol& permanentVariable, bool byProcess)
    : timeProvider_(timeProvider),
      permanentVariable_(permanentVariable),
      byProcess_(byProcess),
      cache_(memorySize),
      registersTimeout_(setting(permanentVariable, kTimeout)) {}

bool RepetitionsRemovalMessageFilter::filterResult(const std::string& name,
                                                   const std::string& process) {
  const Key key{name, byProcess_ ? process : std::string()};
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

std::size_t RepetitionsRemovalMessageFilter::Hash::operator()(const Key& key) const {
  const std::hash<std::string> hash;
  return hash(key.name) * 31 + hash(key.process);
}

void RepetitionsRemovalMessageFilter::setMessageTimeoutSec(double seconds) {
  const double previous =
      serialQueue_.sync([&] { return std::exchange(registersTimeout_, seconds); });
  if (previous == seconds) return;
  logger_.debug("setMessageTimeoutSec(_:)", "Message timeout set to: ", seconds);
  permanentVariable_.save(kTimeout.name, PropertyValue{seconds});
}

}  // namespace tovi
