// A new file beside the one whose place it takes once it is whole.
#ifndef BRINDLE_SHELL_BESIDE_H
#define BRINDLE_SHELL_BESIDE_H

#include <sys/stat.h>

#include <functional>
#include <string>

#include "place/descriptor.h"

/// The file that `path` names in the end, over all links; it need not exist. Empty, with errno set, for links
/// without an end.
std::string end_of_links(const std::string& path);

/// Makes something under a hidden name that nothing has yet, in the folder of `path`. `make` is given the
/// name and returns a negative number, with errno set, when it fails. Returns the name; empty, with errno
/// set, when nothing can be made.
std::string make_beside(const std::string& path, const std::function<int(const char* name)>& make);

/// Gives an open file the owner, the group and the mode of another one. False, with errno set, when it may
/// not have them.
bool give_likeness(int file, const struct stat& other);

/// A hidden, empty file in the folder of `place`, which no link may be. Gone at the end of its life unless it
/// took the place. False, with errno set, when it could not be made.
class NewFile {
 public:
  NewFile(std::string place, mode_t mode);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  explicit operator bool() const { return static_cast<bool>(file_); }
  int number() const { return file_.number(); }

  /// Closes the file and renames it. False, with errno set, when something written before was lost or the
  /// place cannot be taken: what lay there is unchanged.
  bool take_place();

 private:
  std::string place_;
  int number_ = -1;
  std::string name_;
  Descriptor file_;
};

#endif
