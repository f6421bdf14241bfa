#include "process/desktop/mapped_drives.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "process/archive/layout.h"
#include "process/desktop/konqueror.h"
#include "process/desktop/migrate_settings.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/pieces.h"
#include "shell/run.h"
#include "system/target.h"

namespace {

// ---- Reading the drives ------------------------------------------------------------------------------

// Deliberate: part of the format. A longer line is read in pieces, and each piece counts as a line.
constexpr std::size_t line_limit = 1023;

struct Drive {
  std::string share;
  std::string name;
};

std::optional<std::vector<std::string>> drive_files(const std::string& root) {
  const std::string folder = root + "/" + layout::mapped_drives;
  const auto names = list_folder(folder);
  if (!names) {
    std::perror("Network Drive:: ");
    return std::nullopt;
  }
  std::vector<std::string> paths;
  for (const std::string& name : *names) paths.push_back(folder + "/" + name);
  return paths;
}

// The first two lines; all are printed. A line ends at its newline, and at a NUL, which ends a file's name as
// well.
std::vector<std::string> read_lines(std::FILE* file) {
  std::vector<std::string> lines;
  PieceReader reader(file, line_limit);
  std::string_view piece;
  while (reader.next(piece)) {
    const std::string line(piece.substr(0, piece.find('\0')));
    std::printf("%s", line.c_str());
    if (lines.size() < 2) lines.push_back(line.substr(0, line.find('\n')));
  }
  return lines;
}

std::optional<Drive> read_drive(const std::string& path) {
  dos_to_unix(path.c_str());
  const File file = open_file(path, "r");
  if (!file) {
    std::perror(path.c_str());
    return std::nullopt;
  }
  const std::vector<std::string> lines = read_lines(file.get());
  if (lines.size() < 2) {
    std::fprintf(stderr, "No share and name in %s\n", path.c_str());
    return std::nullopt;
  }
  std::printf("\nLine1::%s", lines[0].c_str());
  std::printf("\nLine2::%s\n", lines[1].c_str());
  return Drive{lines[0], lines[1]};
}

// ---- Desktop links -----------------------------------------------------------------------------------

// Deliberate: part of the format, the three tabs.
constexpr const char* link_text =
    "[Desktop Entry]\n"
    "\t\t\tVersion=1.0\n"
    "\t\t\tEncoding=UTF-8\n"
    "\t\t\tName=@name@\n"
    "\t\t\tType=Link\n"
    "URL=smb:@share@\n"
    "Icon=@icon@";

// A name with a slash is no file name: it must not reach a file beside or above the desktop.
File new_link(const std::string& home, const std::string& name) {
  if (!contains(name, "/")) return open_file(home + "/Desktop/" + name, "w");
  errno = EINVAL;
  return {};
}

int make_link(const std::string& home, const Drive& drive, const char* icon) {
  const File link = new_link(home, drive.name);
  if (!link) {
    std::perror("Network Drives ");
    return -1;
  }
  write_text(link, fill(link_text, {{"name", drive.name}, {"share", drive.share}, {"icon", icon}}));
  return 0;
}

// ---- Nautilus ----------------------------------------------------------------------------------------

// Without a stream when it cannot be made: the links are made all the same.
File new_nautilus_bookmarks(const std::string& home) {
  const std::string path = home + "/.nautilus/bookmarks.xml";
  SYSTEM(compose("rm %s", path));
  // The home may lack the folder. When it cannot be made, opening the file says why.
  std::error_code ignored;
  std::filesystem::create_directory(home + "/.nautilus", ignored);
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

// Deliberate: part of the format. The order is the client's reversed, and the time is fixed.
constexpr const char* nautilus_preferences = R"(<?xml version="1.0"?>
<gconf>
<entry name="side_pane_view" mtime="1114470984" type="bool" value="true">
</entry>
<entry name="start_with_sidebar" mtime="1114470984" type="bool" value="true">
</entry>
<entry name="always_use_browser" mtime="1114470984" type="bool" value="true">
</entry>
</gconf>)";

int set_nautilus_preferences(const Target& target) {
  return migrate_settings(target,
                          {{"/apps/nautilus/preferences/always_use_browser", true},
                           {"/apps/nautilus/preferences/start_with_sidebar", true},
                           // Deliberate: part of the output. A boolean, not the name of a view.
                           {"/apps/nautilus/preferences/side_pane_view", true}},
                          {.folder = "apps/nautilus/preferences",
                           .new_folders = {"apps/nautilus", "apps/nautilus/preferences"},
                           .text = nautilus_preferences});
}

constexpr const char* konqueror_bookmark =
    R"(<bookmark icon="samba" href="smb:@share@"><title>@name@</title></bookmark>)";

}  // namespace

int nautilusmappeddrives(const char* args) {
  const Target target = target_of(args);
  trace_home(target.home);
  if (target.home.empty()) return -1;
  const auto files = drive_files(target.root);
  if (!files) return -1;
  if (write_nautilus_bookmarks(target.home, *files) != 0) return -1;
  if (set_nautilus_preferences(target) != 0) return -1;
  std::printf("GCONF Set complete");
  return 0;
}

int mappeddrives(const char* args) {
  const Target target = target_of(args);
  trace_home(target.home);
  if (target.home.empty()) return -1;
  const auto files = drive_files(target.root);
  if (!files) return -1;
  for (const std::string& file : *files) {
    const std::optional<Drive> drive = read_drive(file);
    if (!drive) continue;
    add_konqueror_bookmark(target.home,
                           fill(konqueror_bookmark, {{"share", drive->share}, {"name", drive->name}}));
    if (make_link(target.home, *drive, "network_local") != 0) return -1;
  }
  return 0;
}
