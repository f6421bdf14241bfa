// texts KIND ROOT HOME: takes over one kind of text from the archive folder ROOT into HOME, the home of the
// user "bench", and reports what that took. The commands that are run meanwhile are real, and not counted for
// the processor's time.
#include <functional>
#include <map>
#include <string>

#include "process/archive/settings.h"
#include "process/desktop/browser.h"
#include "process/desktop/konqueror.h"
#include "process/mail/kde/personal.h"
#include "process/mail/mozilla/personal.h"
#include "programs/took.h"
#include "shell/files.h"
#include "state/state.h"
#include "system/target.h"

namespace {

Target target_in(const std::string& root, const std::string& home) {
  return {.home = home,
          .login = "bench",
          .is_running_user = false,
          .one_of_several = true,
          .system = System::redflag,
          .system_version = "Any",
          .root = root,
          .locale = "C"};
}

bool take_cookies(const std::string& root) {
  isDefaultUser = 0;
  return assign(cur_user, "bench") && cookies(root.c_str()) == 0;
}

bool add_bookmark(const std::string& home) {
  return add_konqueror_bookmark(home, "<bookmark href=\"smb://a/b\"><title>B</title></bookmark>\n");
}

// The last line answers.
bool ask_setting(const std::string& root) {
  const File file = open_file(root + "/settings.txt", "r");
  return file && setting(file.get(), "Very Last Key") == "yes";
}

using Taker = std::function<bool(const std::string& root, const std::string& home)>;

const std::map<std::string, Taker> takers = {
    {"mozilla-calendar",
     [](const std::string& root, const std::string& home) {
       return mozillacalendar(root.c_str(), (home + "/profile").c_str()) == 0;
     }},
    {"organizer-calendar",
     [](const std::string& root, const std::string& home) {
       return kmailcallendar(target_in(root, home)) == 0;
     }},
    {"notes",
     [](const std::string& root, const std::string& home) { return kmailnotes(target_in(root, home)) == 0; }},
    {"cookies", [](const std::string& root, const std::string&) { return take_cookies(root); }},
    {"bookmarks", [](const std::string&, const std::string& home) { return add_bookmark(home); }},
    {"settings", [](const std::string& root, const std::string&) { return ask_setting(root); }},
};

}  // namespace

int main(int argc, char** argv) {
  const auto taker = argc == 4 ? takers.find(argv[1]) : takers.end();
  if (taker == takers.end()) return 2;
  const bench::Took took;
  const bool taken = taker->second(argv[2], argv[3]);
  took.report();
  return taken ? 0 : 1;
}
