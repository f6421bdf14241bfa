#include "shell/home.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "state/state.h"

namespace {

constexpr std::size_t home_buffer_size = 64;

std::string running_users_home() {
  const passwd* entry = getpwuid(getuid());
  if (entry == nullptr) return "";
  const std::string login = entry->pw_name;
  return login == "root" ? "/root" : "/home/" + login;
}

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

std::string user_home() {
  const std::string home = isDefaultUser != 0 ? running_users_home() : std::string("/home/") + cur_user;
  if (home.empty()) {
    std::perror("username ");
  } else {
    std::printf("buffer=%s\n", home.c_str());
  }
  return home;
}

int username(char* buffer) {
  const std::string home = user_home();
  return home.empty() ? -1 : copy_home(home, buffer);
}

int currentusername(char* buffer) { return copy_home(std::string("/home/") + cur_user, buffer); }
