#include <cstdio>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "tests/service/RunningService.h"
#include "tests/support/PrivateBus.h"

namespace tovi::test {
namespace {

constexpr auto kBatch =
    R"({"date":"2022-01-25T17:02:52Z","version":"1.0.0.0","events_data":[{"b":1,"a":2},{"c":3}]})";
constexpr auto kEvents = "{\"b\":1,\"a\":2}\n{\"c\":3}\n";

class TovictlTest : public testing::Test {
 protected:
  void serve() { service_.emplace(daemon_, settings_); }
  const std::vector<std::string>& callsAfterwards() {
    service_.reset();
    return daemon_.calls;
  }
  /// Standard output, then the exit status.
  std::string sh(const std::string& script) {
    return platform::runProgram(
        "/bin/bash", {"-c", "cd " + directory_.path().string() +
                                "; tovictl() { " TOVICTL " \"$@\"; }; " + script + "; echo $?"});
  }

  LogRecorder log_;
  PrivateBus bus_;
  TemporaryDirectory directory_;
  PlainDaemon daemon_;
  PropertyDictionary settings_;
  std::optional<RunningService> service_;
};

TEST_F(TovictlTest, WrongUsageIsStatusTwo) {
  serve();
  for (const char* arguments :
       {"", "unknown", "state extra", "state --force", "status --force=1", "report 1",
        "enroll --uuid 1", "enroll --uuid", "enroll --uuid 1 --key-file k f",
        "messages --ack --nack", "follow --interval 0", "follow --interval nan",
        "follow --interval 1s"}) {
    EXPECT_EQ(sh(std::string("tovictl ") + arguments + " 2>/dev/null"), "2\n") << arguments;
  }
  EXPECT_TRUE(callsAfterwards().empty());
}

TEST_F(TovictlTest, HelpNeedsNoDaemon) {
  EXPECT_EQ(sh("for verb in '' state enroll status messages follow report settings version; do "
               "tovictl $verb --help | grep -c '^EXIT STATUS'; done | uniq -c | tr -d ' \n'"),
            "910\n");
}

TEST_F(TovictlTest, MissingDaemonIsStatusThreeAndOneLine) {
  for (const std::string verb : {"state", "messages", "follow", "settings", "status"}) {
    EXPECT_EQ(sh("tovictl " + verb + " 2>&1 | wc -l; (exit ${PIPESTATUS[0]})"), "1\n3\n") << verb;
  }
}

TEST_F(TovictlTest, StateShowsTheAgentButNeverItsKey) {
  daemon_.status = {"active", R"({"key":"secret","uuid":"agent-1"})"};
  serve();
  EXPECT_EQ(sh("tovictl state"), "State  active\nAgent  agent-1\n0\n");
  EXPECT_EQ(sh("tovictl state --json"), "{\"state\":\"active\",\"agent_id\":\"agent-1\"}\n0\n");
}

TEST_F(TovictlTest, EnrollmentComesFromFilesOrStandardInput) {
  writeFile(directory_ / "data", "{}");
  writeFile(directory_ / "key", "a \"key\"\n");
  serve();
  EXPECT_EQ(sh("tovictl enroll data"), "State  active\n0\n");
  EXPECT_EQ(sh("printf input | tovictl enroll --json"), "{\"state\":\"active\"}\n0\n");
  EXPECT_EQ(sh("tovictl enroll --key-file=key --uuid agent-1"), "State  active\n0\n");
  EXPECT_EQ(sh("tovictl enroll missing 2>/dev/null"), "1\n");
  EXPECT_EQ(sh("head -c 2000000 /dev/zero | tovictl enroll 2>/dev/null"), "1\n");
  EXPECT_EQ(callsAfterwards(),
            (std::vector<std::string>{"enroll {}", "enroll input",
                                      R"(enroll {"uuid":"agent-1","key":"a \"key\""})"}));
}

TEST_F(TovictlTest, StatusIsShownWhenOneIsDue) {
  daemon_.statusMessage =
      R"({"active":true,"stats":{"last_daemon_shutdown_was_graceful":true,)"
      R"("graceful_shutdowns_count":1,"daemon_startups_count":2,"data_delivered_messages":3,)"
      R"("dns_events_count":4,"last_dns_event_timestamp":"then","status_delivered_messages":5,)"
      R"("status_send_failures_count":6},"settings":{"dns_batch_size":20}})";
  serve();
  const auto text = sh("tovictl status");
  EXPECT_NE(text.find("DNS events           4, the last at then\n"), text.npos) << text;
  EXPECT_NE(text.find("Batch size           20 events\n"), text.npos) << text;
  EXPECT_EQ(sh("tovictl status"), "No status message is due.\n0\n");
  EXPECT_EQ(sh("tovictl status --json"), "null\n0\n");
  EXPECT_EQ(sh("tovictl status --json --force"),
            "{\"active\":true,\"agent_version\":\"forced\"}\n0\n");
}

TEST_F(TovictlTest, MessagesAreReportedOnlyWhenAskedAndOnlyAfterPrinting) {
  daemon_.batches = {{"1", kBatch}, {"2", "broken"}};
  serve();
  EXPECT_EQ(sh("tovictl messages"), "1  2022-01-25T17:02:52Z  2 events\n2  unreadable\n0\n");
  EXPECT_EQ(sh("tovictl messages --ack >/dev/full 2>/dev/null"), "1\n");
  EXPECT_EQ(sh("tovictl messages --nack --json"),
            std::string(R"({"messages":[{"id":"1","batch":)") + kBatch +
                "},{\"id\":\"2\",\"batch\":\"broken\"}]}\n0\n");
  EXPECT_EQ(sh("tovictl messages --ack"), "No batch waits.\n0\n");
  EXPECT_EQ(callsAfterwards(), (std::vector<std::string>{"batch 1 Nok", "batch 2 Nok"}));
}

TEST_F(TovictlTest, ReportPassesTheAnswerOn) {
  writeFile(directory_ / "answer", "{\"active\":true}");
  serve();
  EXPECT_EQ(sh("tovictl report 7 Ok"), "Message received state: Ok\n0\n");
  EXPECT_EQ(sh("tovictl report --json -- status_message AgentDeliveredCompleted answer"),
            "{\"reply\":null}\n0\n");
  EXPECT_EQ(
      callsAfterwards(),
      (std::vector<std::string>{"batch 7 Ok", "status AgentDeliveredCompleted {\"active\":true}"}));
}

TEST_F(TovictlTest, SettingsKeepTheirTypes) {
  settings_ = {{"list", {PropertyValue::Array{{true}, {0.5}, {std::int64_t{20}}}}},
               {"nested", {PropertyDictionary{{"url", {std::string("x")}}}}}};
  serve();
  EXPECT_EQ(sh("tovictl settings --json"), R"({"list":[true,0.5,20],"nested":{"url":"x"}})"
                                           "\n0\n");
  EXPECT_EQ(sh("tovictl settings | head -1"), "list    [true,0.5,20]\n0\n");
}

TEST_F(TovictlTest, FollowReportsABatchOnlyAfterItWasWritten) {
  daemon_.batches = {{"1", kBatch}, {"2", "broken"}};
  daemon_.statusMessage = "{\"active\":true}";
  std::vector<std::string> written;
  daemon_.onReport = [&] { written.push_back(readFile(directory_ / "out")); };
  serve();
  EXPECT_EQ(sh("tovictl follow --once >out 2>/dev/null"), "0\n");
  EXPECT_EQ(callsAfterwards(), (std::vector<std::string>{"status AgentDeliveredCompleted -",
                                                         "batch 1 Ok", "batch 2 Ok"}));
  EXPECT_EQ(written, (std::vector<std::string>{
                         kEvents, std::string(kEvents) +
                                      "{\"unreadable_batch\":\"2\",\"text\":\"broken\"}\n"}));
}

TEST_F(TovictlTest, FollowLeavesWhatItCouldNotWrite) {
  daemon_.batches = {{"1", kBatch}};
  serve();
  EXPECT_EQ(sh("tovictl follow >/dev/full 2>/dev/null"), "1\n");
  EXPECT_EQ(sh("mkfifo pipe; exec 3<>pipe 4>pipe 3<&-; tovictl follow --once >&4"), "0\n");
  EXPECT_TRUE(callsAfterwards().empty());
}

TEST_F(TovictlTest, FollowEndsQuietlyOnSignals) {
  daemon_.batches = {{"1", kBatch}};
  serve();
  EXPECT_EQ(sh("mkfifo pipe; " TOVICTL " follow --interval 3600 >pipe & exec 3<pipe; "
               "read -r line <&3; kill -TERM $!; wait $!"),
            "0\n");
}

TEST_F(TovictlTest, FollowOutlivesADaemonAndEndsWithItsReader) {
  daemon_.batches = {{"1", kBatch}};
  serve();
  FILE* output = popen("exec " TOVICTL " follow --interval 0.1 2>&1", "r");
  ASSERT_NE(output, nullptr);
  const auto line = [&] {
    char buffer[512] = "";
    return std::string(fgets(buffer, sizeof(buffer), output) == nullptr ? "" : buffer);
  };
  EXPECT_EQ(line(), "{\"b\":1,\"a\":2}\n");
  EXPECT_EQ(line(), "{\"c\":3}\n");
  service_.reset();
  EXPECT_NE(line().find("waiting for the daemon"), std::string::npos);
  daemon_.batches = {{"2", R"({"events_data":["back"]})"}};
  serve();
  EXPECT_EQ(line(), "\"back\"\n");
  EXPECT_EQ(pclose(output), 0);
}

}  // namespace
}  // namespace tovi::test
