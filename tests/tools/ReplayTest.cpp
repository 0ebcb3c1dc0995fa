#include <cstdlib>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include "core/KeychainHelper.h"
#include "core/PermanentVariablesManager.h"
#include "core/SettingsHandler.h"
#include "events/CommandExecutor.h"
#include "pipeline/CryptoDataProtector.h"
#include "pipeline/DNSEvents.h"
#include "pipeline/MessageDeliveryHandler.h"
#include "pipeline/MessagePersistence.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

using namespace std::string_literals;

std::string big16(int value) {
  return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::string little32(std::size_t value) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
  return bytes;
}

// A pcap file of exchanges about names of one label, one exchange a second.
class Capture {
 public:
  void addExchange(int id, const std::string& label) {
    const auto question =
        "\0\1"s + std::string(6, '\0') + static_cast<char>(label.size()) + label + "\0\0\1\0\1"s;
    auto response = question + "\xC0\x0C\0\1\0\1\0\0\1\x2C\0\4\xC0\0\2\1"s;
    response[3] = 1;
    addFrame(40000, 53, big16(id) + "\1\0"s + question);
    addFrame(53, 40000, big16(id) + "\x81\x80"s + response);
    ++second_;
  }
  const std::string& bytes() const { return bytes_; }

 private:
  void addFrame(int source, int target, const std::string& message) {
    const int size = static_cast<int>(message.size());
    const auto frame = std::string(12, '\0') + "\x08\0\x45\0"s + big16(28 + size) +
                       "\0\0\0\0\x40\x11\0\0\x0A\0\0\1\x0A\0\0\2"s + big16(source) + big16(target) +
                       big16(8 + size) + "\0\0"s + message;
    bytes_ += little32(second_) + little32(0) + little32(frame.size()) + little32(frame.size());
    bytes_ += frame;
  }

  std::size_t second_ = 1643130172;
  std::string bytes_ = "\xD4\xC3\xB2\xA1\2\0\4\0"s + std::string(8, '\0') + "\xFF\xFF\0\0\1\0\0\0"s;
};

class Replay : public testing::Test {
 protected:
  Replay() {
    capture_.addExchange(7, "abc");
    writeCapture(capture_.bytes());
  }

  void writeCapture(std::string_view bytes) { writeFile(directory_ / "a.pcap", bytes); }
  // The exit code; %s in `arguments` stands for the capture file.
  int replay(std::string arguments) {
    const auto place = arguments.find("%s");
    if (place != arguments.npos) arguments.replace(place, 2, directory_ / "a.pcap");
    const auto command =
        "cd " + directory_.path().string() + " && " TOVI_REPLAY " >out 2>err " + arguments;
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::string output() const { return readFile(directory_ / "out"); }
  std::string errors() const { return readFile(directory_ / "err"); }

  const std::string event_ =
      R"({"timestamp":"2022-01-25T17:02:52Z","version":")" TOVI_VERSION
      R"(","system":{"logged_users":[],"local_address":[]},"dns_packet":{"id":7,)"
      R"("op_code":"QUERY","response_code":"NOERROR","question":{"type":"A","name":"abc",)"
      R"("query_class":"IN"},"flags":{"authoritative":false,"recursion_available":true,)"
      R"("truncated_response":false,"checking_disabled":false,"recursion_desired":true,)"
      R"("authentic_data":false},"answers":[{"name":"abc","type":"A","answer_class":"IN",)"
      R"("ttl":300,"data":"192.0.2.1"}],"queried_servers":[]}})"
      "\n";
  TemporaryDirectory directory_;
  Capture capture_;
};

TEST_F(Replay, SameCaptureGivesTheSameBytes) {
  for (int run = 0; run < 2; ++run) {
    EXPECT_EQ(replay("%s"), 0);
    EXPECT_EQ(output(), event_);
  }
  EXPECT_TRUE(errors().starts_with(
      "2 packets, 2 DNS messages, 0 failures, 1 events, 0 repetitions, 0 batches in "));
}

TEST_F(Replay, RecordsArePrinted) {
  EXPECT_EQ(replay("--records %s >/dev/full"), 1);
  EXPECT_EQ(replay("--records %s"), 0);
  EXPECT_EQ(output(),
            "id!7,opcode!0,response!0,query0!abc;A;IN,flags!0;0;0;0;1;0,dnsServers!\n"
            "id!7,opcode!0,response!0,query0!abc;A;IN,answer0!192.0.2.1;A;IN;300;abc,"
            "flags!0;1;0;0;1;0,dnsServers!\n");
}

TEST_F(Replay, IntervalAndCollectorLeaveEventsOut) {
  capture_.addExchange(8, "abc");
  capture_.addExchange(9, "collector");
  writeCapture(capture_.bytes());
  EXPECT_EQ(replay("--repetition-interval 2 --collector-host collector %s"), 0);
  EXPECT_EQ(output(), event_);
  EXPECT_NE(errors().find("2 events, 1 repetitions"), std::string::npos);
  EXPECT_EQ(replay("--repetition-interval 1 --collector-host collector %s"), 0);
  EXPECT_NE(errors().find("2 events, 0 repetitions"), std::string::npos);
}

TEST_F(Replay, EverythingBeforeACutIsReplayed) {
  auto longer = capture_;
  longer.addExchange(8, "def");
  writeCapture(longer.bytes().substr(0, longer.bytes().size() - 1));
  EXPECT_EQ(replay("%s"), 1);
  EXPECT_EQ(output(), event_);
  EXPECT_NE(errors().find("a.pcap: truncated"), std::string::npos) << errors();
}

TEST_F(Replay, FileThatIsNoCaptureIsNamedAndTheOthersGoOn) {
  writeFile(directory_ / "text", "no capture");
  EXPECT_EQ(replay("text missing %s"), 1);
  EXPECT_EQ(output(), event_);
  for (const char* line : {"tovi-replay: text: ", "tovi-replay: missing: "}) {
    EXPECT_NE(errors().find(line), std::string::npos) << errors();
  }
}

TEST_F(Replay, QuietWritesOnlyTheSummary) {
  auto bytes = capture_.bytes();
  bytes[bytes.find("\3abc")] = '\x7F';
  writeCapture(bytes);
  EXPECT_EQ(replay("%s"), 0);
  EXPECT_TRUE(errors().starts_with("Error parsing packet \n2 packets, 1 DNS messages, 1 fail"));
  EXPECT_EQ(replay("--quiet %s"), 0);
  EXPECT_TRUE(errors().starts_with("2 packets, 1 DNS messages, 1 fail")) << errors();
  EXPECT_EQ(output(), "");
}

TEST_F(Replay, WrongCommandLineIsAUsageError) {
  for (const char* arguments :
       {"", "--nothing %s", "--records --events %s", "--store", "--batch-size 0 %s",
        "--repetition-interval -1 %s", "--repetition-interval nan %s"}) {
    EXPECT_EQ(replay(arguments), 2) << arguments;
    EXPECT_EQ(output(), "");
  }
}

TEST_F(Replay, StoredBatchesCanBeHandedOver) {
  for (int id = 8; id < 32; ++id) capture_.addExchange(id, "name" + std::to_string(id));
  writeCapture(capture_.bytes());
  ASSERT_EQ(replay("--store kept %s"), 0) << errors();
  EXPECT_NE(errors().find("25 events, 0 repetitions, 2 batches"), std::string::npos) << errors();

  ManualClock clock;
  SettingsHandler settings({});
  PermanentVariablesManager variables(directory_ / "kept/PermanentVariables.plist");
  KeychainHelper keychain(directory_ / "kept/keychain", "ToviAgent");
  CryptoDataProtector protector(keychain);
  CommandExecutor executor([](const auto&, const auto&) -> std::string { std::abort(); });
  CoreDataManager coreData(directory_ / "kept/store", executor, false);
  MessageDeliveryHandler delivery(clock, settings);
  MessagePersistence persistence(coreData, clock, settings, variables, delivery, protector);
  std::map<std::string, std::size_t> sizes;
  for (const auto& [id, text] : persistence.getNewMessages()) {
    sizes[id] = dnsEventsFrom(text).eventsData.size();
  }
  EXPECT_EQ(sizes,
            (std::map<std::string, std::size_t>{{"20220125170311", 20}, {"20220125170406", 5}}));
  EXPECT_EQ(variables.getInt("dns_events_count"), 25);
}

TEST_F(Replay, DamagedStoreIsLeftAsItIs) {
  ASSERT_EQ(replay("--store kept %s"), 0) << errors();
  const auto file = directory_ / "kept/store/MessageModel.sqlite";
  writeFile(file, "no database");
  EXPECT_EQ(replay("--store kept %s"), 1);
  EXPECT_EQ(readFile(file), "no database");
}

}  // namespace
}  // namespace tovi::test
