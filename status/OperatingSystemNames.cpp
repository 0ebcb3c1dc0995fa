#include "status/OperatingSystemNames.h"

#include <array>

namespace tovi {

static constexpr std::array<std::string_view, 16> kNamesOfTen = {
    "Kodiak",       "Puma",        "Jaguar",        "Panther",   "Tiger",    "Leopard",
    "Snow Leopard", "Lion",        "Mountain Lion", "Mavericks", "Yosemite", "El Capitan",
    "Sierra",       "High Sierra", "Mojave",        "Catalina"};

std::optional<std::string> macOsName(int major, int minor, std::string_view fullVersionText) {
  if (major == 11) return "Big Sur";
  if (major == 12) return "Monterey";
  if (major != 10 || minor < 0) return std::nullopt;
  const auto index = static_cast<std::size_t>(minor);
  return std::string(index < kNamesOfTen.size() ? kNamesOfTen[index] : fullVersionText);
}

}  // namespace tovi
