#include "platform/linux/kernel/SenderDirectory.h"

#include <linux/magic.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "platform/linux/SystemCall.h"
#include "platform/linux/kernel/QuerySenders.h"
#include "platform/linux/kernel/SenderMap.h"
#include "platform/linux/kernel/SenderPins.h"

namespace tovi::platform {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kDirectoryMode = 0750;
constexpr mode_t kMapMode = 0440;

bool isOurName(const std::string& name) {
  return name == kSendersPin || name == kCountsPin || name.starts_with(kLinkPin);
}

// Some kernels put these into each BPF file system.
bool isKernelsName(const std::string& name) {
  return name == "maps.debug" || name == "progs.debug";
}

void checkThatOnlyRootCanChange(const fs::path& path) {
  struct stat status;
  checkCall(lstat(path.c_str(), &status), path);
  const bool isRoots = status.st_uid == 0 && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
  if (!S_ISDIR(status.st_mode) || !isRoots) {
    throw std::runtime_error(path.string() + " is not a directory that only root can change");
  }
}

}  // namespace

void SenderDirectory::prepare(gid_t group) {
  fs::create_directory(path_);
  checkThatOnlyRootCanChange(path_);
  checkThatAllIsOurs();
  if (!isMounted()) {
    checkCall(mount("tovi", path_.c_str(), "bpf", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr),
              "mounting " + path_.string());
  }
  checkCall(chmod(path_.c_str(), kDirectoryMode), path_);
  checkCall(chown(path_.c_str(), 0, group), path_);
  for (const auto& entry : fs::directory_iterator(path_)) {
    if (isOurName(entry.path().filename())) fs::remove(entry);
  }
}

void SenderDirectory::open(gid_t group) {
  for (const char* const name : {kSendersPin, kCountsPin}) {
    const fs::path map = path_ / name;
    checkCall(chmod(map.c_str(), kMapMode), map);
    checkCall(chown(map.c_str(), 0, group), map);
  }
}

void SenderDirectory::remove() {
  if (!fs::exists(path_)) return;
  checkThatAllIsOurs();
  if (isMounted()) checkCall(umount2(path_.c_str(), MNT_DETACH | UMOUNT_NOFOLLOW), path_);
  checkCall(rmdir(path_.c_str()), path_);
}

bool SenderDirectory::isMounted() const {
  struct statfs system;
  struct stat status;
  struct stat above;
  checkCall(statfs(path_.c_str(), &system), path_);
  checkCall(stat(path_.c_str(), &status), path_);
  checkCall(stat((path_ / "..").c_str(), &above), path_);
  return system.f_type == BPF_FS_MAGIC && status.st_dev != above.st_dev;
}

void SenderDirectory::checkThatAllIsOurs() const {
  for (const auto& entry : fs::directory_iterator(path_)) {
    const auto name = entry.path().filename().string();
    if (!isMounted() || !(isOurName(name) || isKernelsName(name))) {
      throw std::runtime_error(entry.path().string() + " is not one of tovi-attach's");
    }
  }
  const fs::path map = path_ / kSendersPin;
  if (fs::exists(map) && mapName(map) != TOVI_SENDERS_MAP) {
    throw std::runtime_error(map.string() + " is not the map of tovi-attach");
  }
}

}  // namespace tovi::platform
