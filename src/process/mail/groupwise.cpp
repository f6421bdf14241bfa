#include "process/mail/groupwise.h"

#include <cstdio>
#include <string>

#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"

namespace {

constexpr std::size_t line_limit = 1023;

// Windows writes single quotes. A line with double quotes was changed before and is left alone.
constexpr const char* windows_mailbox = "<_default reg='sz'>gwremote</_default>";

// Double quotes on purpose, as the client itself writes the line on this side.
constexpr const char* home_mailbox = R"(<_default reg="sz">@home@/gwremote</_default>
)";

// `to` is only opened, and so emptied, once its copy `from` could be.
void write_settings(const std::string& from, const std::string& to, const std::string& home) {
  const File in = open_file(from, "r");
  const File out = in ? open_file(to, "w") : nullptr;
  std::string line;
  while (out && read_piece(in.get(), line_limit, line)) {
    write_text(out, contains(line, windows_mailbox) ? fill(home_mailbox, {{"home", home}}) : line);
  }
}

}  // namespace

int groupwise(const char* args) {
  const std::string folder = std::string(args) + "/Groupwise";
  const std::string settings = folder + "/.gwuser.xml";
  const std::string copy = folder + "/.gwusertemp.xml";
  if (is_folder(folder.c_str(), ".gwuser.xml") == 0) return 0;
  SYSTEM(compose("cp %s %s", settings, copy));
  const std::string home = user_home();
  if (home.empty()) return 0;
  write_settings(copy, settings, home);
  SYSTEM(compose("cp -a %s/Groupwise/.gwuser.xml %s/", args, home));
  SYSTEM(compose("cp -a %s/Groupwise/gwremote %s", args, home));
  return 0;
}
