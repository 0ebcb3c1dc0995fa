#include "tests/support/PrivateBus.h"

#include <array>
#include <cstdlib>
#include <signal.h>
#include <stdexcept>
#include <utility>

namespace tovi::test {

namespace {

constexpr char kAddressVariable[] = "DBUS_SYSTEM_BUS_ADDRESS";
constexpr char kPermissive[] = R"(<allow user="*"/><allow own="*"/><allow send_type="method_call"/>
  <allow eavesdrop="false" send_destination="*"/><allow receive_sender="*"/>)";
// What a distribution's system bus grants before services add theirs.
constexpr char kStrict[] = R"(<allow user="*"/><deny own="*"/><deny send_type="method_call"/>
  <allow send_type="signal"/><allow send_requested_reply="true" send_type="method_return"/>
  <allow send_requested_reply="true" send_type="error"/><allow receive_type="method_call"/>
  <allow receive_type="method_return"/><allow receive_type="error"/>
  <allow receive_type="signal"/><allow send_destination="org.freedesktop.DBus"/>)";

std::string configuration(const std::filesystem::path& socket,
                          const std::optional<std::filesystem::path>& policy) {
  return "<busconfig><listen>unix:path=" + socket.string() +
         "</listen><auth>EXTERNAL</auth><policy context=\"default\">" +
         (policy ? kStrict : kPermissive) + "</policy>" +
         (policy ? "<include>" + policy->string() + "</include>" : "") + "</busconfig>";
}

}  // namespace

PrivateBus::PrivateBus(const std::optional<std::filesystem::path>& policy) {
  writeFile(directory_ / "bus.conf", configuration(directory_ / "bus", policy));
  const std::string command =
      "cd " + directory_.path().string() +
      " && exec setpriv --pdeathsig KILL dbus-daemon --config-file=bus.conf --nofork --nopidfile"
      " --print-address=1 --print-pid=1 2>errors";
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
