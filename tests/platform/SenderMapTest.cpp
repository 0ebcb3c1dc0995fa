#include <bpf/bpf.h>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <grp.h>
#include <linux/magic.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <netinet/udp.h>
#include <optional>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/linux/SenderLookup.h"
#include "platform/linux/SystemCall.h"
#include "platform/linux/kernel/SenderDirectory.h"
#include "platform/linux/kernel/SenderMap.h"
#include "platform/linux/kernel/SenderPins.h"
#include "platform/linux/kernel/SenderPrograms.h"
#include "tests/platform/Asker.h"

namespace tovi::platform {
namespace {

namespace fs = std::filesystem;

constexpr gid_t kReaders = 65534;

/// A header with this identifier and one question, for the root.
std::string message(std::uint16_t identifier) {
  const char begin[] = {static_cast<char>(identifier >> 8), static_cast<char>(identifier)};
  return std::string(begin, 2) + std::string("\1\0\0\1\0\0\0\0\0\0\0\0\1\0\1", 15);
}

void askOverTcp(const Asker& asker, std::uint16_t identifier) {
  const std::string text = message(identifier);
  asker.send(std::string("\0", 1) + static_cast<char>(text.size()) + text);
}

/// Runs `body` in a child under this name, to its end.
pid_t run(const char* name, const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_NAME, name);
    body();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  return child;
}

void enterNewNetwork() {
  checkCall(unshare(CLONE_NEWNET), "network namespace");
  const FileDescriptor any(socket(AF_INET, SOCK_DGRAM, 0));
  ifreq request = {};
  std::strcpy(request.ifr_name, "lo");
  request.ifr_flags = IFF_UP;
  EXPECT_EQ(ioctl(any.get(), SIOCSIFFLAGS, &request), 0);
}

fs::path rootOfControlGroups() {
  for (const char* const path : {"/sys/fs/cgroup", "/sys/fs/cgroup/unified"}) {
    struct statfs status;
    if (statfs(path, &status) == 0 && status.f_type == CGROUP2_SUPER_MAGIC) return path;
  }
  throw std::runtime_error("no control groups of version 2");
}

/// The programs, for a control group that this process alone is in, in a network of its own.
class SenderMapTest : public testing::Test {
 protected:
  void SetUp() override {
    try {
      enterNewNetwork();
      programs_.emplace();
      group_ = rootOfControlGroups() / ("tovi-test-" + std::to_string(getpid()) + ".service");
      fs::create_directory(group_);
      std::ofstream(group_ / "cgroup.procs") << "0";
      programs_->attach(group_);
    } catch (const std::exception& error) {
      GTEST_SKIP() << error.what();
    }
    setenv("TOVI_SENDERS_DIR", pins_.c_str(), 1);
    directory_.prepare(kReaders);
    programs_->pin(pins_);
    directory_.open(kReaders);
    lookup_ = std::make_unique<SenderLookup>();
    map_ = std::make_unique<SenderMap>(pins_);
  }
  void TearDown() override {
    directory_.remove();
    programs_.reset();
    if (group_.empty()) return;
    std::ofstream(group_.parent_path() / "cgroup.procs") << "0";
    rmdir(group_.c_str());
  }

  /// The process's name and identifier; empty for nobody.
  std::string senderOf(const CapturedQuery& query) {
    const auto sender = lookup_->find(*map_, query);
    if (sender.rows.empty()) return {};
    std::istringstream row(sender.rows.substr(sender.rows.find('\n')));
    std::string name;
    std::string process;
    row >> name >> process;
    return name + " " + process;
  }
  static std::string text(const char* name, pid_t process) {
    return std::string(name) + " " + std::to_string(process);
  }

  const fs::path pins_ = fs::temp_directory_path() / ("tovi-pins-" + std::to_string(getpid()));
  fs::path group_;
  SenderDirectory directory_{pins_};
  std::optional<SenderPrograms> programs_;
  std::unique_ptr<SenderLookup> lookup_;
  std::unique_ptr<SenderMap> map_;
};

TEST_F(SenderMapTest, SenderIsNamedAfterItsEndHoweverItSent) {
  for (const char* const host : {kOwn, "::1"}) {
    const auto expectNamed = [&](const char* name, auto send) {
      const Asker asker(SOCK_DGRAM, host);
      const pid_t process = run(name, [&] { send(asker); });
      EXPECT_EQ(senderOf(asker.query(258)), text(name, process)) << host;
      EXPECT_EQ(senderOf(asker.query(259)), "") << host;
    };
    expectNamed("connects", [](const Asker& asker) {
      asker.connectTo(53);
      asker.send(message(258));
    });
    expectNamed("sends_to", [](const Asker& asker) { asker.sendTo(message(258)); });
    expectNamed("has_threads", [](const Asker& asker) {
      std::thread([&] {
        prctl(PR_SET_NAME, "a thread");
        asker.sendTo(message(258));
      }).join();
    });
  }
}

TEST_F(SenderMapTest, SenderIsToldWithUserParentAndUnit) {
  const Asker asker;
  prctl(PR_SET_NAME, "the parent");
  const pid_t process = run("fifteen_letters", [&] {
    ASSERT_EQ(setuid(kReaders), 0);
    asker.sendTo(message(1));
  });
  const auto sender = lookup_->find(*map_, asker.query(1));
  const std::string row = "\nfifteen_letters " + std::to_string(process) + " nobody ";
  EXPECT_NE(sender.rows.find(row), std::string::npos) << sender.rows;
  EXPECT_EQ(sender.parentProcess, getpid());
  EXPECT_EQ(sender.parentName, "the parent");
  EXPECT_EQ(sender.unit, group_.filename());
}

TEST_F(SenderMapTest, HeirOfASocketIsNamedForWhatItSends) {
  const Asker asker;
  asker.connectTo(53);
  asker.send(message(1));
  const std::string own = senderOf(asker.query(1));
  const pid_t heir = run("heir", [&] {
    asker.send(message(2));  // Told that nobody listens.
    asker.send(message(2));
  });
  EXPECT_EQ(senderOf(asker.query(2)), text("heir", heir));
  EXPECT_EQ(senderOf(asker.query(1)), own);
  EXPECT_TRUE(own.ends_with(" " + std::to_string(getpid()))) << own;
}

class SenderMapTcpTest : public SenderMapTest {
 protected:
  void SetUp() override {
    SenderMapTest::SetUp();
    for (const char* const host : {kOwn, "::1"}) {
      const auto& server = servers_.emplace_back(SOCK_STREAM, host, 53);
      ASSERT_EQ(listen(server.number(), 5), 0);
    }
  }

  std::vector<Asker> servers_;
};

TEST_F(SenderMapTcpTest, SenderIsNamedHoweverTheMessageIsCut) {
  for (const char* const host : {kOwn, "::1"}) {
    const Asker asker(SOCK_STREAM, host);
    const pid_t process = run("over_tcp", [&] {
      asker.connectTo(53);
      askOverTcp(asker, 258);
      const std::string second = std::string("\0\21", 2) + message(259);
      for (const char octet : second) asker.send({octet});
    });
    EXPECT_EQ(senderOf(asker.query(258)), text("over_tcp", process)) << host;
    EXPECT_EQ(senderOf(asker.query(259)), text("over_tcp", process)) << host;
  }
}

TEST_F(SenderMapTcpTest, PartThatTheKernelHeldBackIsItsWriters) {
  const Asker asker(SOCK_STREAM);
  asker.connectTo(53);
  const FileDescriptor accepted(accept(servers_[0].number(), nullptr, nullptr));
  const int no = 0;
  ASSERT_EQ(setsockopt(accepted.get(), IPPROTO_TCP, TCP_QUICKACK, &no, sizeof no), 0);
  asker.send(std::string("\0\21", 2));
  // Leaves with the acknowledgement of the length, which nobody runs for.
  asker.send(message(258));
  std::array<char, 2 + 17> bytes;
  ASSERT_EQ(recv(accepted.get(), bytes.data(), bytes.size(), MSG_WAITALL), ssize_t{19});
  EXPECT_TRUE(senderOf(asker.query(258)).ends_with(" " + std::to_string(getpid())));
}

TEST_F(SenderMapTcpTest, HeirOfAConnectionIsNamedForItsMessage) {
  const Asker asker(SOCK_STREAM);
  asker.connectTo(53);
  askOverTcp(asker, 1);
  const pid_t heir = run("heir", [&] { askOverTcp(asker, 2); });
  EXPECT_EQ(senderOf(asker.query(2)), text("heir", heir));
  EXPECT_TRUE(senderOf(asker.query(1)).ends_with(" " + std::to_string(getpid())));
}

TEST_F(SenderMapTest, WhoGotASocketFromAStrangerIsNotTakenForIt) {
  const Asker asker;
  const pid_t stranger = run("stranger", [&] { asker.connectTo(53); });
  asker.send(message(1));
  EXPECT_NE(senderOf(asker.query(1)), text("stranger", stranger));
}

TEST_F(SenderMapTest, LaterSenderOfTheSameNumbersDoesNotGetTheQueryBefore) {
  std::uint16_t port = 0;
  CapturedQuery before;
  {
    const Asker first;
    port = first.port();
    first.sendTo(message(7));
    before = first.query(7);
    EXPECT_NE(senderOf(before), "");
  }
  pid_t later = 0;
  // A packet may be on its way for a moment; until then nobody is named.
  for (int tries = 0; tries < 1000; ++tries) {
    const Asker second(SOCK_DGRAM, kOwn, port);
    later = run("later", [&] { second.sendTo(message(7)); });
    EXPECT_EQ(senderOf(before), "");
    if (senderOf(second.query(7)) == text("later", later)) return;
  }
  FAIL() << "the later sender is never named";
}

TEST_F(SenderMapTest, QueryThatWasCapturedMuchLaterIsNobodys) {
  const Asker asker;
  asker.sendTo(message(7));
  auto query = asker.query(7);
  EXPECT_NE(senderOf(query), "");
  query.time += std::chrono::seconds(3);
  EXPECT_EQ(senderOf(query), "");
}

TEST_F(SenderMapTest, SamePacketOutOfAnotherNetworkMakesItNobodysUnlessItIsLoopbacks) {
  const auto addAddress = [] { return std::system("ip address add 192.0.2.1/32 dev lo") == 0; };
  ASSERT_TRUE(addAddress());
  for (const char* const host : {kOwn, "192.0.2.1"}) {
    const Asker asker(SOCK_DGRAM, host);
    asker.sendTo(message(7));
    const auto query = asker.query(7);
    const std::string own = senderOf(query);
    EXPECT_TRUE(own.ends_with(" " + std::to_string(getpid()))) << own;
    run("elsewhere", [&] {
      enterNewNetwork();
      EXPECT_TRUE(addAddress());
      Asker(SOCK_DGRAM, host, asker.port()).sendTo(message(7));
    });
    EXPECT_EQ(senderOf(query), host == kOwn ? own : "");
  }
}

// A UDP packet written by hand, with the port of another's socket.
void forge(const Asker& asker, std::uint16_t identifier) {
  struct {
    udphdr header;
    char text[17];
  } packet = {};
  packet.header.source = htons(asker.port());
  packet.header.dest = htons(53);
  packet.header.len = htons(sizeof packet);
  message(identifier).copy(packet.text, sizeof packet.text);
  const FileDescriptor raw(socket(AF_INET, SOCK_RAW, IPPROTO_UDP));
  const End server(kOwn, 0);
  EXPECT_GT(sendto(raw.get(), &packet, sizeof packet, 0, server.address(), server.size()), 0);
}

TEST_F(SenderMapTest, PacketOfARawSocketIsNobodys) {
  const Asker asker;
  asker.sendTo(message(7));
  EXPECT_NE(senderOf(asker.query(7)), "");
  forge(asker, 7);
  EXPECT_EQ(senderOf(asker.query(7)), "");
}

TEST_F(SenderMapTest, OnlyPort53IsNoted) {
  const Asker asker;
  const End other(kOwn, 5353);
  const std::string text = message(7);
  sendto(asker.number(), text.data(), text.size(), 0, other.address(), other.size());
  auto query = asker.query(7);
  EXPECT_EQ(senderOf(query), "");
  query.flow.destinationPort = 5353;
  EXPECT_EQ(senderOf(query), "");
}

TEST_F(SenderMapTest, OldestAreForgottenAndCountedWhenThereAreTooMany) {
  EXPECT_EQ(map_->forgotten(), 0U);
  const Asker asker;
  const Asker first;
  first.sendTo(message(1));
  EXPECT_NE(senderOf(first.query(1)), "");
  constexpr unsigned kMore = 3000;
  for (unsigned number = 0; number < TOVI_SENDER_PLACES + kMore; ++number) {
    asker.sendTo(message(static_cast<std::uint16_t>(number)));
  }
  EXPECT_EQ(map_->forgotten(), kMore + 1);
  EXPECT_EQ(senderOf(first.query(1)), "");
  EXPECT_NE(senderOf(asker.query(TOVI_SENDER_PLACES + kMore - 1)), "");
}

TEST_F(SenderMapTest, WithoutPrivilegesOnlyTheGroupReadsMapsAndNobodyTakesPrograms) {
  const Asker asker;
  asker.sendTo(message(1));
  const auto query = asker.query(1);
  run("reader", [&] {
    ASSERT_EQ(setgid(kReaders), 0);
    ASSERT_EQ(setuid(kReaders), 0);
    map_ = std::make_unique<SenderMap>(pins_);
    EXPECT_NE(senderOf(query), "");
  });
  run("other", [&] {
    ASSERT_EQ(setgroups(0, nullptr), 0);
    ASSERT_EQ(setgid(12345), 0);
    ASSERT_EQ(setuid(12345), 0);
    EXPECT_THROW(SenderMap{pins_}, std::system_error);
    EXPECT_THROW(SenderPrograms(), std::system_error);
  });
}

TEST_F(SenderMapTest, MapsThatAreNotOursAreRefused) {
  const auto pinned = pins_ / kSendersPin;
  const auto replace = [&](const char* name, std::uint32_t keySize) {
    fs::remove(pinned);
    const FileDescriptor map(
        bpf_map_create(BPF_MAP_TYPE_LRU_HASH, name, keySize, sizeof(tovi_sender), 100, nullptr));
    ASSERT_EQ(bpf_obj_pin(map.get(), pinned.c_str()), 0);
  };
  ASSERT_EQ(chmod(pinned.c_str(), 0666), 0);
  EXPECT_THROW(SenderMap{pins_}, std::runtime_error);
  replace(TOVI_SENDERS_MAP, sizeof(tovi_query));
  EXPECT_THROW(SenderMap{pins_}, std::runtime_error);
  EXPECT_NO_THROW(directory_.prepare(kReaders));
  replace("another", 4);
  EXPECT_THROW(SenderMap{pins_}, std::runtime_error);
  EXPECT_THROW(directory_.prepare(kReaders), std::runtime_error);
  EXPECT_THROW(directory_.remove(), std::runtime_error);
  fs::remove(pinned);
}

TEST_F(SenderMapTest, FinderTellsWhichWayIsInForceAndWhyNoBetter) {
  const Asker asker;
  asker.sendTo(message(1));
  ProcessFinder finder(std::nullopt);
  EXPECT_NE(finder.find(asker.query(1)).rows, "");
  EXPECT_EQ(finder.find(asker.query(2)).rows, "");
  EXPECT_EQ(finder.report().way, "kernel");
  EXPECT_EQ(finder.report().reason, "");
  EXPECT_EQ(finder.report().foundByKernel, 1U);
  setenv("TOVI_SENDERS_DIR", "/nowhere", 1);
  const auto without = ProcessFinder("kernel").report();
  EXPECT_EQ(without.way, "none");
  EXPECT_NE(without.reason.find("/nowhere"), std::string::npos) << without.reason;
  EXPECT_EQ(ProcessFinder("lsof").report().way, "lsof");
}

TEST_F(SenderMapTest, NothingIsLeftOnceItIsDetached) {
  const FileDescriptor group(open(group_.c_str(), O_RDONLY | O_DIRECTORY));
  const auto attached = [&] {
    std::uint32_t programs[8];
    std::uint32_t count = std::size(programs);
    EXPECT_EQ(bpf_prog_query(group.get(), BPF_CGROUP_INET_EGRESS, 0, nullptr, programs, &count), 0);
    return count;
  };
  programs_.reset();
  EXPECT_EQ(attached(), 1U);
  directory_.remove();
  // The kernel does the last of it a moment later.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (attached() != 0 && std::chrono::steady_clock::now() < end) std::this_thread::yield();
  EXPECT_EQ(attached(), 0U);
  EXPECT_FALSE(fs::exists(pins_));
}

TEST_F(SenderMapTest, DirectoryThatHoldsSomethingElseIsLeftAlone) {
  const fs::path path = pins_.string() + "-other";
  fs::create_directory(path);
  std::ofstream(path / "file") << "text";
  EXPECT_THROW(SenderDirectory(path).prepare(0), std::runtime_error);
  EXPECT_THROW(SenderDirectory(path).remove(), std::runtime_error);
  EXPECT_TRUE(fs::exists(path / "file"));
  fs::remove_all(path);
}

TEST(SenderLookup, UnitIsThatOfTheInnermostGroupThatIsOne) {
  const std::string container(64, 'a');
  EXPECT_EQ(unitOf("cron.service", "system.slice"), "cron.service");
  EXPECT_EQ(unitOf("session-2.scope", "user-0.slice"), "session-2.scope");
  EXPECT_EQ(unitOf("payload", "docker.service"), "docker.service");
  EXPECT_EQ(unitOf(container, "docker"), container);
  EXPECT_EQ(unitOf("init", container), container);
  EXPECT_EQ(unitOf(container + "a", "b"), "");
  EXPECT_EQ(unitOf("", ""), "");
}

}  // namespace
}  // namespace tovi::platform
