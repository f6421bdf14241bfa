#include "account/kinds/wallpaper.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "account/kinds/entries.h"
#include "account/readers/file.h"
#include "account/readers/gconf.h"
#include "account/readers/kconfig.h"
#include "process/archive/layout.h"

namespace account {
namespace {

struct Picture {
  const Entry* entry;
  std::string name;
  std::string path;  // in the home
};

struct Fault {
  Cause cause;
  std::string detail{};
};

// What the desktop shows.
struct Shown {
  std::string picture;
  std::string style;
  std::optional<Fault> fault{};  // the settings cannot be read
};

// ---- The archive ----------------------------------------------------------------------------------------

// On KDE the picture's name is another one; its extension begins at the first dot.
std::string path_of(const Case& of, const std::string& name) {
  if (has_evolution(of.system)) return of.in_home(name);
  const std::size_t dot = name.find('.');
  return of.in_home("Wallpaper1" + (dot == std::string::npos ? "" : name.substr(dot)));
}

// Counts every picture; those that are never moved are missing already.
std::vector<Picture> find_pictures(const Case& of, Tally& tally) {
  std::vector<Picture> pictures;
  const std::string folder = of.in_archive(layout::wallpaper);
  for_each_thing(of.archive, folder, [&](const Entry& entry) {
    const std::string name(name_within(entry, folder));
    if (name == layout::wallpaper_style) return;
    tally.find();
    if (entry.folder || name.find('/') != std::string::npos) {
      tally.miss(name, Cause::folder_left_out);
    } else if (has_evolution(of.system) && name.starts_with('.')) {
      tally.miss(name, Cause::hidden);
    } else {
      pictures.push_back({&entry, name, path_of(of, name)});
    }
  });
  return pictures;
}

// The letter of the style, '?' for none; no value when it cannot be read.
std::optional<char> style_letter(const Case& of, const Entry& entry) {
  if (entry.encrypted()) return std::nullopt;
  bool whole = false;
  const std::string text = of.archive.read(entry, largest_text, &whole);
  if (!whole) return std::nullopt;
  return text.empty() ? '?' : text.front();
}

// ---- The desktop ----------------------------------------------------------------------------------------

Shown shown_by_gnome(const Case& of) {
  const std::string folder = "/desktop/gnome/background/";
  const auto picture = read_gconf(of.person.home, folder + "picture_filename");
  const auto style = read_gconf(of.person.home, folder + "picture_options");
  Shown shown;
  if ((picture && picture->damaged) || (style && style->damaged))
    shown.fault = {Cause::settings_damaged, ".gconf" + folder + "%gconf.xml"};
  if (picture) shown.picture = picture->text();
  if (style) shown.style = style->text();
  return shown;
}

Shown shown_by_kde(const Case& of) {
  const std::string settings = read_whole(of.in_home(".kde/share/config/kdesktoprc")).value_or("");
  Shown shown = {read_kconfig(settings, "Desktop0", "Wallpaper").value_or(""),
                 read_kconfig(settings, "Desktop0", "WallpaperMode").value_or("")};
  if (shown.picture.starts_with("$HOME/")) shown.picture.replace(0, 5, of.person.home);
  return shown;
}

bool has_style(const std::string& style, char letter, System system) {
  if (has_evolution(system))
    return style == (letter == 'C' ? "centered" : letter == 'S' ? "stretched" : "wallpaper");
  if (letter == 'C') return style == "Centred";
  if (letter == 'T') return style == "Tiled" || style == "TiledMaxpect";
  return style.empty() || style == "Scaled";  // what the desktop does when nothing is said
}

// ---- The two together -----------------------------------------------------------------------------------

std::optional<Fault> fault_of_file(const Case& of, const Picture& picture) {
  Tally file;
  compare_file(of.archive, *picture.entry, picture.path, picture.name, file);
  if (file.missing().empty()) return std::nullopt;
  return Fault{file.missing().front().cause, std::string(file.missing().front().detail)};
}

std::optional<Fault> fault_of_picture(const Case& of, const Picture& picture, const Shown& shown,
                                      std::optional<char> letter) {
  if (auto fault = fault_of_file(of, picture)) return fault;
  if (shown.fault) return shown.fault;
  if (shown.picture != picture.path) return Fault{Cause::not_the_wallpaper};
  if (letter && !has_style(shown.style, *letter, of.system)) return Fault{Cause::style_differs};
  return std::nullopt;
}

void arrive(const Case& of, Tally& tally) {
  if (has_evolution(of.system)) {
    tally.arrive_unchanged();
  } else {
    tally.arrive_changed();
  }
}

void compare_others(const Case& of, const Picture& shown, const Picture& other, Tally& tally) {
  const auto fault = fault_of_file(of, other);
  if (!has_evolution(of.system)) {
    tally.miss(other.name, Cause::preceded, shown.name);
  } else if (fault) {
    tally.miss(other.name, fault->cause, fault->detail);
  } else {
    tally.arrive_unchanged();
  }
}

void compare_pictures(const Case& of, const std::vector<Picture>& pictures, std::optional<char> letter,
                      Tally& tally) {
  const Shown shown = has_evolution(of.system) ? shown_by_gnome(of) : shown_by_kde(of);
  const auto fault_in = [&](const Picture& one) { return fault_of_picture(of, one, shown, letter); };
  const auto chosen = std::ranges::find_if(pictures, [&](const Picture& one) { return !fault_in(one); });
  for (const Picture& picture : pictures) {
    if (chosen == pictures.end()) {
      const auto fault = fault_in(picture);
      tally.miss(picture.name, fault->cause, fault->detail);
    } else if (&picture == &*chosen) {
      arrive(of, tally);
    } else {
      compare_others(of, *chosen, picture, tally);
    }
  }
}

}  // namespace

void compare_wallpaper(const Case& of, Tally& tally) {
  const std::vector<Picture> pictures = find_pictures(of, tally);
  const Entry* const style =
      of.archive.find(of.in_archive(layout::wallpaper) + "/" + layout::wallpaper_style);
  if (style == nullptr) {
    for (const Picture& picture : pictures)
      tally.miss(picture.name, Cause::not_looked_at, layout::wallpaper_style);
  } else if (!pictures.empty()) {
    compare_pictures(of, pictures, style_letter(of, *style), tally);
  }
}

}  // namespace account
