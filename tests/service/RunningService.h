#pragma once

#include <functional>

#include "core/SettingsHandler.h"
#include "service/ToviAgentXPC.h"
#include "tests/support/LoopThread.h"

namespace tovi::test {

/// An agent and a status keeper that answer what they are told to, and remember their calls. Not to
/// be looked at while a service runs on them.
struct PlainDaemon : ToviAgentProtocol, GetStatusMessageProtocol, GetStatisticsProtocol {
  ActivationStatus status{"inactive", std::nullopt};
  std::map<std::string, std::string> batches;
  std::optional<std::string> statusMessage;
  std::function<void()> onReport = [] {};
  Counters counted = {.packetsCaptured = 7};
  Activity recent;
  std::vector<std::string> calls;

  ActivationStatus getActivationStatus() const override { return status; }
  std::map<std::string, std::string> getDNSMessages() override { return batches; }
  std::string setActivationData(const std::string& data) override {
    calls.push_back("enroll " + data);
    return data == "{}" ? "inactive" : "active";
  }
  std::string messageDeliveryState(const std::string& id, const std::string& result) override {
    calls.push_back("batch " + id + " " + result);
    batches.erase(id);
    onReport();
    return "Message received state: " + result;
  }
  std::optional<std::string> getStatusMessage(bool force) override {
    if (force) return "{\"active\":true}";
    return std::exchange(statusMessage, std::nullopt);
  }
  Counters counters() override { return counted; }
  Activity activity() override { return recent; }
  std::optional<std::string> statusMessageDeliveredState(
      const std::string& state, const std::optional<std::string>& data) override {
    calls.push_back("status " + state + " " + data.value_or("-"));
    return std::nullopt;
  }
};

/// The service on a thread of its own, from construction to destruction.
class RunningService {
 public:
  explicit RunningService(PlainDaemon& daemon, PropertyDictionary settings = {})
      : settings_(std::move(settings)), thread_([this, &daemon](platform::MainLoop& loop) {
          return ToviAgentXPC(loop, daemon, daemon, "io.tovi.ToviAgentXPC", settings_, daemon);
        }) {}

 private:
  const SettingsHandler settings_;
  LoopThread thread_;
};

}  // namespace tovi::test
