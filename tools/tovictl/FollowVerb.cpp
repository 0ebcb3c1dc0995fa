#include "core/AgentState.h"
#include "events/EventJson.h"
#include "formats/UnreadableEvent.h"
#include "service/ToviAgentXPCProtocol.h"
#include "status/StatusMessageState.h"
#include "toolkit/Complaint.h"
#include "toolkit/FormatOption.h"
#include "tovictl/Agent.h"
#include "tovictl/EventList.h"
#include "tovictl/IntervalOption.h"
#include "tovictl/Json.h"
#include "tovictl/Output.h"
#include "tovictl/Verbs.h"

namespace tovi::ctl {

using formats::EventFormat;
using platform::ServiceError;

static std::string unreadableLine(const std::string& id, const std::string& text,
                                  const char* what) {
  complain(what + id + " is unreadable; its text is written as it is");
  return Json{{"unreadable_batch", id}, {"text", text}}.dump();
}

static std::string unreadableEvent(const std::string& id, const Json& event) {
  return unreadableLine(id, event.dump(), "an event of the batch ");
}

namespace {

/// A companion that delivers to standard output. One thread.
class Follower {
 public:
  /// With `list`, it writes that for a person, instead of JSON in the format.
  Follower(EventFormat format, std::optional<EventList> list)
      : format_(format), list_(std::move(list)) {}

  /// One exchange with the daemon. Throws what goes wrong.
  void round() {
    if (!agent_) agent_.emplace();
    if (agent_->statusMessage(false)) {
      agent_->report(xpc::kStatusMessageId,
                     std::string(rawValue(StatusMessageState::AgentDeliveredCompleted)));
    }
    for (const auto& [id, text] : agent_->messages()) {
      writeOut(linesOf(id, text));
      // Only now: a batch reported before it was written could be lost.
      agent_->report(id, "Ok");
    }
    outage_ = false;
  }

  /// Like `round`, but a daemon that does not answer is waited for.
  void roundOrOutage() {
    try {
      round();
    } catch (const ServiceError& fault) {
      if (fault.kind == ServiceError::AccessDenied) throw;
      if (!outage_) complain(std::string(fault.what()) + "; waiting for the daemon");
      outage_ = true;
      agent_.reset();
    }
  }

 private:
  /// The events of the batch, one a line; what is unreadable becomes one line that holds its text.
  std::string linesOf(const std::string& id, const std::string& text) {
    const auto batch = Json::parse(text, nullptr, false);
    if (!batch.is_object() || !batch.contains("events_data")) {
      return terminalLine(unreadableLine(id, text, "the batch "));
    }
    std::string lines;
    for (const auto& event : batch["events_data"]) lines += eventLines(id, event);
    return lines;
  }

  std::string eventLines(const std::string& id, const Json& event) try {
    if (list_) return list_->lines(event.get<ToviDNSEvent>(), outputColumns());
    // Not read and written again: nothing of it can get lost.
    if (format_ == EventFormat::tovi) return terminalLine(event.dump());
    return terminalLine(formats::lineOf(event.get<ToviDNSEvent>(), format_));
  } catch (const Json::exception&) {
    return terminalLine(unreadableEvent(id, event));
  } catch (const formats::UnreadableEvent&) {
    return terminalLine(unreadableEvent(id, event));
  }

  const EventFormat format_;
  std::optional<EventList> list_;
  std::optional<Agent> agent_;
  bool outage_ = false;
};

}  // namespace

/// Says why nothing is to be seen at first.
static void explainTheWait(bool isActive) {
  complain(isActive ? "events come in batches, which may take a minute; Ctrl-C ends"
                    : "the agent is not active, so that nothing is captured; see: tovictl state");
}

static std::optional<EventList> listOf(const CommandLine& line) {
  if (!outputIsTerminal() || line.has("--json") || line.has("--format")) return std::nullopt;
  return EventList(Colours::forOutput(line));
}

int runFollow(const CommandLine& line) {
  const auto interval = intervalOf(line);
  Follower follower(formatOf(line), listOf(line));
  // Ending at any point is safe: what was not reported is given out again.
  endQuietlyOnSignals();
  // Here alone a daemon that is not there ends the program.
  const bool isActive = Agent().activationStatus().state == rawValue(AgentState::active);
  try {
    if (line.has("--once")) {
      follower.round();
      return kDone;
    }
    if (outputIsTerminal()) explainTheWait(isActive);
    while (true) {
      follower.roundOrOutage();
      waitWhileOutputIsOpen(interval);
    }
  } catch (const OutputClosed&) {
    // The reader decides how long to follow.
  }
  return kDone;
}

}  // namespace tovi::ctl
