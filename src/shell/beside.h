// A new file beside the one whose place it takes once it is whole.
#ifndef BRINDLE_SHELL_BESIDE_H
#define BRINDLE_SHELL_BESIDE_H

#include <sys/stat.h>

#include <functional>
#include <string>

#include "place/beneath.h"

/// Makes something under a hidden name that nothing has yet, in the folder of `spot`. `make` is given the
/// name in that folder and returns a negative number, with errno set, when it fails. Returns the name; empty,
/// with errno set, when nothing can be made.
std::string make_beside(const place::Spot& spot, const std::function<int(const char* name)>& make);

/// Gives an open file the owner, the group and the mode of another one. False, with errno set, when it may
/// not have them.
bool give_likeness(int file, const struct stat& other);

/// A hidden, empty file in the folder of `spot`, at which no link may lie. Gone at the end of its life unless
/// it took the place. False, with errno set, when it could not be made.
class NewFile {
 public:
  /// `spot` outlives this.
  NewFile(const place::Spot& spot, mode_t mode);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  explicit operator bool() const { return static_cast<bool>(file_); }
  int number() const { return file_.number(); }

  /// Closes the file and renames it. False, with errno set, when something written before was lost or the
  /// place cannot be taken: what lay there is unchanged.
  bool take_place();

 private:
  const place::Spot& spot_;
  int number_ = -1;
  std::string name_;
  Descriptor file_;
};

#endif
