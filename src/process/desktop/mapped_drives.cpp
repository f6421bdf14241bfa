#include "process/desktop/mapped_drives.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/desktop/konqueror.h"
#include "process/desktop/migrate_settings.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/kept.h"
#include "shell/pieces.h"
#include "shell/replace.h"
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
bool write_link(const std::string& home, const std::string& name, const std::string& text) {
  if (!contains(name, "/")) return replace_file(home + "/Desktop/" + name, text);
  errno = EINVAL;
  return false;
}

int make_link(const std::string& home, const Drive& drive, const char* icon) {
  const std::string text = fill(link_text, {{"name", drive.name}, {"share", drive.share}, {"icon", icon}});
  if (write_link(home, drive.name, text)) return 0;
  const int error = errno;
  std::perror("Network Drives ");
  errno = error;
  return -1;
}

// ---- Nautilus ----------------------------------------------------------------------------------------

constexpr const char* nautilus_bookmark =
    R"(<bookmark name="@name@" uri="smb:@share@" icon_name="gnome-mime-x-directory-smb-share"/>
)";

// Adds the drives to `bookmarks` and makes their links. False at the first that cannot be made.
bool take_drives(const std::string& home, const std::vector<std::string>& files, std::string& bookmarks) {
  for (const std::string& file : files) {
    const std::optional<Drive> drive = read_drive(file);
    if (!drive) continue;
    bookmarks += fill(nautilus_bookmark, {{"name", drive->name}, {"share", drive->share}});
    if (make_link(home, *drive, "/opt/gnome/share/pixmaps/smb-host.png") != 0) return false;
  }
  bookmarks += "</bookmarks>\n";
  return true;
}

enum class Made { all, links_only, not_all_links };

// The old bookmarks, once removed, come back when the new ones cannot be written, or when something could not
// be kept. The links are made all the same.
Made write_nautilus_bookmarks(const std::string& home, const std::vector<std::string>& files) {
  const std::string path = home + "/.nautilus/bookmarks.xml";
  if (!keep::before_change(path)) return Made::not_all_links;
  const KeptFile before(path);
  SYSTEM(compose("rm %s", path));
  // The home may lack the folder. When it cannot be made, writing the file says why.
  static_cast<void>(make_folder(home + "/.nautilus"));
  std::string bookmarks = "<?xml version=\"1.0\"?>\n<bookmarks>\n";
  const bool linked = take_drives(home, files, bookmarks);
  if (!linked && errno == not_kept) return Made::not_all_links;
  const bool written = replace_file(path, bookmarks);
  if (!written) std::perror(path.c_str());
  if (!linked) return Made::not_all_links;
  return written ? Made::all : Made::links_only;
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
  const Made made = write_nautilus_bookmarks(target.home, *files);
  if (made == Made::not_all_links) return -1;
  if (set_nautilus_preferences(target) != 0) return -1;
  std::printf("GCONF Set complete");
  return made == Made::all ? 0 : -1;
}

int mappeddrives(const char* args) {
  const Target target = target_of(args);
  trace_home(target.home);
  if (target.home.empty()) return -1;
  const auto files = drive_files(target.root);
  if (!files) return -1;
  int result = 0;
  for (const std::string& file : *files) {
    const std::optional<Drive> drive = read_drive(file);
    if (!drive) continue;
    const std::string bookmark = fill(konqueror_bookmark, {{"share", drive->share}, {"name", drive->name}});
    if (!add_konqueror_bookmark(target.home, bookmark)) {
      if (errno == not_kept) return -1;
      result = -1;
    }
    if (make_link(target.home, *drive, "network_local") != 0) return -1;
  }
  return result;
}
