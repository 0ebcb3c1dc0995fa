#include "capture/PacketReaderWrapper.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <net/if.h>
#include <set>
#include <system_error>
#include <utility>

#include <pcap/pcap.h>

#include "capture/CaptureDevice.h"
#include "capture/PacketHandler.h"
#include "capture/RecordText.h"

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

bool lists(const std::vector<ListenInterface>& interfaces, const std::string& name) {
  return std::ranges::find(interfaces, name, &ListenInterface::name) != interfaces.end();
}

bool isIpv4(const std::string& addressText) {
  return addressText.find(':') == std::string::npos;
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
std::unique_ptr<CaptureDevice> openDevice(const std::string& interfaceName, bool isLoopback,
                                          FrameHandler handler, Tally& dropped) {
  try {
    return std::make_unique<CaptureDevice>(interfaceName, isLoopback, std::move(handler), dropped);
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
  return updateActiveInterfaces();
}

std::string PacketReaderWrapper::updateActiveInterfaces() {
  const auto wanted = getListenInterfaces();
  closeFrom(std::partition(captures_.begin(), captures_.end(), [&wanted](const Capture& each) {
    return lists(wanted, each.interfaceName) &&
           if_nametoindex(each.interfaceName.c_str()) == each.device->interfaceIndex();
  }));
  const std::string dnsServers = dnsServerList();
  std::string result;
  for (const auto& [name, isLoopback] : wanted) {
    if (isCaptured(name) || open(name, isLoopback)) appendListed(result, dnsServers);
  }
  return result;
}

bool PacketReaderWrapper::isUpToDate(
    const std::vector<platform::InterfaceAddress>& addresses) const {
  std::set<unsigned> captured;
  for (const Capture& capture : captures_) captured.insert(capture.device->interfaceIndex());
  const auto isCovered = [&captured](const platform::InterfaceAddress& each) {
    return !isIpv4(each.address) || captured.contains(each.interfaceIndex);
  };
  return !captured.contains(0) && std::ranges::all_of(addresses, isCovered);
}

bool PacketReaderWrapper::isCaptured(const std::string& interfaceName) const {
  return std::ranges::find(captures_, interfaceName, &Capture::interfaceName) != captures_.end();
}

/// Whether capture of the interface could be tried; false when it cannot be opened.
bool PacketReaderWrapper::open(const std::string& interfaceName, bool isLoopback) {
  const auto handler = makeHandler(interfaceName);
  auto device = openDevice(
      interfaceName, isLoopback,
      [this, handler](const CapturedFrame& frame) {
        tallies_.packets.add();
        handler->onPacketArrives(frame);
      },
      tallies_.droppedByKernel);
  if (!device) return false;
  if (startDevice(*device)) captures_.push_back({interfaceName, handler, std::move(device)});
  return true;
}

void PacketReaderWrapper::closeFrom(std::vector<Capture>::iterator first) {
  for (auto each = first; each != captures_.end(); ++each) {
    each->device->stop();
    each->handler->onCaptureEnds();
  }
  captures_.erase(first, captures_.end());
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
  closeFrom(captures_.begin());
  return "Reader stopped";
}

}  // namespace tovi
