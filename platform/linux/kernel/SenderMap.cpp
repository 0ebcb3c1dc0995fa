#include "platform/linux/kernel/SenderMap.h"

#include <cstring>
#include <linux/bpf.h>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/SystemCall.h"
#include "platform/linux/kernel/SenderPins.h"

namespace tovi::platform {

namespace {

// See bpf(2).
int bpf(bpf_cmd command, bpf_attr& attributes) {
  return static_cast<int>(syscall(SYS_bpf, command, &attributes, sizeof attributes));
}

std::uint64_t addressOf(const void* memory) {
  return reinterpret_cast<std::uintptr_t>(memory);
}

FileDescriptor openPinned(const std::filesystem::path& path) {
  bpf_attr attributes = {};
  attributes.pathname = addressOf(path.c_str());
  attributes.file_flags = BPF_F_RDONLY;
  return FileDescriptor(checkCall(bpf(BPF_OBJ_GET, attributes), path));
}

bpf_map_info infoOf(const FileDescriptor& map, const std::filesystem::path& path) {
  bpf_map_info info = {};
  bpf_attr attributes = {};
  attributes.info.bpf_fd = static_cast<std::uint32_t>(map.get());
  attributes.info.info_len = sizeof info;
  attributes.info.info = addressOf(&info);
  checkCall(bpf(BPF_OBJ_GET_INFO_BY_FD, attributes), path);
  return info;
}

struct Shape {
  const char* name;
  std::uint32_t type;
  std::size_t keySize;
  std::size_t valueSize;
  std::uint32_t places;
};

constexpr Shape kSenders = {TOVI_SENDERS_MAP, BPF_MAP_TYPE_LRU_HASH, sizeof(tovi_query),
                            sizeof(tovi_sender), TOVI_SENDER_PLACES};
constexpr Shape kCounts = {TOVI_COUNTS_MAP, BPF_MAP_TYPE_ARRAY, sizeof(std::uint32_t),
                           sizeof(tovi_counts), 1};

void checkOwner(const std::filesystem::path& path) {
  struct stat status;
  checkCall(lstat(path.c_str(), &status), path);
  if (status.st_uid != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    throw std::runtime_error(path.string() + " could be another's than root's");
  }
}

FileDescriptor openMap(const std::filesystem::path& path, const Shape& shape) {
  checkOwner(path);
  auto map = openPinned(path);
  const bpf_map_info info = infoOf(map, path);
  if (std::string_view(info.name) != shape.name || info.type != shape.type ||
      info.key_size != shape.keySize || info.value_size != shape.valueSize ||
      info.max_entries != shape.places) {
    throw std::runtime_error(path.string() + " is another map than this program reads");
  }
  return map;
}

bool read(const FileDescriptor& map, const void* key, void* value) {
  bpf_attr attributes = {};
  attributes.map_fd = static_cast<std::uint32_t>(map.get());
  attributes.key = addressOf(key);
  attributes.value = addressOf(value);
  return bpf(BPF_MAP_LOOKUP_ELEM, attributes) == 0;
}

}  // namespace

SenderMap::SenderMap(const std::filesystem::path& directory)
    : senders_((checkOwner(directory), openMap(directory / kSendersPin, kSenders))),
      counts_(openMap(directory / kCountsPin, kCounts)) {}

// The kernel may give an entry's place to another while it is copied out.
std::optional<tovi_sender> SenderMap::find(const tovi_query& query) const {
  tovi_sender first;
  tovi_sender second;
  if (!read(senders_, &query, &first) || !read(senders_, &query, &second)) return std::nullopt;
  if (std::memcmp(&first, &second, sizeof first) != 0) return std::nullopt;
  return first;
}

std::uint64_t SenderMap::forgotten() const {
  const std::uint32_t index = 0;
  tovi_counts counts = {};
  read(counts_, &index, &counts);
  return counts.noted > TOVI_SENDER_PLACES ? counts.noted - TOVI_SENDER_PLACES : 0;
}

std::string mapName(const std::filesystem::path& path) {
  try {
    return infoOf(openPinned(path), path).name;
  } catch (const std::system_error&) {
    return {};
  }
}

}  // namespace tovi::platform
