#include "tovictl/top/TopModel.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "service/StatisticsProtocol.h"

namespace tovi::ctl {

void TopModel::take(const SampleOutcome& outcome) {
  if (paused_) return;
  failure_ = outcome.failure;
  if (!outcome.sample) return;
  previous_ = std::exchange(sample_, outcome.sample);
}

void TopModel::apply(TopAction action) {
  switch (action) {
    case TopAction::TogglePause:
      paused_ = !paused_;
      break;
    case TopAction::ToggleOrder:
      order_ = order_ == TopOrder::ByCount ? TopOrder::ByName : TopOrder::ByCount;
      break;
    case TopAction::ToggleHelp:
      help_ = !help_;
      break;
    case TopAction::NextPanel:
      panel_ = panel_ == TopPanel::Resolvers ? TopPanel::All
                                             : static_cast<TopPanel>(static_cast<int>(panel_) + 1);
      break;
  }
}

std::optional<double> TopModel::rate(const std::string& counter) const {
  if (!previous_) return std::nullopt;
  const std::chrono::duration<double> seconds = sample_->time - previous_->time;
  const auto now = countOf(sample_->counters, counter);
  const auto before = countOf(previous_->counters, counter);
  const bool isNewDaemon = countOf(sample_->counters, statistics::kUptimeSeconds) <
                           countOf(previous_->counters, statistics::kUptimeSeconds);
  if (isNewDaemon || !now || !before || *now < *before) return std::nullopt;
  return static_cast<double>(*now - *before) / seconds.count();
}

static const std::vector<ActivityEntry>& entriesOf(const Activity& activity, TopPanel panel) {
  static const std::vector<ActivityEntry> none;
  switch (panel) {
    case TopPanel::Names:
      return activity.names;
    case TopPanel::Processes:
      return activity.processes;
    case TopPanel::Failures:
      return activity.failures;
    case TopPanel::Resolvers:
      return activity.resolvers;
    case TopPanel::All:
      break;
  }
  return none;
}

std::vector<ActivityEntry> TopModel::entries(TopPanel panel) const {
  if (!sample_) return {};
  auto entries = entriesOf(sample_->activity, panel);
  const auto key = [this](const ActivityEntry& entry) {
    const auto count = order_ == TopOrder::ByCount ? -entry.count : 0;
    return std::make_tuple(count, std::string_view(entry.name),
                           std::string_view(entry.responseCode));
  };
  std::sort(entries.begin(), entries.end(),
            [&](const auto& one, const auto& other) { return key(one) < key(other); });
  return entries;
}

}  // namespace tovi::ctl
