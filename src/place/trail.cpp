#include "place/trail.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "place/opened.h"

namespace place {

namespace {

// A process may have 1024 files open, and trees are deeper than that.
constexpr std::size_t most_open = 32;

}  // namespace

bool Trail::down(int folder, const char* name) {
  Descriptor next = open_folder_in(folder, name);
  struct stat found {};
  if (!next || fstat(next.number(), &found) != 0) return false;
  steps_.push_back({std::move(next), found.st_dev, found.st_ino});
  if (steps_.size() > most_open) static_cast<void>(steps_[steps_.size() - most_open - 1].folder.close());
  return true;
}

bool Trail::up() {
  const Descriptor below = std::move(steps_.back().folder);
  steps_.pop_back();
  return steps_.empty() || steps_.back().folder || open_above(below, steps_.back());
}

// Who moved the folder elsewhere must not lead us there.
bool Trail::open_above(const Descriptor& below, Step& step) {
  step.folder = open_folder_in(below.number(), "..");
  struct stat found {};
  if (!step.folder || fstat(step.folder.number(), &found) != 0) return false;
  if (found.st_dev == step.device && found.st_ino == step.inode) return true;
  errno = ESTALE;
  return false;
}

}  // namespace place
