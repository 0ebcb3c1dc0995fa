// tovi-attach: puts the programs that note who sends DNS queries into the kernel, or takes them
// away.
#include <array>
#include <filesystem>
#include <getopt.h>
#include <grp.h>
#include <iostream>
#include <linux/magic.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/vfs.h>

#include "platform/linux/kernel/SenderDirectory.h"
#include "platform/linux/kernel/SenderPins.h"
#include "platform/linux/kernel/SenderPrograms.h"

namespace {

using namespace tovi::platform;

constexpr int kFailure = 1;
constexpr int kUsageError = 2;

struct Options {
  bool detach = false;
  std::string directory = senderPins();
  std::string controlGroup;
  std::string group;
};

void printUsage(std::ostream& stream) {
  stream
      << "usage: tovi-attach [--detach] [--directory DIR] [--control-group DIR] [--group NAME]\n";
}

/// None when they cannot be understood.
std::optional<Options> parse(int count, char** arguments) {
  constexpr std::array kOptions = {option{"detach", no_argument, nullptr, 'd'},
                                   option{"directory", required_argument, nullptr, 'p'},
                                   option{"control-group", required_argument, nullptr, 'c'},
                                   option{"group", required_argument, nullptr, 'g'},
                                   option{"help", no_argument, nullptr, 'h'},
                                   option{}};
  Options options;
  for (int c; (c = getopt_long(count, arguments, "", kOptions.data(), nullptr)) != -1;) {
    switch (c) {
      case 'd':
        options.detach = true;
        break;
      case 'p':
        options.directory = optarg;
        break;
      case 'c':
        options.controlGroup = optarg;
        break;
      case 'g':
        options.group = optarg;
        break;
      case 'h':
        printUsage(std::cout);
        std::exit(0);
      default:
        return std::nullopt;
    }
  }
  if (optind != count || options.directory.empty()) return std::nullopt;
  return options;
}

std::string rootOfControlGroups() {
  for (const char* const path : {"/sys/fs/cgroup", "/sys/fs/cgroup/unified"}) {
    struct statfs status;
    if (statfs(path, &status) == 0 && status.f_type == CGROUP2_SUPER_MAGIC) return path;
  }
  throw std::runtime_error("control groups of version 2 are not mounted");
}

/// The service's group if there is one, and none is given.
gid_t readers(const std::string& name) {
  const group* const found = getgrnam(name.empty() ? "_tovi" : name.c_str());
  if (found != nullptr) return found->gr_gid;
  if (!name.empty()) throw std::runtime_error("there is no group " + name);
  return 0;
}

void attach(const Options& options) {
  const gid_t group = readers(options.group);
  const auto root = options.controlGroup.empty() ? rootOfControlGroups() : options.controlGroup;
  SenderPrograms programs;
  programs.attach(root);
  SenderDirectory directory(options.directory);
  directory.prepare(group);
  try {
    programs.pin(options.directory);
    directory.open(group);
  } catch (...) {
    directory.remove();
    throw;
  }
  std::cout << "tovi-attach: senders of DNS queries are noted in " << options.directory
            << (programs.seeEveryCall() ? " at each call that sends\n"
                                        : " at each call that names the address\n");
}

}  // namespace

int main(int count, char** arguments) {
  const auto options = parse(count, arguments);
  if (!options) {
    printUsage(std::cerr);
    return kUsageError;
  }
  try {
    options->detach ? SenderDirectory(options->directory).remove() : attach(*options);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "tovi-attach: " << error.what() << "\n";
    return kFailure;
  }
}
