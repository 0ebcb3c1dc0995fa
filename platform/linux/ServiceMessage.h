#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include <systemd/sd-bus.h>

#include "platform/ServiceBus.h"

namespace tovi::platform {

/// A message whose contents are not of the types that were expected.
class MessageTypeError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The D-Bus type of one parameter, such as "a{ss}".
const char* typeSignature(ServiceType type);

/// Reads parameters of exactly these types. Throws MessageTypeError when the message holds others,
/// or more, or fewer.
ServiceParameters readParameters(sd_bus_message* message, const std::vector<ServiceType>& types);

/// Appends the parameters. Throws std::system_error when the message cannot take them, for a text
/// that D-Bus cannot carry as well.
void appendParameters(sd_bus_message* message, const ServiceParameters& parameters);

/// At least as many bytes as the parameters take in a message.
std::size_t mostBytesOf(const ServiceParameters& parameters);

}  // namespace tovi::platform
