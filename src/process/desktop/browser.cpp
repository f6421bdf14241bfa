#include "process/desktop/browser.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "process/archive/layout.h"
#include "process/desktop/first_entry.h"
#include "shell/blocks.h"
#include "shell/copy.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/kept.h"
#include "shell/pieces.h"
#include "shell/replace.h"
#include "shell/run.h"
#include "system/target.h"

namespace {

int failed(const char* text) {
  std::perror(text);
  return -1;
}

// By the installed program, not by the profiles that exist.
std::string browser_folder(const std::string& home) {
  return home + (is_folder("/usr/bin", "firefox") == 1 ? "/.mozilla/firefox" : "/.mozilla/default");
}

struct Profile {
  std::string folder;
  std::string name;
};

std::optional<Profile> find_profile(const Target& target) {
  trace_home(target.home);
  if (target.home.empty()) return std::nullopt;
  const std::string folder = browser_folder(target.home);
  const std::optional<std::string> name = first_entry(folder, {"pluginreg.dat", "profiles.ini"},
                                                      "In favourites_cookies() opendir: ", "browser profile");
  if (!name) return std::nullopt;
  return Profile{folder, *name};
}

bool is_cookie(std::string_view line) { return line.front() != '#' && line.front() != '\n'; }

// Appends what becomes of a part of the cookies, which may begin and end within a line.
// Deliberate: part of the format. A host that begins with a dot gets a second one.
void append_widened(std::string_view part, bool& at_line_start, std::string& out) {
  while (!part.empty()) {
    if (at_line_start && is_cookie(part)) out += '.';
    const std::string_view line = first_piece(part, part.size());
    out += line;
    at_line_start = line.back() == '\n';
    part.remove_prefix(line.size());
  }
}

// Hands all of the cookies to `take`.
bool widen_cookies(BlockReader& from, const TakePart& take) {
  std::string widened;
  bool at_line_start = true;
  for (std::string_view block = from.next(); !block.empty(); block = from.next()) {
    widened.clear();
    append_widened(block, at_line_start, widened);
    if (!take(widened)) return false;
  }
  return !from.has_failed();
}

// `name` in the archive becomes `file` below the home's KDE applications.
int copy_for_konqueror(const Target& target, const char* name, const char* file) {
  trace_home(target.home);
  if (target.home.empty()) return -1;
  const std::string path = target.home + "/.kde/share/apps/" + file;
  if (!kept_before_change(path)) return -1;
  SYSTEM(compose("rm %s", path));
  return SYSTEM(compose("cp %s %s", target.root + "/" + name, path));
}

}  // namespace

int favourites(const char* args) {
  const Target target = target_of(args);
  const std::optional<Profile> profile = find_profile(target);
  if (!profile) return -1;
  const std::string source = target.root + "/" + layout::bookmarks;
  const shell::Command copy = compose("cp %s %s/%s/bookmarks.html", source, profile->folder, profile->name);
  std::printf("%s", copy.c_str());
  const bool copied = copy_over(copy, source, profile->folder + "/" + profile->name + "/bookmarks.html");
  return copied || errno != not_kept ? 0 : -1;
}

int cookies(const char* args) {
  const Target target = target_of(args);
  const std::optional<Profile> profile = find_profile(target);
  if (!profile) return -1;
  const std::string source = target.root + "/" + layout::cookies;
  convert_line_ends_silently(source);
  BlockReader from(source);
  if (!from.is_open()) return failed("in cookies ");
  const bool replaced = replace_file_by(profile->folder + "/" + profile->name + "/cookies.txt",
                                        [&](const TakePart& take) { return widen_cookies(from, take); });
  if (replaced) return 0;
  // Deliberate: part of the output, the blank in front.
  return failed(from.has_failed() ? "in cookies " : " in cookies ");
}

int konquererbookmarks(const char* args) {
  return copy_for_konqueror(target_of(args), layout::konqueror_bookmarks, "konqueror/bookmarks.xml");
}

int konquerercookies(const char* args) {
  return copy_for_konqueror(target_of(args), layout::konqueror_cookies, "kcookiejar/cookies");
}
