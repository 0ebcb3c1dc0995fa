#include <benchmark/benchmark.h>

#include "bench/stages/EventSink.h"
#include "bench/stages/Inputs.h"
#include "bench/stages/LoneBuilder.h"
#include "bench/stages/Measurement.h"
#include "events/EventJson.h"
#include "events/RepetitionsRemovalMessageFilter.h"

namespace tovi::bench {

static void recordTextToEvent(benchmark::State& state) {
  const auto& texts = Inputs::shared().texts();
  EventSink sink([](const ToviDNSEventPointer& event) { benchmark::DoNotOptimize(event.get()); });
  LoneBuilder builder(sink);
  Measurement measurement(state, "packet", texts.size());
  for (auto pass : state) {
    for (const std::string& text : texts) builder.feed(text);
  }
}
BENCHMARK(recordTextToEvent)->Unit(benchmark::kMillisecond);

/// With the daemon's default interval and memory, so most names are repetitions after one pass.
static void filterRepetitions(benchmark::State& state) {
  const auto& events = Inputs::shared().events();
  replay::NoVariables variables;
  TimeProvider timeProvider;
  RepetitionsRemovalMessageFilter filter(10'000, timeProvider, variables);
  Measurement measurement(state, "event", events.size());
  for (auto pass : state) {
    for (const auto& event : events) {
      benchmark::DoNotOptimize(filter.filterResult(*event->dnsPacket->question->name, ""));
    }
  }
}
BENCHMARK(filterRepetitions)->Unit(benchmark::kMillisecond);

static void eventToJson(benchmark::State& state) {
  const auto& events = Inputs::shared().events();
  Measurement measurement(state, "event", events.size());
  for (auto pass : state) {
    for (const auto& event : events) benchmark::DoNotOptimize(jsonText(*event));
  }
}
BENCHMARK(eventToJson)->Unit(benchmark::kMillisecond);

}  // namespace tovi::bench
