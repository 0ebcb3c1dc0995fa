#pragma once

#include <mutex>

#include <gtest/gtest.h>

#include "core/PermanentVariablesManager.h"
#include "events/DNSMessageContainer.h"
#include "events/ToviDNSMessageBuilder.h"
#include "status/SystemInformation.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {

struct CollectingPacker : MessagePackerProtocol {
  void addMessage(ToviDNSEventPointer event) override {
    std::lock_guard lock(mutex);
    events.push_back(std::move(event));
  }
  std::mutex mutex;
  std::vector<ToviDNSEventPointer> events;
};

struct Machine : SystemInformationProtocol, BundleProviderProtocol, UserInfoBuilderProtocol {
  std::vector<std::string> localAddresses() override { return {address}; }
  std::map<std::string, std::string> userNames() override { return {}; }
  SystemInformation systemInformation() override { return {}; }
  std::string name() const override { return "desk"; }
  std::uint64_t revision() const override { return changes; }
  std::optional<std::string> shortVersion() const override { return version; }
  std::vector<User> loggedUsers() override { return {User{"alice", "Alice", {}}}; }
  std::optional<std::string> version = "2.5.0";
  std::string address = "192.0.2.7";
  std::uint64_t changes = 0;
};

class Builder : public testing::Test {
 protected:
  const ToviDNSEvent& onlyEvent() const {
    EXPECT_EQ(packer_.events.size(), 1u);
    return *packer_.events.at(0);
  }
  const DnsPacket& onlyPacket() const { return *onlyEvent().dnsPacket; }

  TemporaryDirectory directory_;
  LogRecorder log_;
  ManualClock clock_;
  Machine machine_;
  CollectingPacker packer_;
  PermanentVariablesManager variables_{directory_ / "PermanentVariables.plist"};
  DNSMessageContainer container_{100};
  ToviDNSMessageBuilder builder_{
      {packer_, clock_, machine_, machine_, variables_, container_, machine_},
      {"api.collector.test"}};
};

}  // namespace tovi::test
