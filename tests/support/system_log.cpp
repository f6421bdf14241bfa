#include "support/system_log.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "support/commands.h"

namespace {

constexpr const char* log_path = "/dev/log";

}  // namespace

SystemLog::SystemLog(Reads reads) : socket_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
  closelog();  // a connection made earlier would keep its old socket
  unlink(log_path);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, log_path);
  if (bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || pipe(stop_) != 0) {
    std::perror(log_path);
    std::abort();
  }
  if (reads == Reads::beside) reader_ = std::thread([this] { read_until_told_to_stop(); });
}

SystemLog::~SystemLog() {
  closelog();
  close(stop_[1]);
  if (reader_.joinable()) reader_.join();
  close(stop_[0]);
  close(socket_);
  unlink(log_path);
}

void SystemLog::read_until_told_to_stop() {
  std::string message(65536, '\0');
  pollfd waiting[] = {{socket_, POLLIN, 0}, {stop_[0], POLLIN, 0}};
  while (poll(waiting, 2, -1) > 0 && waiting[1].revents == 0) {
    const std::scoped_lock lock(guard_);
    const ssize_t size = recv(socket_, message.data(), message.size(), MSG_DONTWAIT);
    if (size >= 0) messages_.emplace_back(message.data(), static_cast<std::size_t>(size));
  }
}

std::vector<std::string> SystemLog::messages() {
  // What the reader has not come to yet is in the socket; syslog(3) returns once it is there.
  const std::scoped_lock lock(guard_);
  std::string message(65536, '\0');
  ssize_t size = 0;
  while ((size = recv(socket_, message.data(), message.size(), MSG_DONTWAIT)) >= 0)
    messages_.emplace_back(message.data(), static_cast<std::size_t>(size));
  return std::exchange(messages_, {});
}

bool is_failure_logged(const std::string& start, const std::function<void()>& body, int before) {
  constexpr int exit_status_1 = 1 << 8;
  SystemLog log;
  forget_commands();
  answer_command(start, exit_status_1, 0, before);
  body();
  const std::vector<std::string> commands = commands_run();
  const auto failed = std::ranges::find_if(
      commands, [&](const std::string& command) { return command.starts_with(start) && before-- == 0; });
  if (failed == commands.end()) {
    ADD_FAILURE() << "not run: " << start << "\n" << testing::PrintToString(commands);
    return false;
  }
  const std::vector<std::string> messages = log.messages();
  return std::ranges::any_of(messages, [&](const std::string& message) {
    return message.find("normal termination, exit status 1, " + *failed + ": ") != message.npos;
  });
}
