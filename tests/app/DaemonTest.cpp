#include <fcntl.h>
#include <signal.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <nlohmann/json.hpp>

#include "tests/app/AgentFixture.h"

namespace tovi::test {
namespace {

using Clock = std::chrono::steady_clock;

class DaemonTest : public AgentFixture {
 protected:
  DaemonTest() : AgentFixture("io.tovi.ToviAgentXPC") {}
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

  bool answers() try {
    settings();
    return true;
  } catch (const platform::ServiceError&) {
    return false;
  }
  void startEnrolledDaemon() {
    startDaemon();
    enroll();
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
    sendFrom(asking, dnsMessage(id, 0x0100, {question(name)}), server);
    sockaddr_in from{};
    socklen_t size = sizeof from;
    char query[512];
    ASSERT_TRUE(eventually([&] {
      return recvfrom(answering, query, sizeof query, MSG_DONTWAIT,
                      reinterpret_cast<sockaddr*>(&from), &size) > 0;
    }));
    sendFrom(answering, dnsMessage(id, 0x8180, {question(name)}, {record(1, "\xC0\0\2\1"s)}), from);
    EXPECT_TRUE(eventually([&] { return fetched(name); })) << readFile(log_);
    close(asking);
    close(answering);
  }
  /// Fetches what is pending; true once there was an event about NAME, kept with its batch's name.
  bool fetched(const std::string& name) {
    for (const auto& [id, text] : batches()) {
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

  const std::filesystem::path log_ = directory_ / "log";
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
  EXPECT_EQ(report(batchId_, "Ok"), "Message received state: Ok");
  EXPECT_FALSE(fetched(name));
}

TEST_F(DaemonTest, EveryStartCountsAndOnlyAnEndThatWasAskedForIsOrderly) {
  const auto kept = [&](const char* key) {
    return readPropertyList(resources_ / "PermanentVariables.plist").at(key);
  };
  for (const int signal : {SIGTERM, SIGKILL, SIGINT}) {
    startDaemon();
    const auto begin = Clock::now();
    EXPECT_EQ(end(signal), signal == SIGKILL ? -SIGKILL : 0);
    EXPECT_LT(Clock::now() - begin, 2s);
  }
  EXPECT_EQ(kept("daemon_startups_count"), PropertyValue{std::int64_t{3}});
  EXPECT_EQ(kept("last_daemon_shutdown_was_graceful"), PropertyValue{true});
  EXPECT_EQ(kept("dns_batch_size"), PropertyValue{std::int64_t{1}});
  EXPECT_NO_THROW((kept("startup_time"), kept("last_daemon_shutdown_time")));
  startDaemon();
  EXPECT_EQ(awaitEnd(launch()), 1) << "the name on the bus is taken";
  EXPECT_TRUE(answers());
  bus_.end();
  EXPECT_EQ(awaitEnd(std::exchange(daemon_, 0)), 1);
  EXPECT_EQ(kept("graceful_shutdowns_count"), PropertyValue{std::int64_t{2}});
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

TEST_F(DaemonTest, ResourcesThatCannotServeEndWithStatus78AndTheLogSaysWhy) {
  std::filesystem::remove(resources_ / "PermanentVariables.plist");
  std::filesystem::create_symlink("loop", directory_ / "loop");
  for (const auto& [place, told] : {std::pair(resources_, "PermanentVariables.plist is missing"),
                                    {directory_ / "loop", "The resources cannot be read: "}}) {
    setenv("TOVI_RESOURCES_DIR", place.c_str(), 1);
    EXPECT_EQ(awaitEnd(launch()), 78);
    EXPECT_NE(readFile(log_).find(told), std::string::npos);
  }
}

}  // namespace
}  // namespace tovi::test
