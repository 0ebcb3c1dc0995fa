#include <cstdlib>
#include <sched.h>

#include <nlohmann/json.hpp>

#include "app/DaemonBuilder.h"
#include "tests/app/AgentFixture.h"
#include "tests/support/LoopThread.h"

// The whole daemon in this process and in a network of its own. What its components do with their
// settings is their tests' matter; here each setting has to reach its reader, and each callback its
// receiver.
namespace tovi::test {
namespace {

bool run(const char* command) {
  return std::system(command) == 0;
}

void send(const char* from, std::uint16_t fromPort, const char* to, std::uint16_t toPort,
          const std::string& message) {
  const int sending = boundSocket(at(from, fromPort));
  sendFrom(sending, message, at(to, toPort));
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

class Wiring : public AgentFixture {
 protected:
  Wiring() : AgentFixture("io.tovi.Wired") {}
  void SetUp() override {
    std::filesystem::create_directory(resources_);
    writePropertyList(resources_ / "Info.plist", {{"CFBundleIdentifier", {"io.tovi.test"}},
                                                  {"MachServiceName", {service_}},
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
      const Bundle bundle(resources_);
      const LoopThread daemon([&](platform::MainLoop& loop) {
        auto builder = std::make_unique<DaemonBuilder>(loop, bundle, directory_.path());
        builder->start();
        return builder;
      });
      enroll();
      test();
    }).join();
    if (!isAllowed) GTEST_SKIP() << "no right to a network of its own";
  }

  OptionalText status(bool force) {
    return call<OptionalText>("GetStatusEvent", {force}, {ServiceType::OptionalText});
  }
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
    return std::get<std::int64_t>(statistics("GetCounters").at(counter).value);
  }

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

TEST_F(Wiring, EachStepIsCountedAndTheCollectorsOwnNameIsNoEvent) {
  withDaemon({}, kOneEventABatch, [&] {
    exchange(1, "collector.example");
    exchange(2, "www.example");
    EXPECT_NE(batchWith("www.example"), "");
    const std::pair<const char*, std::int64_t> counts[] = {
        {"packets_captured", 4}, {"packets_undecodable", 0}, {"messages", 4},
        {"lookups", 2},          {"messages_refused", 2},    {"events", 1},
        {"batches_stored", 1},   {"batches_waiting", 1},     {"batches_dropped", 0}};
    for (const auto& [counter, expected] : counts) EXPECT_EQ(count(counter), expected) << counter;
    EXPECT_EQ(count("processes_found_by_kernel") + count("processes_found_by_search") +
                  count("lookups_without_process"),
              count("lookups"));
    const auto lookup = statistics("GetCounters").at("process_lookup").value;
    EXPECT_TRUE(std::get<std::string>(lookup).starts_with(
        count("processes_found_by_kernel") > 0 ? "kernel" : "search"));
    const auto entry = [](const char* name) {
      return platform::ServiceValue{Dictionary{{"count", {std::int64_t{1}}}, {"name", {name}}}};
    };
    EXPECT_EQ(std::get<platform::ServiceValue::Array>(statistics("GetActivity").at("names").value),
              (platform::ServiceValue::Array{entry("collector.example"), entry("www.example")}));
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

TEST_F(Wiring, AHandOverTimesOutAndFailuresHoldTheNextBack) {
  for (const double wait : {0.0, 1e6}) {
    withDaemon({{"delivered_timeout_sec", {0.0}},
                {"timeout_server_fails_sec", {wait}},
                {"timeout_receiving_server_fails_sec", {0.0}}},
               kOneEventABatch, [&] {
                 exchange(1, "www.example");
                 const auto batch = batchWith("www.example");
                 EXPECT_EQ(batches().size(), 1U);
                 report(batch, "Nok");
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

TEST_F(Wiring, SettingsAreTheSeedTheFeedAndTheDeploymentsAndUnknownOnesAreLogged) {
  withDaemon({{"removal_memory_sise", {std::int64_t{7}}},
              {"dns_message_version", {"overruled"}},
              {"sparkle_channel", {"beta"}}},
             {}, [&] {
               auto told = settings();
               const auto feed = told.extract("SUFeedURL");
               EXPECT_NE(std::get<std::string>(feed.mapped().value).find("/beta/"),
                         std::string::npos);
               EXPECT_EQ(told, (Dictionary{{"dns_message_version", {"1.0.0.0"}},
                                           {"status_message_version", {"1.0.0.0"}},
                                           {"removal_memory_sise", {std::int64_t{7}}},
                                           {"sparkle_channel", {"beta"}}}));
             });
  EXPECT_EQ(log_.count("Settings.plist: removal_memory_sise is no setting of the daemon"), 1);
}

}  // namespace
}  // namespace tovi::test
