#include "tests/support/PrivateBus.h"

#include <array>
#include <cstdlib>
#include <signal.h>
#include <stdexcept>
#include <utility>

namespace tovi::test {

namespace {

constexpr char kAddressVariable[] = "DBUS_SYSTEM_BUS_ADDRESS";
constexpr char kPermissive[] =
    R"(<policy context="mandatory"><allow own="*"/><allow send_destination="*"/></policy>)";

// Tests have more connections than a user of a machine.
constexpr char kLimits[] = R"(<limit name="max_connections_per_user">1000</limit>)";

std::string configuration(const std::optional<std::filesystem::path>& policy) {
  return "<busconfig><include>" TOVI_SOURCE_DIR "/scripts/bus/system.conf</include>" +
         (policy ? "<include>" + policy->string() + "</include>" : kPermissive) + kLimits +
         "</busconfig>";
}

}  // namespace

PrivateBus::PrivateBus(const std::optional<std::filesystem::path>& policy) {
  writeFile(directory_ / "bus.conf", configuration(policy));
  const std::string place = directory_.path().string();
  const std::string command =
      "cd " + place + " && exec setpriv --pdeathsig KILL dbus-daemon --config-file=bus.conf" +
      " --address=unix:path=" + place +
      "/bus --nofork --nopidfile --print-address=1 --print-pid=1 2>errors";
  output_ = popen(command.c_str(), "re");
  // The lines tell that the bus listens.
  std::array<char, 512> address;
  if (std::fscanf(output_, "%511s %d", address.data(), &process_) != 2) {
    throw std::runtime_error("no private bus: " + readFile(directory_ / "errors"));
  }
  address_ = address.data();
  setenv(kAddressVariable, address.data(), 1);
}

PrivateBus::~PrivateBus() {
  end();
  unsetenv(kAddressVariable);
}

void PrivateBus::end() {
  if (process_ == 0) return;
  kill(std::exchange(process_, 0), SIGKILL);
  pclose(output_);
}

}  // namespace tovi::test
