#include "account/people.h"

#include <pwd.h>
#include <unistd.h>

#include <string>

#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::size_t largest_control_file = 1 << 20, piece = 127;

std::string in_root(const char* name) { return std::string(layout::root) + "/" + name; }

std::string without_carriage_returns(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i)
    if (!(text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')) result += text[i];
  return result;
}

// The last character of the first line with the key, read in pieces of 127 bytes like all settings; 0 without
// one.
char flag_of(const std::string& text, std::string_view key) {
  for (std::size_t place = 0; place < text.size();) {
    const std::size_t end = text.find('\n', place);
    const std::size_t length = std::min(piece, (end == std::string::npos ? text.size() : end + 1) - place);
    std::string_view line = std::string_view(text).substr(place, length);
    place += length;
    if (line.find(key) == std::string_view::npos) continue;
    if (line.ends_with('\n')) line.remove_suffix(1);
    return line.empty() ? '\0' : line.back();
  }
  return '\0';
}

Person running_person(const Options& options) {
  Person person;
  const passwd* const entry = getpwuid(getuid());
  person.login = entry == nullptr ? std::to_string(getuid()) : entry->pw_name;
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

}  // namespace

bool is_for_several(const Archive& archive) {
  const Entry* const users = archive.find(in_root(layout::users));
  if (users == nullptr || users->folder) return false;
  const std::string text = without_carriage_returns(archive.read(*users, largest_control_file));
  return flag_of(text, "MultiUser Migration") != '0';
}

std::vector<Person> people_in(const Archive& archive, const Options& options) {
  std::vector<Person> people = {running_person(options)};
  if (!is_for_several(archive)) return people;
  const std::string profiles = in_root(layout::profiles);
  std::string last;
  for (const Entry& entry : archive.below(profiles)) {
    const std::string_view name = entry.name.substr(profiles.size() + 1);
    const std::string login(name.substr(0, name.find('/')));
    if (login == last) continue;
    last = login;
    people.push_back(profile(login, options));
  }
  return people;
}

}  // namespace account
