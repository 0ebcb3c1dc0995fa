#include "service/StatisticsInterface.h"

#include "service/ServiceRecord.h"
#include "service/StatisticsProtocol.h"
#include "service/ToviAgentXPCProtocol.h"

namespace tovi {

using platform::ServiceParameters;

platform::ServiceInterface statisticsInterface(GetStatisticsProtocol& statistics) {
  const auto method = [&statistics](const char* name, const char* result, auto read) {
    const auto answer = [&statistics, read](const std::string&, const ServiceParameters&) {
      return ServiceParameters{serviceDictionary((statistics.*read)())};
    };
    return platform::ServiceMethod{name, {}, {{platform::ServiceType::Settings, result}}, answer};
  };
  return {xpc::kObjectPath,
          statistics::kInterfaceName,
          {method(statistics::kGetCounters, "counters", &GetStatisticsProtocol::counters),
           method(statistics::kGetActivity, "activity", &GetStatisticsProtocol::activity)}};
}

}  // namespace tovi
