#include <arpa/inet.h>
#include <cstring>
#include <optional>
#include <regex>
#include <sstream>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "platform/ProcessLookup.h"
#include "platform/linux/AccountNames.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/NativeProcessLookup.h"

namespace tovi::platform {
namespace {

using namespace std::chrono_literals;

/// A socket of IPv4, or of IPv6 that may speak IPv4, and the query that it would send to a resolver
/// on this machine.
class Asker {
 public:
  explicit Asker(int family = AF_INET) : family_(family), socket_(socket(family, SOCK_DGRAM, 0)) {}

  Asker connectTo(const char* host) && {
    const sockaddr_in6 v6 = {AF_INET6, htons(53), 0, addressOf(host), 0};
    sockaddr_in v4 = {AF_INET, htons(53), {}, {}};
    std::memcpy(&v4.sin_addr, &v6.sin6_addr.s6_addr[12], 4);
    const bool isIpv6 = family_ == AF_INET6;
    const void* const to = isIpv6 ? static_cast<const void*>(&v6) : &v4;
    const socklen_t length = isIpv6 ? sizeof v6 : sizeof v4;
    EXPECT_EQ(connect(socket_.get(), static_cast<const sockaddr*>(to), length), 0);
    return std::move(*this);
  }
  Asker bindToAnyAddress() && {
    const sockaddr_storage any = {static_cast<sa_family_t>(family_), {}, 0};
    EXPECT_EQ(bind(socket_.get(), reinterpret_cast<const sockaddr*>(&any), sizeof any), 0);
    return std::move(*this);
  }

  CapturedQuery datagram(const char* source, const char* destination) const {
    CapturedQuery captured = {{{}, {}, port(), 53}};
    const in6_addr addresses[] = {addressOf(source), addressOf(destination)};
    std::memcpy(&captured.flow.source, &addresses[0], 16);
    std::memcpy(&captured.flow.destination, &addresses[1], 16);
    return captured;
  }
  std::uint16_t port() const {
    sockaddr_in6 own = {};
    socklen_t length = sizeof own;
    getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&own), &length);
    return ntohs(own.sin6_port);
  }
  ino_t inode() const {
    struct stat status = {};
    fstat(socket_.get(), &status);
    return status.st_ino;
  }
  int number() const { return socket_.get(); }
  void close() { socket_.reset(); }

 private:
  static in6_addr addressOf(const char* text) {
    in6_addr address;
    EXPECT_EQ(inet_pton(AF_INET6, text, &address), 1) << text;
    return address;
  }

  int family_;
  FileDescriptor socket_;
};

constexpr const char* kOwn = "::ffff:127.0.0.1";

/// A child that runs `body`, then waits for the end of this.
class Child {
 public:
  template <typename Body>
  explicit Child(Body body) {
    int ready[2];
    int ending[2];
    if (pipe(ready) != 0 || pipe(ending) != 0) std::abort();
    process = fork();
    if (process == 0) {
      ::close(ending[1]);
      body();
      ::close(ready[1]);
      char ignored;
      _exit(static_cast<int>(read(ending[0], &ignored, 1)));
    }
    ::close(ready[1]);
    ::close(ending[0]);
    char ignored;
    EXPECT_EQ(read(ready[0], &ignored, 1), 0);
    ::close(ready[0]);
    end_ = ending[1];
  }
  ~Child() {
    ::close(end_);
    waitpid(process, nullptr, 0);
  }

  pid_t process;

 private:
  int end_;
};

class ProcessLookupTest : public testing::Test {
 protected:
  void SetUp() override {
    try {
      native_ = std::make_unique<NativeProcessLookup>();
    } catch (const std::system_error& error) {
      GTEST_SKIP() << error.what();
    }
    prctl(PR_GET_NAME, name_);
  }
  void TearDown() override { prctl(PR_SET_NAME, name_); }

  /// The text for a query from and to this address.
  std::string find(const Asker& asker, const char* address = kOwn) {
    return findInTime(asker.datagram(address, address));
  }
  /// The process identifier in the first row; 0 when nobody was found.
  pid_t processOf(const Asker& asker, const char* address = kOwn) {
    std::istringstream text(find(asker, address));
    std::string header;
    std::string command;
    pid_t process = 0;
    std::getline(text, header);
    text >> command >> process;
    return process;
  }
  /// Asks again while nobody is found, since a scan may have to wait for its turn.
  std::string findInTime(const CapturedQuery& query) {
    std::string text;
    for (int asked = 0; text.empty() && asked < 100000; ++asked) text = native_->find(query);
    return text;
  }

  std::unique_ptr<NativeProcessLookup> native_;
  char name_[16] = {};
};

/// The text with one blank between two columns: how wide they are differs between lsof's releases.
std::string inNarrowColumns(const std::string& text) {
  return std::regex_replace(text, std::regex(" +"), " ");
}

std::string lsof(const std::string& choice) {
  return inNarrowColumns(runProgram("/usr/bin/lsof", {"-n", "+c0", choice}));
}

TEST_F(ProcessLookupTest, TextIsThatOfLsof) {
  const Asker connected = Asker().connectTo(kOwn);
  const Asker dual = Asker(AF_INET6).connectTo(kOwn);
  const Asker any = Asker().bindToAnyAddress();
  Asker left = Asker().connectTo(kOwn);
  const auto fromHeir = left.datagram(kOwn, kOwn);
  const Child heir([] {
    prctl(PR_SET_NAME, "heir");
    if (setuid(65534) != 0) _exit(1);
  });
  left.close();
  native_ = std::make_unique<NativeProcessLookup>();
  EXPECT_NE(findInTime(fromHeir), "");
  for (const char* name : {"short", "fifteen letters", " a b", "\n1 2 root", "\t\r\b\f\\\x01\x1f",
                           "\x7f", "12345678\n"}) {
    prctl(PR_SET_NAME, name);
    for (const Asker* asker : {&connected, &dual, &any}) {
      EXPECT_EQ(inNarrowColumns(find(*asker)), lsof("-i4UDP:" + std::to_string(asker->port())));
    }
  }
}

TEST_F(ProcessLookupTest, TextOfAConnectionIsThatOfLsof) {
  const FileDescriptor server(socket(AF_INET, SOCK_STREAM, 0));
  const FileDescriptor client(socket(AF_INET, SOCK_STREAM, 0));
  sockaddr_in ends[] = {{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}}, {}};
  socklen_t length = sizeof ends[0];
  auto* const serverEnd = reinterpret_cast<sockaddr*>(&ends[0]);
  ASSERT_EQ(bind(server.get(), serverEnd, length), 0);
  ASSERT_EQ(listen(server.get(), 1), 0);
  getsockname(server.get(), serverEnd, &length);
  ASSERT_EQ(connect(client.get(), serverEnd, length), 0);
  getsockname(client.get(), reinterpret_cast<sockaddr*>(&ends[1]), &length);
  CapturedQuery query = Asker().datagram(kOwn, kOwn);
  query.transport = Transport::tcp;
  query.flow.sourcePort = ntohs(ends[1].sin_port);
  query.flow.destinationPort = ntohs(ends[0].sin_port);
  const std::string port = std::to_string(query.flow.sourcePort);
  EXPECT_EQ(inNarrowColumns(findInTime(query)), lsof("-i4TCP:" + port));
  query.transport = Transport::udp;
  EXPECT_EQ(native_->find(query), "");
}

TEST_F(ProcessLookupTest, NamesThatMisleadLsofStayInTheirColumn) {
  const Asker asker = Asker().connectTo(kOwn);
  for (const auto& [name, column] : {std::pair(") R 1 2 (", "\n)\\x20R\\x201\\x202\\x20( "),
                                     {"", "\n? "},
                                     {"((a))", "\n((a)) "},
                                     {"\xc3\xa9", "\n\\xc3\\xa9 "}}) {
    prctl(PR_SET_NAME, name);
    EXPECT_NE(find(asker).find(column), std::string::npos) << find(asker);
    EXPECT_EQ(processOf(asker), getpid());
  }
}

TEST_F(ProcessLookupTest, OnlyTheSocketOfTheFlowCounts) {
  Asker connected = Asker().connectTo(kOwn);
  const Asker dual = Asker(AF_INET6).bindToAnyAddress();
  const Asker v6 = Asker(AF_INET6).connectTo("::1");
  EXPECT_EQ(processOf(connected), getpid());
  EXPECT_EQ(processOf(dual), getpid());
  EXPECT_EQ(processOf(dual, "::1"), getpid());
  EXPECT_EQ(processOf(v6, "::1"), getpid());
  EXPECT_EQ(native_->find(v6.datagram(kOwn, kOwn)), "");
  EXPECT_EQ(native_->find(connected.datagram(kOwn, "::ffff:127.0.0.2")), "");
  // As if forwarded for others, who took the same port.
  for (const char* const foreign : {"::ffff:192.0.2.1", "2001:db8::1"}) {
    EXPECT_EQ(native_->find(dual.datagram(foreign, foreign)), "");
  }
  const auto datagram = connected.datagram(kOwn, kOwn);
  connected.close();
  EXPECT_EQ(native_->find(datagram), "");
}

TEST_F(ProcessLookupTest, LsofFindsByThePortAlone) {
  const Asker connected = Asker().connectTo(kOwn);
  const auto elsewhere = connected.datagram("::ffff:192.0.2.1", "::ffff:192.0.2.2");
  std::string rows;
  // It may take longer than it is given when the machine is busy.
  for (int tries = 0; rows.empty() && tries < 10; ++tries) {
    rows = ProcessFinder("lsof").find(elsewhere).rows;
  }
  EXPECT_TRUE(rows.starts_with("COMMAND")) << rows;
  EXPECT_EQ(ProcessFinder("search").find(elsewhere).rows, "");
}

TEST_F(ProcessLookupTest, DescriptorThatBecameAnotherNamesNobody) {
  const Asker other = Asker().connectTo(kOwn);
  Asker asker = Asker().connectTo(kOwn);
  std::optional<Child> heir(std::in_place, [] {});
  EXPECT_EQ(processOf(asker), getpid());
  const auto datagram = asker.datagram(kOwn, kOwn);
  dup2(other.number(), asker.number());
  const std::string text = findInTime(datagram);
  EXPECT_NE(text.find(std::to_string(heir->process)), std::string::npos) << text;
  EXPECT_EQ(text.find(std::to_string(getpid())), std::string::npos) << text;
  heir.reset();
  EXPECT_EQ(native_->find(datagram), "");
}

/// Sends a socket to nobody: it is open, and no process holds it.
struct Unheld {
  explicit Unheld(Asker asker) : query(asker.datagram(kOwn, kOwn)) {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
    held[0] = FileDescriptor(ends[0]);
    held[1] = FileDescriptor(ends[1]);
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    char octet = 0;
    iovec data = {&octet, 1};
    msghdr message = {};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    *header = {CMSG_LEN(sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
    const int number = asker.number();
    std::memcpy(CMSG_DATA(header), &number, sizeof number);
    EXPECT_EQ(sendmsg(ends[0], &message, 0), 1);
  }

  CapturedQuery query;
  FileDescriptor held[2];
};

TEST_F(ProcessLookupTest, SocketsThatNobodyHoldsDoNotTakeAllTheTime) {
  const Unheld unheld(Asker().connectTo(kOwn));
  const auto timeOf = [&](int times) {
    const auto begin = std::chrono::steady_clock::now();
    for (int asked = 0; asked < times; ++asked) EXPECT_EQ(native_->find(unheld.query), "");
    return std::chrono::steady_clock::now() - begin;
  };
  const auto scan = timeOf(1);
  EXPECT_LT(timeOf(400), 200 * scan);
}

TEST_F(ProcessLookupTest, ManyThreadsFindTheirOwn) {
  std::vector<std::thread> threads;
  for (int count = 0; count < 4; ++count) {
    threads.emplace_back([this] {
      for (int round = 0; round < 50; ++round) {
        const Asker asker = Asker().connectTo(kOwn);
        const std::string text = find(asker);
        const std::string inode = " " + std::to_string(asker.inode()) + " ";
        EXPECT_NE(text.find(inode), text.npos) << inode << text;
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

TEST(AccountNames, AccountWithoutNameIsTold) {
  AccountNames names;
  const AccountNames::Time now;
  EXPECT_EQ(names.name(0, now), "root");
  EXPECT_EQ(names.name(4294967294u, now), "4294967294");
}

}  // namespace
}  // namespace tovi::platform
