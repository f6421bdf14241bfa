// Who is named in a message or an appointment.
#ifndef BRINDLE_PACK_OUTLOOK_RECIPIENTS_H
#define BRINDLE_PACK_OUTLOOK_RECIPIENTS_H

#include <initializer_list>
#include <string>
#include <vector>

#include "pack/outlook/properties.h"

namespace pack {

struct Recipient {
  int kind = 1;  ///< 1 To, or who has to come; 2 Cc, or who may; 3 Bcc, or a room
  std::string name;
  std::string address;  ///< one that can be written to, as far as that is known: see address_of
  bool is_organizer = false;
  int answer = 0;  ///< 2 perhaps, 3 yes, 4 no
};

/// Those of an item, in their order. `is_whole` becomes false when some cannot be read.
std::vector<Recipient> recipients_of(Blocks& blocks, const Properties& item, bool* is_whole);

/// The first that can be written to. Exchange's own addresses, "/o=Lee/ou=.../cn=Recipients/cn=ann", lead
/// nowhere else: their last name stays, at a place that does not exist ("ann@exchange.invalid"). With none at
/// all it is "unknown@outlook.invalid".
std::string address_of(std::initializer_list<std::string> known);

}  // namespace pack

#endif
