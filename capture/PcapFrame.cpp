#include "capture/PcapFrame.h"

#include <algorithm>
#include <cstdint>

namespace tovi {

// In the year 2255. Counted in nanoseconds, 64 bits reach to 2262; a file may claim any time.
static constexpr std::int64_t kLatestSecond = 9'000'000'000;

CapturedFrame pcapFrame(pcap_t* source, const pcap_pkthdr& header, const u_char* bytes) {
  const std::chrono::seconds seconds(std::clamp<std::int64_t>(header.ts.tv_sec, 0, kLatestSecond));
  // The field for microseconds holds nanoseconds then.
  const std::chrono::nanoseconds nanoseconds(header.ts.tv_usec);
  return {.linkType = pcap_datalink(source),
          .bytes = {reinterpret_cast<const std::byte*>(bytes), header.caplen},
          .time = std::chrono::system_clock::time_point(seconds + nanoseconds)};
}

}  // namespace tovi
