// Files of a tree that have names elsewhere, too.
#ifndef BRINDLE_PLACE_OUTSIDE_H
#define BRINDLE_PLACE_OUTSIDE_H

#include <sys/stat.h>

#include <functional>
#include <optional>
#include <string>

namespace place {

/// The path below `top` of a file in the tree at `path` for which `counts` is true and which has a name
/// outside of that tree as well: whatever is done to its owner or mode is done there, too. An empty text when
/// there is none; no value, with errno set, when the tree cannot be read. Folders and links are no files.
std::optional<std::string> file_with_name_outside(int top, const std::string& path,
                                                  const std::function<bool(const struct stat&)>& counts);

}  // namespace place

#endif
