#include "events/TopCounts.h"

#include <algorithm>

namespace tovi {

void TopCounts::add(std::string_view key) {
  ++total_;
  if (const auto found = counts_.find(key); found != counts_.end()) {
    ++found->second.count;
  } else if (counts_.size() < capacity_) {
    counts_.emplace(key, Count{.count = 1});
  } else {
    replaceRarest(key);
  }
}

void TopCounts::replaceRarest(std::string_view key) {
  const auto rarest =
      std::ranges::min_element(counts_, {}, [](const auto& entry) { return entry.second.count; });
  const std::uint64_t inherited = rarest->second.count;
  auto entry = counts_.extract(rarest);
  entry.key() = key;
  entry.mapped() = {.count = inherited + 1, .inherited = inherited};
  counts_.insert(std::move(entry));
}

void TopCounts::clear() {
  counts_.clear();
  total_ = 0;
}

void TopCounts::addTo(std::unordered_map<std::string, std::uint64_t>& counts) const {
  for (const auto& [key, count] : counts_) counts[key] += count.count - count.inherited;
}

}  // namespace tovi
