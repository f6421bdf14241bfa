#include "things/program.h"

#include <glib.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "place/descriptor.h"

namespace things {

namespace {

// In memory: no pipe whose other end may be gone, and nothing on a disk.
Descriptor memory_with(const std::string& text) {
  Descriptor file(memfd_create("program", MFD_CLOEXEC));
  if (file && pwrite(file.number(), text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
    file = Descriptor();
  return file;
}

std::string text_in(const Descriptor& file) {
  std::array<char, 1024> text;
  const ssize_t size = pread(file.number(), text.data(), text.size(), 0);
  std::string said(text.data(), static_cast<std::size_t>(size < 0 ? 0 : size));
  while (said.ends_with('\n')) said.pop_back();
  return said;
}

int status_of(GPid child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0)
    if (errno != EINTR) return -1;
  return status;
}

}  // namespace

bool run_program(const std::vector<std::string>& words, const std::string& input, std::string& error) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  std::array environment = {const_cast<char*>("PATH=/usr/sbin:/usr/bin:/sbin:/bin"),
                            const_cast<char*>("LC_ALL=C"), static_cast<char*>(nullptr)};
  const Descriptor in = memory_with(input);
  const Descriptor out = memory_with("");
  GPid child = 0;
  GError* failure = nullptr;
  g_spawn_async_with_fds(nullptr, arguments.data(), environment.data(),
                         static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH_FROM_ENVP | G_SPAWN_DO_NOT_REAP_CHILD),
                         nullptr, nullptr, &child, in.number(), out.number(), out.number(), &failure);
  if (failure != nullptr) {
    error = failure->message;
    g_error_free(failure);
    return false;
  }
  const int status = status_of(child);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
  error = text_in(out);
  if (error.empty()) error = words.front() + " failed";
  return false;
}

}  // namespace things
