#include "platform/linux/ResolverList.h"

#include <algorithm>
#include <arpa/inet.h>
#include <sstream>

namespace tovi::platform {

std::vector<std::string> resolversOf(std::string_view text) {
  std::vector<std::string> resolvers;
  std::istringstream lines{std::string(text)};
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string keyword;
    std::string address;
    words >> keyword >> address;
    in_addr binary;
    const bool isResolver =
        keyword == "nameserver" && inet_pton(AF_INET, address.c_str(), &binary) == 1;
    if (isResolver && std::find(resolvers.begin(), resolvers.end(), address) == resolvers.end()) {
      resolvers.push_back(address);
    }
  }
  return resolvers;
}

}  // namespace tovi::platform
