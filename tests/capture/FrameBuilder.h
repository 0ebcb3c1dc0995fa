#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/DnsMessage.h"
#include "capture/PacketHandler.h"

/// Builds frames layer by layer; octets are kept as strings, since those join with "+".
namespace tovi::test {

using namespace std::string_literals;

inline std::span<const std::byte> asBytes(std::string_view octets) {
  return std::as_bytes(std::span(octets));
}

inline std::string u16(std::size_t value) {
  return {static_cast<char>(value >> 8 & 0xff), static_cast<char>(value & 0xff)};
}

inline std::string u32(std::uint32_t value) {
  return u16(value >> 16) + u16(value);
}

/// A label and its length.
inline std::string counted(const std::string& text) {
  return static_cast<char>(text.size()) + text;
}

/// `text` is labels joined by dots.
inline std::string dnsName(const std::string& text) {
  if (text.empty()) return "\0"s;
  const auto dot = text.find('.');
  return counted(text.substr(0, dot)) + dnsName(dot == text.npos ? "" : text.substr(dot + 1));
}

inline std::string question(const std::string& name, unsigned type = 1, unsigned dnsClass = 1) {
  return dnsName(name) + u16(type) + u16(dnsClass);
}

/// A record whose name is a pointer to the first question's.
inline std::string record(unsigned type, const std::string& data, unsigned dnsClass = 1,
                          std::uint32_t ttl = 300) {
  return "\xc0\x0c" + u16(type) + u16(dnsClass) + u32(ttl) + u16(data.size()) + data;
}

inline std::string dnsMessage(unsigned id, unsigned flags,
                              const std::vector<std::string>& questions,
                              const std::vector<std::string>& answers = {}) {
  std::string text = u16(id) + u16(flags) + u16(questions.size()) + u16(answers.size()) + u32(0);
  for (const auto& part : questions) text += part;
  for (const auto& part : answers) text += part;
  return text;
}

inline std::string udp(const std::string& payload, unsigned source = 40000,
                       unsigned destination = 53) {
  return u16(source) + u16(destination) + u16(payload.size() + 8) + u16(0) + payload;
}

inline std::string tcp(const std::string& payload, unsigned offset = 5, unsigned source = 53,
                       unsigned destination = 40000) {
  return u16(source) + u16(destination) + u32(7) + u32(0) + u16(offset << 12 | 0x18) + u16(9) +
         u32(0) + payload;
}

inline std::string ipv4(const std::string& payload, unsigned protocol = 17, unsigned fragment = 0,
                        std::uint32_t source = 0x7f000001, std::uint32_t destination = 0x7f000002) {
  return u16(0x4500) + u16(payload.size() + 20) + u16(1) + u16(fragment) + u16(64 << 8 | protocol) +
         u16(0) + u32(source) + u32(destination) + payload;
}

inline std::string ipv6(const std::string& payload, unsigned nextHeader = 17) {
  return u32(0x60000000) + u16(payload.size()) + u16(nextHeader << 8 | 64) + std::string(32, '\1') +
         payload;
}

inline std::string ethernet(const std::string& payload, unsigned type = 0x0800) {
  return std::string(12, '\0') + u16(type) + payload;
}

/// A query for example.org with transaction identifier 4660, in UDP.
inline std::string queryDatagram() {
  return udp(dnsMessage(4660, 0x0100, {question("example.org")}));
}

/// A handler whose texts and failures are kept.
struct HandlerRecorder : MessageObserverProtocol {
  void give(int linkType, const std::string& frame) {
    // Of its very size, so that a read past the end is seen.
    const std::vector<char> exact(frame.begin(), frame.end());
    handler.onPacketArrives({linkType, std::as_bytes(std::span(exact)), time});
  }

  void observe(const ObservedMessage& message) override {
    observed.push_back((message.header.isResponse ? "response " : "query ") +
                       std::to_string(message.header.responseCode) + " " +
                       std::string(message.questionName) + " from " + std::string(message.sender) +
                       std::string(message.processes));
  }

  std::vector<std::string> textsUpToFlags() const {
    std::vector<std::string> fronts;
    for (const auto& text : texts) fronts.push_back(text.substr(0, text.find(",packet!")));
    return fronts;
  }

  std::chrono::system_clock::time_point time;
  std::vector<std::string> texts;
  std::vector<std::string> observed;
  std::vector<Undecodable> abandoned;
  std::string processes;
  platform::QuerySender sender;
  std::string dnsServers = "192.168.1.1";
  std::vector<platform::CapturedQuery> lookedUp;
  PacketHandler handler{{.processLookup =
                             [this](const platform::CapturedQuery& query) {
                               lookedUp.push_back(query);
                               sender.rows = processes;
                               return sender;
                             },
                         .sink = [this](std::string_view text) { texts.emplace_back(text); },
                         .observer = this,
                         .dnsServers = [this] { return dnsServers; },
                         .abandoned = [this](Undecodable reason) { abandoned.push_back(reason); }}};
};

/// The text of one message in an IPv4 packet from port 53; none when it was abandoned.
inline std::optional<std::string> textOf(const std::string& message) {
  HandlerRecorder recorder;
  recorder.give(101, ipv4(udp(message, 53, 40000)));
  return recorder.texts.empty() ? std::nullopt : std::optional(recorder.texts.front());
}

inline std::string between(const std::string& text, const std::string& before,
                           const std::string& after) {
  const auto start = text.find(before) + before.size();
  return text.substr(start, text.find(after, start) - start);
}

}  // namespace tovi::test
