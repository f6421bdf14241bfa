#include <pwd.h>

#include <algorithm>
#include <string>

#include "account/before/before.h"

namespace account {
namespace {

constexpr std::size_t longest_login = 32;
constexpr uid_t first_of_people = 1000, nobody = 65534;

bool is_one_of(char c, std::string_view set) { return set.find(c) != std::string_view::npos; }

constexpr std::string_view small = "abcdefghijklmnopqrstuvwxyz", large = "ABCDEFGHIJKLMNOPQRSTUVWXYZ",
                           digits = "0123456789";

bool begins_as_the_wizard_wants(char c) {
  return is_one_of(c, small) || is_one_of(c, large) || is_one_of(c, digits);
}

// As Debian's useradd judges a name that begins as the wizard wants.
bool useradd_takes(const std::string& login) {
  return login.size() <= longest_login && login.find_first_of(":, \t\n\v\f\r") == std::string::npos;
}

}  // namespace

void foresee_logins(const Outlook& outlook, std::vector<Warning>& found) {
  for (const Person& person : outlook.people) {
    if (person.runs) {
      if (outlook.several && !outlook.as_root)
        found.push_back({person.login, {}, person.login, Foresight::needs_root, ""});
      continue;
    }
    const auto say = [&](Foresight what) { found.push_back({person.login, {}, person.login, what, ""}); };
    const passwd* const entry = getpwnam(person.login.c_str());
    if (!begins_as_the_wizard_wants(person.login.front())) {
      say(Foresight::login_skipped);
    } else if (entry != nullptr) {
      const bool of_system = entry->pw_uid < first_of_people || entry->pw_uid == nobody;
      say(of_system ? Foresight::login_of_system : Foresight::login_exists);
    } else if (!useradd_takes(person.login)) {
      say(Foresight::login_refused);
    }
  }
}

}  // namespace account
