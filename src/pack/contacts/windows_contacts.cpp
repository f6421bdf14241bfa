#include "pack/contacts/windows_contacts.h"

#include <array>
#include <system_error>

#include "pack/contacts/windows_contact.h"
#include "pack/disk/refusal.h"
#include "pack/disk/stage.h"
#include "pack/files/known_folders.h"
#include "pack/xml/xml.h"

namespace pack {

namespace {

constexpr std::string_view usual_place = "Contacts";
constexpr std::string_view registry_name = "{56784854-C6CB-462B-8169-88E350ACB882}";

// Where books lie that only Windows reads.
constexpr std::array<std::string_view, 5> places_of_books = {
    "Application Data/Microsoft/Address Book", "AppData/Roaming/Microsoft/Address Book",
    "Local Settings/Application Data/Microsoft/Windows Live Contacts",
    "AppData/Local/Microsoft/Windows Live Contacts", "AppData/Local/Microsoft/Windows Live/Contacts"};
constexpr std::string_view book_of_express = ".wab";
constexpr std::string_view book_of_live = "contacts.edb";

// Folders this deep are none that a person has made.
constexpr int deepest = 32;

bool ends_with(std::string_view name, std::string_view ending) {
  return name.size() > ending.size() && is_same_name(name.substr(name.size() - ending.size()), ending);
}

// All files in a folder and below it; no link is followed.
using TakeFile = std::function<void(const Place& place, const Entry& entry)>;
void each_file(Packing& packing, const Place& folder, const TakeFile& take, int depth = 0) {
  std::vector<Entry> entries;
  try {
    entries = folder.tree->list(folder.path);
  } catch (const std::system_error& error) {
    folder.tree->note_told(folder.path);
    return packing.leave_out(Kind::contacts, cause_of(error), folder.path);
  }
  for (const Entry& entry : entries) {
    const Place place{.tree = folder.tree, .path = joined(folder.path, entry.name)};
    if (entry.what != What::folder) {
      take(place, entry);
    } else if (depth < deepest) {
      each_file(packing, place, take, depth + 1);
    } else {
      packing.leave_out(Kind::contacts, Cause::path_too_long, place.path);
    }
  }
}

void add_contact(Packing& packing, const Place& file, const Entry& entry, const AddCard& add) {
  if (entry.gap || entry.what != What::file)
    return packing.leave_out(Kind::contacts, entry.gap.value_or(Cause::special), file.path);
  if (entry.size > longest_xml) return packing.leave_out(Kind::contacts, Cause::too_long, file.path);
  const auto text = whole(file, longest_xml);
  const auto card = text ? windows_contact(*text) : std::nullopt;
  if (!card || (card->is_empty() && card->dropped().empty()))
    return packing.leave_out(Kind::contacts, text ? Cause::damaged : cause_at(file, Cause::unreadable),
                             file.path);
  add(*card, file.path);
}

void add_folder(Packing& packing, const Place& folder, const AddCard& add) {
  each_file(packing, folder, [&](const Place& file, const Entry& entry) {
    if (ends_with(entry.name, ".contact")) add_contact(packing, file, entry, add);
    if (ends_with(entry.name, ".group")) packing.leave_out(Kind::contacts, Cause::no_place, file.path);
  });
}

}  // namespace

void add_windows_contacts(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                          const AddCard& add) {
  const Tree& tree = *person.home.tree;
  const auto usual = find_folder(tree, person.home.path, usual_place);
  if (usual) add_folder(packing, {.tree = &tree, .path = *usual}, add);
  const Whereabouts moved = shell_folder(machine.disk, person, hive, registry_name);
  if (moved.cause) packing.leave_out(Kind::contacts, *moved.cause, moved.path);
  const bool is_usual = moved.place && moved.place->tree == &tree && moved.place->path == usual;
  if (moved.place && !is_usual) add_folder(packing, *moved.place, add);
  for (const std::string_view place : places_of_books) {
    const auto folder = find_folder(tree, person.home.path, place);
    if (!folder) continue;
    each_file(packing, {.tree = &tree, .path = *folder}, [&](const Place& file, const Entry& entry) {
      if (ends_with(entry.name, book_of_express) || is_same_name(entry.name, book_of_live))
        packing.leave_out(Kind::contacts, Cause::windows_address_book, file.path);
    });
  }
}

}  // namespace pack
