// Somebody's contacts, from all programs.
#ifndef BRINDLE_PACK_CONTACTS_CONTACTS_H
#define BRINDLE_PACK_CONTACTS_CONTACTS_H

#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Packs them as one address book, each contact once. Lists of addresses have no place there and are told.
void pack_contacts(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

}  // namespace pack

#endif
