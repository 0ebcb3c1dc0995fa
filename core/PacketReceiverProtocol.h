#pragma once

namespace tovi {

/// Starts and stops capture. The caller waits until capture is set up or torn down.
class PacketReceiverProtocol {
 public:
  virtual ~PacketReceiverProtocol() = default;

  virtual void startReader() = 0;
  virtual void stopReader() = 0;
};

}  // namespace tovi
