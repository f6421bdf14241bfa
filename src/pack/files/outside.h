// What lies on a machine's disks outside of the people's folders, and is not Windows' own: C:\Data,
// Users\Public.
#ifndef BRINDLE_PACK_FILES_OUTSIDE_H
#define BRINDLE_PACK_FILES_OUTSIDE_H

#include <vector>

#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// What is packed or told elsewhere: a person's folder, and those that their registry has on other places of
/// the disks.
std::vector<Place> places_of(const Disk& disk, const Person& person, const Hive* hive);

/// Packs it into the documents of an archive of one person, as the folders "Public" and "Drive C"; of an
/// archive of several nothing, for it would be given to everybody or to somebody. What a person's own folders
/// have, other people's folders and the folder of an earlier Windows are no part of it.
void pack_outside(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

/// Tells of it by name and size: all of it with several people, and what cannot be packed for one.
void tell_of_outside(Packing& shared, const Machine& machine);

}  // namespace pack

#endif
