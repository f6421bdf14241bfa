// Where programs of Mozilla keep their profiles.
#ifndef BRINDLE_PACK_FILES_MOZILLA_PROFILES_H
#define BRINDLE_PACK_FILES_MOZILLA_PROFILES_H

#include "pack/files/program_folders.h"

namespace pack {

/// One of their programs.
struct MozillaProgram {
  std::string_view folder;   ///< below what roams: "Mozilla/Firefox"
  std::string_view package;  ///< part of the name that its package from Microsoft's Store has: "Firefox"
};

/// A profile.
struct MozillaProfile {
  std::string name;  ///< as the person knows it, else the folder's
  Place folder;
};

/// All of a person's profiles of a program: those that its list (profiles.ini) names, wherever they are, its
/// default one first; then those beside them in "Profiles", in the order of their names. One of the list that
/// cannot be found is a gap.
std::vector<MozillaProfile> mozilla_profiles(const MozillaProgram& program, const Disk& disk,
                                             const Person& person, const Hive* hive, Gaps& gaps);

}  // namespace pack

#endif
