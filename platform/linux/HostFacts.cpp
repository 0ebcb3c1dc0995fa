#include "platform/HostFacts.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <pwd.h>
#include <string_view>
#include <sys/utsname.h>
#include <unistd.h>
#include <vector>

#include <systemd/sd-id128.h>
#include <systemd/sd-login.h>

#include "platform/TextFile.h"
#include "platform/linux/KeyValueText.h"

namespace tovi::platform {

namespace {

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};
using CText = std::unique_ptr<char, FreeDeleter>;

std::string environmentOr(const char* name, const char* otherwise) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : otherwise;
}

std::optional<std::string> releaseFact(std::string_view key) {
  auto text = readTextFile("/etc/os-release");
  if (!text) text = readTextFile("/usr/lib/os-release");
  return keyValue(text.value_or(""), key);
}

timespec timeOf(clockid_t clock) {
  timespec time = {};
  clock_gettime(clock, &time);
  return time;
}

bool isOfUser(const std::string& session) {
  char* kind = nullptr;
  const CText owned(sd_session_get_class(session.c_str(), &kind) >= 0 ? kind : nullptr);
  return owned && std::string_view(owned.get()) == "user";
}

std::optional<std::string> seatSession() {
  char* session = nullptr;
  uid_t user = 0;
  if (sd_seat_get_active("seat0", &session, &user) < 0) return std::nullopt;
  const CText owned(session);
  if (session == nullptr || !isOfUser(session)) return std::nullopt;
  return session;
}

std::vector<std::string> sessions() {
  char** list = nullptr;
  std::vector<std::string> names;
  const int count = sd_get_sessions(&list);
  for (int index = 0; index < count; ++index) names.emplace_back(CText(list[index]).get());
  std::free(list);
  return names;
}

// Microseconds since 1970. sd-login tells the start of a session from version 254 on only, and
// asking logind over the bus is too slow for every event; before, the number stands in this file.
std::uint64_t startTime(const std::string& session) {
  const auto facts = readTextFile("/run/systemd/sessions/" + session);
  const auto time = keyValue(facts.value_or(""), "REALTIME");
  return time ? std::strtoull(time->c_str(), nullptr, 10) : UINT64_MAX;
}

std::optional<std::string> oldestActiveSession() {
  auto candidates = sessions();
  std::erase_if(candidates, [](const std::string& session) {
    return sd_session_is_active(session.c_str()) <= 0 || !isOfUser(session);
  });
  const auto oldest = std::min_element(
      candidates.begin(), candidates.end(),
      [](const auto& left, const auto& right) { return startTime(left) < startTime(right); });
  if (oldest == candidates.end()) return std::nullopt;
  return *oldest;
}

std::optional<std::string> accountName(uid_t user) {
  std::vector<char> texts(65536);
  passwd account = {};
  passwd* found = nullptr;
  getpwuid_r(user, &account, texts.data(), texts.size(), &found);
  if (found == nullptr) return std::nullopt;
  return found->pw_name;
}

}  // namespace

std::optional<std::string> localizedHostName() {
  const auto text = readTextFile("/etc/machine-info");
  auto name = keyValue(text.value_or(""), "PRETTY_HOSTNAME");
  return name ? name : hostName();
}

std::string hostName() {
  std::array<char, HOST_NAME_MAX + 1> name = {};
  gethostname(name.data(), name.size() - 1);
  return name.front() == '\0' ? "localhost" : name.data();
}

std::optional<std::string> operatingSystemVersion() {
  auto version = releaseFact("VERSION");
  return version ? version : releaseFact("PRETTY_NAME");
}

std::optional<std::string> operatingSystemName() {
  return releaseFact("NAME");
}

std::optional<std::string> machineArchitecture() {
  utsname names;
  if (uname(&names) != 0) return std::nullopt;
  return names.machine;
}

double uptimeSeconds() {
  const timespec sinceBoot = timeOf(CLOCK_BOOTTIME);
  return static_cast<double>(sinceBoot.tv_sec) + static_cast<double>(sinceBoot.tv_nsec) / 1e9;
}

std::string globallyUniqueText() {
  sd_id128_t random = {};
  sd_id128_randomize(&random);
  std::array<char, SD_ID128_UUID_STRING_MAX> text = {};
  sd_id128_to_uuid_string(random, text.data());
  const timespec now = timeOf(CLOCK_REALTIME);
  return std::string(text.data()) + "-" + std::to_string(getpid()) + "-" +
         std::to_string(now.tv_sec) + std::to_string(now.tv_nsec);
}

std::optional<std::string> loggedInUserName() {
  auto session = seatSession();
  if (!session) session = oldestActiveSession();
  uid_t user = 0;
  if (!session || sd_session_get_uid(session->c_str(), &user) < 0) return std::nullopt;
  return accountName(user);
}

std::string systemProfilerPath() {
  return environmentOr("TOVI_HELPERS_DIR", TOVI_HELPERS_DIR) + "/tovi-system-profiler";
}

std::string directoryServicePath() {
  return environmentOr("TOVI_HELPERS_DIR", TOVI_HELPERS_DIR) + "/tovi-directory";
}

std::filesystem::path stateDirectory() {
  const std::string chosen = environmentOr("STATE_DIRECTORY", "/var/lib/tovi");
  return chosen.substr(0, chosen.find(':'));
}

}  // namespace tovi::platform
