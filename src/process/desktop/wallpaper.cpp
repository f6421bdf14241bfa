#include "process/desktop/wallpaper.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "error/log.h"
#include "gconf/client.h"
#include "process/desktop/first_entry.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

std::optional<std::string> find_picture(const char* root) {
  return first_entry(std::string(root) + "/Wallpaper", {"option.txt"}, "In Wallpaper() opendir: ", "picture");
}

/// First character of the file, EOF of an empty one; no value when it cannot be opened.
std::optional<int> read_style(const std::string& path) {
  const File file = open_file(path, "r");
  if (!file) {
    write_log("wallpaper option ERROR", fp_log);
    return std::nullopt;
  }
  return std::fgetc(file.get());
}

int write_settings(const std::string& path, const std::string& text) {
  if (replace_file(path, text)) return 0;
  std::perror(path.c_str());
  return -1;
}

// GNOME's word for tiling is "wallpaper"; it also serves unknown styles.
const char* gnome_option(int style) {
  switch (style) {
    case 'C':
      return "centered";
    case 'S':
      return "stretched";
    default:
      return "wallpaper";
  }
}

int set_gnome_background(const std::string& picture, const char* option) {
  set_gconf_string("/desktop/gnome/background/picture_filename", picture.c_str());
  set_gconf_string("/desktop/gnome/background/picture_options", option);
  return 0;
}

// The two values' line ends differ and the time is fixed, so that a rewritten file is the same file; GConf
// reads any white space.
constexpr const char* background_settings = R"(<?xml version="1.0"?>
<gconf>
<entry name="picture_options" mtime="1114470984" type="string">
<stringvalue>@option@</stringvalue></entry>
<entry name="picture_filename" mtime="1114470984" type="string">
<stringvalue>@picture@</stringvalue>
</entry>
</gconf>)";

int write_gnome_background(const std::string& home, const std::string& picture, const char* option) {
  std::printf("Writing wallpaper gconf::%s%s\n", picture.c_str(), option);
  // Only the last folder: a home without the GConf tree above it is not set up for GNOME.
  SYSTEM(compose("mkdir %s/.gconf/desktop/gnome/background", home));
  return write_settings(home + "/.gconf/desktop/gnome/background/%gconf.xml",
                        fill(background_settings, {{"option", option}, {"picture", picture}}));
}

// From the first dot on: "my.photo.jpg" keeps ".photo.jpg". Not past a line end: the picture's path is a line
// of the profile's settings, and what followed there would be read as settings of the archive's choosing.
std::string extension(const std::string& name) {
  const std::string line = name.substr(0, name.find('\n'));
  const std::size_t dot = line.find('.');
  return dot == std::string::npos ? "" : line.substr(dot);
}

struct KdeMode {
  int number;
  const char* line;
};

KdeMode kde_mode(int style) {
  switch (style) {
    case 'C':
      return {1, "WallpaperMode=Centred\n\n\n"};
    case 'S':
      return {6, "\n\n\n"};  // no line: stretching is what kdesktop does without one
    case 'T': {
      const bool older = std::strcmp(OSName, "Linspire") == 0 || std::strcmp(OSName, "RedFlag") == 0;
      return {older ? 2 : 5, "WallpaperMode=Tiled\n\n\n"};
    }
    default:
      return {6, ""};
  }
}

int set_kde_background(const std::string& picture, int mode) {
  const shell::Command call = compose("dcop kdesktop KBackgroundIface setWallpaper \"%s\" %d", picture, mode);
  std::printf("%s", call.c_str());
  SYSTEM(call);
  return 0;
}

constexpr const char* desktop_settings = R"([Desktop0]
Wallpaper=@picture@
@mode@[Version]
KDEVersionMinor=3
KDEVersionRelease=2
)";

int write_kde_background(const std::string& home, const std::string& picture, const char* mode_line) {
  return write_settings(home + "/.kde/share/config/kdesktoprc",
                        fill(desktop_settings, {{"picture", picture}, {"mode", mode_line}}));
}

}  // namespace

int wallpaper(const char* args) {
  const std::string home = user_home();
  if (home.empty()) return -1;
  std::printf("Wallpaper Login Name::%s\n", home.c_str());
  const std::optional<std::string> name = find_picture(args);
  if (!name) return -1;
  SYSTEM(compose("cp %s/Wallpaper/* %s", args, home));
  const std::string option_file = home + "/option.txt";
  const std::optional<int> style = read_style(option_file);
  if (!style) return -1;
  unlink(option_file.c_str());
  const std::string picture = home + "/" + *name;
  const char* option = gnome_option(*style);
  return isDefaultUser == 1 ? set_gnome_background(picture, option)
                            : write_gnome_background(home, picture, option);
}

int kdewallpaper(const char* args) {
  std::printf("In kdewallpaper");
  const std::string home = user_home();
  if (home.empty()) return -1;
  const std::optional<std::string> name = find_picture(args);
  if (!name) return -1;
  std::printf("Wallpaper::%s\n", name->c_str());
  std::printf("P::%s\n", extension(*name).c_str());
  const std::string picture = home + "/Wallpaper1" + extension(*name);
  SYSTEM(compose("cp %s/Wallpaper/option.txt %s", args, home));
  SYSTEM(compose("cp \"%s/Wallpaper/%s\" \"%s\"", args, *name, picture));
  const std::optional<int> style = read_style(home + "/option.txt");  // stays, unlike on GNOME
  if (!style) return -1;
  const KdeMode mode = kde_mode(*style);
  return isDefaultUser != 0 ? set_kde_background(picture, mode.number)
                            : write_kde_background(home, picture, mode.line);
}
