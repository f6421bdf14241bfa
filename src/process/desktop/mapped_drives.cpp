#include "process/desktop/mapped_drives.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "gconf/client.h"
#include "process/desktop/konqueror.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

// Kept: a longer line is read in pieces, and each piece counts as a line.
constexpr std::size_t line_limit = 1023;

struct Drive {
  std::string share;
  std::string name;
};

// Up to a NUL, too: it would end the value in the link's path but not in the check of the name.
std::string without_newline(const std::string& line) {
  return std::string(line.substr(0, line.find('\n')).c_str());
}

std::optional<Drive> read_drive(const std::string& path) {
  dos_to_unix(path.c_str());
  const File file = open_file(path, "r");
  if (!file) {
    std::perror(path.c_str());
    return std::nullopt;
  }
  std::vector<std::string> lines;
  std::string line;
  while (read_piece(file.get(), line_limit, line)) {
    std::printf("%s", line.c_str());
    if (lines.size() < 2) lines.push_back(without_newline(line));
  }
  if (lines.size() < 2) {
    std::fprintf(stderr, "No share and name in %s\n", path.c_str());
    return std::nullopt;
  }
  std::printf("\nLine1::%s", lines[0].c_str());
  std::printf("\nLine2::%s\n", lines[1].c_str());
  return Drive{lines[0], lines[1]};
}

std::optional<std::vector<std::string>> drive_files(const std::string& folder) {
  const auto names = list_folder(folder);
  if (!names) {
    std::perror("Network Drive:: ");
    return std::nullopt;
  }
  std::vector<std::string> paths;
  for (const std::string& name : *names) paths.push_back(folder + "/" + name);
  return paths;
}

constexpr const char* link_text =
    "[Desktop Entry]\n"
    // The three tabs belong to the format: desktops skip them, and the links have always had them.
    "\t\t\tVersion=1.0\n"
    "\t\t\tEncoding=UTF-8\n"
    "\t\t\tName=@name@\n"
    "\t\t\tType=Link\n"
    "URL=smb:@share@\n"
    "Icon=@icon@";

int make_link(const std::string& home, const Drive& drive, const char* icon) {
  // A name with a slash is no file name; it must not reach a file beside or above the desktop either.
  const bool is_file_name = !contains(drive.name, "/");
  if (!is_file_name) errno = EINVAL;
  const File link = is_file_name ? open_file(home + "/Desktop/" + drive.name, "w") : File();
  if (!link) {
    std::perror("Network Drives ");
    return -1;
  }
  write_text(link, fill(link_text, {{"name", drive.name}, {"share", drive.share}, {"icon", icon}}));
  return 0;
}

// No value when it cannot be made: the links are worth having without the bookmarks.
File new_nautilus_bookmarks(const std::string& home) {
  const std::string path = home + "/.nautilus/bookmarks.xml";
  SYSTEM(compose("rm %s", path));
  // A home in which Nautilus has not run yet has no such folder.
  std::error_code exists_already;
  std::filesystem::create_directory(home + "/.nautilus", exists_already);
  File bookmarks = open_file(path, "w");
  if (!bookmarks) std::perror(path.c_str());
  return bookmarks;
}

void write_to(const File& file, const std::string& text) {
  if (file) write_text(file, text);
}

constexpr const char* nautilus_bookmark =
    R"(<bookmark name="@name@" uri="smb:@share@" icon_name="gnome-mime-x-directory-smb-share"/>
)";

int write_nautilus_bookmarks(const std::string& home, const std::vector<std::string>& files) {
  const File bookmarks = new_nautilus_bookmarks(home);
  write_to(bookmarks, "<?xml version=\"1.0\"?>\n<bookmarks>\n");
  for (const std::string& file : files) {
    const std::optional<Drive> drive = read_drive(file);
    if (!drive) continue;
    write_to(bookmarks, fill(nautilus_bookmark, {{"name", drive->name}, {"share", drive->share}}));
    if (make_link(home, *drive, "/opt/gnome/share/pixmaps/smb-host.png") != 0) return -1;
  }
  write_to(bookmarks, "</bookmarks>\n");
  return 0;
}

int set_nautilus_preferences() {
  set_gconf_bool("/apps/nautilus/preferences/always_use_browser", TRUE);
  set_gconf_bool("/apps/nautilus/preferences/start_with_sidebar", TRUE);
  // A boolean, not the tree view's OAFIID, on purpose: it turns the side pane on and leaves Nautilus its
  // own choice of view.
  set_gconf_bool("/apps/nautilus/preferences/side_pane_view", TRUE);
  return 0;
}

// The other way round than through the client; the time is fixed, so that a rewritten file is the same
// file.
constexpr const char* nautilus_preferences = R"(<?xml version="1.0"?>
<gconf>
<entry name="side_pane_view" mtime="1114470984" type="bool" value="true">
</entry>
<entry name="start_with_sidebar" mtime="1114470984" type="bool" value="true">
</entry>
<entry name="always_use_browser" mtime="1114470984" type="bool" value="true">
</entry>
</gconf>)";

int write_nautilus_preferences(const std::string& home) {
  SYSTEM(compose("mkdir %s/.gconf/apps/nautilus", home));
  SYSTEM(compose("mkdir %s/.gconf/apps/nautilus/preferences", home));
  const std::string path = home + "/.gconf/apps/nautilus/preferences/%gconf.xml";
  if (replace_file(path, nautilus_preferences)) return 0;
  std::perror(path.c_str());
  return -1;
}

constexpr const char* konqueror_bookmark =
    R"(<bookmark icon="samba" href="smb:@share@"><title>@name@</title></bookmark>)";

}  // namespace

int nautilusmappeddrives(const char* args) {
  const std::string home = user_home();
  if (home.empty()) return -1;
  const auto files = drive_files(std::string(args) + "/Mapped_Drives");
  if (!files) return -1;
  if (write_nautilus_bookmarks(home, *files) != 0) return -1;
  const int result = isDefaultUser == 1 ? set_nautilus_preferences() : write_nautilus_preferences(home);
  if (result == 0) std::printf("GCONF Set complete");
  return result;
}

int mappeddrives(const char* args) {
  const std::string home = user_home();
  if (home.empty()) return -1;
  const auto files = drive_files(std::string(args) + "/Mapped_Drives");
  if (!files) return -1;
  for (const std::string& file : *files) {
    const std::optional<Drive> drive = read_drive(file);
    if (!drive) continue;
    add_konqueror_bookmark(home, fill(konqueror_bookmark, {{"share", drive->share}, {"name", drive->name}}));
    if (make_link(home, *drive, "network_local") != 0) return -1;
  }
  return 0;
}
