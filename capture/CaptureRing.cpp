#include "capture/CaptureRing.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <utility>
#include <vector>

#include "capture/PcapFrame.h"
#include "platform/CaptureFilter.h"

namespace tovi {

namespace {

constexpr const char* kOpenFailure = "Cannot open device";
constexpr const char* kFilterFailure = "Cannot set DNS filter for device";

[[noreturn]] void fail(const std::string& text, const char* reason) {
  throw CaptureDeviceError(text + "\n" + reason);
}

/// A compiled filter.
class Program {
 public:
  Program(pcap_t* pcap, const std::string& filter) {
    if (pcap_compile(pcap, &program_, filter.c_str(), 1, PCAP_NETMASK_UNKNOWN) != 0) {
      fail(kFilterFailure, pcap_geterr(pcap));
    }
  }
  ~Program() { pcap_freecode(&program_); }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  bpf_program* native() { return &program_; }
  std::vector<platform::FilterInstruction> instructions() const {
    std::vector<platform::FilterInstruction> all;
    for (const bpf_insn& each : std::span(program_.bf_insns, program_.bf_len)) {
      all.push_back({each.code, each.jt, each.jf, each.k});
    }
    return all;
  }

 private:
  bpf_program program_;
};

struct Reading {
  pcap_t* pcap;
  const FrameHandler& handler;
};

void onFrame(u_char* user, const pcap_pkthdr* header, const u_char* bytes) {
  const auto& [pcap, handler] = *reinterpret_cast<const Reading*>(user);
  handler(pcapFrame(pcap, *header, bytes));
}

}  // namespace

CaptureRing::CaptureRing(const std::string& interfaceName, bool isLoopback, const Shape& shape) {
  char reason[PCAP_ERRBUF_SIZE] = "";
  pcap_.reset(pcap_create(interfaceName.c_str(), reason));
  if (!pcap_) fail(kOpenFailure, reason);
  activate(interfaceName, shape);
  const std::string filter = "(src or dst port 53) and " + shape.lengthFilter;
  setFilter(filter);
  if (isLoopback) keepDepartingPacketsOut(filter);
  if (pcap_setnonblock(pcap_.get(), 1, reason) != 0) fail(kOpenFailure, reason);
}

CaptureRing::~CaptureRing() = default;

unsigned CaptureRing::interfaceIndex() const {
  return platform::capturedInterface(pcap_fileno(pcap_.get()));
}

int CaptureRing::descriptor() const {
  return pcap_get_selectable_fd(pcap_.get());
}

bool CaptureRing::isReadable() const {
  pollfd waiting{descriptor(), POLLIN, 0};
  return poll(&waiting, 1, 0) > 0;
}

int CaptureRing::read(int count, const FrameHandler& handler) {
  Reading reading{pcap_.get(), handler};
  return pcap_dispatch(pcap_.get(), count, onFrame, reinterpret_cast<u_char*>(&reading));
}

// The count of libpcap wraps around at 32 bits.
unsigned CaptureRing::newlyDropped() {
  pcap_stat counts;
  if (pcap_stats(pcap_.get(), &counts) != 0) return 0;
  return counts.ps_drop - std::exchange(dropped_, counts.ps_drop);
}

void CaptureRing::activate(const std::string& interfaceName, const Shape& shape) {
  pcap_set_snaplen(pcap_.get(), shape.snapshotLength);
  pcap_set_buffer_size(pcap_.get(), shape.bufferSize);
  pcap_set_immediate_mode(pcap_.get(), 1);
  pcap_set_tstamp_precision(pcap_.get(), PCAP_TSTAMP_PRECISION_NANO);
  const int status = pcap_activate(pcap_.get());
  if (status >= 0) return;
  const bool isMissing = status == PCAP_ERROR_NO_SUCH_DEVICE;
  fail(isMissing ? "Cannot find interface '" + interfaceName + "'" : kOpenFailure,
       pcap_geterr(pcap_.get()));
}

void CaptureRing::setFilter(const std::string& filter) {
  Program program(pcap_.get(), filter);
  if (pcap_setfilter(pcap_.get(), program.native()) != 0) {
    fail(kFilterFailure, pcap_geterr(pcap_.get()));
  }
}

// Libpcap leaves out the packets that leave, but not before they took a place in the ring. It must
// not know of this filter, since it runs its own on what waited already, where direction is
// unknown.
void CaptureRing::keepDepartingPacketsOut(const std::string& filter) {
  const Program program(pcap_.get(), "inbound and " + filter);
  if (!platform::replaceCaptureFilter(pcap_fileno(pcap_.get()), program.instructions())) {
    fail(kFilterFailure, std::strerror(errno));
  }
}

void CaptureRing::Close::operator()(pcap* handle) const {
  pcap_close(handle);
}

}  // namespace tovi
