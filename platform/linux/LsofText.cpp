#include "platform/linux/LsofText.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <vector>

namespace tovi::platform {

namespace {

constexpr std::size_t kColumns = 9;

using Row = std::array<std::string, kColumns>;

// A column is as wide as its widest cell.
const Row kHeader = {"COMMAND", "PID",      "USER", "  FD  ", "TYPE",
                     "DEVICE",  "SIZE/OFF", "NODE", "NAME"};

std::string escaped(char c) {
  constexpr std::string_view kNamed = "\b\t\n\f\r\\";
  constexpr std::string_view kLetters = "btnfr\\";
  if (const auto at = kNamed.find(c); at != kNamed.npos) return {'\\', kLetters[at]};
  if (c > ' ' && c <= '~') return {c};
  if (c >= 0 && c < ' ') return {'^', static_cast<char>(c + '@')};
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto octet = static_cast<unsigned char>(c);
  return {'\\', 'x', kDigits[octet / 16], kDigits[octet % 16]};
}

std::string hostText(const Address& address) {
  std::array<char, INET6_ADDRSTRLEN> text;
  if (address == Address()) return "*";
  if (isIpv4(address)) return inet_ntop(AF_INET, &address[12], text.data(), text.size());
  return std::string("[") + inet_ntop(AF_INET6, address.data(), text.data(), text.size()) + "]";
}

std::string endText(const Address& address, std::uint16_t port, const ServiceNames& services) {
  return hostText(address) + ":" + services.name(port);
}

std::string descriptorText(int descriptor) {
  return descriptor == SocketOwner::kUnknownDescriptor ? "unk " : std::to_string(descriptor) + "u ";
}

// The states that a socket can be in while a process holds it (RFC 9293, section 3.3.2).
std::string stateText(const TableSocket& socket) {
  if (socket.transport != Transport::tcp) return {};
  switch (socket.state) {
    case TCP_ESTABLISHED:
      return "(ESTABLISHED)";
    case TCP_SYN_SENT:
      return "(SYN_SENT)";
    case TCP_FIN_WAIT1:
      return "(FIN_WAIT1)";
    case TCP_FIN_WAIT2:
      return "(FIN_WAIT2)";
    case TCP_CLOSE_WAIT:
      return "(CLOSE_WAIT)";
    default:
      return {};
  }
}

std::string nameOf(const TableSocket& socket, const ServiceNames& services) {
  std::string name = endText(socket.localAddress, socket.localPort, services);
  if (socket.remotePort != 0) {
    name += "->" + endText(socket.remoteAddress, socket.remotePort, services);
  }
  return name + " " + stateText(socket);
}

void append(std::string& text, const Row& row, const std::array<std::size_t, kColumns>& widths) {
  text += row[0];
  text.append(widths[0] - row[0].size(), ' ');
  for (std::size_t column = 1; column < kColumns - 1; ++column) {
    text += ' ';
    text.append(widths[column] - row[column].size(), ' ');
    text += row[column];
  }
  text += ' ' + row.back() + '\n';
}

}  // namespace

std::string lsofCommand(std::string_view processName) {
  std::string command;
  for (const char c : processName) command += escaped(c);
  return command.empty() ? "?" : command;
}

std::string lsofText(const TableSocket& socket, std::span<const NamedOwner> owners,
                     const ServiceNames& services) {
  std::vector<Row> rows = {kHeader};
  const bool isTcp = socket.transport == Transport::tcp;
  for (const auto& [owner, processName, userName] : owners) {
    rows.push_back({lsofCommand(processName), std::to_string(owner.process), userName,
                    descriptorText(owner.descriptor), socket.isIpv6 ? "IPv6" : "IPv4",
                    std::to_string(socket.inode), "0t0", isTcp ? "TCP" : "UDP",
                    nameOf(socket, services)});
  }
  std::array<std::size_t, kColumns> widths = {};
  for (const Row& row : rows) {
    for (std::size_t column = 0; column < kColumns; ++column) {
      widths[column] = std::max(widths[column], row[column].size());
    }
  }
  std::string text;
  for (const Row& row : rows) append(text, row, widths);
  return text;
}

}  // namespace tovi::platform
