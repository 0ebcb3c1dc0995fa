#include "tests/support/PrivateBus.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <signal.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tovi::test {

namespace {

constexpr char kAddressVariable[] = "DBUS_SYSTEM_BUS_ADDRESS";
constexpr char kPermissive[] = R"(<policy context="default">
  <allow user="*"/><allow own="*"/><allow send_type="method_call"/>
  <allow eavesdrop="false" send_destination="*"/><allow receive_sender="*"/>
</policy>)";
// What a distribution's system bus grants before services add theirs.
constexpr char kStrict[] = R"(<policy context="default">
  <allow user="*"/><deny own="*"/><deny send_type="method_call"/>
  <allow send_type="signal"/>
  <allow send_requested_reply="true" send_type="method_return"/>
  <allow send_requested_reply="true" send_type="error"/>
  <allow receive_type="method_call"/><allow receive_type="method_return"/>
  <allow receive_type="error"/><allow receive_type="signal"/>
  <allow send_destination="org.freedesktop.DBus"/>
</policy>)";

std::string configuration(const std::filesystem::path& socket,
                          const std::optional<std::filesystem::path>& policy) {
  const std::string rules =
      policy ? kStrict + ("<include>" + policy->string() + "</include>") : kPermissive;
  return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd"><busconfig><listen>unix:path=)" +
         socket.string() + "</listen><auth>EXTERNAL</auth>" + rules + "</busconfig>";
}

[[noreturn]] void becomeBus(const std::string& configFile, const std::string& addressOutput) {
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  execl("/usr/bin/dbus-daemon", "dbus-daemon", configFile.c_str(), "--nofork", "--nopidfile",
        addressOutput.c_str(), static_cast<char*>(nullptr));
  _exit(127);
}

// Reads up to the line's end; the line tells that the bus listens.
std::string readLine(int descriptor) {
  std::string line;
  for (char byte = 0; read(descriptor, &byte, 1) == 1 && byte != '\n';) line += byte;
  return line;
}

}  // namespace

PrivateBus::PrivateBus(const std::optional<std::filesystem::path>& policy) {
  const auto configFile = directory_ / "bus.conf";
  writeFile(configFile, configuration(directory_ / "bus", policy));
  std::array<int, 2> ends;
  if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
  const std::string configOption = "--config-file=" + configFile.string();
  const std::string addressOutput = "--print-address=" + std::to_string(ends[1]);
  process_ = fork();
  if (process_ == 0) becomeBus(configOption, addressOutput);
  close(ends[1]);
  address_ = readLine(ends[0]);
  close(ends[0]);
  if (address_.empty()) throw std::runtime_error("the private bus did not start");
  setenv(kAddressVariable, address_.c_str(), 1);
}

PrivateBus::~PrivateBus() {
  end();
  unsetenv(kAddressVariable);
}

void PrivateBus::end() {
  if (process_ <= 0) return;
  kill(process_, SIGTERM);
  waitpid(process_, nullptr, 0);
  process_ = 0;
}

}  // namespace tovi::test
