#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "capture/CaptureTallies.h"
#include "capture/MessageObserverProtocol.h"
#include "capture/Undecodable.h"
#include "platform/Network.h"
#include "platform/ProcessLookup.h"

namespace tovi {

class CaptureDevice;
class PacketHandler;

/// Captures DNS on every interface with an IPv4 address and renders each message as one record
/// text. Start, stop, update and `isUpToDate` must not overlap; texts arrive on one capture thread
/// an interface, in parallel, until stop has returned.
class PacketReaderWrapper {
 public:
  /// Takes each record text, on the capture thread; the text is borrowed.
  using EntryFunction = std::function<void(std::string_view recordText)>;

  /// `processLookup` is called on the capture threads, for each query. `observer`, which may be
  /// null, must outlive the wrapper.
  PacketReaderWrapper(EntryFunction entry, platform::ProcessLookup processLookup,
                      MessageObserverProtocol* observer);
  /// Stops everything as `stopPcapReader` does.
  ~PacketReaderWrapper();

  /// Captures afresh. Returns the resolver list once for each interface that is open, joined by
  /// ";". Interfaces that cannot be captured are named on standard error and left out.
  std::string startPcapReader();
  /// Returns "Reader stopped", once no text can arrive any more.
  std::string stopPcapReader();
  /// Goes over to the interfaces of this moment, and returns what `startPcapReader` would. Capture
  /// goes on undisturbed on those that it has already.
  std::string updateActiveInterfaces();
  /// Whether each interface of the IPv4 addresses is captured, and none that was deleted.
  bool isUpToDate(const std::vector<platform::InterfaceAddress>& addresses) const;

  /// Of all captures since construction. Any thread.
  const CaptureTallies& tallies() const { return tallies_; }

 private:
  struct Capture {
    std::string interfaceName;
    std::shared_ptr<PacketHandler> handler;
    std::unique_ptr<CaptureDevice> device;
  };

  bool isCaptured(const std::string& interfaceName) const;
  bool open(const std::string& interfaceName, bool isLoopback);
  void closeFrom(std::vector<Capture>::iterator first);
  std::shared_ptr<PacketHandler> makeHandler(const std::string& interfaceName);
  void noteAbandoned(Undecodable reason);
  platform::QuerySender lookUp(const platform::CapturedQuery& query);

  // Constant after construction.
  const EntryFunction entry_;
  const platform::ProcessLookup processLookup_;
  MessageObserverProtocol* const observer_;

  CaptureTallies tallies_;
  std::vector<Capture> captures_;
};

}  // namespace tovi
