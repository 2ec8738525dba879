// nvme-target PORT FOLDER: an NVMe/TCP target on the loopback address, for tests. Each file of the
// folder describes a controller; the subsystem's name ends in ":" and the file's name. Goes to the
// background once it listens, so that its caller may connect when it has returned.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <thread>

#include "tests/vm/nvmetarget/Session.h"

namespace {

// A listening socket on 127.0.0.1, or -1 with errno set.
int listenOn(std::uint16_t port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int yes = 1;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (fd < 0 || ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes)) != 0 ||
      ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
      ::listen(fd, SOMAXCONN) != 0) {
    return -1;
  }
  return fd;
}

void serve(int connection, const std::string& folder) {
  const int yes = 1;
  (void)::setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof(yes));
  try {
    vm::Session(connection, folder).serve();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "nvme-target: %s\n", error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: nvme-target PORT FOLDER\n");
    return 2;
  }
  const int listener = listenOn(static_cast<std::uint16_t>(std::atoi(argv[1])));
  if (listener < 0 || ::daemon(1, 1) != 0) {
    std::fprintf(stderr, "nvme-target: %s\n", std::strerror(errno));
    return 1;
  }
  for (;;) {
    const int connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) {
      std::fprintf(stderr, "nvme-target: accept: %s\n", std::strerror(errno));
      return 1;
    }
    std::thread(serve, connection, std::string(argv[2])).detach();
  }
}
