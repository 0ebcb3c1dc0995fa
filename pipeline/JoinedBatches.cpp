#include "pipeline/JoinedBatches.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace tovi {

static constexpr std::string_view kEnd = "]}";

/// What stands between the brackets of the events. A quote in the date or the version would be
/// escaped, so that the key is found where it stands first.
static std::string_view eventsOf(std::string_view batch) {
  constexpr std::string_view kKey = "\"events_data\":[";
  const auto key = batch.find(kKey);
  if (key == batch.npos || !batch.ends_with(kEnd))
    throw std::invalid_argument("no batch of events");
  batch.remove_prefix(key + kKey.size());
  batch.remove_suffix(kEnd.size());
  return batch;
}

void JoinedBatches::add(std::string batch) {
  if (batch.empty()) return;
  if (!text_.empty()) {
    try {
      return join(batch);
    } catch (const std::invalid_argument&) {
      text_ = std::move(batch);
      throw;
    }
  }
  text_ = std::move(batch);
}

void JoinedBatches::join(std::string_view batch) {
  const auto added = eventsOf(batch);
  const bool isFirst = eventsOf(text_).empty();
  if (added.empty()) return;
  text_.resize(text_.size() - kEnd.size());
  if (!isFirst) text_ += ',';
  text_.append(added).append(kEnd);
}

}  // namespace tovi
