#include "events/BoundedCounts.h"

#include <algorithm>

namespace tovi {

void BoundedCounts::add(std::string_view text) {
  ++total_;
  const auto found = counts_.find(text);
  if (found != counts_.end()) {
    ++found->second.most;
    return;
  }
  while (!counts_.empty() && isFull()) giveUpHalf();
  counts_.emplace(text, Count{.most = mostForgotten_ + 1, .excess = mostForgotten_});
  bytes_ += text.size();
}

void BoundedCounts::giveUpHalf() {
  std::vector<Counts::iterator> places;
  for (auto place = counts_.begin(); place != counts_.end(); ++place) places.push_back(place);
  const auto isRarer = [](Counts::iterator one, Counts::iterator other) {
    return std::pair(one->second.most, std::string_view(one->first)) <
           std::pair(other->second.most, std::string_view(other->first));
  };
  const auto middle = places.begin() + (std::ssize(places) - 1) / 2;
  std::ranges::nth_element(places, middle, isRarer);
  mostKept_ = std::max(mostKept_, counts_.size());
  mostForgotten_ = std::max(mostForgotten_, (*middle)->second.most);
  for (auto place = places.begin(); place <= middle; ++place) {
    bytes_ -= (*place)->first.size();
    counts_.erase(*place);
  }
}

std::vector<BoundedCounts::Entry> BoundedCounts::top(std::size_t count) const {
  std::vector<Counts::const_iterator> places;
  for (auto place = counts_.begin(); place != counts_.end(); ++place) places.push_back(place);
  const auto isBefore = [](Counts::const_iterator one, Counts::const_iterator other) {
    if (one->second.most != other->second.most) return one->second.most > other->second.most;
    return one->first < other->first;
  };
  const auto end = places.begin() + static_cast<std::ptrdiff_t>(std::min(count, places.size()));
  std::ranges::partial_sort(places, end, isBefore);
  std::vector<Entry> entries;
  for (auto place = places.begin(); place != end; ++place) {
    const auto& [text, found] = **place;
    entries.push_back({text, found.most - found.excess, found.most});
  }
  return entries;
}

}  // namespace tovi
