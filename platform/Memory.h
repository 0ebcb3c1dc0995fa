#pragma once

namespace tovi::platform {

/// From now on no core of this process is written, whatever limit is set, and no process of the
/// same user can read its memory. The superuser still can. Programs run by this process are not
/// concerned.
void forbidMemoryDumps() noexcept;

/// From now on up to 4 MiB of freed memory are kept for what comes next. Batches come and go by the
/// half megabyte, and each time their memory was given back the system cleared it anew.
void keepFreedMemory() noexcept;

}  // namespace tovi::platform
