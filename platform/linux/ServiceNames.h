#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace tovi::platform {

/// The names of UDP ports, as services(5) had them at construction. Constant after construction;
/// not to be constructed while another thread reads that database by getservent(3).
class ServiceNames {
 public:
  ServiceNames();

  /// The port's name; its number when it has none.
  std::string name(std::uint16_t port) const;

 private:
  std::unordered_map<std::uint16_t, std::string> names_;
};

}  // namespace tovi::platform
