// Contacts of Outlook.
#ifndef BRINDLE_PACK_CONTACTS_OUTLOOK_CONTACTS_H
#define BRINDLE_PACK_CONTACTS_OUTLOOK_CONTACTS_H

#include <functional>

#include "pack/contacts/vcard.h"
#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Hands out those of all data files; what a card has no line for is dropped from it. Lists of contacts, and
/// pictures, have no place and are told.
void each_outlook_contact(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                          const std::function<void(const Vcard& card, const std::string& from)>& take);

}  // namespace pack

#endif
