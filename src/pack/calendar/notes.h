// The notes of an archive.
#ifndef BRINDLE_PACK_CALENDAR_NOTES_H
#define BRINDLE_PACK_CALENDAR_NOTES_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "pack/calendar/item.h"
#include "pack/files/packing.h"

namespace pack {

/// All notes of one person, from all programs; each is packed as it comes. KNotes gets them from `Notes`, in
/// GB2312; on systems without it nobody looks there, so they lie as text in UTF-8 among the documents as
/// well.
class Notes {
 public:
  explicit Notes(Packing& packing) : packing_(packing) {}

  /// Adds a note and counts it (Kind::notes); as left out when the same one has come before. `from` is where
  /// it lies, for what is told. One without any text is nothing.
  void add(const Note& note, const std::string& from);

 private:
  std::string free_name(const std::string& wanted);

  Packing& packing_;
  std::string folder_;  // among the documents; empty before the first one
  std::set<std::string> names_;
  std::map<std::string, int> numbers_;  // the next one to be tried behind a name
  std::set<std::pair<std::uint64_t, std::uint64_t>> known_;
};

}  // namespace pack

#endif
