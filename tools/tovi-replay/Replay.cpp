#include "tovi-replay/Replay.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "capture/CaptureFile.h"
#include "report/ReportFile.h"
#include "report/ReportPage.h"
#include "toolkit/Complaint.h"
#include "tovi-replay/BatchStore.h"
#include "tovi-replay/FilteredEvents.h"

namespace tovi::replay {
namespace {

// As many as the daemon keeps unless it is told otherwise.
constexpr std::int64_t kPendingEvents = 100;

// 0 when one of them is no regular file.
std::uint64_t totalBytes(const std::vector<std::filesystem::path>& files) {
  std::uint64_t total = 0;
  for (const auto& file : files) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) return 0;
    const auto size = std::filesystem::file_size(file, error);
    if (!error) total += size;
  }
  return total;
}

bool showsProgress(const ReplayOptions& options) {
  return !options.quiet && isatty(STDERR_FILENO) == 1 &&
         (isatty(STDOUT_FILENO) == 0 || !options.prints());
}

ToviDNSMessageBuilder::Domains undesiredDomains(const std::string& collectorHost) {
  if (collectorHost.empty()) return {};
  return {collectorHost};
}

}  // namespace

Replay::Replay(ReplayOptions options)
    : options_(std::move(options)),
      output_(!options_.prints()),
      progress_(totalBytes(options_.files), showsProgress(options_)),
      log_([this](std::string_view line) {
        if (!options_.quiet) complain(line);
      }),
      destination_(makeDestination()),
      container_(kPendingEvents),
      builder_({*destination_, clock_, host_, host_, variables_, container_, host_},
               undesiredDomains(options_.collectorHost)) {}

std::unique_ptr<EventDestination> Replay::makeDestination() {
  if (options_.output == ReplayOptions::Output::store) {
    return std::make_unique<BatchStore>(options_, counts_, clock_);
  }
  if (options_.output == ReplayOptions::Output::report) {
    if (!options_.reportsToStandardOutput()) report::checkReportFile(options_.reportFile);
    figures_.emplace();
  }
  return std::make_unique<FilteredEvents>(counts_, clock_, options_.repetitionInterval,
                                          [this](const ToviDNSEvent& event) { takeEvent(event); });
}

bool Replay::run() {
  bool isWhole = true;
  for (const auto& file : options_.files) {
    if (output_.failure() == 0) isWhole = replayFile(file) && isWhole;
  }
  isWhole = destination_->finish() && isWhole;
  const bool isReported = !figures_ || finishReport();
  return finishOutput() && isReported && isWhole;
}

bool Replay::replayFile(const std::filesystem::path& file) {
  auto handler = makeHandler();
  const bool isWhole = replayFrames(handler, file);
  handler.onCaptureEnds();
  return isWhole;
}

bool Replay::replayFrames(PacketHandler& handler, const std::filesystem::path& file) try {
  CaptureFile capture(file);
  CapturedFrame frame{};
  while (output_.failure() == 0 && capture.next(frame)) replayFrame(handler, frame);
  return true;
} catch (const CaptureFileError& error) {
  if (figures_) figures_->addFault(error.what());
  complain(error.what());
  return false;
}

void Replay::replayFrame(PacketHandler& handler, const CapturedFrame& frame) {
  clock_.set(frame.time);
  if (counts_.packets++ == 0) destination_->begin();
  if (figures_) figures_->addPacket(clock_.now());
  handler.onPacketArrives(frame);
  progress_.advance(frame.bytes.size());
}

PacketHandler Replay::makeHandler() {
  return PacketHandler({.processLookup = [](const auto&) { return platform::QuerySender(); },
                        .sink = [this](std::string_view text) { takeRecord(text); },
                        .dnsServers = [] { return std::string(); },
                        .abandoned = [this](Undecodable reason) { noteFailure(reason); }});
}

void Replay::takeRecord(std::string_view recordText) {
  ++counts_.messages;
  if (figures_) figures_->addMessage(recordText);
  if (options_.output == ReplayOptions::Output::records) {
    output_.writeLine(recordText);
  } else {
    builder_.feed(recordText);
  }
}

void Replay::takeEvent(const ToviDNSEvent& event) {
  if (figures_) {
    figures_->addEvent(event);
  } else {
    output_.writeLine(formats::lineOf(event, options_.format));
  }
}

void Replay::noteFailure(Undecodable reason) {
  ++counts_.failures;
  if (figures_) figures_->addUndecodable(undecodableText(reason));
  if (options_.quiet) return;
  progress_.clear();
  std::fputs("Error parsing packet \n", stderr);
}

bool Replay::finishReport() try {
  const auto page =
      report::reportPage(*figures_, {.files = options_.files,
                                     .version = TOVI_VERSION,
                                     .repetitionInterval = options_.repetitionInterval,
                                     .repetitions = counts_.repetitions});
  if (options_.reportsToStandardOutput()) {
    output_.writeLine(page);
  } else {
    report::writeReportFile(options_.reportFile, page);
  }
  return true;
} catch (const std::exception& error) {
  complain(error.what());
  return false;
}

bool Replay::finishOutput() {
  output_.flush();
  progress_.clear();
  const int failure = output_.failure();
  if (failure != 0 && failure != EPIPE) {
    complain(std::string("standard output: ") + std::strerror(failure));
  }
  return failure == 0;
}

void Replay::complain(std::string_view line) {
  progress_.clear();
  tovi::complain(line);
}

}  // namespace tovi::replay
