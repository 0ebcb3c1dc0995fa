#pragma once

namespace tovi::platform {

/// From now on no core of this process is written, whatever limit is set, and no process of the
/// same user can read its memory. The superuser still can. Programs run by this process are not
/// concerned.
void forbidMemoryDumps() noexcept;

/// From now on the process keeps up to 4 MiB of freed memory for later allocations, instead of
/// giving it back to the system. Batches of half a megabyte are allocated and freed all the time,
/// and the system would clear their memory each time.
void keepFreedMemory() noexcept;

}  // namespace tovi::platform
