#include <arpa/inet.h>
#include <chrono>
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/PropertyList.h"
#include "platform/ServiceBus.h"
#include "tests/capture/FrameBuilder.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

using namespace std::chrono_literals;
using platform::ServiceType;
using OptionalText = std::optional<std::string>;
using Settings = platform::ServiceValue::Dictionary;
using Clock = std::chrono::steady_clock;

bool eventually(const std::function<bool()>& condition, Clock::duration limit = 20s) {
  const auto deadline = Clock::now() + limit;
  while (!condition()) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}

sockaddr_in at(const char* address, std::uint16_t port) {
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_port = htons(port);
  inet_pton(AF_INET, address, &name.sin_addr);
  return name;
}

int boundSocket(const sockaddr_in& name) {
  const int fd = socket(AF_INET, SOCK_DGRAM, 0);
  EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
  return fd;
}

void send(int fd, const std::string& message, const sockaddr_in& to) {
  sendto(fd, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

class DaemonTest : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::copy(TOVI_BUILT_RESOURCES, resources_);
    writePropertyList(resources_ / "PermanentVariables.plist",
                      {{"dns_batch_size", {std::int64_t{1}}}});
    setenv("TOVI_RESOURCES_DIR", resources_.c_str(), 1);
    setenv("STATE_DIRECTORY", directory_.path().c_str(), 1);
    setenv("TOVI_HELPERS_DIR", TOVI_BUILT_HELPERS, 1);
    setenv("TOVI_LOG_LEVEL", "debug", 1);
  }
  void TearDown() override {
    if (daemon_ > 0) end(SIGKILL);
  }

  void startDaemon() {
    daemon_ = launch();
    ASSERT_TRUE(eventually([&] { return answers() || waitpid(daemon_, nullptr, WNOHANG) > 0; }));
    ASSERT_TRUE(answers()) << readFile(log_);
  }
  pid_t launch() {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    const int log = open(log_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    for (const int output : {1, 2}) dup2(log, output);
    execl(TOVI_DAEMON, "ToviDaemon", static_cast<char*>(nullptr));
    _exit(127);
  }
  /// Returns the exit status, or minus the signal that ended the daemon.
  int end(int signal) {
    kill(daemon_, signal);
    return awaitEnd(std::exchange(daemon_, 0));
  }
  static int awaitEnd(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  /// One of the results.
  template <typename Result, std::size_t index = 0>
  Result call(const std::string& method, const platform::ServiceParameters& arguments,
              const std::vector<platform::ServiceType>& results) {
    platform::ServiceClient client("io.tovi.ToviAgentXPC", "/io/tovi/ToviAgentXPC");
    return std::get<Result>(
        client.call("io.tovi.ToviAgentXPCProtocol", method, arguments, results)[index]);
  }
  Settings statistics(const std::string& method) {
    platform::ServiceClient client("io.tovi.ToviAgentXPC", "/io/tovi/ToviAgentXPC");
    return std::get<Settings>(
        client.call("io.tovi.ToviStatistics", method, {}, {ServiceType::Settings})[0]);
  }
  Settings settings() { return call<Settings>("GetAgentSettings", {}, {ServiceType::Settings}); }
  bool answers() try {
    settings();
    return true;
  } catch (const platform::ServiceError&) {
    return false;
  }
  void startEnrolledDaemon() {
    startDaemon();
    const std::string enrollment = R"({"uuid":"agent","key":"secret"})";
    EXPECT_EQ(call<std::string>("SetActivationData", {enrollment}, {ServiceType::Text}), "active");
  }
  OptionalText report(const std::string& state) {
    return call<OptionalText>("SetMessageDeliveryState", {batchId_, state, OptionalText()},
                              {ServiceType::OptionalText});
  }

  /// Asks for NAME on loopback and answers, holding the asking socket until it is fetched.
  void exchange(const std::string& name) {
    // Every daemon on this machine sees this traffic: address and identifier are this process's
    // own.
    const auto id = static_cast<std::uint16_t>(getpid() % 0xFFFF + 1);
    const auto host = "127.84." + std::to_string(id / 256) + "." + std::to_string(id % 256);
    const auto server = at(host.c_str(), 53);
    const int asking = boundSocket(at("127.0.0.1", 0));
    const int answering = boundSocket(server);
    send(asking, dnsMessage(id, 0x0100, {question(name)}), server);
    sockaddr_in from{};
    socklen_t size = sizeof from;
    char query[512];
    ASSERT_TRUE(eventually([&] {
      return recvfrom(answering, query, sizeof query, MSG_DONTWAIT,
                      reinterpret_cast<sockaddr*>(&from), &size) > 0;
    }));
    send(answering, dnsMessage(id, 0x8180, {question(name)}, {record(1, "\xC0\0\2\1"s)}), from);
    EXPECT_TRUE(eventually([&] { return fetched(name); })) << readFile(log_);
    close(asking);
    close(answering);
  }
  /// Fetches what is pending; true once there was an event about NAME, kept with its batch's name.
  bool fetched(const std::string& name) {
    const auto batches =
        call<std::map<std::string, std::string>>("GetDNSMessages", {}, {ServiceType::TextMap});
    for (const auto& [id, text] : batches) {
      const auto batch = nlohmann::json::parse(text);
      for (const auto& event : batch.at("events_data")) {
        if (event.at("/dns_packet/question/name"_json_pointer) != name) continue;
        batchId_ = id;
        event_ = event;
        return true;
      }
    }
    return false;
  }

  TemporaryDirectory directory_;
  const std::filesystem::path resources_ = directory_ / "resources";
  const std::filesystem::path log_ = directory_ / "log";
  PrivateBus bus_;
  pid_t daemon_ = 0;
  std::string batchId_;
  nlohmann::json event_;
};

TEST_F(DaemonTest, ExchangeIsDeliveredWithItsProcessAndGoneAfterOk) {
  if (geteuid() != 0) GTEST_SKIP() << "capturing needs root";
  startEnrolledDaemon();
  // A search for the process may take several questions where the program is slow, as under a
  // sanitizer.
  std::string name;
  for (int asked = 0; asked < 50 && !event_.contains("process"); ++asked) {
    name = "delivered" + std::to_string(asked);
    exchange(name);
  }

  EXPECT_EQ(event_.at("/process/pid"_json_pointer), getpid());
  EXPECT_EQ(event_.at("/dns_packet/answers/0/data"_json_pointer), "192.0.2.1");
  EXPECT_EQ(report("Ok"), "Message received state: Ok");
  EXPECT_FALSE(fetched(name));
}

TEST_F(DaemonTest, StatisticsShowTheExchangeToThoseWhoMayCall) {
  if (geteuid() != 0) GTEST_SKIP() << "capturing needs root";
  startEnrolledDaemon();
  exchange("counted");
  // Other daemons' exchanges are seen as well.
  const auto counters = statistics("GetCounters");
  for (const char* key :
       {"packets_captured", "messages", "lookups", "events", "batches_stored", "batches_waiting"}) {
    EXPECT_GE(std::get<std::int64_t>(counters.at(key).value), 1) << key;
  }
  const auto count = [&](const char* key) {
    return std::get<std::int64_t>(counters.at(key).value);
  };
  EXPECT_EQ(count("processes_found_by_kernel") + count("processes_found_by_search"),
            count("lookups") - count("lookups_without_process"));
  EXPECT_EQ(std::get<std::string>(counters.at("process_lookup").value).substr(0, 6),
            count("processes_found_by_kernel") > 0 ? "kernel" : "search");
  for (const char* key : {"packets_undecodable", "batches_dropped"}) {
    EXPECT_EQ(std::get<std::int64_t>(counters.at(key).value), 0) << key;
  }
  const auto activity = statistics("GetActivity");
  const platform::ServiceValue expected{
      Settings{{"count", {std::int64_t{1}}}, {"name", {std::string("counted")}}}};
  const auto names = std::get<platform::ServiceValue::Array>(activity.at("names").value);
  EXPECT_NE(std::ranges::find(names, expected), names.end());
}

TEST_F(DaemonTest, BatchAndEnrollmentOutliveAKill) {
  if (geteuid() != 0) GTEST_SKIP() << "capturing needs root";
  startEnrolledDaemon();
  exchange("kept");
  ASSERT_EQ(report("Nok"), "Message received state: Nok");
  EXPECT_EQ(end(SIGKILL), -SIGKILL);

  startDaemon();
  EXPECT_TRUE(fetched("kept"));
  const auto enrollment = call<OptionalText, 1>("GetActivationStatus", {},
                                                {ServiceType::Text, ServiceType::OptionalText});
  EXPECT_EQ(enrollment, R"({"key":"secret","uuid":"agent"})");
  exchange("captured.after.restart");
}

TEST_F(DaemonTest, OrderlyEndIsQuickAndRecordedAndAKillIsNot) {
  for (const int signal : {SIGTERM, SIGKILL, SIGINT}) {
    startDaemon();
    const auto begin = Clock::now();
    EXPECT_EQ(end(signal), signal == SIGKILL ? -SIGKILL : 0);
    EXPECT_LT(Clock::now() - begin, 2s);
  }
  const auto kept = readPropertyList(resources_ / "PermanentVariables.plist");
  EXPECT_EQ(kept.at("graceful_shutdowns_count"), PropertyValue{std::int64_t{2}});
  EXPECT_EQ(kept.at("last_daemon_shutdown_was_graceful"), PropertyValue{true});
  EXPECT_EQ(kept.at("dns_batch_size"), PropertyValue{std::int64_t{1}});
  EXPECT_TRUE(kept.contains("startup_time") && kept.contains("last_daemon_shutdown_time"));
}

TEST_F(DaemonTest, EveryStartCountsAndOnlyAnEndThatWasAskedForIsOrderly) {
  const auto kept = [&](const char* key) {
    const auto variables = readPropertyList(resources_ / "PermanentVariables.plist");
    return variables.contains(key) ? variables.at(key) : PropertyValue{std::int64_t{0}};
  };
  for (int start = 0; start < 3; ++start) {
    startDaemon();
    end(SIGKILL);
  }
  EXPECT_EQ(kept("daemon_startups_count"), PropertyValue{std::int64_t{3}});
  startDaemon();
  EXPECT_EQ(awaitEnd(launch()), 1) << "the name on the bus is taken";
  bus_.end();
  EXPECT_EQ(awaitEnd(std::exchange(daemon_, 0)), 1);
  EXPECT_EQ(kept("graceful_shutdowns_count"), PropertyValue{std::int64_t{0}});
}

TEST_F(DaemonTest, ServiceManagerHearsReadinessEachStateAndLife) {
  sockaddr_un name{AF_UNIX, {}};
  std::string(directory_ / "manager").copy(name.sun_path, sizeof name.sun_path - 1);
  const int manager = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(manager, reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
  setenv("NOTIFY_SOCKET", name.sun_path, 1);
  setenv("WATCHDOG_USEC", "200000", 1);
  // A large store is read before readiness, and may take longer than a service has to start.
  std::filesystem::create_directory(directory_ / "store");
  writeFile(directory_ / "store/other", "");
  std::filesystem::resize_file(directory_ / "store/other", 2'000'000'000);
  startEnrolledDaemon();
  for (const std::string expected :
       {"EXTEND_TIMEOUT_USEC=190000000", "STATUS=The agent is inactive", "READY=1",
        "STATUS=The agent is active", "WATCHDOG=1"}) {
    char heard[64] = {};
    do {
      ASSERT_GT(recv(manager, heard, sizeof heard - 1, 0), 0);
    } while (heard != expected);
  }
  close(manager);
}

TEST_F(DaemonTest, SettingsAreTheSeedTheFeedAndTheDeployments) {
  writePropertyList(resources_ / "Settings.plist",
                    {{"removal_memory_size", {std::int64_t{7}}},
                     {"dns_message_version", {std::string("overruled")}}});
  startDaemon();
  Settings expected = {{"dns_message_version", {"1.0.0.0"}},
                       {"status_message_version", {"1.0.0.0"}},
                       {"removal_memory_size", {std::int64_t{7}}}};
  expected["SUFeedURL"] = settings()["SUFeedURL"];
  EXPECT_NE(expected["SUFeedURL"], platform::ServiceValue{});
  EXPECT_EQ(settings(), expected);
}

TEST_F(DaemonTest, MissingPermanentVariablesEndWithStatus78AndSayWhatToDo) {
  std::filesystem::remove(resources_ / "PermanentVariables.plist");
  EXPECT_EQ(awaitEnd(launch()), 78);
  EXPECT_NE(readFile(log_).find("PermanentVariables.plist is missing"), std::string::npos);
}

TEST_F(DaemonTest, ResourcesThatCannotBeReadAreNotCalledMissing) {
  std::filesystem::create_symlink("loop", directory_ / "loop");
  setenv("TOVI_RESOURCES_DIR", (directory_ / "loop").c_str(), 1);
  EXPECT_EQ(awaitEnd(launch()), 78);
  EXPECT_NE(readFile(log_).find("The resources cannot be read: "), std::string::npos);
}

TEST_F(DaemonTest, SecondDaemonOnTheSameBusGivesUp) {
  startDaemon();
  EXPECT_EQ(awaitEnd(launch()), 1);
  EXPECT_TRUE(answers());
}

}  // namespace
}  // namespace tovi::test
