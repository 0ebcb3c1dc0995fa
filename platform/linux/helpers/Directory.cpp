#include <iostream>
#include <pwd.h>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view kUsers = "/Users/";
constexpr int kUnknownAccount = 56;
constexpr int kUsage = 2;

// The first of the comma-separated entries of the account's comment; empty when it has none.
std::string realName(const passwd& account) {
  const std::string comment = account.pw_gecos != nullptr ? account.pw_gecos : "";
  return comment.substr(0, comment.find(','));
}

int printRealName(const std::string& name) {
  const passwd* account = getpwnam(name.c_str());
  if (account == nullptr) {
    std::cerr << "tovi-directory: no account " << name << "\n";
    return kUnknownAccount;
  }
  const std::string fullName = realName(*account);
  std::cout << "RealName:\n" << (fullName.empty() ? "" : " " + fullName + "\n") << std::flush;
  return std::cout ? 0 : 1;
}

bool isRead(int count, char** arguments) {
  return count == 5 && std::string_view(arguments[1]) == "." &&
         std::string_view(arguments[2]) == "-read" &&
         std::string_view(arguments[3]).starts_with(kUsers) &&
         std::string_view(arguments[4]) == "RealName";
}

}  // namespace

int main(int count, char** arguments) {
  if (!isRead(count, arguments)) {
    std::cerr << "usage: tovi-directory . -read /Users/NAME RealName\n";
    return kUsage;
  }
  return printRealName(std::string(arguments[3]).substr(kUsers.size()));
}
