// The two ends of measured exchanges.
//   ask-and-answer ask NAME             asks 127.0.0.1 for NAME once and waits for the answer
//   ask-and-answer answer MICROSECONDS  answers on 127.0.0.1, so long after each question, until
//   its
//                                       input ends
#include <arpa/inet.h>
#include <chrono>
#include <cstdio>
#include <deque>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

const sockaddr_in kServer = {AF_INET, htons(53), {htonl(INADDR_LOOPBACK)}, {}};
const auto* const kServerAddress = reinterpret_cast<const sockaddr*>(&kServer);

/// NAME.test, type A, class IN (RFC 1035, section 4.1).
std::string question(const std::string& name) {
  std::string message("\x12\x34\x01\0\0\1\0\0\0\0\0\0", 12);
  message += static_cast<char>(name.size()) + name;
  return message + std::string("\4test\0\0\1\0\1", 10);
}

int ask(const std::string& name) {
  const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
  const std::string message = question(name);
  if (connect(socket, kServerAddress, sizeof kServer) != 0) return 1;
  if (send(socket, message.data(), message.size(), 0) < 0) return 1;
  char answer[512];
  return recv(socket, answer, sizeof answer, 0) > 0 ? 0 : 1;
}

struct Answer {
  Clock::time_point due;
  sockaddr_in to;
  std::string message;
};

class Server {
 public:
  explicit Server(std::chrono::microseconds delay) : delay_(delay) {}

  int run() {
    if (bind(socket_, kServerAddress, sizeof kServer) != 0) return 1;
    std::puts("ready");
    std::fflush(stdout);
    while (wait()) {
      while (take()) {
      }
      sendDue();
    }
    return 0;
  }

 private:
  /// False once the input has ended.
  bool wait() const {
    pollfd waiting[] = {{socket_, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    timespec left = {3600, 0};
    if (!answers_.empty()) {
      const auto time = std::max(Clock::duration(0), answers_.front().due - Clock::now());
      left = {time / std::chrono::seconds(1), (time % std::chrono::seconds(1)).count()};
    }
    ppoll(waiting, 2, &left, nullptr);
    return waiting[1].revents == 0;
  }

  bool take() {
    char bytes[4096];
    sockaddr_in from;
    socklen_t length = sizeof from;
    const ssize_t count = recvfrom(socket_, bytes, sizeof bytes, MSG_DONTWAIT,
                                   reinterpret_cast<sockaddr*>(&from), &length);
    if (count < 12) return count >= 0;
    bytes[2] = static_cast<char>(bytes[2] | 0x80);
    answers_.push_back(
        {Clock::now() + delay_, from, std::string(bytes, static_cast<std::size_t>(count))});
    return true;
  }

  void sendDue() {
    while (!answers_.empty() && answers_.front().due <= Clock::now()) {
      const auto& [due, to, message] = answers_.front();
      sendto(socket_, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&to),
             sizeof to);
      answers_.pop_front();
    }
  }

  const std::chrono::microseconds delay_;
  const int socket_ = socket(AF_INET, SOCK_DGRAM, 0);
  std::deque<Answer> answers_;
};

}  // namespace

int main(int argumentCount, char** arguments) {
  const std::string verb = argumentCount == 3 ? arguments[1] : "";
  if (verb == "ask") return ask(arguments[2]);
  if (verb == "answer") return Server(std::chrono::microseconds(std::stol(arguments[2]))).run();
  std::fprintf(stderr, "usage: %s ask NAME | answer MICROSECONDS\n", arguments[0]);
  return 2;
}
