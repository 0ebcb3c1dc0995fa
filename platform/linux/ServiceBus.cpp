#include "platform/ServiceBus.h"

#include <algorithm>
#include <cstring>
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

}  // namespace

struct ServiceBus::Native {
  // The texts that one row of the table points to.
  struct MethodTexts {
    std::string arguments;
    std::string results;
    std::string names;
  };
  struct Caller {
    Native* owner;
    std::string name;
    BusHandle<sd_bus_track> presence;
  };

  Native(ServiceInterface offered, CallerLeft onCallerLeft);
  void connect(MainLoop& loop, const std::string& serviceName);
  void fillTable();
  const ServiceMethod& method(std::string_view name) const;
  void answer(sd_bus_message* call);
  bool watchCaller(const std::string& name);
  void forgetCaller(const std::string& name);
  static int handleCall(sd_bus_message* call, void* userdata, sd_bus_error* error) noexcept;
  static int handleCallerGone(sd_bus_track* presence, void* userdata) noexcept;

  // Constant after construction; sd-bus points into it.
  ServiceInterface interface;
  CallerLeft callerLeft;
  std::vector<MethodTexts> texts;
  std::vector<sd_bus_vtable> table;

  // Only on the main loop. What hangs on the bus stands behind it, to go before it.
  BusHandle<sd_bus> bus;
  BusHandle<sd_bus_slot> object;
  std::map<std::string, std::unique_ptr<Caller>> callers;
};

ServiceBus::Native::Native(ServiceInterface offered, CallerLeft onCallerLeft)
    : interface(std::move(offered)), callerLeft(std::move(onCallerLeft)) {
  for (const auto& each : interface.methods) {
    texts.push_back({signatureOf(each.arguments), signatureOf(each.results), namesOf(each)});
  }
  fillTable();
}

void ServiceBus::Native::fillTable() {
  // sd-bus demands that what a row does not use is zero, in all of its union.
  sd_bus_vtable empty;
  std::memset(&empty, 0, sizeof empty);
  table.assign(interface.methods.size() + 2, empty);
  table.front().type = _SD_BUS_VTABLE_START;
  table.front().x.start = {sizeof(sd_bus_vtable), _SD_BUS_VTABLE_PARAM_NAMES,
                           &sd_bus_object_vtable_format};
  for (std::size_t index = 0; index < interface.methods.size(); ++index) {
    const MethodTexts& text = texts[index];
    sd_bus_vtable& row = table[index + 1];
    row.type = _SD_BUS_VTABLE_METHOD;
    row.flags = SD_BUS_VTABLE_UNPRIVILEGED;  // The bus's policy decides who may call.
    row.x.method = {interface.methods[index].name.c_str(),
                    text.arguments.c_str(),
                    text.results.c_str(),
                    &Native::handleCall,
                    0,
                    text.names.c_str()};
  }
  table.back().type = _SD_BUS_VTABLE_END;
}

void ServiceBus::Native::connect(MainLoop& loop, const std::string& serviceName) {
  bus = openServiceBus();
  sd_bus_slot* slot = nullptr;
  checkBus(sd_bus_add_object_vtable(bus.get(), &slot, interface.objectPath.c_str(),
                                    interface.interfaceName.c_str(), table.data(), this),
           "publishing " + interface.interfaceName);
  object.reset(slot);
  // Whoever watches over the program can then start it anew.
  checkBus(sd_bus_set_exit_on_disconnect(bus.get(), true), "watching the bus");
  checkBus(sd_bus_attach_event(bus.get(), loop.native().event.get(), SD_EVENT_PRIORITY_NORMAL),
           "attaching the bus");
  checkBus(sd_bus_request_name(bus.get(), serviceName.c_str(), 0), "taking " + serviceName);
}

const ServiceMethod& ServiceBus::Native::method(std::string_view name) const {
  const auto found = std::find_if(interface.methods.begin(), interface.methods.end(),
                                  [&](const ServiceMethod& each) { return each.name == name; });
  if (found == interface.methods.end()) throw std::logic_error("unknown method");
  return *found;
}

void ServiceBus::Native::answer(sd_bus_message* call) {
  const ServiceMethod& called = method(sd_bus_message_get_member(call));
  const ServiceParameters arguments = readParameters(call, typesOf(called.arguments));
  const std::string caller = sd_bus_message_get_sender(call);
  const bool present = watchCaller(caller);
  const ServiceParameters results = called.answer(caller, arguments);
  if (!present) return callerLeft(caller);
  sd_bus_message* created = nullptr;
  checkBus(sd_bus_message_new_method_return(call, &created), "reply");
  const BusHandle<sd_bus_message> reply(created);
  appendParameters(created, results);
  checkBus(sd_bus_send(bus.get(), created, nullptr), "reply");
}

// False when the caller has left already.
bool ServiceBus::Native::watchCaller(const std::string& name) {
  if (callers.contains(name)) return true;
  auto caller = std::make_unique<Caller>(Caller{this, name, {}});
  sd_bus_track* presence = nullptr;
  checkBus(sd_bus_track_new(bus.get(), &presence, &Native::handleCallerGone, caller.get()),
           "watching the caller");
  caller->presence.reset(presence);
  if (sd_bus_track_add_name(presence, name.c_str()) < 0) return false;
  callers.emplace(name, std::move(caller));
  return true;
}

void ServiceBus::Native::forgetCaller(const std::string& name) {
  const auto forgotten = callers.extract(name);
  if (!forgotten.empty()) callerLeft(forgotten.key());
}

// Nothing may be thrown through the bus library.
int ServiceBus::Native::handleCall(sd_bus_message* call, void* userdata,
                                   sd_bus_error* error) noexcept {
  try {
    static_cast<Native*>(userdata)->answer(call);
    return 1;
  } catch (const MessageTypeError& fault) {
    return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, fault.what());
  } catch (const std::exception& fault) {
    return sd_bus_error_set(error, kFailedError, fault.what());
  }
}

int ServiceBus::Native::handleCallerGone(sd_bus_track*, void* userdata) noexcept {
  const auto& caller = *static_cast<Caller*>(userdata);
  caller.owner->forgetCaller(caller.name);
  return 0;
}

ServiceBus::ServiceBus(MainLoop& loop, const std::string& serviceName, ServiceInterface interface,
                       CallerLeft callerLeft)
    : native_(std::make_unique<Native>(std::move(interface), std::move(callerLeft))) {
  native_->connect(loop, serviceName);
}

ServiceBus::~ServiceBus() = default;

}  // namespace tovi::platform
