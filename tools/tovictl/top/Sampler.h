#pragma once

#include <chrono>
#include <memory>

#include "tovictl/top/Sample.h"

namespace tovi::ctl {

/// Looks at the daemon after each interval on a thread of its own, which goes on until the program
/// ends: a call to a daemon that hangs is not to be waited for. One thread uses it.
class Sampler {
 public:
  /// Throws std::system_error when the operating system refuses.
  explicit Sampler(std::chrono::milliseconds interval);

  /// A descriptor that becomes readable when there is something to take.
  int readable() const;
  /// The last look since the call before, if there was one.
  std::optional<SampleOutcome> take();

 private:
  struct Shared;
  static void run(const std::shared_ptr<Shared>& shared, std::chrono::milliseconds interval);

  std::shared_ptr<Shared> shared_;
};

}  // namespace tovi::ctl
