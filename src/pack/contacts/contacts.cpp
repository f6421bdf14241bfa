#include "pack/contacts/contacts.h"

#include <map>
#include <set>

#include "pack/contacts/address_book.h"
#include "pack/contacts/mork.h"
#include "pack/contacts/outlook_contacts.h"
#include "pack/contacts/windows_contacts.h"
#include "pack/database/database.h"
#include "pack/disk/refusal.h"
#include "pack/disk/stage.h"
#include "pack/mail/thunderbird_profiles.h"

namespace pack {

namespace {

using Properties = std::map<std::string, std::string>;

// One that has its own vCard says nothing else.
Vcard card_of(const Properties& properties) {
  const auto own = properties.find("_vCard");
  return own == properties.end() ? vcard_of_mozilla(properties) : vcard_of(own->second);
}

std::string list_of(const std::set<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

class Contacts {
 public:
  explicit Contacts(Packing& packing) : packing_(packing) {}

  void add(const Properties& properties, const std::string& from) {
    if (!properties.empty()) add(card_of(properties), from);
  }

  void add(const Vcard& card, const std::string& from) {
    const std::string dropped =
        card.dropped().empty() ? "" : from + ": " + card.shown() + ": " + list_of(card.dropped());
    if (card.is_empty()) {
      if (!dropped.empty()) packing_.leave_out(Kind::contacts, Cause::no_place, dropped);
    } else if (book_.add(card)) {
      packing_.count(Kind::contacts, card.content().size());
      if (!dropped.empty()) packing_.tell_of(Kind::contacts, Cause::partly_kept, dropped);
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
  if (entry.size > longest_mork) return packing.leave_out(Kind::contacts, Cause::too_long, file.path);
  const auto text = whole(file, longest_mork);
  const auto book = text ? read_mork(*text) : std::nullopt;
  if (!book)
    return packing.leave_out(Kind::contacts, text ? Cause::damaged : cause_at(file, Cause::unreadable),
                             file.path);
  contacts.add_mork(*book, file.path);
}

void add_profile(Packing& packing, const Place& profile, Contacts& contacts, Gaps& gaps) {
  for (const Entry& entry : listed(profile, gaps)) {
    const Place place{.tree = profile.tree, .path = joined(profile.path, entry.name)};
    if (entry.what != What::file) continue;
    if (ends_with(entry.name, ".mab")) add_old_book(packing, place, entry, contacts);
    if (!is_address_book(entry.name)) continue;
    const auto database = Database::open(place);
    if (!database || !contacts.add_database(*database, place.path))
      packing.leave_out(Kind::contacts, database ? Cause::damaged : cause_of_unopened(place), place.path);
  }
}

}  // namespace

void pack_contacts(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  if (!packing.wants(Kind::contacts)) return;
  Contacts contacts(packing);
  Gaps gaps;
  for (const Place& profile : thunderbird_profiles(machine.disk, person, hive, gaps))
    add_profile(packing, profile, contacts, gaps);
  gaps.tell(packing, Kind::contacts);
  add_windows_contacts(packing, machine, person, hive,
                       [&](const Vcard& card, const std::string& from) { contacts.add(card, from); });
  each_outlook_contact(packing, machine, person, hive,
                       [&](const Vcard& card, const std::string& from) { contacts.add(card, from); });
  contacts.pack();
}

}  // namespace pack
