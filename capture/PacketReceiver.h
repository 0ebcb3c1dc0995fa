#pragma once

#include <atomic>

#include "capture/MessageReceivedProtocol.h"
#include "capture/PacketReaderWrapper.h"
#include "core/PacketReceiverProtocol.h"
#include "core/SerialQueue.h"
#include "core/ToviLog.h"

namespace tovi {

/// The one owner of the capture wrapper: starts and stops it, has it follow the machine's
/// interfaces, and forwards every record text to the message builder. Start, stop and update may
/// come from any thread and are carried out one at a time.
class PacketReceiver : public PacketReceiverProtocol {
 public:
  /// `processLookup` is called on the capture threads, for each query. `observer`, which may be
  /// null, must outlive the receiver.
  explicit PacketReceiver(platform::ProcessLookup processLookup,
                          MessageObserverProtocol* observer = nullptr);

  /// Texts are dropped while none is set. The builder must outlive its being set, and capture must
  /// be stopped before it is unset.
  void setMessageBuilder(MessageReceivedProtocol* builder);

  void startReader() override;
  void stopReader() override;
  /// Has capture go over to the interfaces of this moment if it is started, else does nothing.
  void updateInterfaces();
  /// False when capture is started, but not on each interface of the IPv4 addresses, or still on
  /// one that was deleted. Any thread.
  bool isUpToDate(const std::vector<platform::InterfaceAddress>& addresses);

  /// Of all captures since construction. Any thread.
  const CaptureTallies& tallies() const { return reader_.tallies(); }

 private:
  ToviLog logger_{"PacketReceiver", "main"};
  std::atomic<MessageReceivedProtocol*> messageBuilder_ = nullptr;

  // Only on the queue.
  bool readerStarted_ = false;
  PacketReaderWrapper reader_;

  SerialQueue serialQueue_{"io.messagepacker.serialqueue"};
};

}  // namespace tovi
