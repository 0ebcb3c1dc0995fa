#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "platform/MainLoop.h"

namespace tovi::platform {

/// A value of any type, as it stands in a dictionary of settings.
struct ServiceValue {
  using Array = std::vector<ServiceValue>;
  using Dictionary = std::map<std::string, ServiceValue>;
  std::variant<bool, std::int64_t, double, std::string, Array, Dictionary> value;

  bool operator==(const ServiceValue&) const = default;
};

/// What a method can take and give.
enum class ServiceType { Text, Bool, OptionalText, TextMap, Settings };

/// One argument or result; the alternatives stand in the order of `ServiceType`. Texts, those
/// inside of settings too, are UTF-8 without NUL and without Unicode's noncharacters; the bus
/// carries no others, and a call with one fails.
using ServiceParameter = std::variant<std::string, bool, std::optional<std::string>,
                                      std::map<std::string, std::string>, ServiceValue::Dictionary>;
using ServiceParameters = std::vector<ServiceParameter>;

struct ServiceArgument {
  ServiceType type;
  std::string name;
};

/// One method of a service: how it is called, and what answers. `answer` is given the caller's
/// name on the bus and arguments of exactly the declared types, and returns results of exactly the
/// declared types; what it throws, a std::exception with such a text too, reaches the caller as a
/// bus error, and so does a reply that is too large. It is not called for a caller whom the bus
/// refuses, nor for arguments of other types: those get the bus's own error.
struct ServiceMethod {
  std::string name;
  std::vector<ServiceArgument> arguments;
  std::vector<ServiceArgument> results;
  std::function<ServiceParameters(const std::string& caller, const ServiceParameters& arguments)>
      answer;
};

/// Where methods that belong together stand on the bus.
struct ServiceInterface {
  std::string objectPath;
  std::string interfaceName;
  std::vector<ServiceMethod> methods;
};

class ServiceError : public std::runtime_error {
 public:
  /// `NoBus`: there is no bus to reach a service by. `NoAnswer`: the service runs and let a call's
  /// time pass, or went away meanwhile. `NotOffered`: it runs, but has no such interface or method.
  enum Kind { Failed, NoBus, NotRunning, NoAnswer, AccessDenied, NotOffered };
  ServiceError(Kind errorKind, const std::string& text)
      : std::runtime_error(text), kind(errorKind) {}
  Kind kind;
};

/// A service on the machine's service bus. All calls are answered on the main loop, one after the
/// other. The loop must outlive it.
class ServiceBus {
 public:
  /// Called when a caller, known by its name on the bus, has left the bus.
  using CallerLeft = std::function<void(const std::string& caller)>;

  /// Connects, publishes the interfaces, then takes the well-known name, so that whoever sees the
  /// name can call. Throws ServiceError when there is no bus or the name cannot be had.
  ServiceBus(MainLoop& loop, const std::string& serviceName,
             std::vector<ServiceInterface> interfaces, CallerLeft callerLeft);
  /// Texts and all else of one reply. A bus ends the connection of who sends more than its limit,
  /// which is 32 MiB where nobody has set another (dbus-daemon(1), max_message_size).
  static constexpr std::size_t kMostReplyBytes = 30 * 1024 * 1024;

  ~ServiceBus();
  ServiceBus(const ServiceBus&) = delete;
  ServiceBus& operator=(const ServiceBus&) = delete;

 private:
  struct Native;
  std::unique_ptr<Native> native_;
};

/// Whether a call may make the bus start a service that does not run.
enum class ServiceStart { OnCall, Never };

/// The other end: calls the methods of a service's object, over one connection. One thread at a
/// time.
class ServiceClient {
 public:
  /// Throws ServiceError (`NoBus`) when there is none.
  ServiceClient(std::string serviceName, std::string objectPath,
                ServiceStart start = ServiceStart::OnCall);
  ~ServiceClient();
  ServiceClient(ServiceClient&&) noexcept;
  ServiceClient& operator=(ServiceClient&&) noexcept;

  /// Blocks until the answer is there, and returns results of the types in `results`. Throws
  /// ServiceError: `NotRunning` when nobody owns the service's name, `NoAnswer` after 30 seconds,
  /// `AccessDenied` when the bus's policy refuses, `NotOffered` when the object lacks the method,
  /// `Failed` for all else.
  ServiceParameters call(const std::string& interfaceName, const std::string& method,
                         const ServiceParameters& arguments,
                         const std::vector<ServiceType>& results);

 private:
  struct Native;
  std::unique_ptr<Native> native_;
};

}  // namespace tovi::platform
