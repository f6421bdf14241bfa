#include "pack/mail/outlook_express.h"

#include <algorithm>
#include <array>
#include <system_error>

#include "pack/disk/refusal.h"
#include "pack/files/known_folders.h"
#include "pack/mail/dbx.h"
#include "pack/mail/internet_account.h"
#include "pack/mail/windows_folders.h"

namespace pack {

namespace {

// Up to XP, and where XP became Vista.
constexpr std::array<std::string_view, 2> places_of_identities = {
    "Local Settings/Application Data/Identities", "AppData/Local/Identities"};
constexpr std::string_view store_in_identity = "Microsoft/Outlook Express";

constexpr std::string_view folder_ending = ".dbx";
constexpr std::array<std::string_view, 3> other_files = {"Folders.dbx", "Offline.dbx", "Pop3uidl.dbx"};

bool ends_with(std::string_view name, std::string_view ending) {
  return name.size() > ending.size() && is_same_name(name.substr(name.size() - ending.size()), ending);
}

bool is_mail_folder(std::string_view name) {
  return ends_with(name, folder_ending) &&
         std::ranges::none_of(other_files, [&](std::string_view other) { return is_same_name(name, other); });
}

// ---- Accounts

std::string value_of(const Hive& hive, const std::string& key, const std::string& name) {
  if (const auto text = hive.text(key, name)) return *text;
  const auto number = hive.number(key, name);
  return number ? std::to_string(*number) : "";
}

void add_accounts(Packing& packing, const Person& person, const Hive& hive, const std::string& above,
                  MailAccounts& accounts) {
  const std::string all = above + R"(Software\Microsoft\Internet Account Manager\Accounts)";
  for (const std::string& one : hive.keys(all)) {
    const std::string key = all + "\\" + one;
    const InternetAccount found =
        internet_account([&](const std::string& name) { return value_of(hive, key, name); });
    const std::string from = joined(person.home.path, "NTUSER.DAT") + ": " + key;
    if (found.account) accounts.add(*found.account, from);
    if (found.is_other_mail) packing.leave_out(Kind::accounts, Cause::no_place, from);
  }
}

// ---- Folders

class Stores {
 public:
  Stores(Packing& packing, MailFolders& folders) : packing_(packing), folders_(folders) {}

  void add(const Place& store) {
    const auto is_it = [&](const Place& other) {
      return other.tree == store.tree && other.path == store.path;
    };
    if (std::ranges::any_of(known_, is_it)) return;
    known_.push_back(store);
    std::vector<Entry> entries;
    try {
      entries = store.tree->list(store.path);
    } catch (const std::system_error& error) {
      store.tree->note_told(store.path);
      return packing_.leave_out(Kind::mail, cause_of(error), store.path);
    }
    for (const Entry& entry : entries)
      if (entry.what != What::folder && is_mail_folder(entry.name))
        add_folder({.tree = store.tree, .path = joined(store.path, entry.name)}, entry);
  }

 private:
  void add_folder(const Place& place, const Entry& entry) {
    const std::string name = entry.name.substr(0, entry.name.size() - folder_ending.size());
    if (entry.gap || entry.what != What::file)
      return packing_.leave_out(Kind::mail, entry.gap.value_or(Cause::special), place.path);
    if (is_of_deleted_mail(name)) return packing_.leave_out(Kind::mail, Cause::deleted, place.path);
    if (!can_unpack_dbx()) return packing_.leave_out(Kind::mail, Cause::unpacker_missing, place.path);
    folders_.add({usual_mail_folder(name)},
                 {.place = place,
                  .size = entry.size,
                  .messages = [place, size = entry.size](const TakeMessage& take, const Complain& complain) {
                    each_message_in_dbx(place, size, take, complain);
                  }});
  }

  Packing& packing_;
  MailFolders& folders_;
  std::vector<Place> known_;
};

void add_usual_stores(const Person& person, Stores& stores) {
  const Tree& tree = *person.home.tree;
  for (const std::string_view place : places_of_identities) {
    const auto identities = find_folder(tree, person.home.path, place);
    if (!identities) continue;
    for (const Entry& identity : listed(tree, *identities))
      if (const auto store = find_folder(tree, joined(*identities, identity.name), store_in_identity))
        stores.add({.tree = &tree, .path = *store});
  }
}

void add_named_store(Packing& packing, const Machine& machine, const Person& person, const Hive& hive,
                     const std::string& identity, Stores& stores) {
  const auto root = hive.text(identity + R"(\Software\Microsoft\Outlook Express\5.0)", "Store Root");
  if (!root) return;
  const Whereabouts found = whereabouts(machine.disk, person, &hive, *root);
  if (found.place) stores.add(*found.place);
  if (found.cause) packing.leave_out(Kind::mail, *found.cause, found.path);
}

}  // namespace

void add_outlook_express(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                         MailAccounts& accounts, MailFolders& folders) {
  Stores stores(packing, folders);
  if (packing.wants(Kind::mail)) add_usual_stores(person, stores);
  if (hive == nullptr) return;
  if (packing.wants(Kind::accounts)) add_accounts(packing, person, *hive, "", accounts);
  for (const std::string& one : hive->keys("Identities")) {
    const std::string identity = "Identities\\" + one;
    if (packing.wants(Kind::accounts)) add_accounts(packing, person, *hive, identity + "\\", accounts);
    if (packing.wants(Kind::mail)) add_named_store(packing, machine, person, *hive, identity, stores);
  }
}

}  // namespace pack
