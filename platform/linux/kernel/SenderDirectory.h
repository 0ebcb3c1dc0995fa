#pragma once

#include <filesystem>
#include <sys/types.h>

namespace tovi::platform {

/// The directory of pins (SenderPins.h) as tovi-attach fills and empties it: a BPF file system that
/// is mounted for this alone, so that nothing is left once it is unmounted. One thread.
class SenderDirectory {
 public:
  explicit SenderDirectory(std::filesystem::path path) : path_(std::move(path)) {}

  /// Makes and mounts the directory unless it is there, and takes away what an earlier tovi-attach
  /// pinned in it. Afterwards root alone can write to it and the group can look into it. Throws
  /// std::system_error, and std::runtime_error when it holds what is not tovi-attach's.
  void prepare(gid_t group);
  /// Lets the group read the maps. Throws std::system_error.
  void open(gid_t group);
  /// Unmounts and removes the directory if it is there. Throws as `prepare` does.
  void remove();

 private:
  bool isMounted() const;
  void checkThatAllIsOurs() const;

  const std::filesystem::path path_;
};

}  // namespace tovi::platform
