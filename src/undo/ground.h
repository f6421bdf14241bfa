// Where the things of a run lie, opened so that nobody can lead us elsewhere.
//
// A list has every path without links in its folders. So none is followed: below the root of the machine in
// what is ours, and below another's home in what is another's. A link that somebody has put in the way since
// then makes a path one that cannot be reached.
#ifndef BRINDLE_UNDO_GROUND_H
#define BRINDLE_UNDO_GROUND_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "place/beneath.h"
#include "place/entry.h"

namespace undo {

/// One list of a run: what it has done in one home, or everywhere else.
struct Ground {
  std::string login;  ///< empty for whoever runs the program
  std::string home;
  std::string store;  ///< the run's kept folder there

  bool is_others() const { return !login.empty(); }
};

/// The place of `path`. Without one, errno tells why.
place::Spot spot_of(const Ground& ground, const std::string& path);

/// The place of its copy in the kept folder.
place::Spot kept_spot_of(const Ground& ground, const std::string& path);

/// Where that copy lies, for people.
std::string kept_path_of(const Ground& ground, const std::string& path);

/// place::look_at of it; nothing, too, where its folder is missing or no folder.
std::optional<place::Entry> look(const place::Spot& spot, place::Content content);

/// The names in the folder at the spot, sorted; none when it cannot be read.
std::vector<std::string> names_in(const place::Spot& spot);

/// A hidden name beside `spot`, the same every time: what is under way lies there.
place::Spot beside(const place::Spot& spot);

/// True for such a name, and for that of the folder in which a copy is made.
bool is_left_over(const std::string& name);

/// Whether a migration gives such a name to a file that it holds beside the one that it replaces.
bool is_set_aside(const std::string& name);

/// Removes what an undo that was killed has left beside `spot`.
void clear_beside(const place::Spot& spot);

bool is_within(std::string_view path, std::string_view folder);
std::string folder_of(const std::string& path);

/// The login, home and name that a run's own program has: no undo touches these files.
bool is_own_file(const std::string& path);

/// An absolute path without dots, doubled and last slashes.
bool is_plain(const std::string& path);

}  // namespace undo

#endif
