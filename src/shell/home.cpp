#include "shell/home.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "state/state.h"

namespace {

constexpr std::size_t home_buffer_size = 64;

std::string home_of(const std::string& login) { return login == "root" ? "/root" : "/home/" + login; }

// Refused rather than cut: a shortened path would be somebody else's.
int copy_home(const std::string& home, char* buffer) {
  if (home.size() >= home_buffer_size) {
    errno = ENAMETOOLONG;
    return -1;
  }
  std::strcpy(buffer, home.c_str());
  return 0;
}

}  // namespace

Owner current_owner() {
  // A profile called root gets an account of its own below /home, never the superuser's home.
  if (isDefaultUser == 0) return {cur_user, std::string("/home/") + cur_user};
  const passwd* entry = getpwuid(getuid());
  if (entry == nullptr) return {};
  return {entry->pw_name, home_of(entry->pw_name)};
}

void trace_home(const std::string& home) {
  if (!home.empty()) {
    std::printf("buffer=%s\n", home.c_str());
    return;
  }
  getpwuid(getuid());  // asked again for its reason
  std::perror("username ");
}

std::string user_home() {
  const std::string home = current_owner().home;
  trace_home(home);
  return home;
}

int username(char* buffer) {
  const std::string home = user_home();
  return home.empty() ? -1 : copy_home(home, buffer);
}

int currentusername(char* buffer) { return copy_home(std::string("/home/") + cur_user, buffer); }
