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

std::string whole_text_in(const Descriptor& file) {
  std::string text;
  std::array<char, 1 << 16> block;
  ssize_t size = 0;
  while ((size = pread(file.number(), block.data(), block.size(), static_cast<off_t>(text.size()))) > 0)
    text.append(block.data(), static_cast<std::size_t>(size));
  return text;
}

std::string text_in(const Descriptor& file) {
  std::string said = whole_text_in(file).substr(0, 1024);
  while (said.ends_with('\n')) said.pop_back();
  return said;
}

int status_of(GPid child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0)
    if (errno != EINTR) return -1;
  return status;
}

bool run(const std::vector<std::string>& words, const Descriptor& in, const Descriptor& out,
         const Descriptor& said, std::string& error) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  std::array environment = {const_cast<char*>("PATH=/usr/sbin:/usr/bin:/sbin:/bin"),
                            const_cast<char*>("LC_ALL=C"), static_cast<char*>(nullptr)};
  GPid child = 0;
  GError* failure = nullptr;
  g_spawn_async_with_fds(nullptr, arguments.data(), environment.data(),
                         static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH_FROM_ENVP | G_SPAWN_DO_NOT_REAP_CHILD),
                         nullptr, nullptr, &child, in.number(), out.number(), said.number(), &failure);
  if (failure != nullptr) {
    error = failure->message;
    g_error_free(failure);
    return false;
  }
  const int status = status_of(child);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
  error = text_in(said);
  if (error.empty()) error = words.front() + " failed";
  return false;
}

}  // namespace

bool run_program(const std::vector<std::string>& words, const std::string& input, std::string& error) {
  const Descriptor said = memory_with("");
  return run(words, memory_with(input), said, said, error);
}

bool run_program_for(std::string& output, const std::vector<std::string>& words, std::string& error) {
  const Descriptor out = memory_with("");
  if (!run(words, memory_with(""), out, memory_with(""), error)) return false;
  output = whole_text_in(out);
  return true;
}

}  // namespace things
