// Captures on the loopback interface as the daemon does and prints, for each query that it sees,
// the name asked for, the process identifier found ("-" for none), the microseconds that the lookup
// took, and the microseconds from the packet's capture to the lookup's end.
#include <chrono>
#include <cstdio>
#include <iostream>
#include <net/if.h>
#include <optional>
#include <string>
#include <string_view>

#include "capture/CaptureDevice.h"
#include "capture/PacketHandler.h"
#include "platform/ProcessLookup.h"

namespace {

using Clock = std::chrono::steady_clock;

long microseconds(auto duration) {
  return static_cast<long>(std::chrono::duration_cast<std::chrono::microseconds>(duration).count());
}

/// What stands between two texts; empty when it does not.
std::string between(std::string_view text, std::string_view before, std::string_view behind) {
  const auto begin = text.find(before);
  if (begin == text.npos) return {};
  text.remove_prefix(begin + before.size());
  return std::string(text.substr(0, text.find(behind)));
}

/// The second column of the second line.
std::string processOf(const std::string& lsofText) {
  const std::string row = between(lsofText, "\n", "\n");
  const auto begin = row.find_first_not_of(' ', row.find(' '));
  if (begin == row.npos) return "-";
  return row.substr(begin, row.find(' ', begin) - begin);
}

class Report {
 public:
  Report(tovi::platform::ProcessLookup lookup, unsigned interfaceIndex)
      : lookup_(std::move(lookup)), interfaceIndex_(interfaceIndex) {}

  void onFrame(const tovi::CapturedFrame& frame) {
    handler_.onPacketArrives(frame);
    if (!lookupTime_) return;
    std::printf("%s %s %ld %ld\n", asked_.c_str(), process_.c_str(), microseconds(*lookupTime_),
                microseconds(std::chrono::system_clock::now() - frame.time));
    std::fflush(stdout);
    lookupTime_.reset();
  }

 private:
  tovi::platform::QuerySender timedLookup(tovi::platform::CapturedQuery query) {
    query.interfaceIndex = interfaceIndex_;
    const auto begin = Clock::now();
    auto sender = lookup_(query);
    lookupTime_ = Clock::now() - begin;
    process_ = processOf(sender.rows);
    return sender;
  }

  const tovi::platform::ProcessLookup lookup_;
  const unsigned interfaceIndex_;
  std::optional<Clock::duration> lookupTime_;
  std::string process_;
  std::string asked_;
  tovi::PacketHandler handler_{
      {.processLookup = [this](const auto& query) { return timedLookup(query); },
       .sink = [this](std::string_view text) { asked_ = between(text, ",query0!", ";"); },
       .dnsServers = [] { return std::string(); },
       .abandoned = [](tovi::Undecodable) {}}};
};

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::fprintf(stderr, "usage: %s kernel|search|lsof\n", arguments[0]);
    return 2;
  }
  tovi::platform::ProcessFinder finder(arguments[1]);
  Report report([&](const auto& query) { return finder.find(query); }, if_nametoindex("lo"));
  tovi::Tally dropped;
  tovi::CaptureDevice device(
      "lo", true, [&](const auto& frame) { report.onFrame(frame); }, dropped);
  device.start();
  std::puts("ready");
  std::fflush(stdout);
  std::string line;
  while (std::getline(std::cin, line)) {
  }
}
