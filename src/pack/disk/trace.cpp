#include "pack/disk/trace.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace pack {

namespace {

int watcher = -1;

void tell(char what, const std::string& path) {
  if (watcher < 0) return;
  const std::string line = what + path + '\0';
  std::string_view left = line;
  while (!left.empty()) {
    const ssize_t count = write(watcher, left.data(), left.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;  // nobody is there any more
    left.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace

Trace::Trace(std::string path) : path_(std::move(path)) { tell('+', path_); }

Trace::~Trace() { tell('-', path_); }

void Trace::is_to_stay(bool whether) const { tell(whether ? '=' : '+', path_); }

void tell_traces_to(int pipe) { watcher = pipe; }

}  // namespace pack
