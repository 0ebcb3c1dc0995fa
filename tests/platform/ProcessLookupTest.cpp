#include <csignal>
#include <functional>
#include <optional>
#include <regex>
#include <sstream>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "platform/linux/AccountNames.h"
#include "platform/linux/NativeProcessLookup.h"
#include "tests/platform/Asker.h"

namespace tovi::platform {
namespace {

using namespace std::chrono_literals;

Asker connected(const char* host = kOwn) {
  Asker asker(SOCK_DGRAM, host);
  asker.connectTo(53);
  return asker;
}

CapturedQuery queryOf(const Asker& asker, const char* source, const char* destination) {
  return {{mapped(source), mapped(destination), asker.port(), 53}};
}

/// A child that runs `body`, then stops until the end of this.
class Child {
 public:
  explicit Child(const std::function<void()>& body) : process(fork()) {
    if (process == 0) {
      body();
      raise(SIGSTOP);
      _exit(0);
    }
    int status = 0;
    waitpid(process, &status, WUNTRACED);
    EXPECT_TRUE(WIFSTOPPED(status));
  }
  ~Child() {
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
  }

  const pid_t process;
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
    return findInTime(queryOf(asker, address, address));
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
  const Asker asker = connected();
  const Asker dual = connected("::ffff:127.0.0.1");
  const Asker any(SOCK_DGRAM, "0.0.0.0");
  Asker left = connected();
  const auto fromHeir = queryOf(left, kOwn, kOwn);
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
    for (const Asker* each : {&asker, &dual, &any}) {
      EXPECT_EQ(inNarrowColumns(find(*each)), lsof("-i4UDP:" + std::to_string(each->port())));
    }
  }
}

TEST_F(ProcessLookupTest, TextOfAConnectionIsThatOfLsof) {
  const Asker server(SOCK_STREAM);
  ASSERT_EQ(listen(server.number(), 1), 0);
  const Asker client(SOCK_STREAM);
  client.connectTo(server.port());
  CapturedQuery query = client.query(0);
  query.flow.destinationPort = server.port();
  const std::string port = std::to_string(query.flow.sourcePort);
  EXPECT_EQ(inNarrowColumns(findInTime(query)), lsof("-i4TCP:" + port));
  query.transport = Transport::udp;
  EXPECT_EQ(native_->find(query), "");
}

TEST_F(ProcessLookupTest, NamesThatMisleadLsofStayInTheirColumn) {
  const Asker asker = connected();
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
  Asker asker = connected();
  const Asker dual(SOCK_DGRAM, "::");
  const Asker v6 = connected("::1");
  EXPECT_EQ(processOf(asker), getpid());
  EXPECT_EQ(processOf(dual), getpid());
  EXPECT_EQ(processOf(dual, "::1"), getpid());
  EXPECT_EQ(processOf(v6, "::1"), getpid());
  EXPECT_EQ(native_->find(queryOf(v6, kOwn, kOwn)), "");
  EXPECT_EQ(native_->find(queryOf(asker, kOwn, "::ffff:127.0.0.2")), "");
  // As if forwarded for others, who took the same port.
  for (const char* const foreign : {"::ffff:192.0.2.1", "2001:db8::1"}) {
    EXPECT_EQ(native_->find(queryOf(dual, foreign, foreign)), "");
  }
  const auto datagram = queryOf(asker, kOwn, kOwn);
  asker.close();
  EXPECT_EQ(native_->find(datagram), "");
}

TEST_F(ProcessLookupTest, LsofFindsByThePortAlone) {
  const Asker asker = connected();
  const auto elsewhere = queryOf(asker, "::ffff:192.0.2.1", "::ffff:192.0.2.2");
  std::string rows;
  // It may take longer than it is given when the machine is busy.
  for (int tries = 0; rows.empty() && tries < 10; ++tries) {
    rows = ProcessFinder("lsof").find(elsewhere).rows;
  }
  EXPECT_TRUE(rows.starts_with("COMMAND")) << rows;
  EXPECT_EQ(ProcessFinder("search").find(elsewhere).rows, "");
}

TEST_F(ProcessLookupTest, DescriptorThatBecameAnotherNamesNobody) {
  const Asker other = connected();
  Asker asker = connected();
  std::optional<Child> heir(std::in_place, [] {});
  EXPECT_EQ(processOf(asker), getpid());
  const auto datagram = queryOf(asker, kOwn, kOwn);
  dup2(other.number(), asker.number());
  const std::string text = findInTime(datagram);
  EXPECT_NE(text.find(std::to_string(heir->process)), std::string::npos) << text;
  EXPECT_EQ(text.find(std::to_string(getpid())), std::string::npos) << text;
  heir.reset();
  EXPECT_EQ(native_->find(datagram), "");
}

/// Sends a socket to nobody: it is open, and no process holds it.
struct Unheld {
  explicit Unheld(Asker asker) : query(queryOf(asker, kOwn, kOwn)) {
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
  const Unheld unheld(connected());
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
        const Asker asker = connected();
        const std::string text = find(asker);
        struct stat status = {};
        fstat(asker.number(), &status);
        const std::string inode = " " + std::to_string(status.st_ino) + " ";
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
