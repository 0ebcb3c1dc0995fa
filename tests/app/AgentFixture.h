#pragma once

#include <arpa/inet.h>
#include <chrono>
#include <functional>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "core/PropertyList.h"
#include "platform/ServiceBus.h"
#include "tests/capture/FrameBuilder.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {

using namespace std::chrono_literals;
using platform::ServiceType;
using OptionalText = std::optional<std::string>;
using Dictionary = platform::ServiceValue::Dictionary;
using Texts = std::map<std::string, std::string>;

inline bool eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + 20s;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}

inline sockaddr_in at(const char* address, std::uint16_t port) {
  sockaddr_in name = {AF_INET, htons(port), {}, {}};
  inet_pton(AF_INET, address, &name.sin_addr);
  return name;
}

inline int boundSocket(const sockaddr_in& name) {
  const int fd = socket(AF_INET, SOCK_DGRAM, 0);
  EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
  return fd;
}

inline void sendFrom(int fd, const std::string& message, const sockaddr_in& to) {
  sendto(fd, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

/// A bus and directories for a daemon that serves under a name, and its companion's calls.
class AgentFixture : public testing::Test {
 protected:
  explicit AgentFixture(const char* service) : service_(service) {}

  /// The first of the results.
  template <typename Result>
  Result call(const char* method, const platform::ServiceParameters& given,
              const std::vector<ServiceType>& results,
              const char* interface = "io.tovi.ToviAgentXPCProtocol") {
    platform::ServiceClient client(service_, "/io/tovi/ToviAgentXPC");
    return std::get<Result>(client.call(interface, method, given, results)[0]);
  }
  Dictionary settings() {
    return call<Dictionary>("GetAgentSettings", {}, {ServiceType::Settings});
  }
  Dictionary statistics(const char* method) {
    return call<Dictionary>(method, {}, {ServiceType::Settings}, "io.tovi.ToviStatistics");
  }
  void enroll() {
    const std::string enrollment = R"({"uuid":"agent","key":"secret"})";
    EXPECT_EQ(call<std::string>("SetActivationData", {enrollment}, {ServiceType::Text}), "active");
  }
  Texts batches() { return call<Texts>("GetDNSMessages", {}, {ServiceType::TextMap}); }
  OptionalText report(const std::string& id, const std::string& state) {
    return call<OptionalText>("SetMessageDeliveryState", {id, state, OptionalText()},
                              {ServiceType::OptionalText});
  }

  const char* const service_;
  TemporaryDirectory directory_;
  const std::filesystem::path resources_ = directory_ / "resources";
  PrivateBus bus_;
};

}  // namespace tovi::test
