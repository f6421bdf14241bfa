// What brindle-pack says in the end, to people and as tables.
#ifndef BRINDLE_PACK_REPORT_H
#define BRINDLE_PACK_REPORT_H

#include <ostream>
#include <string>
#include <vector>

#include "pack/files/tally.h"
#include "pack/parcel/parcel.h"
#include "pack/people/people.h"

namespace pack {

/// Somebody with all their numbers; at the end of several people the computer with what they share, which has
/// no login.
struct Packed {
  Person person;
  Tally tally;
  bool has_registry = false;       ///< NTUSER.DAT could be read
  bool is_registry_dirty = false;  ///< and Windows was not shut down properly
};

/// A table a person: what was found, packed and left out of each kind, and below it why, with what to do
/// about it.
void write_report(std::ostream& out, const std::vector<Packed>& people);

/// person, login, kind, found, packed, left_out, bytes: a line a kind of which something was found, tabs
/// between, with a head line.
std::string table_of_counts(const std::vector<Packed>& people);

/// person, kind, path, cause, advice: a line for each thing that is told by name, piece by piece. Tabs, line
/// ends and backslashes in names are written \t, \n, \r and \\.
void write_table_of_remarks(const Writer& write, const std::vector<Packed>& people);

}  // namespace pack

#endif
