// A file that is in the way of a command.
#ifndef BRINDLE_SHELL_ASIDE_H
#define BRINDLE_SHELL_ASIDE_H

#include <string>

/// Moves what lies at `path`, if anything does, to a hidden name in the same folder, so that a command can
/// use the path. At the end of its life it is back, and what the command left there is gone:
///
///   const PutAside own(path);
///   SYSTEM(compose("cp %s %s", from, path));
///
/// A link is moved as a link. What cannot be moved stays where it is.
class PutAside {
 public:
  explicit PutAside(std::string path);
  ~PutAside();
  PutAside(const PutAside&) = delete;
  PutAside& operator=(const PutAside&) = delete;

 private:
  std::string path_;
  std::string aside_;  // empty when nothing was moved
};

#endif
