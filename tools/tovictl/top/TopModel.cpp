#include "tovictl/top/TopModel.h"

#include <algorithm>
#include <tuple>
#include <utility>

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

std::optional<double> TopModel::rate(Counters::Count Counters::*counter) const {
  if (!previous_) return std::nullopt;
  const std::chrono::duration<double> seconds = sample_->time - previous_->time;
  const auto now = sample_->counters.*counter;
  const auto before = previous_->counters.*counter;
  const bool isNewDaemon = sample_->counters.uptimeSeconds < previous_->counters.uptimeSeconds;
  if (isNewDaemon || !now || !before || *now < *before) return std::nullopt;
  return static_cast<double>(*now - *before) / seconds.count();
}

static const std::vector<Activity::Entry>& entriesOf(const Activity& activity, TopPanel panel) {
  static const std::vector<Activity::Entry> none;
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

std::vector<Activity::Entry> TopModel::entries(TopPanel panel) const {
  if (!sample_) return {};
  auto entries = entriesOf(sample_->activity, panel);
  const auto key = [this](const Activity::Entry& entry) {
    const auto count = order_ == TopOrder::ByCount ? -entry.count : 0;
    using Key = std::tuple<std::int64_t, const std::string&, const std::optional<std::string>&>;
    return Key(count, entry.name, entry.responseCode);
  };
  std::sort(entries.begin(), entries.end(),
            [&](const auto& one, const auto& other) { return key(one) < key(other); });
  return entries;
}

}  // namespace tovi::ctl
