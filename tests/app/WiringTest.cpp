#include <arpa/inet.h>
#include <atomic>
#include <cstdlib>
#include <future>
#include <sched.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "app/DaemonBuilder.h"
#include "core/PropertyList.h"
#include "platform/ServiceBus.h"
#include "tests/capture/FrameBuilder.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TestSupport.h"

// The whole daemon in this process and in a network of its own. What its components do with their
// settings is their tests' matter; here each setting has to reach its reader, and each callback its
// receiver.
namespace tovi::test {
namespace {

using namespace std::chrono_literals;
using platform::ServiceType;
using OptionalText = std::optional<std::string>;
using Texts = std::map<std::string, std::string>;
using Dictionary = platform::ServiceValue::Dictionary;

constexpr const char* kService = "io.tovi.Wired";

/// The daemon on a thread of its own, from construction to destruction.
class RunningDaemon {
 public:
  RunningDaemon(const std::filesystem::path& resources, const std::filesystem::path& state)
      : thread_([this, resources, state] { run(resources, state); }) {
    up_.get_future().get();
  }
  ~RunningDaemon() {
    ending_ = true;
    thread_.join();
  }

 private:
  void run(const std::filesystem::path& resources, const std::filesystem::path& state) {
    platform::MainLoop loop;
    const Bundle bundle(resources);
    DaemonBuilder builder(loop, bundle, state);
    builder.start();
    const auto watch = loop.repeat(10ms, [&] {
      if (ending_) loop.quit();
    });
    up_.set_value();
    loop.run();
  }

  std::promise<void> up_;
  std::atomic<bool> ending_ = false;
  std::thread thread_;
};

bool run(const char* command) {
  return std::system(command) == 0;
}

bool eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + 20s;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}

sockaddr_in at(const char* address, std::uint16_t port) {
  sockaddr_in name = {AF_INET, htons(port), {}, {}};
  inet_pton(AF_INET, address, &name.sin_addr);
  return name;
}

void send(const char* from, std::uint16_t fromPort, const char* to, std::uint16_t toPort,
          const std::string& message) {
  const int sending = socket(AF_INET, SOCK_DGRAM, 0);
  const auto source = at(from, fromPort), target = at(to, toPort);
  EXPECT_EQ(bind(sending, reinterpret_cast<const sockaddr*>(&source), sizeof source), 0);
  sendto(sending, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&target),
         sizeof target);
  close(sending);
}

void ask(unsigned id, const std::string& name) {
  send("127.0.0.1", 4000, "127.0.0.1", 53, dnsMessage(id, 0x0100, {question(name)}));
}

void exchange(unsigned id, const std::string& name) {
  ask(id, name);
  send("127.0.0.1", 53, "127.0.0.1", 4000,
       dnsMessage(id, 0x8180, {question(name)}, {record(1, "\xC0\0\2\1"s)}));
}

class Wiring : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directory(resources_);
    writePropertyList(resources_ / "Info.plist", {{"CFBundleIdentifier", {"io.tovi.test"}},
                                                  {"MachServiceName", {kService}},
                                                  {"ToviCollectorHost", {"collector.example"}}});
  }

  /// Runs `test` with an enrolled daemon in a network that holds nothing but loopback.
  void withDaemon(const PropertyDictionary& settings, const PropertyDictionary& variables,
                  const std::function<void()>& test) {
    writePropertyList(resources_ / "Settings.plist", settings);
    writePropertyList(resources_ / "PermanentVariables.plist", variables);
    bool isAllowed = false;
    std::thread([&] {
      isAllowed = unshare(CLONE_NEWNET) == 0 && run("ip link set lo up");
      if (!isAllowed) return;
      const RunningDaemon daemon(resources_, directory_.path());
      enroll();
      test();
    }).join();
    if (!isAllowed) GTEST_SKIP() << "no right to a network of its own";
  }

  template <typename Result>
  Result call(const char* interface, const char* method, const platform::ServiceParameters& given,
              const std::vector<ServiceType>& results) {
    platform::ServiceClient client(kService, "/io/tovi/ToviAgentXPC");
    return std::get<Result>(client.call(interface, method, given, results)[0]);
  }
  template <typename Result>
  Result call(const char* method, const platform::ServiceParameters& given, ServiceType result) {
    return call<Result>("io.tovi.ToviAgentXPCProtocol", method, given, {result});
  }
  void enroll() {
    EXPECT_EQ(call<std::string>("SetActivationData", {std::string(R"({"uuid":"a","key":"b"})")},
                                ServiceType::Text),
              "active");
  }
  OptionalText report(const std::string& id, const std::string& state) {
    return call<OptionalText>("SetMessageDeliveryState", {id, state, OptionalText()},
                              ServiceType::OptionalText);
  }
  OptionalText status(bool force) {
    return call<OptionalText>("GetStatusEvent", {force}, ServiceType::OptionalText);
  }
  Texts batches() { return call<Texts>("GetDNSMessages", {}, ServiceType::TextMap); }
  /// The batch with an event about `name`, once it is handed out; empty after 20 seconds.
  std::string batchWith(const std::string& name) {
    std::string found;
    eventually([&] {
      for (const auto& [id, text] : batches()) {
        if (text.find('"' + name + '"') != text.npos) found = id;
      }
      return !found.empty();
    });
    return found;
  }
  std::int64_t count(const char* counter) {
    const auto counters =
        call<Dictionary>("io.tovi.ToviStatistics", "GetCounters", {}, {ServiceType::Settings});
    return std::get<std::int64_t>(counters.at(counter).value);
  }

  TemporaryDirectory directory_;
  const std::filesystem::path resources_ = directory_ / "resources";
  PrivateBus bus_;
  LogRecorder log_;
};

const PropertyDictionary kOneEventABatch = {{"dns_batch_size", {std::int64_t{1}}}};

TEST_F(Wiring, TheTimerClosesWhatNoFurtherEventWould) {
  withDaemon({{"check_packer_messages_timeout_sec", {0.05}}}, {{"dns_batch_max_delay", {0.5}}},
             [&] {
               exchange(1, "first.example");
               exchange(2, "second.example");
               EXPECT_NE(batchWith("second.example"), "");
             });
}

TEST_F(Wiring, TheCollectorsOwnNameIsNoEvent) {
  withDaemon({}, kOneEventABatch, [&] {
    exchange(1, "collector.example");
    exchange(2, "www.example");
    EXPECT_NE(batchWith("www.example"), "");
    EXPECT_EQ(count("events"), 1);
  });
}

TEST_F(Wiring, AnInterfaceThatComesUpLaterIsCaptured) {
  withDaemon({}, {}, [&] {
    EXPECT_TRUE(
        run("ip link add tovi-w type veth peer name tovi-x && ip link set tovi-x up &&"
            "ip address add 192.0.2.1/24 dev tovi-w && ip link set tovi-w up &&"
            "ip neighbour replace 192.0.2.2 lladdr 02:00:00:00:00:02 dev tovi-w"));
    EXPECT_TRUE(eventually([&] {
      send("192.0.2.1", 4000, "192.0.2.2", 53, dnsMessage(7, 0x0100, {question("www.example")}));
      return count("messages") > 0;
    }));
  });
  const auto logged = log_.messages();
  const auto position = [&](std::string_view prefix) {
    return std::ranges::find_if(logged, [&](auto& text) { return text.starts_with(prefix); });
  };
  EXPECT_LT(position(" listEmpty true"), position("Start Reader"))
      << "an address could slip through";
}

TEST_F(Wiring, CachesHaveTheirSizes) {
  withDaemon(
      {{"message_container_size", {std::int64_t{1}}}, {"removal_memory_size", {std::int64_t{1}}}},
      kOneEventABatch, [&] {
        for (const unsigned id : {1U, 2U, 3U}) ask(id, "waiting.example");
        EXPECT_TRUE(eventually([&] { return count("exchanges_forgotten") == 2; }));
        for (const char* name : {"a.example", "b.example", "a.example"}) exchange(9, name);
        EXPECT_TRUE(eventually([&] { return count("events") == 3; }));
        EXPECT_EQ(count("events_repeated"), 0);
      });
}

TEST_F(Wiring, AHandOverThatIsNotReportedTimesOut) {
  withDaemon({{"delivered_timeout_sec", {0.0}}}, kOneEventABatch, [&] {
    exchange(1, "www.example");
    EXPECT_NE(batchWith("www.example"), "");
    EXPECT_EQ(batches().size(), 1U);
  });
}

TEST_F(Wiring, FailuresHoldHandOversBack) {
  for (const double wait : {0.0, 1e6}) {
    withDaemon(
        {{"timeout_server_fails_sec", {wait}}, {"timeout_receiving_server_fails_sec", {0.0}}},
        kOneEventABatch, [&] {
          exchange(1, "www.example");
          report(batchWith("www.example"), "Nok");
          EXPECT_EQ(batches().size(), wait > 0 ? 0U : 1U);
        });
    std::filesystem::remove_all(directory_ / "store");
  }
}

TEST_F(Wiring, TheStatusFollowsItsSettings) {
  withDaemon({{"resend_status_timeout_sec", {0.0}},
              {"send_status_tolerance_sec", {15.0}},
              {"system_information_counter", {std::int64_t{1}}},
              {"failures_to_disable", {std::int64_t{1}}},
              {"failures_to_deactive", {std::int64_t{3}}}},
             {{"polling_interval_seconds", {15.0}}}, [&] {
               EXPECT_TRUE(status(false) && status(false));
               const auto unique = [&] {
                 const auto message = nlohmann::json::parse(status(true).value());
                 return message.at("system").at("globally_unique");
               };
               EXPECT_NE(unique(), unique());
               EXPECT_EQ(report("status_message", "AgentFailDelivered"),
                         "Agent disable because status can not be sent");
               EXPECT_EQ(report("status_message", "AgentFailDelivered"), std::nullopt);
               EXPECT_EQ(report("status_message", "AgentFailDelivered"),
                         "Agent desactivated because status can not be sent for too long");
             });
}

TEST_F(Wiring, EntriesOfSettingsThatNobodyReadsAreLogged) {
  withDaemon({{"removal_memory_sise", {std::int64_t{1}}}, {"sparkle_channel", {"beta"}}}, {}, [&] {
    const auto settings = call<Dictionary>("GetAgentSettings", {}, ServiceType::Settings);
    EXPECT_NE(std::get<std::string>(settings.at("SUFeedURL").value).find("/beta/"),
              std::string::npos);
  });
  EXPECT_EQ(log_.count("Settings.plist: removal_memory_sise is no setting of the daemon"), 1);
}

}  // namespace
}  // namespace tovi::test
