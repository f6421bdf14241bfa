#include "account/people.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <string>

#include "account/archive/charset.h"
#include "account/archive/settings.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::size_t largest_control_file = 1 << 20;

std::string in_root(const char* name) { return std::string(layout::root) + "/" + name; }

// Text of two bytes a character is converted like its line ends, by dos2unix.
Settings settings_in(const std::string& text) {
  const bool is_wide = text.starts_with("\xff\xfe") || text.starts_with("\xfe\xff");
  return Settings(is_wide ? to_utf8(text, "UTF-16").value_or(text) : text);
}

std::string own_login() {
  const passwd* const entry = getpwuid(getuid());
  return entry == nullptr ? std::to_string(getuid()) : entry->pw_name;
}

Person running_person(const Options& options) {
  Person person;
  person.login = options.login.empty() ? own_login() : options.login;
  person.home = person.login == "root" ? "/root" : "/home/" + person.login;
  if (!options.home.empty()) person.home = options.home;
  person.folder = layout::root;
  return person;
}

Person profile(const std::string& login, const Options& options) {
  Person person;
  person.login = login;
  const auto given = options.homes.find(login);
  person.home = given == options.homes.end() ? "/home/" + login : given->second;
  person.folder = in_root(layout::profiles) + "/" + login;
  person.runs = false;
  person.has_account = getpwnam(login.c_str()) != nullptr;
  return person;
}

std::string_view last_part(std::string_view path) { return path.substr(path.rfind('/') + 1); }

// Takes the folders that were given without a login name. One that bears the running person's name is theirs.
void give_homes(std::vector<Person>& people, const Options& options) {
  Person& runner = people.front();
  for (const std::string& folder : options.folders) {
    const std::string_view name = last_part(folder);
    const auto owner = std::ranges::find(people.begin() + 1, people.end(), name, &Person::login);
    const bool is_profiles = name != runner.login && owner != people.end();
    if (is_profiles && options.homes.contains(owner->login)) continue;
    (is_profiles ? *owner : runner).home = folder;
  }
}

}  // namespace

bool is_for_several(const Archive& archive) {
  const std::string name = in_root(layout::users);
  const Entry* const users = archive.find(name);
  // A folder of that name can be opened and has no line.
  if (users == nullptr || users->folder) return archive.has(name);
  if (users->is_link_or_device()) return false;  // it is removed again, and says nothing
  // What cannot be read here was read by the wizard, with the password.
  if (users->encrypted()) return archive.has(in_root(layout::profiles));
  return settings_in(archive.read(*users, largest_control_file)).flag("MultiUser Migration") != '0';
}

bool is_login_name(std::string_view login) {
  const char first = login.empty() ? '\0' : login.front();
  return (first >= 'a' && first <= 'z') || (first >= 'A' && first <= 'Z') || (first >= '0' && first <= '9');
}

std::vector<Person> people_in(const Archive& archive, const Options& options) {
  std::vector<Person> people = {running_person(options)};
  const std::string profiles = in_root(layout::profiles);
  // By name, each once: names that begin alike ("ann", "ann-lee") do not lie together in the archive.
  std::set<std::string> logins;
  for (const Entry& entry : archive.below(profiles)) {
    const std::string_view name = entry.name.substr(profiles.size() + 1);
    logins.emplace(name.substr(0, name.find('/')));
  }
  for (const std::string& login : logins) {
    people.push_back(profile(login, options));
    people.back().is_namesake = login == people.front().login;
  }
  give_homes(people, options);
  return people;
}

}  // namespace account
