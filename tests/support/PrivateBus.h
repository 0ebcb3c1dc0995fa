#pragma once

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

#include "tests/support/TestSupport.h"

namespace tovi::test {

/// A message bus of its own for one test, in the system bus's place: while it lives,
/// DBUS_SYSTEM_BUS_ADDRESS names it. Create it before any thread is started. The bus ends with it,
/// and with the thread that made it.
class PrivateBus {
 public:
  /// Everybody may do everything, or, with a policy file, what a system bus grants by default and
  /// that file adds.
  explicit PrivateBus(const std::optional<std::filesystem::path>& policy = std::nullopt);
  ~PrivateBus();

  const std::string& address() const { return address_; }
  /// Ends the bus, as a crash would.
  void end();

 private:
  TemporaryDirectory directory_;
  std::string address_;
  std::FILE* output_ = nullptr;
  int process_ = 0;
};

}  // namespace tovi::test
