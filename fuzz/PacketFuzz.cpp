// Frames of one interface, chosen by an attacker: whatever they are, each record text must be well
// formed. The input is one octet that chooses the link type, then frames, each behind its length in
// two octets.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "capture/ByteCursor.h"
#include "capture/PacketHandler.h"

namespace {

constexpr std::array kLinkTypes = {1, 113, 276, 0, 108, 101, 9, 50, 51, 12, 228, 229};
constexpr std::string_view kProcesses = "COMMAND PID USER\nevil!,; \x01\xff 17 root\n";

void require(bool holds) {
  if (!holds) std::abort();
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const auto end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == text.npos) return parts;
    text.remove_prefix(end + 1);
  }
}

/// Walks the items of a text in the order in which they must stand.
class Items {
 public:
  explicit Items(std::string_view text) : items_(split(text, ',')) {}

  bool nextIs(const std::string& key) const {
    return at_ < items_.size() && items_[at_].starts_with(key + "!");
  }
  /// The value of the next item, which must have this key and, unless `fields` is 0, this many
  /// fields, none of them empty.
  std::string_view take(const std::string& key, std::size_t fields) {
    require(nextIs(key));
    const std::string_view value = items_[at_++].substr(key.size() + 1);
    require(value.find('!') == value.npos);
    const auto parts = split(value, ';');
    require(fields == 0 || parts.size() == fields);
    for (const auto part : parts) require(fields == 0 || !part.empty());
    return value;
  }
  void takeNumbered(const std::string& key, std::size_t fields) {
    for (std::size_t i = 0; nextIs(key + std::to_string(i)); ++i) {
      take(key + std::to_string(i), fields);
    }
  }
  bool atEnd() const { return at_ == items_.size(); }

 private:
  const std::vector<std::string_view> items_;
  std::size_t at_ = 0;
};

void checkText(std::string_view text) {
  std::string_view process;
  Items items(text);
  items.take("id", 1);
  if (items.nextIs("process")) process = items.take("process", 0);
  items.take("opcode", 1);
  items.take("response", 1);
  items.takeNumbered("query", 3);
  items.takeNumbered("answer", 5);
  items.take("flags", 6);
  require(items.take("dnsServers", 0) == "192.0.2.53;192.0.2.54");
  require(items.atEnd());
  for (const char& c : text) {
    const bool inProcess = &c >= process.data() && &c < process.data() + process.size();
    require((c >= 0x20 && c <= 0x7e) || (inProcess && c == '\n'));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tovi::PacketHandler handler({.processLookup = [](auto) { return std::string(kProcesses); },
                               .sink = checkText,
                               .abandoned = [] {}},
                              "192.0.2.53;192.0.2.54");
  tovi::ByteCursor cursor(std::as_bytes(std::span(data, size)));
  const int linkType = kLinkTypes[cursor.u8() % kLinkTypes.size()];
  std::chrono::system_clock::time_point time;
  while (!cursor.rest().empty()) {
    const std::size_t length = cursor.u16();
    // On the heap and of its very size, so that a read past the end is seen.
    const auto rest = cursor.rest();
    const auto bytes = cursor.take(std::min(length, rest.size()));
    const std::vector<std::byte> frame(bytes.begin(), bytes.end());
    handler.onPacketArrives({.linkType = linkType, .bytes = frame, .time = time});
    time += std::chrono::seconds(1);
  }
  return 0;
}
