#include "pack/people/people.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <system_error>

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

bool is_taken(const std::string& login) { return std::ranges::find(taken, login) != taken.end(); }

std::string with_number(std::string login, int number) {
  const std::string digits = std::to_string(number);
  login.resize(std::min(login.size(), longest_login - digits.size()));
  return login + digits;
}

std::string free_login(const std::string& wanted, const std::set<std::string>& others) {
  std::string login = wanted;
  for (int number = 2; others.contains(login) || is_taken(login); ++number)
    login = with_number(wanted, number);
  return login;
}

std::vector<Entry> listed(const Tree& tree, const std::string& folder) {
  try {
    return tree.list(folder);
  } catch (const std::system_error&) {
    return {};
  }
}

void add_people_in(const Tree& tree, const std::string& folder, std::vector<Person>& people) {
  for (const Entry& entry : listed(tree, folder))
    if (entry.what == What::folder && !is_nobody(entry.name))
      people.push_back(
          {.shown = entry.name, .login = "", .home = {.tree = &tree, .path = joined(folder, entry.name)}});
}

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

std::string login_of(const std::string& shown) {
  std::string login;
  for (const char c : in_ascii(shown)) {
    const char small = g_ascii_tolower(c);
    if (is_login_letter(small) && (!login.empty() || is_letter(small))) login += small;
  }
  login.resize(std::min(login.size(), longest_login));
  return free_login(login.empty() ? "user" : login, {});
}

std::vector<Person> people_on(const Disk& disk) {
  std::vector<Person> people;
  const Tree& tree = disk.system();
  for (const std::string_view folder : homes)
    if (const auto found = find_folder(tree, "", folder)) add_people_in(tree, *found, people);
  if (people.empty() && is_home(tree))
    people.push_back({.shown = "user", .login = "", .home = {.tree = &tree, .path = ""}});
  std::ranges::sort(people, {}, &Person::shown);
  std::set<std::string> logins;
  for (Person& person : people) {
    person.login = free_login(login_of(person.shown), logins);
    logins.insert(person.login);
  }
  return people;
}

}  // namespace pack
