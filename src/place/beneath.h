// Files below one folder, whatever its owner does meanwhile: no link is followed on the way, and no path
// leads out.
#ifndef BRINDLE_PLACE_BENEATH_H
#define BRINDLE_PLACE_BENEATH_H

#include <sys/types.h>

#include <cerrno>
#include <string>

#include "place/descriptor.h"

namespace place {

/// Opens `folder` itself, over links: the top of what follows. False, with errno set, when it is no folder.
Descriptor open_top(const std::string& folder);

/// The file that `path` names in the end, over all links; it need not exist. Empty, with errno set, for links
/// without an end.
std::string end_of_links(const std::string& path);

/// openat of `path`, relative to the open folder `top`, with O_CLOEXEC. Fails with ELOOP when any part of it,
/// the last too, is a link, and with EXDEV when it leads out of the folder or is absolute; with EINVAL for a
/// path with a zero byte. "" and "." are the top. A path may be of any length.
Descriptor open_beneath(int top, const std::string& path, int flags, mode_t mode = 0);

/// The open folder (O_PATH: for calls that take a folder and a name) in which something lies, or could, and
/// its name there.
struct Spot {
  Descriptor folder;
  std::string name;
  int error = EBADF;  ///< why there is no folder

  /// False when the folder is missing or may not be opened.
  explicit operator bool() const { return static_cast<bool>(folder); }
};

/// True when the spot has a folder; else false with its error in errno.
bool is_open(const Spot& spot);

/// Where `path` lies below `top`. Only its folders are looked at, as by open_beneath; "" and what ends in a
/// slash, "." or ".." have no spot (EINVAL). errno is set as well when there is none.
Spot spot_beneath(int top, const std::string& path);

/// Makes the folder `path` below `top` with all that are missing above it, each with `mode`, whatever the
/// umask, and, where it may be given away, the owner `uid` and `gid`. True when it is there afterwards;
/// false, with errno set, as by open_beneath.
[[nodiscard]] bool make_folder_beneath(int top, const std::string& path, mode_t mode, uid_t uid, gid_t gid);

}  // namespace place

#endif
