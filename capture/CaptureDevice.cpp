#include "capture/CaptureDevice.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <linux/filter.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <pcap/pcap.h>

namespace tovi {

namespace {

// Handed out as they come, libpcap keeps each packet in a place of the ring that has room for a
// whole snapshot, rounded up to a share or to a power of two of pages. A snapshot of 1,940 octets
// takes 2 KiB whatever the link's header, one of the longest packet 128 KiB.
struct RingShape {
  int snapshotLength;
  int bufferSize;
  std::string lengthFilter;
};

// Room for link headers and for the VLAN tag that libpcap puts back, which the filter does not see.
constexpr int kLongestShortPacket = 1900;
constexpr int kShortSnapshot = kLongestShortPacket + 40;
constexpr int kShortFrames = 2048;
constexpr int kLongSnapshot = 65535 + 40;
constexpr int kLongFrames = 16;

RingShape shortRing() {
  return {kShortSnapshot, kShortFrames * 2048, "less " + std::to_string(kLongestShortPacket)};
}

RingShape longRing() {
  return {kLongSnapshot, kLongFrames * (kLongSnapshot + 100),
          "greater " + std::to_string(kLongestShortPacket + 1)};
}

constexpr const char* kFilterFailure = "Cannot set DNS filter for device";

/// A compiled filter.
class Program {
 public:
  explicit Program(const bpf_program& program) : program_(program) {}
  ~Program() { pcap_freecode(&program_); }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  bpf_program* native() { return &program_; }

 private:
  bpf_program program_;
};

std::string failure(const std::string& text, pcap_t* pcap) {
  return text + "\n" + pcap_geterr(pcap);
}

}  // namespace

/// One open capture handle.
class CaptureDevice::Ring {
 public:
  Ring(const std::string& interfaceName, bool isLoopback, const RingShape& shape) {
    char reason[PCAP_ERRBUF_SIZE] = "";
    pcap_.reset(pcap_create(interfaceName.c_str(), reason));
    if (!pcap_) throw CaptureDeviceError(std::string("Cannot open device\n") + reason);
    activate(interfaceName, shape);
    const std::string filter = "(src or dst port 53) and " + shape.lengthFilter;
    setFilter(filter);
    if (isLoopback) keepDepartingPacketsOut(filter);
    if (pcap_setnonblock(pcap_.get(), 1, reason) != 0) {
      throw CaptureDeviceError(std::string("Cannot open device\n") + reason);
    }
  }

  int descriptor() const { return pcap_get_selectable_fd(pcap_.get()); }

  /// Hands out up to `count` frames that wait. Returns how many, negative on failure.
  int read(int count, CaptureDevice& device) {
    Reading reading{&device, pcap_datalink(pcap_.get())};
    return pcap_dispatch(pcap_.get(), count, onFrame, reinterpret_cast<u_char*>(&reading));
  }

 private:
  struct Reading {
    CaptureDevice* device;
    int linkType;
  };
  struct Close {
    void operator()(pcap_t* pcap) const { pcap_close(pcap); }
  };

  void activate(const std::string& interfaceName, const RingShape& shape) {
    pcap_set_snaplen(pcap_.get(), shape.snapshotLength);
    pcap_set_buffer_size(pcap_.get(), shape.bufferSize);
    pcap_set_immediate_mode(pcap_.get(), 1);
    pcap_set_tstamp_precision(pcap_.get(), PCAP_TSTAMP_PRECISION_NANO);
    const int status = pcap_activate(pcap_.get());
    if (status >= 0) return;
    const std::string text = status == PCAP_ERROR_NO_SUCH_DEVICE
                                 ? "Cannot find interface '" + interfaceName + "'"
                                 : "Cannot open device";
    throw CaptureDeviceError(failure(text, pcap_.get()));
  }

  Program compile(const std::string& filter) {
    bpf_program program;
    if (pcap_compile(pcap_.get(), &program, filter.c_str(), 1, PCAP_NETMASK_UNKNOWN) != 0) {
      throw CaptureDeviceError(failure(kFilterFailure, pcap_.get()));
    }
    return Program(program);
  }

  void setFilter(const std::string& filter) {
    Program program = compile(filter);
    if (pcap_setfilter(pcap_.get(), program.native()) != 0) {
      throw CaptureDeviceError(failure(kFilterFailure, pcap_.get()));
    }
  }

  // Libpcap leaves out the packets that leave, but not before they took a place in the ring. It
  // must not know of this filter, since it runs its own on what waited already, where direction is
  // unknown.
  void keepDepartingPacketsOut(const std::string& filter) {
    Program program = compile("inbound and " + filter);
    const bpf_program& native = *program.native();
    const sock_fprog kernelProgram{static_cast<unsigned short>(native.bf_len),
                                   reinterpret_cast<sock_filter*>(native.bf_insns)};
    if (setsockopt(pcap_fileno(pcap_.get()), SOL_SOCKET, SO_ATTACH_FILTER, &kernelProgram,
                   sizeof kernelProgram) != 0) {
      throw CaptureDeviceError(std::string(kFilterFailure) + "\n" + std::strerror(errno));
    }
  }

  static void onFrame(u_char* user, const pcap_pkthdr* header, const u_char* bytes) {
    const auto& [device, linkType] = *reinterpret_cast<const Reading*>(user);
    if (device->stopping_) return;
    const auto sinceEpoch =
        std::chrono::seconds(header->ts.tv_sec) + std::chrono::nanoseconds(header->ts.tv_usec);
    device->handler_({.linkType = linkType,
                      .bytes = {reinterpret_cast<const std::byte*>(bytes), header->caplen},
                      .time = std::chrono::system_clock::time_point(sinceEpoch)});
  }

  std::unique_ptr<pcap_t, Close> pcap_;
};

struct CaptureDevice::Rings {
  Rings(const std::string& interfaceName, bool isLoopback)
      : shortFrames(interfaceName, isLoopback, shortRing()),
        longFrames(interfaceName, isLoopback, longRing()),
        wakeUp(eventfd(0, EFD_CLOEXEC)) {
    if (wakeUp < 0) throw CaptureDeviceError("Cannot open device");
  }
  ~Rings() { close(wakeUp); }
  Rings(const Rings&) = delete;
  Rings& operator=(const Rings&) = delete;

  /// Waits for frames or for the end; without `frames`, for the end or a second.
  void wait(bool frames) {
    std::array<pollfd, 3> waiting = {{{wakeUp, POLLIN, 0},
                                      {shortFrames.descriptor(), POLLIN, 0},
                                      {longFrames.descriptor(), POLLIN, 0}}};
    poll(waiting.data(), frames ? waiting.size() : 1, frames ? -1 : 1000);
  }

  Ring shortFrames;
  Ring longFrames;
  const int wakeUp;
};

CaptureDevice::CaptureDevice(const std::string& interfaceName, bool isLoopback,
                             FrameHandler handler)
    : handler_(std::move(handler)), rings_(std::make_unique<Rings>(interfaceName, isLoopback)) {}

CaptureDevice::~CaptureDevice() {
  stop();
}

void CaptureDevice::start() {
  thread_ = std::thread([this] { run(); });
}

void CaptureDevice::stop() {
  if (!thread_.joinable()) return;
  stopping_ = true;
  eventfd_write(rings_->wakeUp, 1);
  thread_.join();
}

// An interface that goes down fails to be read until it is up again.
void CaptureDevice::run() {
  bool readable = true;
  while (!stopping_) {
    rings_->wait(readable);
    readable = drain();
  }
}

/// Hands out all frames that wait; false when a ring cannot be read. A query is short, and is to be
/// seen before the long response to it.
bool CaptureDevice::drain() {
  while (!stopping_) {
    const int shortFrames = rings_->shortFrames.read(64, *this);
    if (shortFrames > 0) continue;
    const int longFrames = rings_->longFrames.read(1, *this);
    if (shortFrames < 0 || longFrames < 0) return false;
    if (longFrames == 0) return true;
  }
  return true;
}

}  // namespace tovi
