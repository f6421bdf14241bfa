// Where somebody's documents, pictures and so on lie.
#ifndef BRINDLE_PACK_FILES_KNOWN_FOLDERS_H
#define BRINDLE_PACK_FILES_KNOWN_FOLDERS_H

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

/// Where a path of the person's registry leads, "%USERPROFILE%\Contacts". A path into the home Windows had leads
/// into the person's folder. No place when the disk does not show it; `cause` says why, when that is a loss.
struct Location {
  std::optional<Place> place;
  std::optional<Cause> cause;
  std::string path;  ///< as Windows writes it, without variables
};
Location location_of(const Disk& disk, const Person& person, const Hive& hive, const std::string& path);

/// True when the place is the folder, or lies in it.
bool lies_in(const Place& place, const Place& folder);

}  // namespace pack

#endif
