#include "platform/ServiceBus.h"

#include <cstring>
#include <list>
#include <set>
#include <utility>

#include "platform/linux/BusHandles.h"
#include "platform/linux/MainLoopNative.h"
#include "platform/linux/ServiceMessage.h"

namespace tovi::platform {

namespace {

constexpr char kFailedError[] = "io.tovi.Error.Failed";

void checkBus(int result, const std::string& what) {
  if (result >= 0) return;
  const auto kind =
      result == -EACCES || result == -EPERM ? ServiceError::AccessDenied : ServiceError::Failed;
  throw ServiceError(kind, what + ": " + std::strerror(-result));
}

std::vector<ServiceType> typesOf(const std::vector<ServiceArgument>& arguments) {
  std::vector<ServiceType> types;
  for (const auto& argument : arguments) types.push_back(argument.type);
  return types;
}

std::string signatureOf(const std::vector<ServiceArgument>& arguments) {
  std::string signature;
  for (const auto& argument : arguments) signature += typeSignature(argument.type);
  return signature;
}

// sd-bus reads the names of the arguments and then of the results, each with a NUL behind it.
std::string namesOf(const ServiceMethod& method) {
  std::string names;
  for (const auto* list : {&method.arguments, &method.results}) {
    for (const auto& argument : *list) names.append(argument.name).push_back('\0');
  }
  return names;
}

/// What sd-bus hands to the handler of one method.
struct Route {
  /// The Native of the bus.
  void* owner;
  const ServiceMethod* method;
};

/// One interface as sd-bus knows it, which points into it: it stays where it is.
class PublishedInterface {
 public:
  PublishedInterface(ServiceInterface offered, void* owner, sd_bus_message_handler_t handler);
  PublishedInterface(const PublishedInterface&) = delete;
  PublishedInterface& operator=(const PublishedInterface&) = delete;

  void publish(sd_bus* bus);

 private:
  // The texts that one row of the table points to.
  struct MethodTexts {
    std::string arguments;
    std::string results;
    std::string names;
  };

  void fillTable(sd_bus_message_handler_t handler);

  const ServiceInterface offered_;
  std::vector<Route> routes_;
  std::vector<MethodTexts> texts_;
  std::vector<sd_bus_vtable> table_;
  BusHandle<sd_bus_slot> slot_;
};

PublishedInterface::PublishedInterface(ServiceInterface offered, void* owner,
                                       sd_bus_message_handler_t handler)
    : offered_(std::move(offered)) {
  for (const auto& each : offered_.methods) {
    routes_.push_back({owner, &each});
    texts_.push_back({signatureOf(each.arguments), signatureOf(each.results), namesOf(each)});
  }
  fillTable(handler);
}

void PublishedInterface::publish(sd_bus* bus) {
  sd_bus_slot* slot = nullptr;
  checkBus(sd_bus_add_object_vtable(bus, &slot, offered_.objectPath.c_str(),
                                    offered_.interfaceName.c_str(), table_.data(), routes_.data()),
           "publishing " + offered_.interfaceName);
  slot_.reset(slot);
}

void PublishedInterface::fillTable(sd_bus_message_handler_t handler) {
  // sd-bus demands that what a row does not use is zero, in all of its union.
  sd_bus_vtable empty;
  std::memset(&empty, 0, sizeof empty);
  table_.assign(offered_.methods.size() + 2, empty);
  table_.front().type = _SD_BUS_VTABLE_START;
  table_.front().x.start = {sizeof(sd_bus_vtable), _SD_BUS_VTABLE_PARAM_NAMES,
                            &sd_bus_object_vtable_format};
  for (std::size_t index = 0; index < offered_.methods.size(); ++index) {
    const MethodTexts& text = texts_[index];
    sd_bus_vtable& row = table_[index + 1];
    row.type = _SD_BUS_VTABLE_METHOD;
    row.flags = SD_BUS_VTABLE_UNPRIVILEGED;  // The bus's policy decides who may call.
    row.x.method = {offered_.methods[index].name.c_str(),
                    text.arguments.c_str(),
                    text.results.c_str(),
                    handler,
                    index * sizeof(Route),  // From the first route to this method's.
                    text.names.c_str()};
  }
  table_.back().type = _SD_BUS_VTABLE_END;
}

}  // namespace

struct ServiceBus::Native {
  Native(std::vector<ServiceInterface> offered, CallerLeft onCallerLeft);
  void connect(MainLoop& loop, const std::string& serviceName);
  void answer(const ServiceMethod& called, sd_bus_message* call);
  void watchNames();
  static int handleCall(sd_bus_message* call, void* userdata, sd_bus_error* error) noexcept;
  static int handleNameGone(sd_bus_message* message, void* userdata, sd_bus_error*) noexcept;

  // Constant after construction.
  CallerLeft callerLeft;

  // Only on the main loop. What hangs on the bus stands behind it, to go before it.
  BusHandle<sd_bus> bus;
  std::list<PublishedInterface> interfaces;
  BusHandle<sd_bus_slot> namesGone;
  std::set<std::string> callers;
};

ServiceBus::Native::Native(std::vector<ServiceInterface> offered, CallerLeft onCallerLeft)
    : callerLeft(std::move(onCallerLeft)) {
  for (auto& each : offered) interfaces.emplace_back(std::move(each), this, &Native::handleCall);
}

void ServiceBus::Native::connect(MainLoop& loop, const std::string& serviceName) {
  bus = openServiceBus();
  for (auto& interface : interfaces) interface.publish(bus.get());
  // Whoever watches over the program can then start it anew.
  checkBus(sd_bus_set_exit_on_disconnect(bus.get(), true), "watching the bus");
  checkBus(sd_bus_attach_event(bus.get(), loop.native().event.get(), SD_EVENT_PRIORITY_NORMAL),
           "attaching the bus");
  watchNames();
  checkBus(sd_bus_request_name(bus.get(), serviceName.c_str(), 0), "taking " + serviceName);
}

void ServiceBus::Native::answer(const ServiceMethod& called, sd_bus_message* call) {
  const ServiceParameters arguments = readParameters(call, typesOf(called.arguments));
  const std::string caller = sd_bus_message_get_sender(call);
  callers.insert(caller);
  const ServiceParameters results = called.answer(caller, arguments);
  if (mostBytesOf(results) > kMostReplyBytes) throw std::runtime_error("the reply is too large");
  sd_bus_message* created = nullptr;
  checkBus(sd_bus_message_new_method_return(call, &created), "reply");
  const BusHandle<sd_bus_message> reply(created);
  appendParameters(created, results);
  checkBus(sd_bus_send(bus.get(), created, nullptr), "reply");
}

// One rule for all callers: a bus allows a connection 512 of them (dbus-daemon(1),
// max_match_rules_per_connection). The bus tells of a caller's end behind its last call.
void ServiceBus::Native::watchNames() {
  constexpr char kGone[] =
      "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
      "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg2=''";
  sd_bus_slot* slot = nullptr;
  checkBus(sd_bus_add_match(bus.get(), &slot, kGone, &Native::handleNameGone, this),
           "watching the callers");
  namesGone.reset(slot);
}

// Nothing may be thrown through the bus library.
int ServiceBus::Native::handleCall(sd_bus_message* call, void* userdata,
                                   sd_bus_error* error) noexcept {
  try {
    const auto& [owner, method] = *static_cast<const Route*>(userdata);
    static_cast<Native*>(owner)->answer(*method, call);
    return 1;
  } catch (const MessageTypeError& fault) {
    return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, fault.what());
  } catch (const std::exception& fault) {
    return sd_bus_error_set(error, kFailedError, fault.what());
  }
}

int ServiceBus::Native::handleNameGone(sd_bus_message* message, void* userdata,
                                       sd_bus_error*) noexcept {
  auto& self = *static_cast<Native*>(userdata);
  const char* name = nullptr;
  if (sd_bus_message_read(message, "s", &name) > 0 && self.callers.erase(name) > 0) {
    self.callerLeft(name);
  }
  return 0;
}

ServiceBus::ServiceBus(MainLoop& loop, const std::string& serviceName,
                       std::vector<ServiceInterface> interfaces, CallerLeft callerLeft)
    : native_(std::make_unique<Native>(std::move(interfaces), std::move(callerLeft))) {
  native_->connect(loop, serviceName);
}

ServiceBus::~ServiceBus() = default;

}  // namespace tovi::platform
