// Where programs keep their own things below somebody's home.
#ifndef BRINDLE_PACK_FILES_PROGRAM_FOLDERS_H
#define BRINDLE_PACK_FILES_PROGRAM_FOLDERS_H

#include <string>
#include <string_view>
#include <vector>

#include "pack/disk/disk.h"
#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Places in which something may lie and that cannot be looked at, each once.
class Gaps {
 public:
  void add(Cause cause, const std::string& path);

  /// The same of a folder that is there and that nobody else has to tell of then.
  void add(Cause cause, const Place& folder);

  /// Tells each of them as one thing of a kind that is left out.
  void tell(Packing& packing, Kind kind) const;

 private:
  struct Gap {
    Cause cause;
    std::string path;
    const Tree* tree = nullptr;
  };
  std::vector<Gap> gaps_;
};

/// What lies in a folder. One that is not there holds nothing; one that cannot be listed is a gap.
std::vector<Entry> listed(const Place& folder, Gaps& gaps);

/// The folder at `path` below another one. No value when it is not there; when that cannot be told because of
/// a folder on the way, it is a gap.
std::optional<Place> folder_at(const Place& folder, std::string_view path, Gaps& gaps);

/// The two folders that Windows gives to programs: what goes with a person to other machines, and what stays.
enum class Settings { roaming, local };

/// Where they are: as the registry says, and at their usual places; each once.
std::vector<Place> folders_of(Settings settings, const Disk& disk, const Person& person, const Hive* hive,
                              Gaps& gaps);

/// The folder `path` below each of them that has it.
std::vector<Place> program_folders(Settings settings, std::string_view path, const Disk& disk,
                                   const Person& person, const Hive* hive, Gaps& gaps);

}  // namespace pack

#endif
