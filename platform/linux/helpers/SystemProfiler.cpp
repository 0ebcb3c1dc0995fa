#include <array>
#include <iostream>
#include <string_view>

#include <systemd/sd-id128.h>

#include "platform/linux/helpers/HardwareReport.h"

namespace {

// Keeps the machine identifier itself to the machine, as machine-id(5) asks for.
constexpr sd_id128_t kApplication = {{0x6F, 0x5B, 0x1D, 0xC2, 0x90, 0x47, 0x4E, 0x3A, 0x8C, 0xE1,
                                      0x27, 0xD4, 0xB8, 0x09, 0x5A, 0xF3}};

std::string machineUuid() {
  sd_id128_t machine = {};
  if (sd_id128_get_machine_app_specific(kApplication, &machine) < 0) return {};
  std::array<char, SD_ID128_UUID_STRING_MAX> text = {};
  return sd_id128_to_uuid_string(machine, text.data());
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2 || std::string_view(arguments[1]) != "SPHardwareDataType") {
    std::cerr << "usage: tovi-system-profiler SPHardwareDataType\n";
    return 2;
  }
  std::cout << tovi::hardwareReport("/", machineUuid()) << std::flush;
  return std::cout ? 0 : 1;
}
