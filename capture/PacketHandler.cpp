#include "capture/PacketHandler.h"

#include <exception>
#include <utility>

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
      observe(message.header(), flow, processes);
      collaborators.sink(writer.text());
    } catch (const std::exception&) {
      collaborators.abandoned();
    }
  }

  void observe(const DnsHeader& header, const Flow& flow, std::string_view processes) {
    if (collaborators.observer == nullptr) return;
    collaborators.observer->observe({.flow = flow,
                                     .isResponse = header.isResponse,
                                     .responseCode = header.responseCode,
                                     .questionName = writer.questionName(),
                                     .processes = processes});
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
