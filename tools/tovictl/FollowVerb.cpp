#include "Agent.h"
#include "Interval.h"
#include "Json.h"
#include "Output.h"
#include "Verbs.h"
#include "core/AgentState.h"
#include "events/EventJson.h"
#include "service/ToviAgentXPCProtocol.h"
#include "status/StatusMessageState.h"
#include "tools/formats/EventFormat.h"
#include "tools/formats/UnreadableEvent.h"

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

static std::string lineOf(const std::string& id, const Json& event, EventFormat format) try {
  // Not read and written again: nothing of it can get lost.
  if (format == EventFormat::tovi) return event.dump();
  return formats::lineOf(event.get<ToviDNSEvent>(), format);
} catch (const Json::exception&) {
  return unreadableEvent(id, event);
} catch (const formats::UnreadableEvent&) {
  return unreadableEvent(id, event);
}

/// The events of the batch, one a line; what is unreadable becomes one line that holds its text.
static std::string linesOf(const std::string& id, const std::string& text, EventFormat format) {
  const auto batch = Json::parse(text, nullptr, false);
  if (!batch.is_object() || !batch.contains("events_data"))
    return terminalLine(unreadableLine(id, text, "the batch "));
  std::string lines;
  for (const auto& event : batch["events_data"]) lines += terminalLine(lineOf(id, event, format));
  return lines;
}

namespace {

/// A companion that delivers to standard output. One thread.
class Follower {
 public:
  explicit Follower(EventFormat format) : format_(format) {}

  /// One exchange with the daemon. Throws what goes wrong.
  void round() {
    if (!agent_) agent_.emplace();
    if (agent_->statusMessage(false)) {
      agent_->report(xpc::kStatusMessageId,
                     std::string(rawValue(StatusMessageState::AgentDeliveredCompleted)));
    }
    for (const auto& [id, text] : agent_->messages()) {
      writeOut(linesOf(id, text, format_));
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
  const EventFormat format_;
  std::optional<Agent> agent_;
  bool outage_ = false;
};

}  // namespace

/// Says why nothing is to be seen at first.
static void explainTheWait() {
  if (Agent().activationStatus().state == rawValue(AgentState::active)) {
    complain("events come in batches, which may take a minute; Ctrl-C ends");
  } else {
    complain("the agent is not active, so that nothing is captured; see: tovictl state");
  }
}

static EventFormat formatOf(const CommandLine& line) try {
  return formats::eventFormatNamed(line.value("--format").value_or("tovi"));
} catch (const std::invalid_argument& fault) {
  throw UsageError(std::string("--format: ") + fault.what());
}

int runFollow(const CommandLine& line) {
  const auto interval = intervalOf(line);
  Follower follower(formatOf(line));
  // Ending at any point is safe: what was not reported is given out again.
  endQuietlyOnSignals();
  if (outputIsTerminal() && !line.has("--once")) explainTheWait();
  try {
    follower.round();
    while (!line.has("--once")) {
      waitWhileOutputIsOpen(interval);
      follower.roundOrOutage();
    }
  } catch (const OutputClosed&) {
    // The reader decides how long to follow.
  }
  return kDone;
}

}  // namespace tovi::ctl
