#include "support/commands.h"

#include <dlfcn.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdio>
#include <mutex>
#include <optional>
#include <utility>

namespace {

std::mutex recording;
std::vector<std::string> recorded;

struct Answer {
  std::string start;
  int status;
  int error;
  int before;
};
std::optional<Answer> planned;

std::string awaited;
std::function<void()> deed;

int real_system(const char* text) {
  using System = int (*)(const char*);
  static const System next = reinterpret_cast<System>(dlsym(RTLD_NEXT, "system"));
  return next(text);
}

}  // namespace

// Takes the place of the C library's function in the test program.
extern "C" int system(const char* text) {
  {
    const std::scoped_lock lock(recording);
    recorded.emplace_back(text);
    if (deed && recorded.back().starts_with(awaited)) std::exchange(deed, nullptr)();
    if (planned && recorded.back().starts_with(planned->start) && planned->before-- == 0) {
      errno = planned->error;
      return std::exchange(planned, std::nullopt)->status;
    }
  }
  return real_system(text);
}

std::vector<std::string> commands_run() {
  const std::scoped_lock lock(recording);
  return recorded;
}

void forget_commands() {
  const std::scoped_lock lock(recording);
  recorded.clear();
}

void answer_command(const std::string& start, int status, int error, int before) {
  const std::scoped_lock lock(recording);
  planned = Answer{start, status, error, before};
}

void when_command(const std::string& start, const std::function<void()>& action) {
  const std::scoped_lock lock(recording);
  awaited = start;
  deed = action;
}

int shell_quietly(const std::string& text) {
  const int status = real_system(text.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string output_of(const std::string& text) {
  std::string output;
  std::FILE* pipe = popen(text.c_str(), "r");
  if (pipe == nullptr) return output;
  for (int c = std::getc(pipe); c != EOF; c = std::getc(pipe)) output += static_cast<char>(c);
  pclose(pipe);
  return output;
}
