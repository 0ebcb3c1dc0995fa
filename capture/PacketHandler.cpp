#include "capture/PacketHandler.h"

#include <exception>
#include <optional>
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
    const std::uint16_t port = datagram.flow.sourcePort;
    pass(datagram.payload, port == kDnsPort ? std::nullopt : std::optional(port));
  }

  /// `asker` is the port whose process asked. It is looked for last, since that takes longest and
  /// most of what cannot be passed on is found out before.
  void pass(std::span<const std::byte> bytes, std::optional<std::uint16_t> asker) noexcept {
    try {
      DnsMessage message(bytes);
      writer.write(message);
      if (asker) writer.addProcess(collaborators.processLookup(*asker));
      collaborators.sink(writer.text());
    } catch (const std::exception&) {
      collaborators.abandoned();
    }
  }

  const Collaborators collaborators;
  RecordTextWriter writer;
  TcpReassembler streams{
      [this](std::span<const std::byte> message) { pass(message, std::nullopt); },
      [this] { collaborators.abandoned(); }};
};

PacketHandler::PacketHandler(Collaborators collaborators, std::string dnsServers)
    : state_(std::make_unique<State>(std::move(collaborators), std::move(dnsServers))) {}

PacketHandler::~PacketHandler() = default;

void PacketHandler::onPacketArrives(const CapturedFrame& frame) {
  state_->handle(frame);
}

}  // namespace tovi
