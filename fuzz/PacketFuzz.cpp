// Frames of one interface, chosen by an attacker: whatever they are, each record text must be well
// formed, and its event must hold what the text says. The input is one octet that chooses the link
// type, then frames, each behind its length in two octets.

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/ByteCursor.h"
#include "capture/FrameDecoder.h"
#include "capture/PacketHandler.h"
#include "core/TimeProvider.h"
#include "events/RecentActivity.h"
#include "fuzz/EventCheck.h"
#include "fuzz/Require.h"

namespace tovi::fuzz {

namespace {

constexpr std::array kLinkTypes = {1, 113, 276, 0, 108, 101, 9, 50, 51, 12, 228, 229};
constexpr std::string_view kProcesses = "COMMAND PID USER\nevil!,; 17 root\x01\xff 4u\n";
constexpr const char* kUnit = "a!b,c;d\\e\n\xff";
constexpr std::string_view kUnitText = R"(a\033b\044c\059d\092e\010\255)";
constexpr std::string_view kDnsServers = "192.0.2.53;192.0.2.54";

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
  using Fields = std::vector<std::string_view>;

  explicit Items(std::string_view text) : items_(split(text, ',')) {}

  bool nextIs(std::string_view key) const {
    return at_ < items_.size() && items_[at_].size() > key.size() && items_[at_].starts_with(key) &&
           items_[at_][key.size()] == '!';
  }
  std::string_view take(std::string_view key) {
    require(nextIs(key));
    const std::string_view value = items_[at_++].substr(key.size() + 1);
    require(value.find('!') == value.npos);
    return value;
  }
  /// The fields of the next item, which must have this key and this many of them, none blank.
  Fields take(std::string_view key, std::size_t count) {
    auto fields = split(take(key), ';');
    require(fields.size() == count);
    for (const auto field : fields) require(field.find_first_not_of(' ') != field.npos);
    return fields;
  }
  std::vector<Fields> takeNumbered(const std::string& key, std::size_t count) {
    std::vector<Fields> all;
    while (nextIs(key + std::to_string(all.size()))) {
      all.push_back(take(key + std::to_string(all.size()), count));
    }
    return all;
  }
  bool atEnd() const { return at_ == items_.size(); }

 private:
  const std::vector<std::string_view> items_;
  std::size_t at_ = 0;
};

using Labels = std::vector<std::string>;

/// The labels of a datagram's first question, read apart from the handler; none of a name with
/// pointers or reserved octets, which this does not follow.
std::optional<Labels> askedLabels(int linkType, std::span<const std::byte> frame) {
  const auto decoded = decodeFrame(linkType, frame);
  const auto* const datagram = std::get_if<UdpDatagram>(&decoded);
  if (datagram == nullptr) return std::nullopt;
  ByteCursor cursor(datagram->payload);
  cursor.skip(12);
  Labels labels;
  for (std::size_t length = cursor.u8(); length != 0; length = cursor.u8()) {
    const auto octets = cursor.take(length);
    if (cursor.bad() || length > 63) return std::nullopt;
    labels.emplace_back(reinterpret_cast<const char*>(octets.data()), octets.size());
  }
  return labels;
}

/// What a name's text says: its parts between dots, each escape undone.
Labels labelsOf(std::string_view name) {
  if (name == ".") return {};
  Labels labels(1);
  for (std::size_t at = 0; at < name.size(); ++at) {
    if (name[at] == '.') {
      labels.emplace_back();
    } else if (name[at] == '\\') {
      labels.back() += static_cast<char>(std::stoi(std::string(name.substr(at + 1, 3))));
      at += 3;
    } else {
      labels.back() += name[at];
    }
  }
  return labels;
}

/// The events leave out the blanks around a field, such as those behind an empty list of types.
std::string_view trimmed(std::string_view field) {
  field.remove_prefix(field.find_first_not_of(' '));
  return field.substr(0, field.find_last_not_of(' ') + 1);
}

bool isUndesired(const Items::Fields& query) {
  return query[0] == EventCheck::kUndesiredDomain;
}

void checkEvent(const DnsPacket& packet, const std::vector<Items::Fields>& queries,
                const std::vector<Items::Fields>& answers) {
  require(packet.question->name == queries[0][0] && packet.question->type == queries[0][1]);
  const auto kept = packet.answers->size();
  require(kept + static_cast<std::size_t>(packet.answersLeftOut.value_or(0)) == answers.size());
  for (std::size_t i = 0; i < kept; ++i) {
    const Answer& answer = (*packet.answers)[i];
    require(answer.data == trimmed(answers[i][0]) && answer.type == answers[i][1]);
    require(std::to_string(answer.ttl.value()) == answers[i][3] && answer.name == answers[i][4]);
  }
  require(packet.flags && packet.queriedServers->size() == 2);
}

class TextCheck {
 public:
  void expectAsked(std::optional<Labels> labels) { asked_ = std::move(labels); }

  void operator()(std::string_view text) {
    checkCharacters(text);
    Items items(text);
    const auto id = items.take("id", 1);
    if (items.nextIs("process")) require(items.take("process").ends_with("\\001\\255 4u\n"));
    items.take("opcode", 1);
    items.take("response", 1);
    const auto queries = items.takeNumbered("query", 3);
    const auto answers = items.takeNumbered("answer", 5);
    if (asked_ && !queries.empty()) require(labelsOf(queries[0][0]) == *asked_);
    items.take("flags", 6);
    const auto packet = items.take("packet", 6);
    require(packet[0] == "query" || packet[0] == "response");
    if (items.nextIs("unit")) {
      require(items.take("unit") == kUnitText);
      require(items.take("parent").substr(3) == kUnitText);
      require(items.take("executable") == kUnitText);
    }
    require(items.take("dnsServers") == kDnsServers);
    require(items.atEnd());
    const std::size_t before = events_.events().size();
    events_.feed(text);
    const bool isComplete = id[0] != "0" && !queries.empty() && !answers.empty() &&
                            std::ranges::none_of(queries, isUndesired);
    const bool isNew = events_.events().size() > before;
    require(isNew ? isComplete : !isComplete || isKnown(queries[0]));
    if (isNew) checkEvent(events_.events().back()->dnsPacket.value(), queries, answers);
  }

 private:
  /// Only what made an event before can make none.
  bool isKnown(const Items::Fields& query) const {
    return std::ranges::any_of(events_.events(), [&](const auto& event) {
      return std::ranges::equal(*event->dnsPacket->question->name, query[0], {}, lower, lower) &&
             event->dnsPacket->question->type == query[1];
    });
  }
  static char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }
  static void checkCharacters(std::string_view text) {
    for (const char c : text) require((c >= 0x20 && c <= 0x7e) || c == '\n');
  }

  EventCheck events_;
  std::optional<Labels> asked_;
};

/// What an observer is told agrees with the text, and the last minute's activity takes all of it.
class ObserverCheck : public MessageObserverProtocol {
 public:
  ~ObserverCheck() {
    const auto summary = activity_.summary();
    require(summary.queries + summary.responses == observed_);
  }

  void observe(const ObservedMessage& message) override {
    require(message.questionName == firstQuestionName(message.recordText));
    require(message.processes.empty() || message.processes == kProcesses);
    activity_.observe(message);
    ++observed_;
  }

 private:
  static std::string_view firstQuestionName(std::string_view text) {
    constexpr std::string_view kBefore = ",query0!";
    const auto start = text.find(kBefore);
    if (start == text.npos) return {};
    const auto name = text.substr(start + kBefore.size());
    return name.substr(0, name.find(';'));
  }

  TimeProvider time_;
  RecentActivity activity_{time_};
  std::int64_t observed_ = 0;
};

}  // namespace

}  // namespace tovi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tovi;
  fuzz::TextCheck checkText;
  fuzz::ObserverCheck checkObserved;
  PacketHandler handler({.processLookup =
                             [](const auto&) {
                               return platform::QuerySender{.rows = std::string(fuzz::kProcesses),
                                                            .unit = fuzz::kUnit,
                                                            .parentProcess = 16,
                                                            .parentName = fuzz::kUnit,
                                                            .executable = fuzz::kUnit};
                             },
                         .sink = [&](std::string_view text) { checkText(text); },
                         .observer = &checkObserved,
                         .dnsServers = [] { return std::string(fuzz::kDnsServers); },
                         .abandoned = [](Undecodable) {}});
  ByteCursor cursor(std::as_bytes(std::span(data, size)));
  const int linkType = fuzz::kLinkTypes[cursor.u8() % fuzz::kLinkTypes.size()];
  std::chrono::system_clock::time_point time;
  while (!cursor.rest().empty()) {
    const std::size_t length = cursor.u16();
    // On the heap and of its very size, so that a read past the end is seen.
    const auto rest = cursor.rest();
    const auto bytes = cursor.take(std::min(length, rest.size()));
    const std::vector<std::byte> frame(bytes.begin(), bytes.end());
    checkText.expectAsked(fuzz::askedLabels(linkType, frame));
    handler.onPacketArrives({.linkType = linkType, .bytes = frame, .time = time});
    time += std::chrono::seconds(1);
  }
  return 0;
}
