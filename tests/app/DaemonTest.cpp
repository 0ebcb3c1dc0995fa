#include <arpa/inet.h>
#include <chrono>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/PropertyList.h"
#include "platform/ServiceBus.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TestSupport.h"

namespace tovi {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

bool eventually(const std::function<bool()>& condition, Clock::duration limit = 20s) {
  const auto deadline = Clock::now() + limit;
  while (!condition()) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}

/// A socket on loopback, closed at the end.
class UdpSocket {
 public:
  UdpSocket(const char* address, std::uint16_t port) : fd_(socket(AF_INET, SOCK_DGRAM, 0)) {
    const sockaddr_in name = at(address, port);
    bound_ = bind(fd_, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
  }
  ~UdpSocket() { close(fd_); }
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;

  bool bound() const { return bound_; }
  void send(const std::string& message, const sockaddr_in& to) const {
    sendto(fd_, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&to),
           sizeof to);
  }
  sockaddr_in receiveFrom() const {
    char buffer[512];
    sockaddr_in from{};
    socklen_t size = sizeof from;
    recvfrom(fd_, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &size);
    return from;
  }
  static sockaddr_in at(const char* address, std::uint16_t port) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(port);
    inet_pton(AF_INET, address, &name.sin_addr);
    return name;
  }

 private:
  int fd_;
  bool bound_ = false;
};

/// A message with one question for NAME.example, and with one A record as its answer if asked for.
std::string dnsMessage(std::uint16_t id, const std::string& name, bool answered) {
  using namespace std::string_literals;
  std::string message;
  message += static_cast<char>(id >> 8);
  message += static_cast<char>(id & 0xff);
  message += answered ? "\x81\x80\0\1\0\1\0\0\0\0"s : "\1\0\0\1\0\0\0\0\0\0"s;
  message += static_cast<char>(name.size());
  message += name + "\7example\0\0\1\0\1"s;
  if (answered) message += "\xc0\x0c\0\1\0\1\0\0\1\x2c\0\4\xc0\0\2\1"s;
  return message;
}

class DaemonTest : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::copy(TOVI_BUILT_RESOURCES, resources_);
    writePropertyList(resources_ / "PermanentVariables.plist",
                      {{"dns_batch_size", {std::int64_t{1}}}});
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().c_str(), 1);
  }
  void TearDown() override {
    if (daemon_ > 0) end(SIGKILL);
  }

  void startDaemon() {
    daemon_ = launch();
    ASSERT_TRUE(eventually([&] { return answers() || waitpid(daemon_, nullptr, WNOHANG) > 0; }));
    ASSERT_TRUE(answers()) << test::readFile(log_);
  }
  pid_t launch() {
    const std::vector<std::string> environment = {"TOVI_RESOURCES_DIR=" + resources_.string(),
                                                  "STATE_DIRECTORY=" + state_.string(),
                                                  "TOVI_HELPERS_DIR=" TOVI_BUILT_HELPERS,
                                                  "DBUS_SYSTEM_BUS_ADDRESS=" + bus_.address(),
                                                  "TOVI_LOG_LEVEL=debug",
                                                  "PATH=/usr/sbin:/usr/bin:/sbin:/bin"};
    std::vector<char*> variables;
    for (const auto& entry : environment) variables.push_back(const_cast<char*>(entry.c_str()));
    variables.push_back(nullptr);
    char program[] = TOVI_DAEMON;
    char* arguments[] = {program, nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int output : {1, 2}) {
      posix_spawn_file_actions_addopen(&actions, output, log_.c_str(),
                                       O_WRONLY | O_CREAT | O_APPEND, 0600);
    }
    pid_t pid = 0;
    EXPECT_EQ(posix_spawn(&pid, TOVI_DAEMON, &actions, nullptr, arguments, variables.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
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

  platform::ServiceParameters call(const std::string& method,
                                   const platform::ServiceParameters& arguments,
                                   const std::vector<platform::ServiceType>& results) {
    platform::ServiceClient client("io.tovi.ToviAgentXPC", "/io/tovi/ToviAgentXPC",
                                   "io.tovi.ToviAgentXPCProtocol");
    return client.call(method, arguments, results);
  }
  bool answers() try {
    call("GetAgentSettings", {}, {platform::ServiceType::Settings});
    return true;
  } catch (const platform::ServiceError&) {
    return false;
  }
  std::string enroll() {
    const auto reply =
        call("SetActivationData", {std::string(R"({"uuid":"agent","key":"secret"})")},
             {platform::ServiceType::Text});
    return std::get<std::string>(reply[0]);
  }
  std::string report(const std::string& id, const std::string& state) {
    const auto reply = call("SetMessageDeliveryState", {id, state, std::optional<std::string>()},
                            {platform::ServiceType::OptionalText});
    return std::get<std::optional<std::string>>(reply[0]).value_or("");
  }

  /// Asks for NAME.example on loopback and answers, holding the asking socket until `done`.
  void exchange(const std::string& name, const std::function<bool()>& done) {
    const UdpSocket server("127.0.0.84", 53);
    const UdpSocket client("127.0.0.1", 0);
    ASSERT_TRUE(server.bound() && client.bound());
    client.send(dnsMessage(4660, name, false), UdpSocket::at("127.0.0.84", 53));
    server.send(dnsMessage(4660, name, true), server.receiveFrom());
    EXPECT_TRUE(eventually(done)) << test::readFile(log_);
  }
  /// Fetches what is pending; true once there was a batch about NAME.example, which is kept in
  /// `batchId_` and `event_`.
  bool fetched(const std::string& name) {
    const auto reply = call("GetDNSMessages", {}, {platform::ServiceType::TextMap});
    for (const auto& [id, text] : std::get<std::map<std::string, std::string>>(reply[0])) {
      const auto batch = nlohmann::json::parse(text);
      for (const auto& event : batch.at("events_data")) {
        if (event.at("/dns_packet/question/name"_json_pointer) != name + ".example") continue;
        batchId_ = id;
        event_ = event;
        return true;
      }
    }
    return false;
  }
  PropertyDictionary variables() const {
    return readPropertyList(resources_ / "PermanentVariables.plist");
  }

  test::TemporaryDirectory directory_;
  const std::filesystem::path resources_ = directory_ / "resources";
  const std::filesystem::path state_ = directory_ / "state";
  const std::filesystem::path log_ = directory_ / "log";
  test::PrivateBus bus_;
  pid_t daemon_ = 0;
  std::string batchId_;
  nlohmann::json event_;
};

TEST_F(DaemonTest, ExchangeIsDeliveredWithItsProcessAndGoneAfterOk) {
  if (geteuid() != 0) GTEST_SKIP() << "capturing needs root";
  startDaemon();
  ASSERT_EQ(enroll(), "active");
  exchange("delivered", [&] { return fetched("delivered"); });

  EXPECT_EQ(event_.at("/process/pid"_json_pointer), getpid());
  EXPECT_EQ(event_.at("/dns_packet/answers/0/data"_json_pointer), "192.0.2.1");
  EXPECT_EQ(report(batchId_, "Ok"), "Message received state: Ok");
  EXPECT_EQ(report(batchId_, "Nok"), "Message received state: Nok");
  EXPECT_FALSE(fetched("delivered"));
}

TEST_F(DaemonTest, BatchAndEnrollmentOutliveAKill) {
  if (geteuid() != 0) GTEST_SKIP() << "capturing needs root";
  startDaemon();
  ASSERT_EQ(enroll(), "active");
  exchange("kept", [&] { return fetched("kept"); });
  ASSERT_EQ(report(batchId_, "Nok"), "Message received state: Nok");
  EXPECT_EQ(end(SIGKILL), -SIGKILL);

  startDaemon();
  EXPECT_TRUE(fetched("kept"));
  const auto status = call("GetActivationStatus", {},
                           {platform::ServiceType::Text, platform::ServiceType::OptionalText});
  EXPECT_EQ(std::get<std::string>(status[0]), "active");
  EXPECT_EQ(std::get<std::optional<std::string>>(status[1]), R"({"key":"secret","uuid":"agent"})");
}

TEST_F(DaemonTest, OrderlyEndIsQuickAndRecordedAndAKillIsNot) {
  for (const int signal : {SIGTERM, SIGKILL, SIGINT}) {
    startDaemon();
    const auto before = Clock::now();
    EXPECT_EQ(end(signal), signal == SIGKILL ? -SIGKILL : 0);
    EXPECT_LT(Clock::now() - before, 2s);
  }
  const PropertyDictionary kept = variables();
  EXPECT_EQ(kept.at("graceful_shutdowns_count"), PropertyValue{std::int64_t{2}});
  EXPECT_EQ(kept.at("last_daemon_shutdown_was_graceful"), PropertyValue{true});
  EXPECT_EQ(kept.at("dns_batch_size"), PropertyValue{std::int64_t{1}});
  EXPECT_TRUE(kept.contains("startup_time") && kept.contains("last_daemon_shutdown_time"));
}

TEST_F(DaemonTest, SettingsAreTheSeedTheFeedAndTheDeployments) {
  writePropertyList(resources_ / "Settings.plist",
                    {{"removal_memory_size", {std::int64_t{7}}},
                     {"dns_message_version", {std::string("overruled")}}});
  startDaemon();
  const auto reply = call("GetAgentSettings", {}, {platform::ServiceType::Settings});
  const auto& settings = std::get<platform::ServiceValue::Dictionary>(reply[0]);
  EXPECT_EQ(settings.size(), 4u);
  EXPECT_EQ(std::get<std::string>(settings.at("dns_message_version").value), "1.0.0.0");
  EXPECT_EQ(std::get<std::string>(settings.at("status_message_version").value), "1.0.0.0");
  EXPECT_EQ(std::get<std::int64_t>(settings.at("removal_memory_size").value), 7);
  EXPECT_TRUE(settings.contains("SUFeedURL"));
}

TEST_F(DaemonTest, MissingPermanentVariablesEndWithStatus78AndSayWhatToDo) {
  std::filesystem::remove(resources_ / "PermanentVariables.plist");
  EXPECT_EQ(awaitEnd(launch()), 78);
  EXPECT_NE(test::readFile(log_).find("PermanentVariables.plist is missing"), std::string::npos);
}

TEST_F(DaemonTest, SecondDaemonOnTheSameBusGivesUp) {
  startDaemon();
  EXPECT_EQ(awaitEnd(launch()), 1);
  EXPECT_TRUE(answers());
}

}  // namespace
}  // namespace tovi
