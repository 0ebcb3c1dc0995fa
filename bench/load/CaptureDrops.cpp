// capture-drops PID: what the kernel counted for the packet sockets of another process since they
// were opened or last asked: packets that passed their filters, and those of them that it dropped
// for want of room. Asking sets the counts back, so no one else may ask.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <linux/if_packet.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace {

/// Owns a file descriptor.
class Descriptor {
 public:
  explicit Descriptor(long descriptor) : descriptor_(static_cast<int>(descriptor)) {
    if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "pidfd");
  }
  ~Descriptor() { close(descriptor_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return descriptor_; }

 private:
  const int descriptor_;
};

bool isPacketSocket(int socket) {
  int domain = 0;
  socklen_t size = sizeof domain;
  return getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_PACKET;
}

/// Adds the socket's counts (packet(7)).
void add(int socket, tpacket_stats& sum) {
  tpacket_stats_v3 counts{};
  socklen_t size = sizeof counts;
  if (getsockopt(socket, SOL_PACKET, PACKET_STATISTICS, &counts, &size) != 0) {
    throw std::system_error(errno, std::generic_category(), "PACKET_STATISTICS");
  }
  sum.tp_packets += counts.tp_packets;
  sum.tp_drops += counts.tp_drops;
}

tpacket_stats packetStatistics(const std::string& pid) {
  const Descriptor process(syscall(SYS_pidfd_open, std::atoi(pid.c_str()), 0));
  tpacket_stats sum{};
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + pid + "/fd")) {
    const int theirs = std::atoi(entry.path().filename().c_str());
    const Descriptor ours(syscall(SYS_pidfd_getfd, process.get(), theirs, 0));
    if (isPacketSocket(ours.get())) add(ours.get(), sum);
  }
  return sum;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) throw std::invalid_argument("usage: capture-drops PID");
  const tpacket_stats sum = packetStatistics(argv[1]);
  std::printf("%u %u\n", sum.tp_packets, sum.tp_drops);
} catch (const std::exception& error) {
  std::fprintf(stderr, "capture-drops: %s\n", error.what());
  return 1;
}
