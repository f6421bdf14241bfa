#include "support/system_log.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char* log_path = "/dev/log";

}  // namespace

SystemLog::SystemLog() : socket_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
  closelog();  // a connection made earlier would keep its old socket
  unlink(log_path);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, log_path);
  if (bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    std::perror(log_path);
    std::abort();
  }
}

SystemLog::~SystemLog() {
  closelog();
  close(socket_);
  unlink(log_path);
}

std::vector<std::string> SystemLog::messages() {
  std::vector<std::string> all;
  std::string message(65536, '\0');
  while (true) {
    const ssize_t size = recv(socket_, message.data(), message.size(), MSG_DONTWAIT);
    if (size < 0) return all;
    all.emplace_back(message.data(), static_cast<std::size_t>(size));
  }
}
