#pragma once

#include "platform/ServiceBus.h"
#include "service/GetStatisticsProtocol.h"

namespace tovi {

/// The read-only interface behind which `statistics`, which must outlive it, stands on the bus.
platform::ServiceInterface statisticsInterface(GetStatisticsProtocol& statistics);

}  // namespace tovi
