#include "capture/PacketHandler.h"

#include <array>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "capture/AddressText.h"
#include "capture/DnsMessage.h"
#include "capture/FrameDecoder.h"
#include "capture/RecordTextWriter.h"
#include "capture/TcpReassembler.h"
#include "platform/Overloaded.h"

namespace tovi {

namespace {

using Time = std::chrono::system_clock::time_point;

}  // namespace

struct PacketHandler::State {
  explicit State(Collaborators theCollaborators) : collaborators(std::move(theCollaborators)) {}

  void handle(const CapturedFrame& frame) {
    std::visit(
        platform::Overloaded{
            [](const NotDns&) {},
            [this](const MalformedFrame& malformed) { collaborators.abandoned(malformed.reason); },
            [&](const UdpDatagram& datagram) { handle(datagram, frame.time); },
            [&](const TcpSegment& segment) { streams.add(segment, frame.time); }},
        decodeFrame(frame.linkType, frame.bytes));
  }

  void handle(const UdpDatagram& datagram, Time time) {
    pass({datagram.flow, platform::Transport::udp, time}, datagram.payload, datagram.cut);
  }

  void pass(const MessageOrigin& origin, std::span<const std::byte> bytes,
            bool isCut = false) noexcept {
    try {
      passOn(origin, bytes);
    } catch (const MalformedDns& error) {
      collaborators.abandoned(isCut ? Undecodable::cutShort : error.reason());
    } catch (const std::out_of_range&) {
      collaborators.abandoned(Undecodable::recordType);
    } catch (const std::exception&) {
      collaborators.abandoned(Undecodable::other);
    }
  }

  /// The process is looked for last, since that takes longest and most of what cannot be passed on
  /// is found out before.
  void passOn(const MessageOrigin& origin, std::span<const std::byte> bytes) {
    DnsMessage message(bytes);
    refreshServers(origin.time);
    writer.write(message, origin);
    const auto sender = senderOf(origin, message.header());
    writer.addSender(sender);
    observe(origin, message.header(), sender.rows);
    collaborators.sink(writer.text());
  }

  // By the clock of the capture, which can be set back.
  void refreshServers(Time now) {
    const bool isFresh =
        serversRead && now >= *serversRead && now < *serversRead + kServersLifetime;
    if (isFresh) return;
    writer.setDnsServers(collaborators.dnsServers());
    serversRead = now;
  }

  platform::QuerySender senderOf(const MessageOrigin& origin, const DnsHeader& header) {
    if (origin.flow.sourcePort == kDnsPort) return {};
    return collaborators.processLookup({.flow = origin.flow,
                                        .transport = origin.transport,
                                        .identifier = header.id,
                                        .time = origin.time});
  }

  void observe(const MessageOrigin& origin, const DnsHeader& header, std::string_view processes) {
    if (collaborators.observer == nullptr) return;
    std::array<char, kAddressTextSize> sender;
    collaborators.observer->observe({.time = origin.time,
                                     .flow = origin.flow,
                                     .sender = addressText(origin.flow.source, sender),
                                     .header = header,
                                     .questionName = writer.questionName(),
                                     .processes = processes,
                                     .recordText = writer.text()});
  }

  const Collaborators collaborators;
  RecordTextWriter writer;
  std::optional<Time> serversRead;
  TcpReassembler streams{[this](const Flow& flow, Time time, std::span<const std::byte> message) {
                           pass({flow, platform::Transport::tcp, time}, message);
                         },
                         [this](Undecodable reason) { collaborators.abandoned(reason); }};
};

PacketHandler::PacketHandler(Collaborators collaborators)
    : state_(std::make_unique<State>(std::move(collaborators))) {}

PacketHandler::~PacketHandler() = default;

void PacketHandler::onPacketArrives(const CapturedFrame& frame) {
  state_->handle(frame);
}

void PacketHandler::onCaptureEnds() {
  state_->streams.finish();
}

}  // namespace tovi
