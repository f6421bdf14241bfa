#include "process/desktop/wallpaper.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>

#include "error/log.h"
#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/desktop/first_entry.h"
#include "process/desktop/migrate_settings.h"
#include "shell/copy.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/kept.h"
#include "shell/replace.h"
#include "shell/run.h"
#include "state/state.h"
#include "system/target.h"

namespace {

// ---- Picture and style -------------------------------------------------------------------------------

std::string folder_in(const std::string& root) { return root + "/" + layout::wallpaper; }

std::optional<std::string> find_picture(const std::string& root) {
  return first_entry(folder_in(root), {layout::wallpaper_style}, "In Wallpaper() opendir: ", "picture");
}

// Where the style's file is copied to.
std::string style_file(const std::string& home) { return home + "/" + layout::wallpaper_style; }

enum class Style { centred, stretched, tiled, unknown };

Style style_of(int letter) {
  switch (letter) {
    case 'C':
      return Style::centred;
    case 'S':
      return Style::stretched;
    case 'T':
      return Style::tiled;
    default:
      return Style::unknown;
  }
}

// By the first character of the file; an empty one has no known style. No value when it cannot be opened.
std::optional<Style> read_style(const std::string& path) {
  const File file = open_file(path, "r");
  if (!file) return std::nullopt;
  return style_of(std::fgetc(file.get()));
}

int failed_without_style(std::FILE* log) {
  write_log("wallpaper option ERROR", log);
  return -1;
}

// ---- GNOME -------------------------------------------------------------------------------------------

struct Copied {
  std::optional<std::string> picture;
  std::optional<Style> style;
  bool whole;  // false when the copying was left to us and failed
};

// The picture and what lies beside it go to the home itself; the style's file is removed there again. No
// value when what is there could not be kept.
std::optional<Copied> copy_all(const Target& target) {
  const std::string style = style_file(target.home);
  if (!keep::before_change(style)) return std::nullopt;
  const SetAside own_file(style);
  const std::string folder = folder_in(target.root);
  const bool whole =
      copy_entries(compose("cp %s/* %s", folder, target.home), folder, target.home, CopyLike::cp);
  if (!whole && errno == not_kept) return std::nullopt;
  Copied copied = {find_picture(target.root), read_style(style), whole};
  static_cast<void>(remove_file(style));
  return copied;
}

// GNOME's word for tiling is "wallpaper"; it also serves unknown styles.
const char* gnome_option(Style style) {
  if (style == Style::centred) return "centered";
  return style == Style::stretched ? "stretched" : "wallpaper";
}

// Deliberate: part of the format. The time is fixed, only one of the values has a line end behind it, and the
// order is the client's reversed.
constexpr const char* background_settings = R"(<?xml version="1.0"?>
<gconf>
<entry name="picture_options" mtime="1114470984" type="string">
<stringvalue>@option@</stringvalue></entry>
<entry name="picture_filename" mtime="1114470984" type="string">
<stringvalue>@picture@</stringvalue>
</entry>
</gconf>)";

int set_gnome_background(const Target& target, const std::string& picture, const char* option) {
  if (!target.is_running_user) std::printf("Writing wallpaper gconf::%s%s\n", picture.c_str(), option);
  return migrate_settings(target,
                          {{"/desktop/gnome/background/picture_filename", picture},
                           {"/desktop/gnome/background/picture_options", option}},
                          {.folder = "desktop/gnome/background",
                           // Only the last folder: a profile without the tree above it fails.
                           .new_folders = {"desktop/gnome/background"},
                           .text = fill(background_settings, {{"option", option}, {"picture", picture}})});
}

// ---- KDE ---------------------------------------------------------------------------------------------

// Deliberate: part of the output. From the first dot on, "my.photo.jpg" keeps ".photo.jpg". Not past a line
// end: the picture's path is a line of the profile's settings, and what followed there would be read as
// settings of the archive's choosing.
std::string extension(const std::string& name) {
  const std::string line = name.substr(0, name.find('\n'));
  const std::size_t dot = line.find('.');
  return dot == std::string::npos ? "" : line.substr(dot);
}

bool kept_before_copying_picture(const Target& target, const std::string& from, const std::string& to) {
  return keep::before_change(style_file(target.home)) && kept_before_copying(from, to);
}

// Copies the style's file, which stays unless the home had one, and the picture called `name` as `picture`.
std::optional<Style> copy_picture(const Target& target, const std::string& name, const std::string& picture) {
  const std::string folder = folder_in(target.root);
  const std::string style = style_file(target.home);
  const SetAside own_file(style);
  SYSTEM(compose("cp %s/%s %s", folder, layout::wallpaper_style, target.home));
  SYSTEM(compose("cp \"%s/%s\" \"%s\"", folder, name, picture));
  return read_style(style);
}

struct KdeMode {
  int number;
  const char* line;
};

// `tiled` is the system's number for it.
KdeMode kde_mode(Style style, int tiled) {
  switch (style) {
    case Style::centred:
      return {1, "WallpaperMode=Centred\n\n\n"};
    case Style::stretched:
      return {6, "\n\n\n"};  // Deliberate: part of the format. A profile gets no line for stretching.
    case Style::tiled:
      return {tiled, "WallpaperMode=Tiled\n\n\n"};
    case Style::unknown:
      break;
  }
  return {6, ""};
}

std::string desktop_settings_in(const std::string& home) { return home + "/.kde/share/config/kdesktoprc"; }

// The desktop that is told writes it into its settings.
int set_kde_background(const std::string& home, const std::string& picture, int mode) {
  if (!keep::before_change(desktop_settings_in(home))) return -1;
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
  const std::string path = desktop_settings_in(home);
  if (replace_file(path, fill(desktop_settings, {{"picture", picture}, {"mode", mode_line}}))) return 0;
  std::perror(path.c_str());
  return -1;
}

}  // namespace

int wallpaper(const char* args) {
  const Target target = target_of(args);
  trace_home(target.home);
  if (target.home.empty()) return -1;
  std::printf("Wallpaper Login Name::%s\n", target.home.c_str());
  const std::optional<Copied> copied = copy_all(target);
  if (!copied || !copied->picture) return -1;
  if (!copied->style) return failed_without_style(fp_log);
  const int result =
      set_gnome_background(target, target.home + "/" + *copied->picture, gnome_option(*copied->style));
  return copied->whole ? result : -1;
}

int kdewallpaper(const char* args) {
  std::printf("In kdewallpaper");
  const Target target = target_of(args);
  trace_home(target.home);
  if (target.home.empty()) return -1;
  const std::optional<std::string> name = find_picture(target.root);
  if (!name) return -1;
  std::printf("Wallpaper::%s\n", name->c_str());
  std::printf("P::%s\n", extension(*name).c_str());
  const std::string picture = target.home + "/Wallpaper1" + extension(*name);
  if (!kept_before_copying_picture(target, folder_in(target.root) + "/" + *name, picture)) return -1;
  const std::optional<Style> style = copy_picture(target, *name, picture);
  if (!style) return failed_without_style(fp_log);
  const KdeMode mode = kde_mode(*style, target.has().kde_tiled);
  return target.is_running_user ? set_kde_background(target.home, picture, mode.number)
                                : write_kde_background(target.home, picture, mode.line);
}
