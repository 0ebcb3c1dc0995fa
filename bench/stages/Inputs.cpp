#include "bench/stages/Inputs.h"

#include <utility>

#include "bench/stages/EventSink.h"
#include "bench/stages/LoneBuilder.h"
#include "capture/FrameDecoder.h"
#include "capture/RecordTextWriter.h"
#include "pipeline/DNSEvents.h"

namespace tovi::bench {

namespace {

// Twice as many packets: more than the processor's caches hold.
constexpr std::uint64_t kExchanges = 10'000;
constexpr std::uint64_t kSeed = 1;
constexpr int kEthernet = 1;

}  // namespace

const Inputs& Inputs::shared() {
  static const Inputs inputs;
  return inputs;
}

Inputs::Inputs() {
  addFrames();
  addMessages();
  addTexts();
  addEvents();
  addBatches();
}

void Inputs::addFrames() {
  FrameGenerator generator(kExchanges, kSeed);
  TimedFrame frame;
  while (generator.next(frame)) frames_.push_back(frame);
}

void Inputs::addMessages() {
  for (const TimedFrame& frame : frames_) {
    const auto decoded = decodeFrame(kEthernet, captured(frame).bytes);
    const auto& [flow, payload, isCut] = std::get<UdpDatagram>(decoded);
    const auto* octets = reinterpret_cast<const std::uint8_t*>(payload.data());
    messages_.emplace_back(octets, octets + payload.size());
    origins_.push_back({flow, platform::Transport::udp, captured(frame).time});
  }
}

void Inputs::addTexts() {
  RecordTextWriter writer;
  writer.setDnsServers("192.0.2.53");
  for (const Octets& octets : messages_) {
    DnsMessage message(std::as_bytes(std::span(octets)));
    writer.write(message, origins_[texts_.size()]);
    texts_.emplace_back(writer.text());
  }
}

void Inputs::addEvents() {
  EventSink sink([this](ToviDNSEventPointer event) { events_.push_back(std::move(event)); });
  LoneBuilder builder(sink);
  for (const std::string& text : texts_) builder.feed(text);
}

void Inputs::addBatches() {
  for (std::size_t end = kBatchSize; end <= events_.size(); end += kBatchSize) {
    const auto first = events_.begin() + static_cast<std::ptrdiff_t>(end - kBatchSize);
    batches_.push_back(jsonText(
        DNSEvents{"2026-01-05T09:00:00Z", "1.0.0.0",
                  std::vector<ToviDNSEventPointer>(first, first + std::ptrdiff_t{kBatchSize})}));
  }
}

CapturedFrame captured(const TimedFrame& frame) {
  return {.linkType = kEthernet,
          .bytes = std::as_bytes(std::span(frame.bytes)),
          .time = std::chrono::system_clock::time_point(frame.time)};
}

}  // namespace tovi::bench
