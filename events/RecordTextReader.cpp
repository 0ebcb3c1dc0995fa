#include "events/RecordTextReader.h"

#include "capture/RecordText.h"
#include "events/TextParts.h"

namespace tovi {

using recordtext::kItemSeparator;
using recordtext::kKeyValueSeparator;

RecordTextReader::RecordTextReader(std::string_view recordText) {
  for (auto piece = takePart(recordText, kItemSeparator); !piece.empty();
       piece = takePart(recordText, kItemSeparator)) {
    const auto key = takePart(piece, kKeyValueSeparator);
    const auto value = takePart(piece, kKeyValueSeparator);
    if (!value.empty() && takePart(piece, kKeyValueSeparator).empty()) add({key, value});
  }
}

std::optional<std::string_view> RecordTextReader::value(std::string_view key) const {
  const auto found = positions_.find(key);
  if (found == positions_.end()) return std::nullopt;
  return items_[found->second].value;
}

void RecordTextReader::add(Item item) {
  const auto [found, isNew] = positions_.try_emplace(item.key, items_.size());
  if (isNew) {
    items_.push_back(item);
  } else {
    items_[found->second].value = item.value;
  }
}

}  // namespace tovi
