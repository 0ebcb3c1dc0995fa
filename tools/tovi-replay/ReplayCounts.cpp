#include "tovi-replay/ReplayCounts.h"

#include "toolkit/Figures.h"

namespace tovi::replay {

std::string summary(const ReplayCounts& counts, double elapsedSeconds) {
  const double rate = elapsedSeconds > 0 ? static_cast<double>(counts.packets) / elapsedSeconds : 0;
  return std::to_string(counts.packets) + " packets, " + std::to_string(counts.messages) +
         " DNS messages, " + std::to_string(counts.failures) + " failures, " +
         std::to_string(counts.events) + " events, " + std::to_string(counts.repetitions) +
         " repetitions, " + std::to_string(counts.batches) + " batches in " +
         fixedPoint(elapsedSeconds, 3) + " s (" + fixedPoint(rate, 0) + " packets/s)";
}

}  // namespace tovi::replay
