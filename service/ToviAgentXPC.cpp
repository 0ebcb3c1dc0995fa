#include "service/ToviAgentXPC.h"

#include <algorithm>

#include "service/ServiceValues.h"
#include "service/StatisticsInterface.h"
#include "service/ToviAgentXPCProtocol.h"

namespace tovi {

using platform::ServiceParameters;
using platform::ServiceType;
using Arguments = std::vector<platform::ServiceArgument>;

namespace {

struct Method {
  const char* name;
  Arguments arguments;
  Arguments results;
  ServiceParameters (*call)(DaemonXPC& callee, const ServiceParameters& arguments);
};

template <typename Type>
const Type& argument(const ServiceParameters& arguments, std::size_t index) {
  return std::get<Type>(arguments.at(index));
}

ServiceParameters getActivationStatus(DaemonXPC& callee, const ServiceParameters&) {
  auto status = callee.getActivationStatus();
  return {std::move(status.state), std::move(status.enrollment)};
}

ServiceParameters getDNSMessages(DaemonXPC& callee, const ServiceParameters&) {
  return {callee.getDNSMessages()};
}

ServiceParameters setActivationData(DaemonXPC& callee, const ServiceParameters& arguments) {
  return {callee.setActivationData(argument<std::string>(arguments, 0))};
}

ServiceParameters setMessageDeliveryState(DaemonXPC& callee, const ServiceParameters& arguments) {
  return {callee.setMessageDeliveryState(argument<std::string>(arguments, 0),
                                         argument<std::string>(arguments, 1),
                                         argument<std::optional<std::string>>(arguments, 2))};
}

ServiceParameters getStatusEvent(DaemonXPC& callee, const ServiceParameters& arguments) {
  return {callee.getStatusEvent(argument<bool>(arguments, 0))};
}

ServiceParameters getAgentSettings(DaemonXPC& callee, const ServiceParameters&) {
  return {serviceDictionary(callee.getAgentSettings())};
}

std::vector<Method> methodTable() {
  using enum ServiceType;
  return {
      {xpc::kGetActivationStatus,
       {},
       {{Text, "state"}, {OptionalText, "enrollment"}},
       getActivationStatus},
      {xpc::kGetDNSMessages, {}, {{TextMap, "messages"}}, getDNSMessages},
      {xpc::kSetActivationData, {{Text, "data"}}, {{Text, "state"}}, setActivationData},
      {xpc::kSetMessageDeliveryState,
       {{Text, "messageId"}, {Text, "state"}, {OptionalText, "data"}},
       {{OptionalText, "reply"}},
       setMessageDeliveryState},
      {xpc::kGetStatusEvent, {{Bool, "force"}}, {{OptionalText, "message"}}, getStatusEvent},
      {xpc::kGetAgentSettings, {}, {{Settings, "settings"}}, getAgentSettings},
  };
}

/// Makes the texts of results such as the bus carries; those of settings are so already.
struct TextCleaner {
  // Megabytes that are so already are not copied.
  void operator()(std::string& text) const {
    const auto isPlain = [](char byte) { return byte > 0; };
    if (!std::ranges::all_of(text, isPlain)) text = serviceText(text);
  }
  void operator()(std::optional<std::string>& text) const {
    if (text) (*this)(*text);
  }
  void operator()(std::map<std::string, std::string>& texts) const {
    std::map<std::string, std::string> clean;
    while (!texts.empty()) {
      auto entry = texts.extract(texts.begin());
      (*this)(entry.key());
      (*this)(entry.mapped());
      clean.insert(std::move(entry));
    }
    texts = std::move(clean);
  }
  void operator()(const auto&) const {}
};

platform::ServiceInterface serviceInterface(ServiceDelegate& callers) {
  platform::ServiceInterface interface {
    xpc::kObjectPath, xpc::kInterfaceName, {}
  };
  for (auto& method : methodTable()) {
    const auto answer = [&callers, call = method.call](const std::string& caller,
                                                       const ServiceParameters& arguments) {
      ServiceParameters results = call(callers.connection(caller), arguments);
      for (auto& result : results) std::visit(TextCleaner(), result);
      return results;
    };
    interface.methods.push_back(
        {method.name, std::move(method.arguments), std::move(method.results), answer});
  }
  return interface;
}

}  // namespace

ToviAgentXPC::ToviAgentXPC(platform::MainLoop& loop, ToviAgentProtocol& daemon,
                           GetStatusMessageProtocol& statusKeeper, const std::string& serviceName,
                           const GetPropertyManagerProtocol& settings,
                           GetStatisticsProtocol& statistics)
    : delegate_(daemon, statusKeeper, settings),
      listener_(loop, serviceName, {serviceInterface(delegate_), statisticsInterface(statistics)},
                [this](const std::string& caller) { delegate_.callerLeft(caller); }) {
  logger_.debug("init(daemon:statusKeeper:serviceName:settings:)", "Listening as ", serviceName);
}

}  // namespace tovi
