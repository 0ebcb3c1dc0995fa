#include "pipeline/JoinedBatches.h"

#include <utility>

#include <nlohmann/json.hpp>

namespace tovi {

void JoinedBatches::add(std::string batch) {
  if (batch.empty()) return;
  if (!joined_ && single_.empty()) {
    single_ = std::move(batch);
    return;
  }
  try {
    join(batch);
  } catch (const nlohmann::json::exception&) {
    joined_.reset();
    single_ = std::move(batch);
    throw;
  }
}

void JoinedBatches::join(const std::string& batch) {
  if (!joined_) joined_ = dnsEventsFrom(single_);
  auto added = dnsEventsFrom(batch).eventsData;
  joined_->eventsData.insert(joined_->eventsData.end(), added.begin(), added.end());
}

std::string JoinedBatches::text() const {
  return joined_ ? jsonText(*joined_) : single_;
}

}  // namespace tovi
