#include <benchmark/benchmark.h>

#include "bench/stages/Inputs.h"
#include "bench/stages/Measurement.h"
#include "capture/FrameDecoder.h"
#include "capture/PacketHandler.h"
#include "capture/RecordTextWriter.h"
#include "events/RecentActivity.h"
#include "tovi-replay/ReplayClock.h"

namespace tovi::bench {

static constexpr const char* kProcesses =
    "COMMAND PID USER FD TYPE DEVICE SIZE/OFF NODE NAME\nfirefox 2345 anna 57u IPv4 0t0 UDP "
    "*:4000\n";

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
  RecordTextWriter writer;
  Measurement measurement(state, "packet", messages.size());
  for (auto pass : state) {
    for (std::size_t at = 0; at < messages.size(); ++at) {
      DnsMessage message(std::as_bytes(std::span(messages[at])));
      writer.write(message, Inputs::shared().origins()[at]);
      benchmark::DoNotOptimize(writer.text());
    }
  }
}
BENCHMARK(messageToRecordText)->Unit(benchmark::kMillisecond);

/// The whole room; in the second row with what keeps the last minute's activity.
static void frameToRecordText(benchmark::State& state) {
  const auto& frames = Inputs::shared().frames();
  replay::ReplayClock clock;
  RecentActivity activity(clock);
  PacketHandler handler(
      {.processLookup = [](const auto&) { return platform::QuerySender{.rows = kProcesses}; },
       .sink = [](std::string_view text) { benchmark::DoNotOptimize(text); },
       .observer = state.range(0) == 0 ? nullptr : &activity,
       .dnsServers = [] { return "192.0.2.53"; },
       .abandoned = [](Undecodable) {}});
  Measurement measurement(state, "packet", frames.size());
  for (auto pass : state) {
    for (const TimedFrame& frame : frames) {
      clock.set(captured(frame).time);
      handler.onPacketArrives(captured(frame));
    }
  }
}
BENCHMARK(frameToRecordText)->ArgName("activity")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace tovi::bench
