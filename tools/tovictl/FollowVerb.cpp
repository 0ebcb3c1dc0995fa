#include <charconv>
#include <iostream>
#include <signal.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "Agent.h"
#include "Output.h"
#include "Verbs.h"
#include "events/EventJson.h"
#include "service/ToviAgentXPCProtocol.h"
#include "status/StatusMessageState.h"
#include "tools/formats/EventFormat.h"
#include "tools/formats/UnreadableEvent.h"

namespace tovi::ctl {

using Json = nlohmann::ordered_json;
using formats::EventFormat;
using platform::ServiceError;

static std::string unreadableLine(const std::string& id, const std::string& text,
                                  const char* what) {
  std::cerr << "tovictl: " << what << id << " is unreadable; its text is written as it is\n";
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
    return unreadableLine(id, text, "the batch ") + "\n";
  std::string lines;
  for (const auto& event : batch["events_data"]) lines += lineOf(id, event, format) + "\n";
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
      if (!outage_) std::cerr << "tovictl: " << fault.what() << "; waiting for the daemon\n";
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

static std::chrono::milliseconds intervalOf(const CommandLine& line) {
  const auto text = line.value("--interval").value_or("2");
  double seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  const bool isNumber = error == std::errc{} && end == text.data() + text.size();
  // Written so that NaN fails as well.
  if (!isNumber || !(seconds >= 0.1 && seconds <= 3600)) {
    throw UsageError("--interval takes 0.1 to 3600 seconds");
  }
  return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

static EventFormat formatOf(const CommandLine& line) try {
  return formats::eventFormatNamed(line.value("--format").value_or("tovi"));
} catch (const std::invalid_argument& fault) {
  throw UsageError(std::string("--format: ") + fault.what());
}

/// Ending at any point is safe: what was not reported is given out again. So the ending signals end
/// the program at once, even while a write or a call blocks.
static void endQuietlyOnSignals() {
  struct sigaction action {};
  action.sa_handler = [](int) { _exit(kDone); };
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

int runFollow(const CommandLine& line) {
  const auto interval = intervalOf(line);
  Follower follower(formatOf(line));
  endQuietlyOnSignals();
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
