#pragma once

#include <filesystem>
#include <memory>
#include <vector>

struct bpf_link;
struct bpf_object;

namespace tovi::platform {

/// The programs in the kernel that note who sends DNS queries (QuerySenders.bpf.c), with their
/// maps. They work from `attach` on, and after this object is gone only if they were pinned. One
/// thread.
class SenderPrograms {
 public:
  /// Loads them in the best variant that the kernel takes. Throws std::system_error where the
  /// kernel takes none, or this process lacks the privileges (CAP_BPF, CAP_PERFMON, CAP_NET_ADMIN).
  SenderPrograms();

  /// Whether each call that sends is seen, rather than only those that name the address to send to.
  bool seeEveryCall() const { return seeEveryCall_; }

  /// Notes what processes of this control group (v2) and those below it send, and enters the
  /// sockets that are connected already. Some kernels load what they then cannot attach; that
  /// variant is given up, too. Throws std::system_error.
  void attach(const std::filesystem::path& controlGroup);
  /// Pins what was attached, and the maps, in a directory of a BPF file system. Throws
  /// std::system_error.
  void pin(const std::filesystem::path& directory);

 private:
  struct Close {
    void operator()(bpf_object* object) const;
    void operator()(bpf_link* link) const;
  };
  using Object = std::unique_ptr<bpf_object, Close>;

  static Object load(bool seeEveryCall);
  void attachAll(const std::filesystem::path& controlGroup);
  void enterSockets();

  bool seeEveryCall_ = true;
  Object object_;
  std::vector<std::unique_ptr<bpf_link, Close>> links_;
};

}  // namespace tovi::platform
