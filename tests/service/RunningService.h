#pragma once

#include <atomic>
#include <functional>
#include <future>
#include <thread>

#include "core/SettingsHandler.h"
#include "service/ToviAgentXPC.h"

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
      : thread_([this, &daemon, settings] { run(daemon, settings); }) {
    up_.get_future().get();
  }
  ~RunningService() {
    ending_ = true;
    thread_.join();
  }

 private:
  void run(PlainDaemon& daemon, const PropertyDictionary& settings) {
    platform::MainLoop loop;
    const SettingsHandler handler(settings);
    const ToviAgentXPC service(loop, daemon, daemon, "io.tovi.ToviAgentXPC", handler, daemon);
    const auto watch = loop.repeat(std::chrono::milliseconds(10), [&] {
      if (ending_) loop.quit();
    });
    up_.set_value();
    loop.run();
  }

  std::promise<void> up_;
  std::atomic<bool> ending_ = false;
  std::thread thread_;
};

}  // namespace tovi::test
