#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "platform/ServiceBus.h"
#include "platform/linux/BusHandles.h"
#include "platform/linux/ServiceMessage.h"
#include "platform/linux/SystemCall.h"

namespace tovi::platform {

namespace {

constexpr std::uint64_t kCallLimitMicroseconds = 30'000'000;
// The bus's and the service manager's errors for a service that was to be started and could not.
constexpr std::array<std::string_view, 3> kStartErrors = {"org.freedesktop.DBus.Error.Spawn.",
                                                          "org.freedesktop.DBus.Error.TimedOut",
                                                          "org.freedesktop.systemd1."};

bool isStartError(std::string_view name) {
  return std::any_of(kStartErrors.begin(), kStartErrors.end(),
                     [&](std::string_view prefix) { return name.starts_with(prefix); });
}

// Of our own clock, or of the bus when the service left it during the call.
bool isTimeOut(const sd_bus_error& error) {
  return sd_bus_error_get_errno(&error) == ETIMEDOUT;
}

ServiceError serviceError(const sd_bus_error& error, const std::string& serviceName) {
  const std::string_view name = error.name != nullptr ? error.name : "";
  const std::string text = error.message != nullptr ? error.message : std::string(name);
  if (name == SD_BUS_ERROR_SERVICE_UNKNOWN || name == SD_BUS_ERROR_NAME_HAS_NO_OWNER ||
      isStartError(name)) {
    return {ServiceError::NotRunning, "the service " + serviceName + " is not running"};
  }
  if (isTimeOut(error)) {
    return {ServiceError::NoAnswer, "the service " + serviceName + " does not answer"};
  }
  if (name == SD_BUS_ERROR_ACCESS_DENIED) return {ServiceError::AccessDenied, text};
  if (name == SD_BUS_ERROR_UNKNOWN_INTERFACE || name == SD_BUS_ERROR_UNKNOWN_METHOD) {
    return {ServiceError::NotOffered, text};
  }
  return {ServiceError::Failed, text};
}

}  // namespace

BusHandle<sd_bus> openServiceBus() {
  sd_bus* bus = nullptr;
  const int result = sd_bus_open_system(&bus);
  if (result < 0) {
    throw ServiceError(
        ServiceError::NoBus,
        std::string("the system's service bus cannot be reached: ") + std::strerror(-result));
  }
  return BusHandle<sd_bus>(bus);
}

struct ServiceClient::Native {
  std::string serviceName;
  std::string objectPath;
  ServiceStart start;
  BusHandle<sd_bus> bus = openServiceBus();

  BusHandle<sd_bus_message> newCall(const std::string& interfaceName,
                                    const std::string& method) const {
    sd_bus_message* call = nullptr;
    checkSystemd(
        sd_bus_message_new_method_call(bus.get(), &call, serviceName.c_str(), objectPath.c_str(),
                                       interfaceName.c_str(), method.c_str()),
        method);
    BusHandle<sd_bus_message> owned(call);
    checkSystemd(sd_bus_message_set_auto_start(call, start == ServiceStart::OnCall), method);
    return owned;
  }

  BusHandle<sd_bus_message> send(const BusHandle<sd_bus_message>& call) const {
    BusError error;
    sd_bus_message* reply = nullptr;
    const int result =
        sd_bus_call(bus.get(), call.get(), kCallLimitMicroseconds, &error.error, &reply);
    if (result < 0) throw serviceError(error.error, serviceName);
    return BusHandle<sd_bus_message>(reply);
  }
};

ServiceClient::ServiceClient(std::string serviceName, std::string objectPath, ServiceStart start)
    : native_(
          std::make_unique<Native>(Native{std::move(serviceName), std::move(objectPath), start})) {}

ServiceClient::~ServiceClient() = default;
ServiceClient::ServiceClient(ServiceClient&&) noexcept = default;
ServiceClient& ServiceClient::operator=(ServiceClient&&) noexcept = default;

ServiceParameters ServiceClient::call(const std::string& interfaceName, const std::string& method,
                                      const ServiceParameters& arguments,
                                      const std::vector<ServiceType>& results) {
  try {
    const auto call = native_->newCall(interfaceName, method);
    appendParameters(call.get(), arguments);
    return readParameters(native_->send(call).get(), results);
  } catch (const MessageTypeError& fault) {
    throw ServiceError(ServiceError::Failed, method + ": " + fault.what());
  } catch (const std::system_error& fault) {
    throw ServiceError(ServiceError::Failed, method + ": " + fault.what());
  }
}

}  // namespace tovi::platform
