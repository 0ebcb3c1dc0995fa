#include "platform/linux/kernel/SenderPrograms.h"

#include <array>
#include <bpf/bpf.h>
#include <bpf/libbpf.h>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/kernel/QuerySenders.h"
#include "platform/linux/kernel/SenderPins.h"

namespace tovi::platform {

namespace {

/// The compiled programs.
constexpr unsigned char kObject[] = {
#include "QuerySenders.bpf.inc"
};

bool belongsTo(const bpf_program& program, std::string_view kind) {
  return std::string_view(bpf_program__section_name(&program)).starts_with(kind);
}

bool isLoaded(const bpf_program& program, bool seeEveryCall) {
  if (belongsTo(program, "fentry/")) return seeEveryCall;
  if (belongsTo(program, "cgroup/")) return !seeEveryCall;
  return true;
}

template <typename Pointer>
Pointer* checkPointer(Pointer* pointer, const char* what) {
  if (pointer == nullptr) throwSystemError(errno, what);
  return pointer;
}

int beSilent(libbpf_print_level, const char*, va_list) {
  return 0;
}

}  // namespace

void SenderPrograms::Close::operator()(bpf_object* object) const {
  bpf_object__close(object);
}

void SenderPrograms::Close::operator()(bpf_link* link) const {
  bpf_link__destroy(link);
}

SenderPrograms::SenderPrograms() {
  libbpf_set_print(beSilent);
  try {
    object_ = load(true);
  } catch (const std::system_error&) {
    seeEveryCall_ = false;
    object_ = load(false);
  }
}

SenderPrograms::Object SenderPrograms::load(bool seeEveryCall) {
  Object object(checkPointer(bpf_object__open_mem(kObject, sizeof kObject, nullptr), "programs"));
  bpf_program* program = nullptr;
  bpf_object__for_each_program(program, object.get()) {
    bpf_program__set_autoload(program, isLoaded(*program, seeEveryCall));
  }
  const int error = bpf_object__load(object.get());
  if (error != 0) throwSystemError(-error, "the kernel does not take the programs");
  return object;
}

void SenderPrograms::attach(const std::filesystem::path& controlGroup) {
  try {
    attachAll(controlGroup);
  } catch (const std::system_error&) {
    links_.clear();
    if (!seeEveryCall_) throw;
    seeEveryCall_ = false;
    object_ = load(false);
    attachAll(controlGroup);
  }
  enterSockets();
}

void SenderPrograms::attachAll(const std::filesystem::path& controlGroup) {
  const FileDescriptor group(
      checkCall(open(controlGroup.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), controlGroup));
  bpf_program* program = nullptr;
  bpf_object__for_each_program(program, object_.get()) {
    if (!isLoaded(*program, seeEveryCall_) || belongsTo(*program, "iter/")) continue;
    links_.emplace_back(checkPointer(belongsTo(*program, "cgroup")
                                         ? bpf_program__attach_cgroup(program, group.get())
                                         : bpf_program__attach(program),
                                     bpf_program__name(program)));
  }
}

void SenderPrograms::enterSockets() {
  const char* const name = "tovi_sockets";
  auto* const program = bpf_object__find_program_by_name(object_.get(), name);
  const std::unique_ptr<bpf_link, Close> link(
      checkPointer(bpf_program__attach_iter(program, nullptr), name));
  const FileDescriptor iteration(checkCall(bpf_iter_create(bpf_link__fd(link.get())), name));
  std::array<char, 64> nothing;
  while (checkCall(read(iteration.get(), nothing.data(), nothing.size()), name) > 0) {
  }
}

void SenderPrograms::pin(const std::filesystem::path& directory) {
  for (const auto& [map, name] :
       {std::pair(TOVI_SENDERS_MAP, kSendersPin), {TOVI_COUNTS_MAP, kCountsPin}}) {
    const int descriptor = bpf_object__find_map_fd_by_name(object_.get(), map);
    checkCall(bpf_obj_pin(descriptor, (directory / name).c_str()), directory / name);
  }
  int number = 0;
  for (const auto& link : links_) {
    const auto path = directory / (kLinkPin + std::to_string(number++));
    checkCall(bpf_link__pin(link.get(), path.c_str()), path);
  }
}

}  // namespace tovi::platform
