// Somebody's data files of Outlook.
#ifndef BRINDLE_PACK_OUTLOOK_OUTLOOK_H
#define BRINDLE_PACK_OUTLOOK_OUTLOOK_H

#include <functional>
#include <span>
#include <vector>

#include "pack/files/packing.h"
#include "pack/outlook/store.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

struct OutlookFile {
  Place place;
  Entry entry;
  bool is_copy = false;  ///< an OST: what lies on a server, and was kept here as well
};

/// True for names of data files: "x.pst", "x.ost".
bool is_outlook_file(std::string_view name);

/// Those that Outlook uses, each once: the ones that its profiles name, and what lies where it keeps them.
/// What the profiles name and is not there, or cannot be had, is told as one of `kind`.
std::vector<OutlookFile> outlook_files(Packing& packing, const Machine& machine, const Person& person,
                                       const Hive* hive, Kind kind);

/// Looks whether a file can be read, and tells why it cannot as one of `kind`.
bool can_read(Packing& packing, const OutlookFile& file, BlocksOfFile& blocks, Kind kind);

/// Gets an item of a data file, and where it lies, for what is told. True when all of it has found its place.
using TakeItem =
    std::function<bool(Store& store, ItemKind kind, const Properties& item, const std::string& from)>;

/// Hands out all items that become things of these kinds, which are none of mail, from all data files. What
/// was deleted or cannot be read is told.
void each_outlook_item(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                       std::span<const Kind> kinds, const TakeItem& take);

/// "Contacts/Friends" of a folder's names.
std::string joined_names(const std::vector<std::string>& names);

/// Packs what none of the others has: the files themselves, where not all of what is in them could be
/// unpacked, and those that nobody uses. It comes behind them all.
void pack_outlook_files(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

}  // namespace pack

#endif
