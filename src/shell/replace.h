// Replacing a file of the person: the new content is there to the last byte, or the old one is as it was.
//
// Whatever writes a file that is somebody's goes through here, and a migrator whose writing failed returns
// -1:
//
//   const std::optional<std::string> before = read_whole(copy);
//   if (!before || !replace_file(path, rewritten(*before))) { std::perror(path.c_str()); return -1; }
//
// A text that may be too big for memory comes in parts (replace_file_by). A new file in a folder of our own
// is written with open_file, write_text and close_file (files.h) instead, and removed again when that fails.
#ifndef BRINDLE_SHELL_REPLACE_H
#define BRINDLE_SHELL_REPLACE_H

#include <functional>
#include <string>
#include <string_view>

#include "place/beneath.h"

/// Replaces the file at `path`, or makes it, with `text` as its content. False, with errno set, when the file
/// or its folder cannot be written or has no room: what was there is then unchanged, and nothing new is left.
/// It is kept first (keep/keep.h); when that cannot be done, errno is not_kept (kept.h).
///
/// The text is written to a hidden file in the same folder, forced to the disk, and renamed over the old one.
///
///   what lies at `path`                        what becomes of it
///   nothing                                    a file with the rights that the umask leaves
///   a file                                     keeps its mode, owner and group
///   a link                                     stays; the file it names is replaced, or made
///   a file with further names or with          written in place, since a new file would not be it
///   extended attributes, an ACL for instance
///   a file of an owner we may not give         the same
///   a file in a folder that takes no new one   the same
///   a file we may not write, a folder          false
///   a device or pipe                           the text is sent to it
///
/// In place, what goes beyond the old end is written first: when that fails, it is cut off again. The rest
/// needs no room, but on a disk that writes every change to a new place.
[[nodiscard]] bool replace_file(const std::string& path, const std::string& text);

/// Takes the next part of a text, best a block of it. False, with errno set, when it cannot be written.
using TakePart = std::function<bool(std::string_view part)>;

/// replace_file with a text that `make` hands out part by part, which is called once at most. It returns
/// false when a part was not taken, and, with errno set, when there is no more although the text is not
/// whole: then the file stays as it is. Only a text that is written in place is held in memory.
[[nodiscard]] bool replace_file_by(const std::string& path, const std::function<bool(const TakePart&)>& make);

/// replace_file with the old content, if there is a file, in front of `text`.
[[nodiscard]] bool append_to_file(const std::string& path, const std::string& text);

/// Keeps a file that a command is about to remove, because a new one comes in its place. At the end of its
/// life the old file is put back if nothing lies at `path`, and is gone if something does:
///
///   const KeptFile before(path);
///   SYSTEM(compose("rm %s", path));
///   return replace_file(path, text) ? 0 : -1;
///
/// It is kept as a second, hidden name in the same folder. Where the file system has none, or there is no
/// file, nothing is kept and nothing put back.
class KeptFile {
 public:
  explicit KeptFile(const std::string& path);
  ~KeptFile();
  KeptFile(const KeptFile&) = delete;
  KeptFile& operator=(const KeptFile&) = delete;

 private:
  place::Spot spot_;
  std::string second_name_;  // empty when nothing is kept
};

/// Moves what lies at `path`, if anything does, out of the way of a command, to a hidden name in the same
/// folder, and back at the end of its life, over whatever lies there then:
///
///   const SetAside own(path);
///   SYSTEM(compose("cp %s %s", from, path));
class SetAside {
 public:
  explicit SetAside(const std::string& path);
  ~SetAside();
  SetAside(const SetAside&) = delete;
  SetAside& operator=(const SetAside&) = delete;

  /// Leaves what lies at the path now, with the owner, group and mode of the old file, which is removed.
  void give_up();

 private:
  bool put_back() const;

  place::Spot spot_;
  std::string second_name_;  // empty when nothing is set aside
};

#endif
