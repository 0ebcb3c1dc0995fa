#include "capture/PacketReaderWrapper.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <net/if.h>
#include <system_error>
#include <utility>

#include <pcap/pcap.h>

#include "capture/CaptureDevice.h"
#include "capture/PacketHandler.h"
#include "capture/RecordText.h"
#include "platform/Network.h"

namespace tovi {

namespace {

struct ListenInterface {
  std::string name;
  bool isLoopback;
};

/// One write a line, so that lines of several threads do not mix.
void print(std::FILE* stream, std::string line) {
  line += '\n';
  std::fputs(line.c_str(), stream);
  std::fflush(stream);
}

bool hasIpv4Address(const pcap_if_t& interface) {
  for (const pcap_addr_t* entry = interface.addresses; entry != nullptr; entry = entry->next) {
    if (entry->addr == nullptr || entry->addr->sa_family != AF_INET) continue;
    const auto* address = reinterpret_cast<const sockaddr_in*>(entry->addr);
    if (address->sin_addr.s_addr != INADDR_ANY) return true;
  }
  return false;
}

std::vector<ListenInterface> getListenInterfaces() {
  print(stdout, "getListenInterfaces ***** ");
  std::vector<ListenInterface> interfaces;
  pcap_if_t* list = nullptr;
  char reason[PCAP_ERRBUF_SIZE];
  if (pcap_findalldevs(&list, reason) != 0) return interfaces;
  for (const pcap_if_t* entry = list; entry != nullptr; entry = entry->next) {
    if (!hasIpv4Address(*entry)) continue;
    interfaces.push_back({entry->name, (entry->flags & PCAP_IF_LOOPBACK) != 0});
  }
  pcap_freealldevs(list);
  return interfaces;
}

void appendListed(std::string& list, const std::string& entry) {
  if (!list.empty() && !entry.empty()) list += recordtext::kListSeparator;
  list += entry;
}

std::string dnsServerList() {
  std::string list;
  for (const std::string& address : platform::resolverAddresses()) {
    if (address != "0.0.0.0") appendListed(list, address);
  }
  return list;
}

/// Null when the interface cannot be captured, which is told on standard error.
std::unique_ptr<CaptureDevice> openDevice(const ListenInterface& interface, FrameHandler handler,
                                          Tally& dropped) {
  try {
    return std::make_unique<CaptureDevice>(interface.name, interface.isLoopback, std::move(handler),
                                           dropped);
  } catch (const CaptureDeviceError& error) {
    print(stderr, error.what());
    return nullptr;
  }
}

bool startDevice(CaptureDevice& device) {
  try {
    device.start();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace

PacketReaderWrapper::PacketReaderWrapper(EntryFunction entry, platform::ProcessLookup processLookup,
                                         MessageObserverProtocol* observer)
    : entry_(std::move(entry)), processLookup_(std::move(processLookup)), observer_(observer) {}

PacketReaderWrapper::~PacketReaderWrapper() {
  stopPcapReader();
}

std::string PacketReaderWrapper::startPcapReader() {
  stopPcapReader();
  const std::string dnsServers = dnsServerList();
  std::string result;
  for (const ListenInterface& interface : getListenInterfaces()) {
    const auto handler = makeHandler(interface.name);
    auto device = openDevice(
        interface,
        [this, handler](const CapturedFrame& frame) {
          tallies_.packets.add();
          handler->onPacketArrives(frame);
        },
        tallies_.droppedByKernel);
    if (!device) continue;
    appendListed(result, dnsServers);
    if (startDevice(*device)) captures_.push_back({handler, std::move(device)});
  }
  return result;
}

std::shared_ptr<PacketHandler> PacketReaderWrapper::makeHandler(const std::string& interfaceName) {
  const unsigned index = if_nametoindex(interfaceName.c_str());
  return std::make_shared<PacketHandler>(PacketHandler::Collaborators{
      .processLookup =
          [this, index](platform::CapturedQuery query) {
            query.interfaceIndex = index;
            return lookUp(query);
          },
      .sink =
          [this](std::string_view recordText) {
            tallies_.messages.add();
            entry_(recordText);
          },
      .observer = observer_,
      .dnsServers = dnsServerList,
      .abandoned = [this](Undecodable reason) { noteAbandoned(reason); }});
}

void PacketReaderWrapper::noteAbandoned(Undecodable reason) {
  const bool isSound = reason == Undecodable::recordType;
  (isSound ? tallies_.ofOtherTypes : tallies_.undecodable).add();
  print(stdout, "Error parsing packet ");
}

platform::QuerySender PacketReaderWrapper::lookUp(const platform::CapturedQuery& query) {
  auto sender = processLookup_(query);
  tallies_.lookups.add();
  if (sender.rows.empty()) tallies_.lookupsWithoutProcess.add();
  return sender;
}

std::string PacketReaderWrapper::stopPcapReader() {
  for (auto& [handler, device] : captures_) {
    device->stop();
    handler->onCaptureEnds();
  }
  captures_.clear();
  return "Reader stopped";
}

std::string PacketReaderWrapper::updateActiveInterfaces() {
  stopPcapReader();
  return startPcapReader();
}

}  // namespace tovi
