#include "platform/Memory.h"

#include <malloc.h>
#include <sys/prctl.h>

namespace tovi::platform {

// A limit on the size of cores would not do: core(5) ignores it when cores go to a program.
void forbidMemoryDumps() noexcept {
  prctl(PR_SET_DUMPABLE, 0);
}

void keepFreedMemory() noexcept {
  mallopt(M_TRIM_THRESHOLD, 4 << 20);
  mallopt(M_TOP_PAD, 256 << 10);
}

}  // namespace tovi::platform
