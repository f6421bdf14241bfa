#include "pack/contacts/contacts.h"

#include <system_error>

#include "pack/contacts/address_book.h"
#include "pack/database/database.h"
#include "pack/contacts/mork.h"
#include "pack/contacts/windows_contact.h"
#include "pack/disk/stage.h"
#include "pack/files/known_folders.h"
#include "pack/mail/thunderbird_profiles.h"
#include "pack/xml/xml.h"

namespace pack {

namespace {

constexpr std::string_view shell_folders =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
constexpr std::string_view contacts_folder = "{56784854-C6CB-462B-8169-88E350ACB882}";

using Properties = std::map<std::string, std::string>;

// One that has its own vCard says nothing else.
Vcard card_of(const Properties& properties) {
  const auto own = properties.find("_vCard");
  return own == properties.end() ? vcard_of_mozilla(properties) : vcard_of(own->second);
}

class Contacts {
 public:
  explicit Contacts(Packing& packing) : packing_(packing) {}

  void add(const Properties& properties, const std::string& from) {
    if (!properties.empty()) add(card_of(properties), from);
  }

  void add(const Vcard& card, const std::string& from) {
    if (card.is_empty()) return;
    if (book_.add(card)) {
      packing_.count(Kind::contacts, card.content().size());
    } else {
      packing_.leave_out(Kind::contacts, Cause::there_already, from);
    }
  }

  // Rows come contact by contact: one, its property, the value.
  bool add_database(const Database& database, const std::string& from) {
    Properties properties;
    std::string card;
    const bool good =
        database.each("SELECT card, name, value FROM properties ORDER BY card, name", [&](const Row& row) {
          if (row.text(0) != card) {
            add(properties, from);
            properties.clear();
            card = row.text(0);
          }
          properties[row.text(1)] = row.text(2);
        });
    add(properties, from);
    database.each("SELECT name FROM lists", [&](const Row& row) { leave_out_list(row.text(0), from); });
    return good;
  }

  void add_mork(const MorkBook& book, const std::string& from) {
    for (const Properties& properties : book.cards) add(properties, from);
    for (const std::string& list : book.lists) leave_out_list(list, from);
    if (!book.is_whole) packing_.tell_of(Kind::contacts, Cause::cut_short, from);
  }

  void pack() { book_.pack(packing_); }

 private:
  void leave_out_list(const std::string& name, const std::string& from) {
    packing_.leave_out(Kind::contacts, Cause::no_place, from + ": " + name);
  }

  Packing& packing_;
  AddressBook book_;
};

bool ends_with(std::string_view name, std::string_view ending) {
  return name.size() > ending.size() && is_same_name(name.substr(name.size() - ending.size()), ending);
}

// abook.sqlite, abook-1.sqlite, history.sqlite.
bool is_address_book(std::string_view name) {
  return ends_with(name, ".sqlite") && (name.starts_with("abook") || is_same_name(name, "history.sqlite"));
}

// abook.mab, impab.mab, history.mab: up to version 77. A newer version leaves them beside its own.
void add_old_book(Packing& packing, const Place& file, const Entry& entry, Contacts& contacts) {
  if (entry.gap) return packing.leave_out(Kind::contacts, *entry.gap, file.path);
  const auto text = whole(file, longest_mork);
  const auto book = text ? read_mork(*text) : std::nullopt;
  if (!book) return packing.leave_out(Kind::contacts, text ? Cause::damaged : Cause::unreadable, file.path);
  contacts.add_mork(*book, file.path);
}

void add_profile(Packing& packing, const Tree& tree, const std::string& profile, Contacts& contacts) {
  std::vector<Entry> entries;
  try {
    entries = tree.list(profile);
  } catch (const std::system_error&) {
    return packing.leave_out(Kind::contacts, Cause::unreadable, profile);
  }
  for (const Entry& entry : entries) {
    const Place place{.tree = &tree, .path = joined(profile, entry.name)};
    if (entry.what != What::file) continue;
    if (ends_with(entry.name, ".mab")) add_old_book(packing, place, entry, contacts);
    if (!is_address_book(entry.name)) continue;
    const auto database = Database::open(place);
    if (!database || !contacts.add_database(*database, place.path))
      packing.leave_out(Kind::contacts, Cause::damaged, place.path);
  }
}

// Those in a folder and below it.
void add_contact_files(Packing& packing, const Place& folder, Contacts& contacts, int depth = 0) {
  constexpr int deepest = 32;
  std::vector<Entry> entries;
  try {
    entries = folder.tree->list(folder.path);
  } catch (const std::system_error&) {
    return packing.leave_out(Kind::contacts, Cause::unreadable, folder.path);
  }
  for (const Entry& entry : entries) {
    const Place place{.tree = folder.tree, .path = joined(folder.path, entry.name)};
    if (entry.what == What::folder && depth < deepest)
      add_contact_files(packing, place, contacts, depth + 1);
    if (entry.what == What::folder) continue;
    if (ends_with(entry.name, ".group")) packing.leave_out(Kind::contacts, Cause::no_place, place.path);
    if (!ends_with(entry.name, ".contact")) continue;
    if (entry.gap) {
      packing.leave_out(Kind::contacts, *entry.gap, place.path);
      continue;
    }
    const auto text = whole(place, longest_xml);
    const auto card = text ? windows_contact(*text) : std::nullopt;
    if (card && !card->is_empty()) {
      contacts.add(*card, place.path);
    } else {
      packing.leave_out(Kind::contacts, text ? Cause::damaged : Cause::unreadable, place.path);
    }
  }
}

void tell_of_files(Packing& packing, const Place& folder, std::string_view ending, int depth = 0) {
  constexpr int deepest = 8;
  std::vector<Entry> entries;
  try {
    entries = folder.tree->list(folder.path);
  } catch (const std::system_error&) {
    return packing.leave_out(Kind::contacts, Cause::unreadable, folder.path);
  }
  for (const Entry& entry : entries) {
    const Place place{.tree = folder.tree, .path = joined(folder.path, entry.name)};
    const bool is_it = ends_with(entry.name, ending) || is_same_name(entry.name, ending);
    if (entry.what == What::folder && depth < deepest) tell_of_files(packing, place, ending, depth + 1);
    if (entry.what != What::folder && is_it)
      packing.leave_out(Kind::contacts, Cause::windows_address_book, place.path);
  }
}

// At their usual place, and where the registry says they are.
void add_windows_contacts(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                          Contacts& contacts) {
  const Tree& tree = *person.home.tree;
  const auto usual = find_folder(tree, person.home.path, "Contacts");
  if (usual) add_contact_files(packing, {.tree = &tree, .path = *usual}, contacts);
  const auto path = hive == nullptr ? std::nullopt : hive->text(shell_folders, contacts_folder);
  if (!path) return;
  const Location location = location_of(machine.disk, person, *hive, *path);
  if (location.cause) packing.leave_out(Kind::contacts, *location.cause, location.path);
  if (!location.place) return;
  const bool is_usual = usual && location.place->tree == &tree && location.place->path == *usual;
  if (!is_usual) add_contact_files(packing, *location.place, contacts);
}

// What only Windows reads: Outlook Express's, and Live Mail's.
void tell_of_address_books(Packing& packing, const Person& person) {
  const Tree& tree = *person.home.tree;
  for (const std::string_view place : {"Application Data/Microsoft/Address Book", "AppData/Roaming/Microsoft/Address Book"})
    if (const auto folder = find_folder(tree, person.home.path, place))
      tell_of_files(packing, {.tree = &tree, .path = *folder}, ".wab");
  for (const std::string_view place : {"AppData/Local/Microsoft/Windows Live Contacts", "AppData/Local/Microsoft/Windows Live/Contacts",
        "Local Settings/Application Data/Microsoft/Windows Live Contacts"})
    if (const auto folder = find_folder(tree, person.home.path, place))
      tell_of_files(packing, {.tree = &tree, .path = *folder}, "contacts.edb");
}

}  // namespace

void pack_contacts(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  if (!packing.wants(Kind::contacts)) return;
  Contacts contacts(packing);
  for (const std::string& profile : thunderbird_profiles(person))
    add_profile(packing, *person.home.tree, profile, contacts);
  add_windows_contacts(packing, machine, person, hive, contacts);
  tell_of_address_books(packing, person);
  contacts.pack();
}

}  // namespace pack
