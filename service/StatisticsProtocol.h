#pragma once

/// The daemon's own read-only interface, on the object of the local service, for both ends of it.
/// What a caller can ask for changes nothing in the daemon. The results are records as
/// service/ServiceRecord.h writes them: 64-bit integers, texts, and arrays of dictionaries.
namespace tovi::statistics {

inline constexpr const char* kInterfaceName = "io.tovi.ToviStatistics";

/// () -> a{sv}: service/Counters.h.
inline constexpr const char* kGetCounters = "GetCounters";

/// () -> a{sv}: core/Activity.h.
inline constexpr const char* kGetActivity = "GetActivity";

}  // namespace tovi::statistics
