#include "pack/people/people.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace pack {

namespace {

constexpr std::size_t longest_login = 32;

// Where people's folders lie, since Vista and before.
constexpr std::array<std::string_view, 2> homes = {"Users", "Documents and Settings"};

constexpr std::array<std::string_view, 10> nobodies = {
    "All Users",    "Default",        "Default User", "Default.migrated",   "defaultuser0",
    "LocalService", "NetworkService", "Public",       "WDAGUtilityAccount", "systemprofile"};

// Of a system that has just been installed. An account of that name is not a person's.
constexpr std::array<std::string_view, 20> taken = {
    "root", "daemon", "bin",      "sys",    "sync", "games", "man",    "lp",    "mail", "news",
    "uucp", "proxy",  "www-data", "backup", "list", "irc",   "nobody", "users", "adm",  "messagebus"};

bool is_nobody(std::string_view name) {
  return name.ends_with(".NET") || name.starts_with("NT SERVICE") ||
         std::ranges::any_of(nobodies, [&](std::string_view other) { return is_same_name(name, other); });
}

constexpr bool is_letter(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool is_login_letter(char c) {
  return is_letter(c) || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

std::string in_ascii(const std::string& text) {
  const std::unique_ptr<char, decltype(&g_free)> valid(
      g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), g_free);
  const std::unique_ptr<char, decltype(&g_free)> ascii(g_str_to_ascii(valid.get(), "C"), g_free);
  return ascii.get();
}

std::string with_number(std::string login, int number) {
  const std::string digits = std::to_string(number);
  login.resize(std::min(login.size(), longest_login - digits.size()));
  return login + digits;
}

std::string free_login(const std::string& wanted, const std::set<std::string>& others) {
  std::string login = wanted;
  for (int number = 2; others.contains(login) || is_login_of_system(login); ++number)
    login = with_number(wanted, number);
  return login;
}

bool is_in(const Place& place, const Place& folder) {
  return place.tree == folder.tree &&
         (folder.path.empty() || place.path == folder.path || place.path.starts_with(folder.path + "/"));
}

bool is_folder(const Place& place) {
  const auto found = find(*place.tree, "", place.path);
  return found && found->entry.what == What::folder;
}

// People as they are found.
class Search {
 public:
  explicit Search(const Disk& disk) : disk_(disk) {}

  // Those with a folder in this one.
  void look_in(const Tree& tree, const std::string& folder) {
    for (const Entry& entry : listed(tree, folder)) {
      const Place place{.tree = &tree, .path = joined(folder, entry.name)};
      if (is_nobody(entry.name) || entry.what == What::file) continue;
      if (entry.what == What::folder) {
        add(entry.name, place);
      } else if (entry.gap == Cause::link) {
        follow(entry, place);
      } else {
        leave_out(entry.gap.value_or(Cause::special), place.path);
      }
    }
  }

  // The one whom the registry knows. A folder of the machine's own drive that is not there was deleted.
  void look_at(const KnownProfile& profile) {
    const std::string name = profile.path.substr(profile.path.find_last_of("\\/") + 1);
    const auto place = disk_.find(profile.path);
    if (is_nobody(name)) return;
    if (place && is_folder(*place))
      return add(place->path.substr(place->path.rfind('/') + 1), *place, profile.account);
    const bool is_elsewhere = profile.path.size() < 2 || profile.path[1] != ':' ||
                              !disk_.has(static_cast<char>(profile.path[0] & ~0x20));
    if (is_elsewhere) leave_out(Cause::elsewhere, profile.path);
  }

  Household household() { return std::move(household_); }

 private:
  // Somebody has moved their folder and left a link in its place.
  void follow(const Entry& entry, const Place& place) {
    const auto target = disk_.find(entry.target);
    if (target && is_folder(*target)) return add(entry.name, *target);
    leave_out(entry.target.empty() ? Cause::link : Cause::elsewhere,
              entry.target.empty() ? place.path : entry.target);
  }

  // A folder is somebody's once, and nobody's that holds others' or the whole disk.
  void add(const std::string& name, const Place& home, const std::string& account = "") {
    for (Person& other : household_.people) {
      if (other.home.tree == home.tree && other.home.path == home.path) {
        if (other.account.empty()) other.account = account;
        return;
      }
      if (is_in(other.home, home)) return;
    }
    if (home.path.empty()) return;
    household_.people.push_back({.shown = name, .login = "", .home = home, .account = account});
  }

  void leave_out(Cause cause, const std::string& path) {
    household_.gaps.push_back({.cause = cause, .path = path});
  }

  const Disk& disk_;
  Household household_;
};

// A copy of one person's folder is taken for theirs.
bool is_home(const Tree& tree) {
  return find(tree, "", "NTUSER.DAT").has_value() ||
         (find_folder(tree, "", "Desktop") &&
          (find_folder(tree, "", "Documents") || find_folder(tree, "", "My Documents")));
}

}  // namespace

bool is_login(const std::string& name) {
  return !name.empty() && name.size() <= longest_login && is_letter(name.front()) &&
         std::ranges::all_of(name, is_login_letter);
}

bool is_login_of_system(const std::string& login) { return std::ranges::find(taken, login) != taken.end(); }

std::string login_of(const std::string& shown) {
  std::string login;
  for (const char c : in_ascii(shown)) {
    const char small = g_ascii_tolower(c);
    if (is_login_letter(small) && (!login.empty() || is_letter(small))) login += small;
  }
  login.resize(std::min(login.size(), longest_login));
  return free_login(login.empty() ? "user" : login, {});
}

Household household_of(const Disk& disk, const MachineRegistry& registry) {
  const Tree& tree = disk.system();
  Search search(disk);
  for (const std::string_view folder : homes)
    if (const auto found = find_folder(tree, "", folder)) search.look_in(tree, *found);
  if (const auto place = disk.find(registry.profiles_folder);
      place && is_folder(*place) && !place->path.empty())
    search.look_in(*place->tree, place->path);
  for (const KnownProfile& profile : registry.profiles) search.look_at(profile);
  Household household = search.household();
  std::vector<Person>& people = household.people;
  if (people.empty() && is_home(tree))
    people.push_back({.shown = "user", .login = "", .home = {.tree = &tree, .path = ""}});
  std::ranges::stable_sort(people, {}, &Person::shown);
  std::set<std::string> logins;
  for (Person& person : people) {
    person.login = free_login(login_of(person.shown), logins);
    logins.insert(person.login);
  }
  return household;
}

std::vector<Person> people_on(const Disk& disk) { return household_of(disk, machine_registry(disk)).people; }

}  // namespace pack
