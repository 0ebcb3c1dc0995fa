#include "tovictl/top/Sampler.h"

#include <array>
#include <cerrno>
#include <mutex>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

#include "tovictl/top/SampleSource.h"

namespace tovi::ctl {

struct Sampler::Shared {
  std::mutex mutex;
  std::optional<SampleOutcome> latest;  // Guarded by the mutex.
  // Constant after construction; a byte in it says that there is something to take.
  std::array<int, 2> pipe{};
};

Sampler::Sampler(std::chrono::milliseconds interval) : shared_(std::make_shared<Shared>()) {
  if (pipe(shared_->pipe.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
  }
  std::thread(run, shared_, interval).detach();
}

int Sampler::readable() const {
  return shared_->pipe[0];
}

void Sampler::run(const std::shared_ptr<Shared>& shared, std::chrono::milliseconds interval) {
  SampleSource source;
  while (true) {
    std::this_thread::sleep_for(interval);
    auto outcome = source.tryToLook();
    {
      std::lock_guard lock(shared->mutex);
      // A byte for what was not taken yet is there already.
      const bool isTold = std::exchange(shared->latest, std::move(outcome)).has_value();
      if (!isTold && write(shared->pipe[1], "", 1) != 1) return;
    }
  }
}

std::optional<SampleOutcome> Sampler::take() {
  std::lock_guard lock(shared_->mutex);
  if (!shared_->latest) return std::nullopt;
  char byte = 0;
  if (read(shared_->pipe[0], &byte, 1) != 1) return std::nullopt;
  return std::exchange(shared_->latest, std::nullopt);
}

}  // namespace tovi::ctl
