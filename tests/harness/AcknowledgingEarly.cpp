#include "app/Daemon.h"

namespace {

/// What the crash harness has to notice: a kill between the two moments loses what was
/// acknowledged.
class EarlyAcknowledgement : public tovi::CommitAcknowledgement {
 public:
  void committing(std::size_t batches) const override { acknowledge(batches); }
  void committed(std::size_t) const override {}
};

}  // namespace

int main() {
  return tovi::runDaemon(std::make_unique<EarlyAcknowledgement>());
}
