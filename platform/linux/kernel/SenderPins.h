#pragma once

#include <filesystem>

namespace tovi::platform {

/// The names below the directory of pins.
inline constexpr const char* kSendersPin = "senders";
inline constexpr const char* kCountsPin = "counts";
/// Followed by a number each.
inline constexpr const char* kLinkPin = "link";

/// The directory in which tovi-attach pins and the daemon looks, which is a BPF file system of its
/// own: that at /sys/fs/bpf is closed to all but root. TOVI_SENDERS_DIR in the environment, else
/// /run/tovi.
std::filesystem::path senderPins();

}  // namespace tovi::platform
