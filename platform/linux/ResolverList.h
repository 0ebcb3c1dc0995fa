#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tovi::platform {

/// The IPv4 addresses of the "nameserver" lines of a resolv.conf(5) text, in order, each once.
std::vector<std::string> resolversOf(std::string_view text);

}  // namespace tovi::platform
