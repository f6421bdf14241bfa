#include "pack/mail/thunderbird.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "pack/disk/refusal.h"
#include "pack/disk/stage.h"
#include "pack/files/known_folders.h"
#include "pack/mail/prefs.h"
#include "pack/mail/thunderbird_accounts.h"
#include "pack/mail/thunderbird_folders.h"
#include "pack/mail/thunderbird_profiles.h"

namespace pack {

namespace {

constexpr std::size_t longest_prefs = std::size_t{1} << 24;

// One profile's folders of servers, in it and elsewhere.
class Servers {
 public:
  Servers(const Disk& disk, const Person& person, const Hive* hive, const Place& profile,
          ThunderbirdFolders& folders, Gaps& gaps)
      : disk_(disk), person_(person), hive_(hive), profile_(profile), folders_(folders), gaps_(gaps) {}

  void add(const Prefs& prefs) {
    if (const auto servers = folder_at(profile_, "Mail", gaps_))
      folders_.add_servers(*servers, Spelling::plain);
    if (const auto servers = folder_at(profile_, "ImapMail", gaps_))
      folders_.add_servers(*servers, Spelling::of_imap);
    constexpr std::string_view ending = ".directory";
    for (const auto& [name, value] : prefs)
      if (name.starts_with("mail.server.") && name.ends_with(ending) && !value.empty())
        add_by_prefs(pref(prefs, name + "-rel"), value,
                     pref(prefs, name.substr(0, name.size() - ending.size()) + ".type") == "imap"
                         ? Spelling::of_imap
                         : Spelling::plain);
  }

 private:
  using Spelling = ThunderbirdFolders::Spelling;

  // By its place relative to the profile, when that is one, else by the one it had on Windows.
  void add_by_prefs(const std::string& relative, const std::string& absolute, Spelling spelling) {
    constexpr std::string_view profile = "[ProfD]";
    if (relative.starts_with(profile)) {
      const std::string path =
          std::filesystem::path(joined(profile_.path, relative.substr(profile.size()))).lexically_normal();
      if (const auto folder = folder_at({.tree = profile_.tree, .path = ""}, path, gaps_))
        return folders_.add_server(*folder, spelling);
      // Not made yet: the server has no mail.
      if (relative.find("..") == std::string::npos) return;
    }
    add_moved(absolute, spelling);
  }

  void add_moved(const std::string& path, Spelling spelling) {
    const Whereabouts found = whereabouts(disk_, person_, hive_, path);
    if (found.place && find_folder(*found.place->tree, "", found.place->path))
      return folders_.add_server(*found.place, spelling);
    if (found.cause && !is_in_profile(path)) gaps_.add(*found.cause, path);
  }

  // A path from another machine, or another day, of a folder that has come along with the profile.
  bool is_in_profile(std::string path) const {
    std::ranges::replace(path, '\\', '/');
    const std::size_t server = path.rfind('/');
    if (server == std::string::npos || server == 0) return false;
    const std::size_t servers = path.rfind('/', server - 1);
    return servers != std::string::npos &&
           find_folder(*profile_.tree, profile_.path, path.substr(servers + 1)).has_value();
  }

  const Disk& disk_;
  const Person& person_;
  const Hive* hive_;
  const Place& profile_;
  ThunderbirdFolders& folders_;
  Gaps& gaps_;
};

Prefs prefs_of(const Place& profile, Gaps& gaps) {
  const auto file = find(*profile.tree, profile.path, "prefs.js");
  if (!file) return {};
  const auto text = whole({.tree = profile.tree, .path = file->path}, longest_prefs);
  if (!text) gaps.add(cause_at({.tree = profile.tree, .path = file->path}, Cause::unreadable), file->path);
  return text ? read_prefs(*text) : Prefs();
}

// Address books that lie on a server, of which nothing is here: "ldap_2.servers.KEY.uri".
void tell_of_directories(Packing& packing, const Place& profile, const Prefs& prefs) {
  constexpr std::string_view begin = "ldap_2.servers.";
  constexpr std::string_view end = ".uri";
  for (const auto& [name, value] : prefs) {
    if (!name.starts_with(begin) || !name.ends_with(end) || !value.starts_with("ldap")) continue;
    const std::string shown = pref(prefs, name.substr(0, name.size() - end.size()) + ".description");
    packing.tell_of(Kind::contacts, Cause::no_place, profile.path + ": " + (shown.empty() ? value : shown));
  }
}

}  // namespace

void add_thunderbird(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                     MailAccounts& accounts, MailFolders& folders) {
  const std::array kinds{Kind::mail, Kind::accounts, Kind::contacts};
  const auto wanted = std::ranges::find_if(kinds, [&](Kind kind) { return packing.wants(kind); });
  if (wanted == kinds.end()) return;
  Gaps gaps;
  ThunderbirdFolders all(packing, folders, gaps);
  for (const Place& profile : thunderbird_profiles(machine.disk, person, hive, gaps)) {
    const Prefs prefs = prefs_of(profile, gaps);
    if (packing.wants(Kind::accounts)) add_thunderbird_accounts(prefs, profile.path, packing, accounts);
    if (packing.wants(Kind::contacts)) tell_of_directories(packing, profile, prefs);
    if (packing.wants(Kind::mail)) Servers(machine.disk, person, hive, profile, all, gaps).add(prefs);
  }
  // Who packs contacts alone looks at the profiles again, and tells.
  if (*wanted != Kind::contacts) gaps.tell(packing, *wanted);
}

}  // namespace pack
