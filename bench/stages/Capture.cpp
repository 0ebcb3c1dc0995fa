#include <benchmark/benchmark.h>

#include "bench/stages/Inputs.h"
#include "bench/stages/Measurement.h"
#include "capture/FrameDecoder.h"
#include "capture/RecordTextWriter.h"

namespace tovi::bench {

static void readWhole(DnsMessage& message) {
  DnsQuestion question;
  while (message.nextQuestion(question)) benchmark::DoNotOptimize(question);
  DnsAnswer answer;
  while (message.nextAnswer(answer)) benchmark::DoNotOptimize(answer);
}

static void frameToMessage(benchmark::State& state) {
  const auto& frames = Inputs::shared().frames();
  Measurement measurement(state, "packet", frames.size());
  for (auto pass : state) {
    for (const TimedFrame& frame : frames) {
      const CapturedFrame input = captured(frame);
      DnsMessage message(std::get<UdpDatagram>(decodeFrame(input.linkType, input.bytes)).payload);
      readWhole(message);
    }
  }
}
BENCHMARK(frameToMessage)->Unit(benchmark::kMillisecond);

/// The writer takes the message's fields as it reads them, so this holds the reading once more.
static void messageToRecordText(benchmark::State& state) {
  const auto& messages = Inputs::shared().messages();
  RecordTextWriter writer("192.0.2.53");
  Measurement measurement(state, "packet", messages.size());
  for (auto pass : state) {
    for (const Octets& octets : messages) {
      DnsMessage message(std::as_bytes(std::span(octets)));
      writer.write(message);
      benchmark::DoNotOptimize(writer.text());
    }
  }
}
BENCHMARK(messageToRecordText)->Unit(benchmark::kMillisecond);

}  // namespace tovi::bench
