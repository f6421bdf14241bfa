#include "pack/mail/thunderbird.h"

#include <algorithm>
#include <array>
#include <system_error>

#include "pack/disk/stage.h"
#include "pack/mail/prefs.h"
#include "pack/mail/thunderbird_profiles.h"

namespace pack {

namespace {

constexpr std::array<std::string_view, 2> places_of_mail = {"Mail", "ImapMail"};
constexpr std::size_t longest_prefs = std::size_t{1} << 24;

// Ends of names of files that lie beside mailboxes and are none.
constexpr std::array<std::string_view, 9> other_endings = {".msf",        ".dat",  ".html", ".rdf", ".sqlite",
                                                           ".sqlite-wal", ".json", ".ini",  ".log"};

bool ends_with(std::string_view name, std::string_view ending) {
  return name.size() > ending.size() && is_same_name(name.substr(name.size() - ending.size()), ending);
}

bool is_other(std::string_view name) {
  return std::ranges::any_of(other_endings, [&](std::string_view ending) { return ends_with(name, ending); });
}

// "account1,account2" in its parts, without blanks.
std::vector<std::string> parts_of(const std::string& list) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    std::string part = list.substr(begin, end - begin);
    std::erase(part, ' ');
    if (!part.empty()) parts.push_back(part);
    begin = end + 1;
  }
  return parts;
}

constexpr const char* encrypted_from_the_start = "3";

MailAccount account_of(const Prefs& prefs, const std::string& account, const std::string& server) {
  const auto identities = parts_of(pref(prefs, "mail.account." + account + ".identities"));
  const std::string identity = identities.empty() ? "" : "mail.identity." + identities.front() + ".";
  std::string smtp = pref(prefs, identity + "smtpServer");
  if (smtp.empty()) smtp = pref(prefs, "mail.smtp.defaultserver");
  smtp = "mail.smtpserver." + smtp + ".";
  const std::string name = pref(prefs, server + "name");
  return {
      .is_imap = pref(prefs, server + "type") == "imap",
      .name = name.empty() ? pref(prefs, identity + "useremail") : name,
      .full_name = pref(prefs, identity + "fullName"),
      .address = pref(prefs, identity + "useremail"),
      .reply_address = pref(prefs, identity + "reply_to"),
      .organization = pref(prefs, identity + "organization"),
      .server = pref(prefs, server + "hostname"),
      .user = pref(prefs, server + "userName"),
      .port = pref(prefs, server + "port"),
      .is_secure = pref(prefs, server + "socketType") == encrypted_from_the_start,
      .leaves_on_server = pref(prefs, server + "leave_on_server") == "true",
      .smtp_server = pref(prefs, smtp + "hostname"),
      .smtp_wants_login = !pref(prefs, smtp + "username").empty() && pref(prefs, smtp + "authMethod") != "1",
      .smtp_is_secure = pref(prefs, smtp + "try_ssl") == encrypted_from_the_start};
}

void add_accounts(const Prefs& prefs, const std::string& from, MailAccounts& accounts) {
  for (const std::string& account : parts_of(pref(prefs, "mail.accountmanager.accounts"))) {
    const std::string server = "mail.server." + pref(prefs, "mail.account." + account + ".server") + ".";
    const std::string type = pref(prefs, server + "type");
    if (type == "pop3" || type == "imap") accounts.add(account_of(prefs, account, server), from);
  }
}

bool begins_as_mailbox(const Place& file) {
  constexpr std::string_view separator = "From ";
  std::array<char, separator.size()> bytes{};
  try {
    const auto content = file.tree->open(file.path);
    std::size_t size = 0;
    while (size < bytes.size()) {
      const std::size_t count = content->read(bytes.data() + size, bytes.size() - size);
      if (count == 0) break;
      size += count;
    }
    return std::string_view(bytes.data(), size) == separator;
  } catch (const std::system_error&) {
    return true;  // what cannot be read is told when it is packed
  }
}

std::uint64_t size_of_maildir(const Tree& tree, const std::string& folder) {
  std::uint64_t size = 0;
  constexpr std::uint64_t lines_of_each = 64;
  for (const char* part : {"cur", "new"})
    for (const Entry& entry : listed(tree, joined(folder, part))) size += entry.size + lines_of_each;
  return size;
}

// Folders below a server's, "NAME" with those in it in "NAME.sbd".
class Folders {
 public:
  Folders(Packing& packing, MailFolders& folders) : packing_(packing), folders_(folders) {}

  void add(const Place& folder) {
    const Tree& tree = *folder.tree;
    for (const Entry& entry : listed(tree, folder.path)) {
      const Place place{.tree = &tree, .path = joined(folder.path, entry.name)};
      if (entry.what == What::folder) {
        add_folder(place, entry.name);
      } else if (!is_other(entry.name)) {
        add_file(place, entry);
      }
    }
  }

 private:
  void add_folder(const Place& place, const std::string& name) {
    constexpr std::string_view subfolders = ".sbd";
    if (ends_with(name, subfolders)) {
      names_.push_back(name.substr(0, name.size() - subfolders.size()));
      add(place);
      names_.pop_back();
    } else if (find_folder(*place.tree, place.path, "cur")) {
      add_source(name,
                 {.place = place, .size = size_of_maildir(*place.tree, place.path), .is_maildir = true});
    }
  }

  void add_file(const Place& place, const Entry& entry) {
    if (entry.gap || entry.what != What::file)
      return packing_.leave_out(Kind::mail, entry.gap.value_or(Cause::special), place.path);
    if (entry.size > 0 && !begins_as_mailbox(place))
      return packing_.leave_out(Kind::mail, Cause::no_mailbox, place.path);
    add_source(entry.name, {.place = place, .size = entry.size});
  }

  void add_source(const std::string& name, const MailFolders::Source& source) {
    std::vector<std::string> names = names_;
    names.push_back(name);
    folders_.add(names, source);
  }

  Packing& packing_;
  MailFolders& folders_;
  std::vector<std::string> names_;
};

// Those in the profile, and those that were moved out of it.
void add_servers(Packing& packing, const Disk& disk, const Place& profile, const Prefs& prefs,
                 MailFolders& folders) {
  const Tree& tree = *profile.tree;
  for (const std::string_view mail : places_of_mail) {
    const auto servers = find_folder(tree, profile.path, mail);
    if (!servers) continue;
    for (const Entry& server : listed(tree, *servers))
      if (server.what == What::folder)
        Folders(packing, folders).add({.tree = &tree, .path = joined(*servers, server.name)});
  }
  for (const auto& [name, value] : prefs) {
    if (!name.starts_with("mail.server.") || !name.ends_with(".directory")) continue;
    const auto moved = disk.find(value);
    const bool is_in_profile = moved && moved->tree == &tree && moved->path.starts_with(profile.path + "/");
    if (moved && !is_in_profile) Folders(packing, folders).add(*moved);
  }
}

}  // namespace

void add_thunderbird(Packing& packing, const Machine& machine, const Person& person, MailAccounts& accounts,
                     MailFolders& folders) {
  const Tree& tree = *person.home.tree;
  for (const std::string& profile : thunderbird_profiles(person)) {
    const auto file = find(tree, profile, "prefs.js");
    const auto text = file ? whole({.tree = &tree, .path = file->path}, longest_prefs) : std::nullopt;
    const Prefs prefs = text ? read_prefs(*text) : Prefs();
    if (packing.wants(Kind::accounts)) add_accounts(prefs, profile, accounts);
    if (packing.wants(Kind::mail))
      add_servers(packing, machine.disk, {.tree = &tree, .path = profile}, prefs, folders);
  }
}

}  // namespace pack
