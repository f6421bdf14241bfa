// What makes somebody's desktop theirs: its picture, network drives, fonts.
#ifndef BRINDLE_PACK_DESKTOP_DESKTOP_H
#define BRINDLE_PACK_DESKTOP_DESKTOP_H

#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// The picture that the registry names, or the copy of it that Windows keeps, and how it is laid out. None is
/// no loss: many have a plain colour.
void pack_wallpaper(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

/// The network drives of the registry: a share and a name each. One whose share would make a file manager's
/// list unreadable is left out.
void pack_drives(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

/// The fonts that people have installed, for themselves or for all, into the folder that all accounts share;
/// the same one once. Those that come with Windows stay.
void pack_fonts(Packing& shared, const Machine& machine);

}  // namespace pack

#endif
