#pragma once

#include <memory>

#include "capture/PacketHandler.h"
#include "events/DNSMessageContainer.h"
#include "events/ToviDNSMessageBuilder.h"
#include "report/ReportFigures.h"
#include "tovi-replay/EventDestination.h"
#include "tovi-replay/LineOutput.h"
#include "tovi-replay/LogPrinter.h"
#include "tovi-replay/NoVariables.h"
#include "tovi-replay/Progress.h"
#include "tovi-replay/ReplayClock.h"
#include "tovi-replay/ReplayCounts.h"
#include "tovi-replay/ReplayHost.h"
#include "tovi-replay/ReplayOptions.h"

namespace tovi::replay {

/// Runs capture files through capture, events and, for a store, pipeline. One thread.
class Replay {
 public:
  /// Opens the store, if one is asked for, and looks whether a report can be written; throws
  /// std::exception when that cannot be done.
  explicit Replay(ReplayOptions options);

  /// True when every file was read to its end and everything was written. What went wrong stands on
  /// standard error, but for a reader of the output that went away.
  bool run();
  const ReplayCounts& counts() const { return counts_; }

 private:
  std::unique_ptr<EventDestination> makeDestination();
  bool replayFile(const std::filesystem::path& file);
  bool replayFrames(PacketHandler& handler, const std::filesystem::path& file);
  void replayFrame(PacketHandler& handler, const CapturedFrame& frame);
  PacketHandler makeHandler();
  void takeRecord(std::string_view recordText);
  void takeEvent(const ToviDNSEvent& event);
  void noteFailure(Undecodable reason);
  bool finishReport();
  bool finishOutput();
  void complain(std::string_view line);

  const ReplayOptions options_;
  ReplayCounts counts_;
  ReplayClock clock_;
  ReplayHost host_;
  NoVariables variables_;
  LineOutput output_;
  Progress progress_;
  LogPrinter log_;
  /// With --report.
  std::optional<report::ReportFigures> figures_;
  std::unique_ptr<EventDestination> destination_;
  DNSMessageContainer container_;
  ToviDNSMessageBuilder builder_;
};

}  // namespace tovi::replay
