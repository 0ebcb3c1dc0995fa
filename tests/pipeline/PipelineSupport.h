#pragma once

#include <gtest/gtest.h>

#include "core/KeychainHelper.h"
#include "core/PermanentVariablesManager.h"
#include "core/SettingsHandler.h"
#include "events/CommandExecutor.h"
#include "pipeline/CoreDataManager.h"
#include "pipeline/DNSEvents.h"
#include "platform/ChildProcess.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {

inline ToviDNSEventPointer eventNamed(const std::string& name) {
  ToviDNSEvent event;
  event.dnsPacket.emplace().question = Query{"A", name, "IN"};
  return std::make_shared<const ToviDNSEvent>(event);
}

inline std::string batchOf(const std::string& name) {
  return jsonText(DNSEvents{"2022-01-25T17:02:52Z", "1.0.0.0", {eventNamed(name)}});
}

/// The question names of a batch text, each followed by a space.
inline std::string namesIn(const std::string& text) {
  std::string names;
  for (const auto& event : dnsEventsFrom(text).eventsData) {
    names += *event->dnsPacket->question->name + " ";
  }
  return names;
}

/// What the parts of the pipeline are given, and a store that runs the system's own rm.
class Pipeline : public testing::Test {
 protected:
  CoreDataManager openStore(const std::string& name = "store") {
    CommandExecutor executor([](const auto& path, const auto& arguments) {
      return platform::runProgram(path, arguments);
    });
    return CoreDataManager(directory_ / name, executor, false,
                           {.tries = 2, .pause = {}, .beforeTry = [this] { ++tries_; }});
  }

  int tries_ = 0;
  LogRecorder log_;
  TemporaryDirectory directory_;
  ManualClock clock_;
  SettingsHandler settings_{{}};
  KeychainHelper keychain_{directory_ / "keychain", "ToviAgent"};
  PermanentVariablesManager variables_{directory_ / "PermanentVariables.plist"};
};

}  // namespace tovi::test
