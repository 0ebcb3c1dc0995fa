#pragma once

/// Where the local service stands on the bus, and its methods, for both ends of it.
namespace tovi::xpc {

inline constexpr const char* kServiceName = "io.tovi.ToviAgentXPC";
inline constexpr const char* kObjectPath = "/io/tovi/ToviAgentXPC";
inline constexpr const char* kInterfaceName = "io.tovi.ToviAgentXPCProtocol";

inline constexpr const char* kGetActivationStatus = "GetActivationStatus";
inline constexpr const char* kGetDNSMessages = "GetDNSMessages";
inline constexpr const char* kSetActivationData = "SetActivationData";
inline constexpr const char* kSetMessageDeliveryState = "SetMessageDeliveryState";
inline constexpr const char* kGetStatusEvent = "GetStatusEvent";
inline constexpr const char* kGetAgentSettings = "GetAgentSettings";

/// The message identifier under which the status message is reported.
inline constexpr const char* kStatusMessageId = "status_message";

}  // namespace tovi::xpc
