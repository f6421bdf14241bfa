#include "process/desktop/browser.h"

#include <cstdio>
#include <optional>
#include <string>

#include "process/desktop/first_entry.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"

namespace {

// Longer lines are read in pieces.
constexpr std::size_t line_limit = 1023;

int failed(const char* text) {
  std::perror(text);
  return -1;
}

std::string browser_folder(const std::string& home) {
  // By the installed program, not by the profiles that exist: what counts is what the user will start.
  return home + (is_folder("/usr/bin", "firefox") == 1 ? "/.mozilla/firefox" : "/.mozilla/default");
}

struct Profile {
  std::string folder;
  std::string name;
};

std::optional<Profile> find_profile() {
  const std::string home = user_home();
  if (home.empty()) return std::nullopt;
  const std::string folder = browser_folder(home);
  const std::optional<std::string> name = first_entry(folder, {"pluginreg.dat", "profiles.ini"},
                                                      "In favourites_cookies() opendir: ", "browser profile");
  if (!name) return std::nullopt;
  return Profile{folder, *name};
}

bool is_cookie(const std::string& line) { return line[0] != '#' && line[0] != '\n'; }

void widen_cookies(std::FILE* from, const File& to) {
  std::string piece;
  bool at_line_start = true;
  while (read_piece(from, line_limit, piece)) {
    // A second dot before a host that has one already is deliberate: browsers take it for the same
    // pattern, and the rule stays the same for every line.
    if (at_line_start && is_cookie(piece)) write_text(to, ".");
    write_text(to, piece);
    at_line_start = piece.back() == '\n';
  }
}

int copy_for_konqueror(const char* root, const char* from, const char* to) {
  const std::string home = user_home();
  if (home.empty()) return -1;
  const std::string target = home + "/.kde/share/apps/" + to;
  SYSTEM(compose("rm %s", target));
  return SYSTEM(compose("cp %s %s", std::string(root) + from, target));
}

}  // namespace

int favourites(const char* args) {
  const std::optional<Profile> profile = find_profile();
  if (!profile) return -1;
  const shell::Command copy =
      compose("cp %s/Bookmark.htm %s/%s/bookmarks.html", args, profile->folder, profile->name);
  std::printf("%s", copy.c_str());
  SYSTEM(copy);
  return 0;
}

int cookies(const char* args) {
  const std::optional<Profile> profile = find_profile();
  if (!profile) return -1;
  SYSTEM(compose("dos2unix -q %s/Cookies.txt", args));
  const File from = open_file(std::string(args) + "/Cookies.txt", "r");
  if (!from) return failed("in cookies ");
  const File to = open_file(profile->folder + "/" + profile->name + "/cookies.txt", "w");
  if (!to) return failed(" in cookies ");  // the blank in front tells the two apart
  widen_cookies(from.get(), to);
  return 0;
}

int konquererbookmarks(const char* args) {
  return copy_for_konqueror(args, "/bookmarks.xml", "konqueror/bookmarks.xml");
}

int konquerercookies(const char* args) {
  return copy_for_konqueror(args, "/Cookies2.txt", "kcookiejar/cookies");
}
