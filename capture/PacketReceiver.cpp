#include "capture/PacketReceiver.h"

#include <utility>

namespace tovi {

PacketReceiver::PacketReceiver(platform::ProcessLookup processLookup,
                               MessageObserverProtocol* observer)
    : reader_(
          [this](std::string_view recordText) {
            if (auto* const builder = messageBuilder_.load()) builder->feed(recordText);
          },
          std::move(processLookup), observer) {}

void PacketReceiver::setMessageBuilder(MessageReceivedProtocol* builder) {
  messageBuilder_ = builder;
}

// Stopping waits for the capture threads, which never wait for this queue.
void PacketReceiver::startReader() {
  serialQueue_.sync([this] {
    readerStarted_ = true;
    const std::string result = reader_.startPcapReader();
    logger_.debug("startReader()", "Start Reader - Network Message: ", result);
  });
}

void PacketReceiver::stopReader() {
  serialQueue_.sync([this] {
    readerStarted_ = false;
    const std::string result = reader_.stopPcapReader();
    logger_.debug("stopReader()", "Stop Reader - Network Message: ", result);
  });
}

void PacketReceiver::updateInterfaces() {
  serialQueue_.sync([this] {
    if (!readerStarted_) return;
    const std::string result = reader_.updateActiveInterfaces();
    logger_.debug("updateInterfaces()", "updateInterfaces ", result, ")");
  });
}

bool PacketReceiver::isUpToDate(const std::vector<platform::InterfaceAddress>& addresses) {
  return serialQueue_.sync([&] { return !readerStarted_ || reader_.isUpToDate(addresses); });
}

}  // namespace tovi
