// What somebody's browsers keep.
#ifndef BRINDLE_PACK_BROWSERS_BROWSERS_H
#define BRINDLE_PACK_BROWSERS_BROWSERS_H

#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// The bookmarks of Firefox, of the browsers made of Chromium, and of Internet Explorer, as one list with a
/// folder a browser. An address that an earlier browser's list has is not packed twice.
void pack_bookmarks(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

/// Firefox's cookies that still hold. Those of the others cannot be had, which is told.
void pack_cookies(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

/// Packs no passwords and tells where they lie: an archive has no place for Firefox's, and those of the
/// others can be read by Windows alone.
void tell_of_passwords(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

}  // namespace pack

#endif
