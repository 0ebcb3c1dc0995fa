#include "tests/capture/FrameBuilder.h"

namespace tovi::test {

std::span<const std::byte> asBytes(std::string_view octets) {
  return std::as_bytes(std::span(octets.data(), octets.size()));
}

std::string u16(unsigned value) {
  return {static_cast<char>(value >> 8 & 0xff), static_cast<char>(value & 0xff)};
}

std::string u32(std::uint32_t value) {
  return u16(value >> 16) + u16(value & 0xffff);
}

std::string dnsName(std::string_view text) {
  std::string name;
  while (!text.empty()) {
    const auto label = text.substr(0, text.find('.'));
    name += static_cast<char>(label.size());
    name += label;
    text.remove_prefix(std::min(label.size() + 1, text.size()));
  }
  return name + '\0';
}

std::string question(const std::string& name, unsigned type, unsigned dnsClass) {
  return dnsName(name) + u16(type) + u16(dnsClass);
}

std::string record(unsigned type, const std::string& data, unsigned dnsClass, std::uint32_t ttl,
                   const std::string& name) {
  return name + u16(type) + u16(dnsClass) + u32(ttl) + u16(static_cast<unsigned>(data.size())) +
         data;
}

static std::string joined(const std::vector<std::string>& parts) {
  std::string all;
  for (const auto& part : parts) all += part;
  return all;
}

std::string dnsMessage(unsigned id, unsigned flags, const std::vector<std::string>& questions,
                       const std::vector<std::string>& answers) {
  return u16(id) + u16(flags) + u16(static_cast<unsigned>(questions.size())) +
         u16(static_cast<unsigned>(answers.size())) + u32(0) + joined(questions) + joined(answers);
}

std::string udp(const std::string& payload, unsigned source, unsigned destination) {
  return u16(source) + u16(destination) + u16(static_cast<unsigned>(payload.size() + 8)) + u16(0) +
         payload;
}

std::string tcp(const std::string& payload, std::uint32_t sequence, unsigned flags) {
  return u16(53) + u16(40000) + u32(sequence) + u32(0) + u16(0x5000 | flags) + u16(1000) + u32(0) +
         payload;
}

std::string ipv4(const std::string& payload, unsigned protocol, unsigned fragment) {
  return u16(0x4500) + u16(static_cast<unsigned>(payload.size() + 20)) + u16(1) + u16(fragment) +
         u16(64 << 8 | protocol) + u16(0) + "\x7f\0\0\x01"s + "\x7f\0\0\x02"s + payload;
}

std::string ipv6(const std::string& payload, unsigned nextHeader) {
  return u32(0x60000000) + u16(static_cast<unsigned>(payload.size())) + u16(nextHeader << 8 | 64) +
         std::string(15, '\0') + '\1' + std::string(15, '\0') + '\2' + payload;
}

std::string ethernet(const std::string& payload, unsigned type) {
  return std::string(12, '\0') + u16(type) + payload;
}

std::string queryDatagram() {
  return udp(dnsMessage(4660, 0x0100, {question("example.org")}));
}

void HandlerRecorder::give(int linkType, const std::string& frame, int second) {
  // Of its very size, so that a read past the end is seen.
  const std::vector<char> exact(frame.begin(), frame.end());
  handler_.onPacketArrives(
      {.linkType = linkType,
       .bytes = std::as_bytes(std::span(exact)),
       .time = std::chrono::system_clock::time_point(std::chrono::seconds(second))});
}

std::optional<std::string> textOf(const std::string& message) {
  HandlerRecorder recorder;
  recorder.give(101, ipv4(udp(message, 53, 40000)));
  return recorder.texts.empty() ? std::nullopt : std::optional(recorder.texts.front());
}

}  // namespace tovi::test
