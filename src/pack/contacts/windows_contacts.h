// The address books of Windows's own programs.
#ifndef BRINDLE_PACK_CONTACTS_WINDOWS_CONTACTS_H
#define BRINDLE_PACK_CONTACTS_WINDOWS_CONTACTS_H

#include <functional>

#include "pack/contacts/vcard.h"
#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Gets a contact and the file that it comes from.
using AddCard = std::function<void(const Vcard& card, const std::string& from)>;

/// Adds what Windows Vista and later keep as a file each. Groups of them and address books that only Windows
/// reads (Outlook Express's, Live Mail's) are told.
void add_windows_contacts(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                          const AddCard& add);

}  // namespace pack

#endif
