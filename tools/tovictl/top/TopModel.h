#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tovictl/top/Sample.h"

namespace tovi::ctl {

enum class TopPanel { All, Names, Processes, Failures, Resolvers };
enum class TopOrder { ByCount, ByName };
enum class TopAction { TogglePause, ToggleOrder, ToggleHelp, NextPanel };

/// What `top` knows: the last look at the daemon, the one before, and how it is to be shown. One
/// thread.
class TopModel {
 public:
  /// A new look, or why there is none; what was seen last stays then. Nothing while paused.
  void take(const SampleOutcome& outcome);
  void apply(TopAction action);
  void choose(TopPanel panel) { panel_ = panel; }
  /// For how long there was neither a look nor a failure, when that is too long; else 0.
  void setSilence(std::chrono::seconds silence) { silence_ = silence; }

  TopPanel panel() const { return panel_; }
  TopOrder order() const { return order_; }
  bool isPaused() const { return paused_; }
  bool showsHelp() const { return help_; }
  /// Empty while the daemon answers.
  const std::string& failure() const { return failure_; }
  std::chrono::seconds silence() const { return silence_; }
  /// None before the first look.
  const std::optional<Sample>& sample() const { return sample_; }

  /// How often a second the counter grew between the last two looks. None before the second, and
  /// when the daemon was started anew in between.
  std::optional<double> rate(Counters::Count Counters::*counter) const;
  /// The entries of one panel in the chosen order; none for `TopPanel::All`.
  std::vector<Activity::Entry> entries(TopPanel panel) const;

 private:
  std::optional<Sample> sample_;
  std::optional<Sample> previous_;
  std::string failure_;
  std::chrono::seconds silence_{0};
  TopPanel panel_ = TopPanel::All;
  TopOrder order_ = TopOrder::ByCount;
  bool paused_ = false;
  bool help_ = false;
};

}  // namespace tovi::ctl
