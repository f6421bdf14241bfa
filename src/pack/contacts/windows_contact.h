// Contacts of Windows Vista and later: a file (.contact) each, in XML.
#ifndef BRINDLE_PACK_CONTACTS_WINDOWS_CONTACT_H
#define BRINDLE_PACK_CONTACTS_WINDOWS_CONTACT_H

#include <optional>
#include <string_view>

#include "pack/contacts/vcard.h"

namespace pack {

/// The contact in a file; no value when it is none, an empty card when it says nothing. What a card has no
/// line for is dropped from it.
std::optional<Vcard> windows_contact(std::string_view file);

}  // namespace pack

#endif
