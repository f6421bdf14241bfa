// What the machine's own registry says, as far as packing asks for it.
#ifndef BRINDLE_PACK_PEOPLE_MACHINE_REGISTRY_H
#define BRINDLE_PACK_PEOPLE_MACHINE_REGISTRY_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pack/disk/disk.h"

namespace pack {

/// Somebody whom Windows knows.
struct KnownProfile {
  std::string path;     ///< of their folder, as Windows writes it
  std::string account;  ///< the name they log in with; empty when it is not known
};

struct MachineRegistry {
  std::vector<KnownProfile> profiles;
  std::string profiles_folder;     ///< in which new ones are made, as Windows writes it; may be empty
  std::string programs_folder;     ///< the same, of programs
  std::vector<std::string> fonts;  ///< files of those that are installed, in Windows/Fonts or with their path
  /// The code page of old programs' texts, by a name that iconv knows; empty when it is not known.
  std::string charset;
  /// Windows' names of the zone in which the machine's clock is shown, "W. Europe Standard Time", the surest
  /// first; none when it is not known.
  std::vector<std::string> zones;
  std::vector<Gap> gaps;  ///< hives that are missing, damaged, cannot be read or were not closed
};

/// The place of one of the machine's hives ("SYSTEM") on the volume with Windows, whatever the folder of
/// Windows is called. No value when it is not there.
std::optional<std::string> machine_hive(const Tree& tree, std::string_view name);

/// That of the volume with Windows. Missing hives are no gaps where there is no Windows at all, as in a copy
/// of people's folders.
MachineRegistry machine_registry(const Disk& disk);

/// "%SystemDrive%\Users" with the variables' values in their places.
std::string without_variables(const std::string& path);

/// The code page of that number or name, by a name that iconv knows; empty when it knows none.
std::string known_charset(const std::string& name);

}  // namespace pack

#endif
