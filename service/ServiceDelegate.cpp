#include "service/ServiceDelegate.h"

namespace tovi {

ServiceDelegate::ServiceDelegate(ToviAgentProtocol& daemon, GetStatusMessageProtocol& statusKeeper,
                                 const GetPropertyManagerProtocol& settings)
    : daemon_(daemon), statusKeeper_(statusKeeper), settings_(settings) {}

DaemonXPC& ServiceDelegate::connection(const std::string& caller) {
  return connections_.try_emplace(caller, daemon_, statusKeeper_, settings_).first->second;
}

void ServiceDelegate::callerLeft(const std::string& caller) {
  connections_.erase(caller);
}

}  // namespace tovi
