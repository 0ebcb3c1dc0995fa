#pragma once

#include <functional>
#include <string>

namespace tovi::test {

/// Runs `action` while the `nth` call of this process's own code to one of the system's file
/// functions fails with `error`, or also all that follow it. Returns the last function that failed;
/// empty when there were fewer calls. The linker is told of them in CMakeLists.txt.
/// One thread at a time.
std::string failCalls(int error, int nth, bool forGood, const std::function<void()>& action);

}  // namespace tovi::test
