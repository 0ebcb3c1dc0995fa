#include <algorithm>

#include <nlohmann/json.hpp>

#include "core/Utf8.h"
#include "events/EventJson.h"
#include "platform/linux/LogLine.h"
#include "platform/linux/LsofText.h"
#include "tests/capture/FrameBuilder.h"
#include "tests/events/BuilderFixture.h"

namespace tovi::test {
namespace {

using Json = nlohmann::ordered_json;

/// Undoes the escapes of zone files.
std::string unescaped(std::string text) {
  for (std::size_t at = text.find('\\'); at != text.npos; at = text.find('\\', at + 1)) {
    const std::string digits = text.substr(at + 1, std::isdigit(text[at + 1]) ? 3 : 0);
    const char c = digits.empty() ? text[at + 1] : static_cast<char>(std::stoi(digits));
    text.replace(at, digits.empty() ? 2 : 4, 1, c);
  }
  return text;
}

/// In the process item, that of fields is none.
std::string separatorsOf(std::string text) {
  std::replace(text.begin(), text.begin() + static_cast<long>(text.find(",opcode!")), ';', ' ');
  std::erase_if(text, [](char c) { return c != '!' && c != ',' && c != ';'; });
  return text;
}

/// The process item keeps all but the separators of items.
std::string withoutSeparators(std::string text) {
  for (const auto& [separator, escape] : {std::pair('!', "\\033"), std::pair(',', "\\044")}) {
    for (auto at = text.find(separator); at != text.npos; at = text.find(separator)) {
      text.replace(at, 1, escape);
    }
  }
  return text;
}

/// One message, with its process, on the whole way to the event's JSON.
class Injection : public Builder {
 protected:
  std::string recordText(const std::string& label, const std::string& characters,
                         const std::string& processName) {
    const platform::NamedOwner owner{{512, 9}, processName, "alice"};
    recorder_.processes = platform::lsofText({}, std::span(&owner, 1), services_);
    recorder_.texts.clear();
    recorder_.time += std::chrono::minutes(1);
    const std::string name = counted(label) + '\0';
    recorder_.give(101, ipv4(udp(dnsMessage(7, 0x8180, {name + u32(0x10001)},
                                            {record(16, counted(characters)), record(5, name)}))));
    return recorder_.texts.at(0);
  }

  void expectSound(const std::string& label, const std::string& characters,
                   const std::string& processName) {
    const std::string text = recordText(label, characters, processName);
    const std::string name = between(text, "query0!", ";A;IN,");
    const std::string data = between(text, "answer0!", ";TXT;");
    EXPECT_EQ(separatorsOf(text), separators_) << text;
    EXPECT_EQ(unescaped(name), label);
    EXPECT_EQ(name.find('.'), name.npos) << "one label, not two";
    EXPECT_EQ(unescaped(data), '"' + characters + '"');
    packer_.events.clear();
    builder_.feed(text);
    const Json event = Json::parse(jsonText(onlyEvent()));
    const Json& packet = event["dns_packet"];
    EXPECT_EQ(packet["question"], (Json{{"type", "A"}, {"name", name}, {"query_class", "IN"}}));
    EXPECT_EQ(packet["answers"].size(), 2u);
    EXPECT_EQ(packet["answers"][0]["data"], data);
    EXPECT_EQ(packet["answers"][1]["data"], name);
    EXPECT_EQ(packet["answers"][1]["name"], name);
    const std::string command = platform::lsofCommand(processName);
    const std::string process = withoutSeparators(command.substr(0, command.find(' ')));
    EXPECT_EQ(event["process"], (Json{{"pid", 512}, {"name", process}, {"user", "alice"}}));
  }

  static void expectOneLogLine(const std::string& text) {
    std::string line;
    platform::exchangeLogSink([&](const auto& entry) { line = platform::logLine(entry); });
    ToviLog("subsystem", "main").error("feed(_:)", text);
    platform::exchangeLogSink({});
    EXPECT_TRUE(isUtf8(line));
    EXPECT_EQ(std::ranges::find_if(line, [](unsigned char c) { return c < 0x20; }), line.end() - 1);
  }

  const platform::ServiceNames services_;
  HandlerRecorder recorder_;
  const std::string separators_ = separatorsOf(recordText("a", "a", "a"));
};

TEST_F(Injection, NoOctetAtAnyPositionBreaksAnything) {
  std::string text(63, 'a');
  for (char& octet : text) {
    for (int value = 0; value < 256 && !HasFailure(); ++value) {
      octet = static_cast<char>(value);
      expectSound(text, text, text);
      expectOneLogLine(text);
    }
    octet = 'a';
  }
}

// Each value comes to stand at every position, all of them at once.
TEST_F(Injection, OctetsThatFollowEachOtherBreakNothing) {
  for (const bool afterBackslash : {false, true}) {
    for (int shift = 0; shift < 512; ++shift) {
      std::string text;
      for (int at = 0; at < 255; ++at) {
        text += afterBackslash && (at + shift) % 2 == 0 ? '\\' : static_cast<char>(at + shift / 2);
      }
      expectSound(text.substr(0, 63), text, text.substr(0, 15));
      expectOneLogLine(text);
    }
  }
}

}  // namespace
}  // namespace tovi::test
