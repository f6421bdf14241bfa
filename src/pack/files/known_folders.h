// Where somebody's documents, pictures and so on lie.
#ifndef BRINDLE_PACK_FILES_KNOWN_FOLDERS_H
#define BRINDLE_PACK_FILES_KNOWN_FOLDERS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pack/disk/disk.h"
#include "pack/model/kinds.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// A folder that Windows has a name for.
struct KnownFolder {
  Kind kind{};
  std::string name;  ///< in the archive, below the person's folder
  Place place;
};

/// One that the registry names and that cannot be had.
struct MissingFolder {
  Kind kind{};
  Cause cause{};
  std::string path;  ///< as Windows writes it
};

struct KnownFolders {
  std::vector<KnownFolder> here;  ///< none within another, none twice
  std::vector<MissingFolder> missing;
  std::vector<Place> settings;  ///< folders of the home in which programs keep their own things
};

/// Those of a person. The registry (none: `hive` is null) says where each is, else it is at its usual place.
KnownFolders known_folders(const Disk& disk, const Person& person, const Hive* hive);

/// What became of a path of Windows.
struct Whereabouts {
  std::optional<Place> place;
  std::optional<Cause> cause;  ///< why there is none, unless nothing is there
  std::string path;            ///< with the values of its variables
};

/// The place of a path such as "%USERPROFILE%\Documents" or "E:\Mail". The person's own folder is where it is
/// on the disk, wherever Windows had it; other people's are none of theirs. Of a copy of one person's folder
/// every folder of a person is taken for it, for what is there.
Whereabouts whereabouts(const Disk& disk, const Person& person, const Hive* hive, const std::string& path);

/// The folder that the registry has under that name ("Personal", "Favorites", "AppData"); nothing when it has
/// none.
Whereabouts shell_folder(const Disk& disk, const Person& person, const Hive* hive, std::string_view name);

/// True when the place is the folder, or lies in it.
bool lies_in(const Place& place, const Place& folder);

}  // namespace pack

#endif
