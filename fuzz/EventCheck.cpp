#include "fuzz/EventCheck.h"

#include <nlohmann/json.hpp>

#include "core/SavePropertyManagerProtocol.h"
#include "core/Utf8.h"
#include "events/DNSMessageContainer.h"
#include "events/EventJson.h"
#include "events/ToviDNSMessageBuilder.h"
#include "fuzz/Require.h"
#include "platform/SystemLog.h"
#include "status/SystemInformation.h"

namespace tovi::fuzz {

namespace {

constexpr std::int64_t kPendingEvents = 8;

/// What surrounds the builder, all of it constant.
struct Host : TimeProviderProtocol,
              SystemInformationProtocol,
              BundleProviderProtocol,
              SavePropertyManagerProtocol,
              UserInfoBuilderProtocol {
  Date now() const override { return {}; }
  std::vector<std::string> localAddresses() override { return {"192.0.2.7"}; }
  std::map<std::string, std::string> userNames() override { return {}; }
  SystemInformation systemInformation() override { return {}; }
  std::string name() const override { return "desk"; }
  std::uint64_t revision() const override { return 0; }
  std::optional<std::string> shortVersion() const override { return "2.5.0"; }
  std::optional<PropertyValue> value(std::string_view) const override { return std::nullopt; }
  PropertyDictionary getAll() const override { return {}; }
  void save(std::string_view, PropertyValue) override {}
  void increment(std::string_view) override {}
  std::vector<User> loggedUsers() override { return {User{"alice", "Alice", {}}}; }
};

void checkLogEntry(const platform::LogEntry& entry) {
  require(isOneLine(entry.message) && isUtf8(entry.message));
}

void checkJson(const ToviDNSEvent& event, bool isExact) {
  const std::string json = jsonText(event);
  require(isOneLine(json));
  // Refuses what is not UTF-8, which ends the process.
  const auto readBack = nlohmann::ordered_json::parse(json).get<ToviDNSEvent>();
  if (isExact) {
    require(readBack.dnsPacket == event.dnsPacket && readBack.process == event.process);
  } else {
    require(jsonText(readBack) == json);
  }
}

}  // namespace

struct EventCheck::State : MessagePackerProtocol {
  void addMessage(ToviDNSEventPointer event) override { events.push_back(std::move(event)); }

  Host host;
  DNSMessageContainer container{kPendingEvents};
  std::vector<ToviDNSEventPointer> events;
  /// Other bytes are replaced in the JSON. An event has parts of several texts.
  bool allUtf8 = true;
  ToviDNSMessageBuilder builder{{*this, host, host, host, host, container, host},
                                {std::string(kUndesiredDomain)}};
};

EventCheck::EventCheck() : state_(std::make_unique<State>()) {
  platform::exchangeLogSink(checkLogEntry);
}

EventCheck::~EventCheck() {
  platform::exchangeLogSink({});
}

void EventCheck::feed(std::string_view recordText) {
  const std::size_t before = state_->events.size();
  state_->allUtf8 = state_->allUtf8 && isUtf8(recordText);
  state_->builder.feed(recordText);
  require(state_->events.size() <= before + 1);
  if (state_->events.size() > before) checkJson(*state_->events.back(), state_->allUtf8);
}

const std::vector<ToviDNSEventPointer>& EventCheck::events() const {
  return state_->events;
}

}  // namespace tovi::fuzz
