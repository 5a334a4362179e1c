#include "tests/kernel/loopback.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

namespace {

// Fixed, so that the listener takes no port from the range that is being tested.
constexpr std::uint16_t kServerPort = 4000;

int Check(int result, const char* what) {
  if (result < 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
  return result;
}

int NewSocket() { return Check(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"); }

template <class Value>
Value Option(int socket, int level, int option) {
  Value value{};
  socklen_t size = sizeof value;
  Check(getsockopt(socket, level, option, &value, &size), "getsockopt");
  return value;
}

void Reset(int socket) {
  const linger at_once = {1, 0};
  setsockopt(socket, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  close(socket);
}

}  // namespace

void BringUpLoopback() {
  const int any = NewSocket();
  ifreq request = {};
  std::strcpy(request.ifr_name, "lo");
  request.ifr_flags = IFF_UP;
  Check(ioctl(any, SIOCSIFFLAGS, &request), "bringing lo up");
  close(any);
}

LoopbackConnection::LoopbackConnection() : client_(NewSocket()) {
  const int listener = NewSocket();
  const int yes = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(kServerPort);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  Check(bind(listener, generic, sizeof address), "bind");
  Check(listen(listener, 1), "listen");
  Check(connect(client_, generic, sizeof address), "connect");
  server_ = Check(accept(listener, nullptr, nullptr), "accept");
  close(listener);
}

LoopbackConnection::~LoopbackConnection() {
  Reset(client_);
  Reset(server_);
}

std::uint16_t LoopbackConnection::client_port() const {
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  Check(getsockname(client_, reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
  return ntohs(address.sin_port);
}

int LoopbackConnection::Options(int socket) {
  return Option<tcp_info>(socket, IPPROTO_TCP, TCP_INFO).tcpi_options;
}

int NewSocketOption(int level, int option) {
  const int any = NewSocket();
  const int value = Option<int>(any, level, option);
  close(any);
  return value;
}
