#include "pack/mail/windows_mail.h"

#include <algorithm>
#include <array>
#include <system_error>

#include "pack/disk/refusal.h"
#include "pack/disk/stage.h"
#include "pack/files/known_folders.h"
#include "pack/mail/internet_account.h"
#include "pack/mail/windows_folders.h"
#include "pack/xml/xml.h"

namespace pack {

namespace {

constexpr std::array<std::string_view, 3> usual_places = {
    "AppData/Local/Microsoft/Windows Mail", "AppData/Local/Microsoft/Windows Live Mail",
    "Local Settings/Application Data/Microsoft/Windows Live Mail"};
constexpr std::array<const char*, 2> keys = {R"(Software\Microsoft\Windows Mail)",
                                             R"(Software\Microsoft\Windows Live Mail)"};
constexpr std::string_view store_of_app = "AppData/Local/Comms/UnistoreDB/store.vol";

constexpr std::string_view message_ending = ".eml";
constexpr std::string_view article_ending = ".nws";  // of a news group
constexpr std::string_view account_ending = ".oeaccount";

// Copies of databases that the programs make for themselves.
constexpr std::string_view own_copies = "Backup";

// Folders this deep are none that a person has made.
constexpr std::size_t deepest = 64;

bool ends_with(std::string_view name, std::string_view ending) {
  return name.size() > ending.size() && is_same_name(name.substr(name.size() - ending.size()), ending);
}

bool is_message(const Entry& entry) {
  return entry.what != What::folder && ends_with(entry.name, message_ending);
}

// The messages of a folder, in the order of their names, which is the one in which they came.
void each_message_file(const Place& folder, const TakeMessage& take, const Complain& complain) {
  std::vector<Entry> entries;
  try {
    entries = folder.tree->list(folder.path);
  } catch (const std::system_error& error) {
    folder.tree->note_told(folder.path);
    return complain(cause_of(error), folder.path);
  }
  for (const Entry& entry : entries) {
    if (!is_message(entry)) continue;
    const std::string path = joined(folder.path, entry.name);
    if (entry.gap || entry.what != What::file) {
      complain(entry.gap.value_or(Cause::special), path);
    } else if (entry.size == 0) {
      complain(Cause::damaged, path);
    } else {
      try {
        take(folder.tree->open(path));
      } catch (const std::system_error& error) {
        complain(cause_of(error), path);
      }
    }
  }
}

// The store of one program on its way.
class Store {
 public:
  Store(Packing& packing, MailAccounts& accounts, MailFolders& folders)
      : packing_(packing), accounts_(accounts), folders_(folders) {}

  void add(const Place& store) {
    const auto is_it = [&](const Place& other) {
      return other.tree == store.tree && other.path == store.path;
    };
    if (std::ranges::any_of(known_, is_it)) return;
    known_.push_back(store);
    // A folder an account, and one for what is kept on this machine: none of them is a mail folder.
    each_entry(store, [&](const Place& place, const Entry& entry) {
      if (entry.what != What::folder) return add_file(place, entry);
      if (!is_same_name(entry.name, own_copies)) add_folder(place, {entry.name});
    });
  }

 private:
  template <typename Take>
  void each_entry(const Place& folder, const Take& take) {
    try {
      for (const Entry& entry : folder.tree->list(folder.path))
        take(Place{.tree = folder.tree, .path = joined(folder.path, entry.name)}, entry);
    } catch (const std::system_error& error) {
      folder.tree->note_told(folder.path);
      packing_.leave_out(Kind::mail, cause_of(error), folder.path);
    }
  }

  // The messages of one folder.
  struct Messages {
    std::size_t count = 0;
    std::uint64_t size = 0;
  };

  // `names` begins with that of the account, which is only used for what lies there in no mail folder.
  void add_folder(const Place& folder, const std::vector<std::string>& names) {
    Messages messages;
    each_entry(folder, [&](const Place& place, const Entry& entry) {
      if (entry.what != What::folder) add_file(place, entry);
      if (is_message(entry)) {
        constexpr std::uint64_t lines_of_each = 64;
        ++messages.count;
        messages.size += entry.size + lines_of_each;
      }
      if (entry.what != What::folder) return;
      if (names.size() >= deepest) return packing_.leave_out(Kind::mail, Cause::path_too_long, place.path);
      std::vector<std::string> below = names;
      below.push_back(entry.name);
      add_folder(place, below);
    });
    if (messages.count > 0 && packing_.wants(Kind::mail)) add_messages(folder, names, messages);
  }

  void add_messages(const Place& folder, std::vector<std::string> names, const Messages& messages) {
    if (names.size() > 1) names.erase(names.begin());
    if (is_of_deleted_mail(names.front())) {
      for (std::size_t number = 0; number < messages.count; ++number)
        packing_.leave_out(Kind::mail, Cause::deleted, folder.path);
      return;
    }
    names.front() = usual_mail_folder(names.front());
    folders_.add(names, {.place = folder,
                         .size = messages.size,
                         .messages = [folder](const TakeMessage& take, const Complain& complain) {
                           each_message_file(folder, take, complain);
                         }});
  }

  // What is neither message, article nor account is a program's own.
  void add_file(const Place& place, const Entry& entry) {
    if (ends_with(entry.name, article_ending)) packing_.leave_out(Kind::mail, Cause::no_place, place.path);
    if (!ends_with(entry.name, account_ending) || !packing_.wants(Kind::accounts)) return;
    if (entry.gap) return packing_.leave_out(Kind::accounts, *entry.gap, place.path);
    if (entry.size > longest_xml) return packing_.leave_out(Kind::accounts, Cause::too_long, place.path);
    const auto text = whole(place, longest_xml);
    const auto found = text ? account_in(*text) : std::nullopt;
    if (!found)
      return packing_.leave_out(Kind::accounts, text ? Cause::damaged : cause_at(place, Cause::unreadable),
                                place.path);
    if (found->account) accounts_.add(*found->account, place.path);
    if (found->is_other_mail) packing_.leave_out(Kind::accounts, Cause::no_place, place.path);
  }

  Packing& packing_;
  MailAccounts& accounts_;
  MailFolders& folders_;
  std::vector<Place> known_;
};

}  // namespace

void add_windows_mail(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                      MailAccounts& accounts, MailFolders& folders) {
  const Tree& tree = *person.home.tree;
  Store store(packing, accounts, folders);
  for (const std::string_view place : usual_places)
    if (const auto found = find_folder(tree, person.home.path, place))
      store.add({.tree = &tree, .path = *found});
  for (const char* key : keys) {
    const auto root = hive == nullptr ? std::nullopt : hive->text(key, "Store Root");
    if (!root) continue;
    const Whereabouts found = whereabouts(machine.disk, person, hive, *root);
    if (found.place) store.add(*found.place);
    if (found.cause) packing.leave_out(Kind::mail, *found.cause, found.path);
  }
  if (const auto app = find(tree, person.home.path, store_of_app))
    packing.leave_out(Kind::mail, Cause::mail_app, app->path);
}

}  // namespace pack
