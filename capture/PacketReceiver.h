#pragma once

#include <atomic>

#include "capture/MessageReceivedProtocol.h"
#include "capture/PacketReaderWrapper.h"
#include "core/PacketReceiverProtocol.h"
#include "core/SerialQueue.h"
#include "core/ToviLog.h"

namespace tovi {

/// The one owner of the capture wrapper: starts and stops it, restarts it when new addresses show
/// up, and forwards every record text to the message builder. Start, stop and update may come from
/// any thread and are carried out one at a time.
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
  /// Restarts capture on the interfaces of this moment if capture is started, else does nothing.
  void updateInterfaces();

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
