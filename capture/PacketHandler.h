#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "capture/CapturedFrame.h"
#include "capture/MessageObserverProtocol.h"
#include "capture/Undecodable.h"
#include "platform/ProcessLookup.h"

namespace tovi {

/// Turns the frames of one interface, in their order, into DNS record texts. Holds the TCP
/// connections that are being joined. One thread at a time.
class PacketHandler {
 public:
  using TextSink = std::function<void(std::string_view recordText)>;

  struct Collaborators {
    /// Run for each message that does not come from port 53.
    platform::ProcessLookup processLookup;
    /// Takes each finished text; the text is borrowed.
    TextSink sink;
    /// Told of each message before its text is passed on; null for nobody.
    MessageObserverProtocol* observer = nullptr;
    /// The addresses of the resolvers that the machine is set to use, as the texts' last item has
    /// them; asked again kServersLifetime later.
    std::function<std::string()> dnsServers;
    /// Told of each message or frame that had to be abandoned, and why.
    std::function<void(Undecodable)> abandoned;
  };

  static constexpr std::chrono::seconds kServersLifetime{1};

  explicit PacketHandler(Collaborators collaborators);
  ~PacketHandler();

  /// Frames without DNS over port 53 are ignored; a frame or message that cannot be decoded is
  /// reported to `abandoned` and nothing of it is passed on. Never throws on any input.
  void onPacketArrives(const CapturedFrame& frame);
  /// The capture has ended: what waits for missing segments is passed on or reported to
  /// `abandoned`.
  void onCaptureEnds();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tovi
