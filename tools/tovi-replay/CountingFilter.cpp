#include "tovi-replay/CountingFilter.h"

namespace tovi::replay {

CountingFilter::CountingFilter(MessageFilterProtocol& filter, ReplayCounts& counts)
    : filter_(filter), counts_(counts) {}

bool CountingFilter::filterResult(const std::string& name, const std::string& process) {
  const bool isNew = filter_.filterResult(name, process);
  if (!isNew) ++counts_.repetitions;
  return isNew;
}

}  // namespace tovi::replay
