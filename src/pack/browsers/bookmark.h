// A list of bookmarks, whichever browser had it.
#ifndef BRINDLE_PACK_BROWSERS_BOOKMARK_H
#define BRINDLE_PACK_BROWSERS_BOOKMARK_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace pack {

/// A bookmark, a folder of them, or a line between two.
struct Bookmark {
  std::string title;
  std::string url;         ///< empty for a folder
  std::int64_t added = 0;  ///< seconds since 1970 began; 0 when it is not known
  std::vector<Bookmark> children{};
  std::string tags{};     ///< with commas between
  std::string keyword{};  ///< what its owner types for it
  bool is_line = false;
};

/// How many addresses there are in a folder and those below it.
std::size_t count_of(const Bookmark& folder);

/// Takes the bookmarks whose address is in `known` out of a folder and those below it, and folders that are
/// left empty by that; returns how many bookmarks.
std::size_t drop_known(Bookmark& folder, const std::set<std::string>& known);

/// Adds all addresses of a folder.
void note_addresses(const Bookmark& folder, std::set<std::string>& known);

/// A file in Netscape's format, in UTF-8, with the children of `top`.
std::string bookmark_file(const Bookmark& top);

}  // namespace pack

#endif
