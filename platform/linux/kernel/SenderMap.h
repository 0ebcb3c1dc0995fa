#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/kernel/QuerySenders.h"

namespace tovi::platform {

/// Reads what the programs in the kernel noted, from the maps that tovi-attach pinned. Any thread.
class SenderMap {
 public:
  /// Opens the maps in this directory. Needs no privilege but the right to read them. Throws
  /// std::system_error, and std::runtime_error for a map that another than root could have pinned,
  /// or that is of another kind or size.
  explicit SenderMap(const std::filesystem::path& directory);

  /// None when there is no such entry, and while it is being written.
  std::optional<tovi_sender> find(const tovi_query& query) const;
  /// How many entries at the least were forgotten to make room for others since the programs were
  /// attached.
  std::uint64_t forgotten() const;

 private:
  FileDescriptor senders_;
  FileDescriptor counts_;
};

/// The name that a pinned map was given when it was made; empty when it cannot be read.
std::string mapName(const std::filesystem::path& path);

}  // namespace tovi::platform
