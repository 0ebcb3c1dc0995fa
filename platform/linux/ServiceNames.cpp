#include "platform/linux/ServiceNames.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <string_view>

namespace tovi::platform {

ServiceNames::ServiceNames() {
  setservent(1);
  while (const servent* service = getservent()) {
    if (std::string_view(service->s_proto) != "udp") continue;
    names_.try_emplace(ntohs(static_cast<std::uint16_t>(service->s_port)), service->s_name);
  }
  endservent();
}

std::string ServiceNames::name(std::uint16_t port) const {
  const auto found = names_.find(port);
  return found == names_.end() ? std::to_string(port) : found->second;
}

}  // namespace tovi::platform
