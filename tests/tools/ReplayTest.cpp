#include <cstdlib>
#include <sys/wait.h>

#include "pipeline/CryptoDataProtector.h"
#include "pipeline/MessageDeliveryHandler.h"
#include "pipeline/MessagePersistence.h"
#include "tests/capture/FrameBuilder.h"
#include "tests/pipeline/PipelineSupport.h"

namespace tovi::test {
namespace {

// A pcap file of exchanges, one a second.
struct Capture {
  void addExchange(unsigned id, const std::string& name) {
    addFrame(ipv4(udp(dnsMessage(id, 0x0100, {question(name)}))));
    const auto answer = dnsMessage(id, 0x8180, {question(name)}, {record(1, "\xC0\0\2\1"s)});
    addFrame(ipv4(udp(answer, 53, 40000), 17, 0, 0x7f000002, 0x7f000001), 1500);
    ++second;
  }
  void addFrame(const std::string& packet, std::uint32_t microseconds = 0) {
    const auto frame = ethernet(packet);
    const auto size = u32(static_cast<std::uint32_t>(frame.size()));
    bytes += u32(second) + u32(microseconds) + size + size + frame;
  }

  std::uint32_t second = 1643130172;
  std::string bytes = u32(0xA1B2C3D4) + u16(2) + u16(4) + u32(0) + u32(0) + u32(0xFFFF) + u32(1);
};

class Replay : public Pipeline {
 protected:
  Replay() {
    capture_.addExchange(7, "abc");
    writeCapture(capture_.bytes);
  }

  void writeCapture(std::string_view bytes) { writeFile(directory_ / "a.pcap", bytes); }
  // The exit code; %s in `arguments` stands for the capture file.
  int replay(std::string arguments) {
    const auto place = arguments.find("%s");
    if (place != arguments.npos) arguments.replace(place, 2, directory_ / "a.pcap");
    const auto command = "cd " + directory_.path().string() + " && " + limits_ +
                         TOVI_REPLAY " >out 2>err " + arguments;
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
      R"("ttl":300,"data":"192.0.2.1"}],"queried_servers":[]},"exchange":{"server":"127.0.0.2",)"
      R"("client_port":40000,"transport":"udp","duration_us":1500}})"
      "\n";
  Capture capture_;
  std::string limits_;
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
            "id!7,opcode!0,response!0,query0!abc;A;IN,flags!0;0;0;0;1;0,"
            "packet!query;udp;127.0.0.1;40000;127.0.0.2;1643130172000000,dnsServers!\n"
            "id!7,opcode!0,response!0,query0!abc;A;IN,answer0!192.0.2.1;A;IN;300;abc,"
            "flags!0;1;0;0;1;0,"
            "packet!response;udp;127.0.0.1;40000;127.0.0.2;1643130172001500,dnsServers!\n");
}

TEST_F(Replay, IntervalAndCollectorLeaveEventsOut) {
  capture_.addExchange(8, "abc");
  capture_.addExchange(9, "collector");
  writeCapture(capture_.bytes);
  EXPECT_EQ(replay("--repetition-interval 2 --collector-host collector %s"), 0);
  EXPECT_EQ(output(), event_);
  EXPECT_NE(errors().find("2 events, 1 repetitions"), std::string::npos);
  EXPECT_EQ(replay("--repetition-interval 1 --collector-host collector %s"), 0);
  EXPECT_NE(errors().find("2 events, 0 repetitions"), std::string::npos);
}

TEST_F(Replay, WhatCanBeReadIsReplayedAndTheRestIsNamed) {
  capture_.addExchange(8, "def");
  writeCapture(capture_.bytes.substr(0, capture_.bytes.size() - 1));
  writeFile(directory_ / "text", "no capture");
  EXPECT_EQ(replay("text missing %s"), 1);
  EXPECT_EQ(output(), event_);
  for (const char* line : {"replay: text: ", "replay: missing: ", "a.pcap: truncated"}) {
    EXPECT_NE(errors().find(line), std::string::npos) << errors();
  }
}

TEST_F(Replay, QuietWritesOnlyTheSummary) {
  auto bytes = capture_.bytes;
  bytes[bytes.find("\3abc")] = '\x7F';
  writeCapture(bytes);
  EXPECT_EQ(replay("%s"), 0);
  EXPECT_TRUE(errors().starts_with("Error parsing packet \n2 packets, 1 DNS messages, 1 fail"));
  EXPECT_EQ(replay("--quiet %s"), 0);
  EXPECT_TRUE(errors().starts_with("2 packets, 1 DNS messages, 1 fail")) << errors();
  EXPECT_EQ(output(), "");
}

TEST_F(Replay, ReportTakesThePlaceOfNothingButAPage) {
  EXPECT_EQ(replay("--report a.html %s"), 0) << errors();
  EXPECT_EQ(output(), "");
  EXPECT_EQ(replay("--report a.html --repetition-interval 2 --quiet %s"), 0) << errors();
  const auto page = readFile(directory_ / "a.html");
  EXPECT_TRUE(page.starts_with("<!doctype html>\n<html"));
  EXPECT_EQ(replay("--report - --repetition-interval 2 --quiet %s"), 0);
  EXPECT_EQ(output(), page + "\n");
  for (const char* place : {"a.pcap", "no-such/a.html", ".", "/dev/null", "/dev/full"}) {
    EXPECT_EQ(replay("--report "s + place + " %s"), 1) << place;
    EXPECT_NE(errors().find("tovi-replay: "s + place + ": "), std::string::npos) << errors();
  }
  EXPECT_EQ(readFile(directory_ / "a.pcap"), capture_.bytes);
}

TEST_F(Replay, WrongCommandLineIsAUsageError) {
  for (const char* arguments :
       {"", "--nothing %s", "--records --events %s", "--report a.html --events %s", "--store",
        "--batch-size 0 %s", "--repetition-interval -1 %s", "--format elastic %s",
        "--format ecs --records %s", "--repetition-interval nan %s"}) {
    EXPECT_EQ(replay(arguments), 2) << arguments;
    EXPECT_EQ(output(), "");
  }
}

TEST_F(Replay, StoredBatchesCanBeHandedOver) {
  for (unsigned id = 8; id < 32; ++id) capture_.addExchange(id, "name" + std::to_string(id));
  writeCapture(capture_.bytes);
  ASSERT_EQ(replay("--store . %s"), 0) << errors();
  EXPECT_NE(errors().find("25 events, 0 repetitions, 2 batches"), std::string::npos) << errors();

  CoreDataManager store = openStore();
  MessageDeliveryHandler handler(clock_, settings_);
  CryptoDataProtector crypto(keychain_);
  MessagePersistence messages(store, clock_, settings_, variables_, handler, crypto);
  std::map<std::string, std::size_t> sizes;
  for (const auto& [id, text] : messages.getNewMessages()) {
    sizes[id] = dnsEventsFrom(text).eventsData.size();
  }
  EXPECT_EQ(sizes,
            (std::map<std::string, std::size_t>{{"20220125170311", 20}, {"20220125170406", 5}}));
}

TEST_F(Replay, DamagedStoreIsLeftAsItIs) {
  std::filesystem::create_directory(directory_ / "store");
  const auto file = directory_ / "store/MessageModel.sqlite";
  writeFile(file, "no database");
  EXPECT_EQ(replay("--store . %s"), 1);
  EXPECT_EQ(readFile(file), "no database");
}

TEST_F(Replay, BatchThatCannotBeWrittenFailsTheRun) {
  for (unsigned id = 8; id < 600; ++id) capture_.addExchange(id, "name" + std::to_string(id));
  writeCapture(capture_.bytes);
  EXPECT_EQ(replay("--store whole %s"), 0) << errors();
  // Files of 128 KiB hold an empty store, and not thirty batches.
  limits_ = "trap '' XFSZ; ulimit -f 256; ";
  EXPECT_EQ(replay("--store cut %s"), 1) << errors();
  EXPECT_NE(errors().find("593 events"), std::string::npos) << errors();
  EXPECT_EQ(errors().find(" 30 batches"), std::string::npos) << errors();
}

}  // namespace
}  // namespace tovi::test
