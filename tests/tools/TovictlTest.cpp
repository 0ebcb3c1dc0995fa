#include <cstdio>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "service/ToviAgentXPCProtocol.h"
#include "tests/service/RunningService.h"
#include "tests/support/PrivateBus.h"

namespace tovi::test {
namespace {

constexpr auto kBatch = R"({"date":"then","events_data":[{"b":1,"a":2},{"c":3}]})";
constexpr auto kEvents = "{\"b\":1,\"a\":2}\n{\"c\":3}\n";

/// Entries of these names and response codes, each counted five times.
std::vector<Activity::Entry> entriesOf(const std::vector<std::string>& names) {
  std::vector<Activity::Entry> entries;
  for (const auto& name : names) entries.push_back({name, 5, name});
  return entries;
}

/// Something of everything that could upset a terminal.
Activity hostileActivity() {
  const auto hostile =
      entriesOf({"\033]0;owned\a\033[2J\033[?1049l", "\302\23331mC1", "\xE2\x80\xAErtl\xE2\x81\xA6",
                 "line\nend\r\ttab", "e\xCC\x81\xCC\x81", "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E",
                 std::string(300, 'x'), "<b>'\"$(id)\\", ""});
  return {.windowSeconds = 60,
          .queries = 45,
          .names = hostile,
          .processes = hostile,
          .failures = hostile,
          .resolvers = hostile};
}

/// A batch of events that could, of one that could not, and of what is no event.
std::string hostileBatch() {
  const std::string hostile =
      R"("\u001b]0;owned\u0007\u001b[2J\u009b31m\u202ertl\u2066\n\t日本語)" +
      std::string(300, 'x') + "\"";
  return R"({"events_data":[{"timestamp":"2022-01-25T17:02:52Z","process":{"pid":4294967,"name":)" +
         hostile +
         R"(},"dns_packet":{"id":9,"response_code":"NXDOMAIN","question":{"type":"AAAA",)" +
         R"("name":)" + hostile + R"(},"answers":[{"name":"","type":"TXT","data":)" + hostile +
         R"(}]}},{"timestamp":"2022-01-25T17:02:53Z","process":{"pid":7},"dns_packet":{"id":9,)"
         R"("response_code":"NOERROR","question":{"type":"AAAA","name":"example.org"},"answers":)"
         R"([{"name":"","type":"AAAA","data":"2001:db8::1"}]}},{"timestamp":)" +
         hostile + "}]}";
}

/// A program that runs beside the test, and its output.
class Program {
 public:
  explicit Program(const std::string& command)
      : output_(popen(("exec " + command + " 2>&1").c_str(), "r")) {}
  std::string line() {
    char buffer[512] = "";
    return fgets(buffer, sizeof(buffer), output_) == nullptr ? "" : buffer;
  }
  /// The status as waitpid(2) gives it.
  int end() { return pclose(output_); }

 private:
  FILE* output_;
};

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

TEST_F(TovictlTest, WrongUsageIsStatusTwoAndHelpNeedsNoDaemon) {
  for (const char* arguments :
       {"", "unknown", "state extra", "state --force", "status --force=1", "report 1",
        "enroll --uuid", "enroll --uuid 1 --key-file k f", "messages --ack --nack",
        "status --force --counters", "follow --interval nan", "follow --interval 1s",
        "follow --format ocsf-2", "follow --color=red", "--color always", "--interval 5",
        "top --count 0", "top --once --count 2"}) {
    EXPECT_EQ(sh(std::string("tovictl ") + arguments + " 2>/dev/null"), "2\n") << arguments;
  }
  EXPECT_EQ(sh("for verb in '' state enroll status messages follow report settings top version; do "
               "tovictl $verb --help | grep '^EXIT STATUS'; done | wc -l"),
            "10\n0\n");
  EXPECT_EQ(sh("tovictl --color always version >/dev/null"), "0\n");
  const std::pair<std::string, std::string> refusals[] = {
      {"delete", "unknown verb delete; see tovictl --help"},
      {"--json sttaus", "unknown verb sttaus (did you mean \"status\"?); see tovictl --help"},
      {"follow --onec",
       "unknown option --onec (did you mean \"--once\"?); see tovictl follow --help"}};
  for (const auto& [arguments, text] : refusals) {
    EXPECT_EQ(sh("tovictl " + arguments + " 2>&1"), "tovictl: " + text + "\n2\n");
  }
}

TEST_F(TovictlTest, MissingDaemonIsStatusThreeAndOneLineThatSaysWhatToDo) {
  for (const char* verb : {"state", "follow", "top"}) {
    EXPECT_EQ(sh("tovictl " + std::string(verb) + " 2>&1"),
              "tovictl: the service io.tovi.ToviAgentXPC is not running; start it with: systemctl "
              "start tovi-daemon\n3\n");
  }
}

TEST_F(TovictlTest, TextThatTheBusCannotCarryIsNamed) {
  serve();
  for (const char* call : {"enroll --uuid $'\\xff' --key-file /dev/null", "report $'\\xff' Ok"}) {
    EXPECT_NE(sh(std::string("tovictl ") + call + " 2>&1").find(" is not UTF-8"),
              std::string::npos);
  }
}

TEST_F(TovictlTest, StateShowsTheAgentButNeverItsKey) {
  daemon_.status = {"active", R"({"key":"secret","uuid":"agent-1"})"};
  serve();
  EXPECT_EQ(sh("tovictl state"), "State  active\nAgent  agent-1\n0\n");
  EXPECT_EQ(sh("tovictl state --json"),
            "{\"schema_version\":1,\"state\":\"active\",\"agent_id\":\"agent-1\"}\n0\n");
}

TEST_F(TovictlTest, EnrollmentComesFromFilesOrStandardInput) {
  writeFile(directory_ / "data", "{}");
  writeFile(directory_ / "key", "a \"key\"\n");
  serve();
  EXPECT_EQ(sh("tovictl enroll data 2>/dev/null"), "State  inactive\n1\n");
  EXPECT_EQ(sh("printf input | tovictl enroll --json"),
            "{\"schema_version\":1,\"state\":\"active\"}\n0\n");
  EXPECT_EQ(sh("tovictl enroll --key-file=key --uuid agent-1"), "State  active\n0\n");
  EXPECT_EQ(callsAfterwards(),
            (std::vector<std::string>{"enroll {}", "enroll input",
                                      R"(enroll {"uuid":"agent-1","key":"a \"key\""})"}));
  for (const auto& message : log_.messages()) EXPECT_EQ(message.find("input"), message.npos);
}

TEST_F(TovictlTest, StatusIsShownWhenOneIsDue) {
  daemon_.statusMessage = "{\"active\":true,\"settings\":{\"dns_batch_size\":20}}";
  serve();
  EXPECT_EQ(sh("tovictl status | tr -s ' '"),
            "Agent\n State active\n\nSettings\n Batch size 20 events\n\nCapture\n Packets captured "
            "7\n0\n");
  EXPECT_EQ(sh("tovictl status 2>&1 >/dev/null"),
            "tovictl: no status message is due; --force fetches one in any case\n0\n");
  EXPECT_EQ(
      sh("tovictl status --json --force; tovictl status --json"),
      "{\"schema_version\":1,\"message\":{\"active\":true},\"counters\":{\"packets_captured\":"
      "7}}\n{\"schema_version\":1,\"message\":null,\"counters\":{\"packets_captured\":7}}\n0\n");
}

TEST_F(TovictlTest, OlderDaemonWithoutStatisticsStillHasAStatus) {
  using enum platform::ServiceType;
  const LoopThread daemon([](platform::MainLoop& loop) {
    const auto none = [](const std::string&, const platform::ServiceParameters&) {
      return platform::ServiceParameters{std::optional<std::string>()};
    };
    return platform::ServiceBus(
        loop, xpc::kServiceName,
        {{xpc::kObjectPath,
          xpc::kInterfaceName,
          {{xpc::kGetStatusEvent, {{Bool, "force"}}, {{OptionalText, "message"}}, none}}}},
        [](const std::string&) {});
  });
  EXPECT_EQ(sh("tovictl top 2>&1 | cut -d, -f1; (exit ${PIPESTATUS[0]})"),
            "tovictl: the running daemon does not offer this\n1\n");
  EXPECT_EQ(sh("tovictl status --json"),
            "{\"schema_version\":1,\"message\":null,\"counters\":null}\n0\n");
}

TEST_F(TovictlTest, StatusShowsWhatWasLostInColourAndSharesOfWhatTheyArePartsOf) {
  daemon_.counted = {.uptimeSeconds = 11520,
                     .packetsCaptured = 1'234'500,
                     .packetsDroppedByKernel = 12,
                     .events = 200,
                     .eventsRepeated = 150,
                     .batchesDropped = 0,
                     .batchesRemoved = 3,
                     .batchesUnreadable = 2,
                     .payloadKeyUnreadable = 1};
  serve();
  const auto shown = sh("tovictl status --color=always 2>/dev/null | tr -s ' '");
  for (const char* line :
       {"\n Up for 3 h 12 min\n", "\n Packets captured 1,234,500\n",
        "\n Dropped by the kernel \033[31m12 (0.0 % of all)\033[0m\n",
        "\n Repeated, left out 150 (75.0 % of events)\n", "\n Dropped 0\n",
        "\n Removed, store full \033[31m3\033[0m\n", "\n Unreadable \033[31m2\033[0m\n"}) {
    EXPECT_NE(shown.find(line), shown.npos) << line << shown;
  }
  EXPECT_EQ(shown.find("Undecodable"), shown.npos);
}

TEST_F(TovictlTest, WatchingTakesNothingFromTheCompanion) {
  daemon_.statusMessage = "{\"active\":true}";
  daemon_.batches = {{"1", kBatch}};
  daemon_.recent = {.queries = 5, .failures = entriesOf({"\033[31mname"})};
  serve();
  const auto lines = sh("tovictl top --count 2 --interval 0.1 | grep -e ^exch -e ^fail");
  const std::string once =
      "exchanges 5 queries, 0 answers, 0 failed in 0 s\nfailure 5 \\x1B[31mname \\x1B[31mname\n";
  EXPECT_EQ(lines, once + once + "0\n");
  EXPECT_NE(sh("tovictl top --json --once").find("\"rates\":null,\"activity\":{"), lines.npos);
  EXPECT_EQ(sh("tovictl status --counters --json"),
            "{\"schema_version\":1,\"message\":null,\"counters\":{\"packets_captured\":7}}\n0\n");
  EXPECT_TRUE(callsAfterwards().empty());
  EXPECT_EQ(log_.count("getDNSMessages"), 0);
  EXPECT_TRUE(daemon_.statusMessage);
}

TEST_F(TovictlTest, MessagesAreReportedOnlyWhenAskedAndOnlyAfterPrinting) {
  daemon_.batches = {{"1", kBatch}, {"2", "broken"}};
  serve();
  EXPECT_EQ(sh("tovictl messages"), "1  then  2 events\n2  unreadable\n0\n");
  EXPECT_EQ(sh("tovictl messages --ack >/dev/full 2>/dev/null"), "1\n");
  EXPECT_EQ(sh("tovictl messages --nack --json"),
            std::string(R"({"schema_version":1,"messages":[{"id":"1","batch":)") + kBatch +
                "},{\"id\":\"2\",\"batch\":\"broken\"}]}\n0\n");
  EXPECT_EQ(sh("tovictl messages --ack 2>&1"), "tovictl: no batch waits\n0\n");
  EXPECT_EQ(callsAfterwards(), (std::vector<std::string>{"batch 1 Nok", "batch 2 Nok"}));
}

TEST_F(TovictlTest, ReportsReachTheirOwnSide) {
  writeFile(directory_ / "answer", "{\"active\":true}");
  serve();
  EXPECT_EQ(sh("tovictl report 7 Ok"), "Message received state: Ok\n0\n");
  EXPECT_EQ(sh("tovictl report --json -- status_message AgentDeliveredCompleted answer"),
            "{\"schema_version\":1,\"reply\":null}\n0\n");
  EXPECT_EQ(
      callsAfterwards(),
      (std::vector<std::string>{"batch 7 Ok", "status AgentDeliveredCompleted {\"active\":true}"}));
  EXPECT_EQ(log_.count("Status delivery arrived "), 1);
}

TEST_F(TovictlTest, SettingsKeepTheirTypesAndWhatTheBusLacksBecomesText) {
  settings_ = {{"a",
                {PropertyValue::Array{{true},
                                      {0.5},
                                      {std::int64_t{20}},
                                      {PropertyDate{86'400, 0}},
                                      {PropertyValue::Data{std::byte{0x0a}, std::byte{0xff}}},
                                      {PropertyDictionary{{"url", {std::string("x")}}}}}}}};
  serve();
  EXPECT_EQ(sh("tovictl settings"),
            "a  [true,0.5,20,\"2001-01-02T00:00:00Z\",\"0aff\",{\"url\":\"x\"}]\n0\n");
}

TEST_F(TovictlTest, FollowReportsABatchOnlyAfterItWasWritten) {
  daemon_.batches = {{"1", kBatch}, {"2", "broken"}};
  daemon_.statusMessage = "{\"active\":true}";
  std::string written;
  daemon_.onReport = [&] { written += "|" + readFile(directory_ / "out"); };
  serve();
  EXPECT_EQ(sh("tovictl follow --once >out 2>/dev/null"), "0\n");
  EXPECT_EQ(callsAfterwards(), (std::vector<std::string>{"status AgentDeliveredCompleted -",
                                                         "batch 1 Ok", "batch 2 Ok"}));
  EXPECT_EQ(written, std::string("|") + kEvents + "|" + kEvents +
                         "{\"unreadable_batch\":\"2\",\"text\":\"broken\"}\n");
}

TEST_F(TovictlTest, FollowWritesTheVocabularyAskedForAndWhatHasNoWordsAsItIs) {
  const std::string event = R"({"timestamp":"2022-01-25T17:02:52Z","dns_packet":{"id":9}})";
  daemon_.batches = {{"1", R"({"events_data":[{"a":1},7,)" + event + "]}"}};
  serve();
  EXPECT_EQ(sh("tovictl follow --once --format ocsf 2>/dev/null | sed 's/,\"category_uid.*//'"),
            "{\"unreadable_batch\":\"1\",\"text\":\"{\\\"a\\\":1}\"}\n"
            "{\"unreadable_batch\":\"1\",\"text\":\"7\"}\n"
            "{\"time\":1643130172000\n0\n");
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
  EXPECT_EQ(sh("coproc " TOVICTL " follow; read -r line <&${COPROC[0]}; kill $!; wait $!"), "0\n");
}

TEST_F(TovictlTest, OutputThatDoesNotBlockIsWrittenInFull) {
  daemon_.batches = {{"1", "{\"events_data\":[\"" + std::string(1 << 20, 'x') + "\"]}"}};
  serve();
  EXPECT_EQ(sh(DEBIAN_PYTHON " " TOVI_SOURCE_DIR "/tests/tools/read-late.py " TOVICTL
                             " follow --once | wc -c"),
            "1048579\n0\n");
}

TEST_F(TovictlTest, SlowReaderOfFollowHoldsUpNobodyElse) {
  daemon_.batches = {{"1", "{\"events_data\":[\"" + std::string(1 << 20, 'x') + "\"]}"}};
  serve();
  EXPECT_EQ(sh("coproc " TOVICTL " follow; head -c 1 <&${COPROC[0]}; tovictl state --json; "
               "kill $!; wait $!"),
            "\"{\"schema_version\":1,\"state\":\"inactive\",\"agent_id\":null}\n0\n");
  EXPECT_TRUE(callsAfterwards().empty());
}

TEST_F(TovictlTest, FollowOutlivesADaemonAndEndsWithItsReader) {
  // More than a pipe holds: the daemon is gone when the first round goes on.
  daemon_.batches = {{"1", "{\"events_data\":[\"first\",\"" + std::string(1 << 17, 'x') + "\"]}"}};
  serve();
  Program follow(TOVICTL " follow --interval 0.1");
  const auto line = [&] { return follow.line(); };
  EXPECT_EQ(line(), "\"first\"\n");
  service_.reset();
  std::string last;
  while (!(last = line()).empty() && last.find("waiting for the daemon") == last.npos) {
  }
  EXPECT_FALSE(last.empty());
  daemon_.batches = {{"2", "{\"events_data\":[\"back\"]}"}};
  serve();
  EXPECT_EQ(line(), "\"back\"\n");
  EXPECT_EQ(follow.end(), 0);
}

TEST_F(TovictlTest, TopRulesATerminalWhateverNamesAreAskedFor) {
  daemon_.recent = hostileActivity();
  daemon_.batches = {{"1", hostileBatch()}};
  serve();
  Program check(DEBIAN_PYTHON " " TOVI_SOURCE_DIR "/tests/tools/check-terminal.py " TOVICTL);
  EXPECT_EQ(check.line(), "shown\n");
  service_.reset();
  EXPECT_EQ(check.line(), "waits\n");
  serve();
  EXPECT_EQ(check.line(), "goes on\n");
  EXPECT_EQ(check.line(), "");
  EXPECT_EQ(check.end(), 0);
}

TEST_F(TovictlTest, JsonOfEveryVerbMatchesTheSchema) {
  daemon_.batches = {{"1", R"({"events_data":[{"timestamp":"2022-01-25T17:02:52Z"}]})"},
                     {"2", "broken"}};
  daemon_.recent = hostileActivity();
  serve();
  const std::string check =
      DEBIAN_PYTHON " " TOVI_SOURCE_DIR "/tests/tools/validate-output.py " TOVI_SOURCE_DIR
                    "/docs/tovictl.schema.json ";
  for (const std::string call : {"state", "status", "status --force", "messages", "follow --once",
                                 "report 7 Ok", "settings", "top --once", "version", "enroll"}) {
    EXPECT_EQ(sh("echo {} | tovictl " + call + " --json | " + check + call), "0\n") << call;
  }
}

}  // namespace
}  // namespace tovi::test
