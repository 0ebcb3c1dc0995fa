#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "bench/stages/Inputs.h"
#include "bench/stages/Measurement.h"
#include "capture/PacketHandler.h"
#include "core/KeychainHelper.h"
#include "core/SettingsHandler.h"
#include "core/TimeProvider.h"
#include "events/DNSMessageContainer.h"
#include "events/ToviDNSMessageBuilder.h"
#include "pipeline/CoreDataManager.h"
#include "pipeline/CryptoDataProtector.h"
#include "pipeline/MessageDeliveryHandler.h"
#include "pipeline/MessagePersistence.h"
#include "tovi-replay/BatchStore.h"
#include "tovi-replay/ReplayHost.h"

namespace tovi::bench {

namespace {

/// An empty directory on a real file system, removed at the end.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tovi-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
    path_ = pattern;
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// A store of its own, with what it needs; its end returns once all is committed.
class LoneStore {
 public:
  void save(const std::string& text) { persistence_.saveMessage(text); }

 private:
  ScratchDirectory directory_;
  TimeProvider clock_;
  SettingsHandler settings_{{}};
  replay::NoVariables variables_;
  KeychainHelper keychain_{directory_.path() / "keychain", "bench"};
  CryptoDataProtector protector_{keychain_};
  CoreDataManager coreData_{directory_.path() / "store"};
  MessageDeliveryHandler deliveryHandler_{clock_, settings_};
  MessagePersistence persistence_{coreData_,  clock_,           settings_,
                                  variables_, deliveryHandler_, protector_};
};

replay::ReplayOptions storeOptions(const std::filesystem::path& directory) {
  replay::ReplayOptions options;
  options.storeDirectory = directory;
  options.repetitionInterval = 0;
  return options;
}

/// Capture, events and pipeline, joined as tovi-replay joins them.
class WholePath {
 public:
  void add(const CapturedFrame& frame) {
    clock_.set(frame.time);
    handler_.onPacketArrives(frame);
  }
  void finish() { store_.finish(); }

 private:
  ScratchDirectory directory_;
  replay::ReplayCounts counts_;
  replay::ReplayClock clock_;
  replay::ReplayHost host_;
  replay::NoVariables variables_;
  replay::BatchStore store_{storeOptions(directory_.path()), counts_, clock_};
  DNSMessageContainer container_{100};
  ToviDNSMessageBuilder builder_{{store_, clock_, host_, host_, variables_, container_, host_}, {}};
  PacketHandler handler_{
      {.processLookup = [](const auto&) { return platform::QuerySender(); },
       .sink = [this](std::string_view text) { builder_.feed(text); },
       .dnsServers = [] { return "192.0.2.53"; },
       .abandoned =
           [](Undecodable) { throw std::logic_error("made-up traffic that cannot be decoded"); }}};
};

}  // namespace

static void seal(benchmark::State& state) {
  const Inputs& inputs = Inputs::shared();
  const ScratchDirectory directory;
  KeychainHelper keychain(directory.path(), "bench");
  const CryptoDataProtector protector(keychain);
  Measurement measurement(state, "event", inputs.batchedEvents());
  for (auto pass : state) {
    for (const std::string& batch : inputs.batches()) {
      benchmark::DoNotOptimize(protector.encrypt(std::as_bytes(std::span(batch))));
    }
  }
}
BENCHMARK(seal)->Unit(benchmark::kMillisecond);

/// Sealing included, and the time of the store's own threads.
static void sealAndStore(benchmark::State& state) {
  const Inputs& inputs = Inputs::shared();
  Measurement measurement(state, "event", inputs.batchedEvents());
  for (auto pass : state) {
    measurement.pause();
    std::optional<LoneStore> store(std::in_place);
    measurement.resume();
    for (const std::string& batch : inputs.batches()) store->save(batch);
    store.reset();
  }
}
BENCHMARK(sealAndStore)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

static void wholePath(benchmark::State& state) {
  const auto& frames = Inputs::shared().frames();
  Measurement measurement(state, "packet", frames.size());
  for (auto pass : state) {
    measurement.pause();
    std::optional<WholePath> path(std::in_place);
    measurement.resume();
    for (const TimedFrame& frame : frames) path->add(captured(frame));
    path->finish();
    path.reset();
  }
}
BENCHMARK(wholePath)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

}  // namespace tovi::bench
