#include "capture/PacketHandler.h"

#include <array>
#include <exception>
#include <utility>

#include "capture/AddressText.h"
#include "capture/DnsMessage.h"
#include "capture/FrameDecoder.h"
#include "capture/RecordTextWriter.h"
#include "capture/TcpReassembler.h"

namespace tovi {

namespace {

constexpr std::uint16_t kDnsPort = 53;

template <typename... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

// An IPv4 address without the prefix of its mapped form (RFC 4291, section 2.5.5.2).
std::string_view senderText(const Flow& flow, std::span<char, kAddressTextSize> buffer) {
  constexpr std::string_view kMapped = "::ffff:";
  const auto* const octets = reinterpret_cast<const std::uint8_t*>(flow.source.data());
  auto text = addressText(std::span<const std::uint8_t, 16>(octets, 16), buffer);
  if (text.starts_with(kMapped) && text.find('.') != text.npos) text.remove_prefix(kMapped.size());
  return text;
}

}  // namespace

struct PacketHandler::State {
  State(Collaborators theCollaborators, std::string dnsServers)
      : collaborators(std::move(theCollaborators)), writer(std::move(dnsServers)) {}

  void handle(const CapturedFrame& frame) {
    std::visit(Overloaded{[](const NotDns&) {},
                          [this](const MalformedFrame&) { collaborators.abandoned(); },
                          [this](const UdpDatagram& datagram) { handle(datagram); },
                          [&](const TcpSegment& segment) { streams.add(segment, frame.time); }},
               decodeFrame(frame.linkType, frame.bytes));
  }

  void handle(const UdpDatagram& datagram) {
    pass(datagram.flow, datagram.payload, datagram.flow.sourcePort != kDnsPort);
  }

  /// The process is looked for last, since that takes longest and most of what cannot be passed on
  /// is found out before.
  void pass(const Flow& flow, std::span<const std::byte> bytes, bool looksUp) noexcept {
    try {
      DnsMessage message(bytes);
      writer.write(message);
      const auto processes = looksUp ? collaborators.processLookup(flow) : std::string();
      writer.addProcess(processes);
      observe(flow, message.header(), processes);
      collaborators.sink(writer.text());
    } catch (const std::exception&) {
      collaborators.abandoned();
    }
  }

  void observe(const Flow& flow, const DnsHeader& header, std::string_view processes) {
    if (collaborators.observer == nullptr) return;
    std::array<char, kAddressTextSize> sender;
    collaborators.observer->observe({.flow = flow,
                                     .sender = senderText(flow, sender),
                                     .header = header,
                                     .questionName = writer.questionName(),
                                     .processes = processes,
                                     .recordText = writer.text()});
  }

  const Collaborators collaborators;
  RecordTextWriter writer;
  TcpReassembler streams{
      [this](const Flow& flow, std::span<const std::byte> message) { pass(flow, message, false); },
      [this] { collaborators.abandoned(); }};
};

PacketHandler::PacketHandler(Collaborators collaborators, std::string dnsServers)
    : state_(std::make_unique<State>(std::move(collaborators), std::move(dnsServers))) {}

PacketHandler::~PacketHandler() = default;

void PacketHandler::onPacketArrives(const CapturedFrame& frame) {
  state_->handle(frame);
}

}  // namespace tovi
