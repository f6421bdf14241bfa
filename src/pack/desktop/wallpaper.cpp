#include <algorithm>
#include <array>
#include <system_error>

#include "pack/desktop/desktop.h"
#include "pack/disk/stage.h"
#include "pack/files/known_folders.h"
#include "pack/files/program_folders.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

constexpr std::string_view desktop = R"(Control Panel\Desktop)";

constexpr std::string_view kind_of_background =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\Wallpapers)";

// What Windows makes of the picture and shows, below what programs roam with, since 7 ...
constexpr std::string_view themes = "Microsoft/Windows/Themes";
constexpr std::array<std::string_view, 2> copies = {"Microsoft/Windows/Themes/TranscodedWallpaper",
                                                    "Microsoft/Windows/Themes/TranscodedWallpaper.jpg"};
// ... and below what stays, before.
constexpr std::string_view old_copy = "Microsoft/Wallpaper1.bmp";

// How pictures of a format begin, and how their names end.
struct Format {
  std::string_view beginning;
  std::string_view ending;
};
constexpr std::array formats{Format{"\xFF\xD8\xFF", ".jpg"}, Format{"\x89PNG", ".png"},
                             Format{"GIF8", ".gif"}, Format{"BM", ".bmp"}};

std::string beginning_of(const Place& place) {
  std::array<char, 16> bytes{};
  try {
    return {bytes.data(), place.tree->open(place.path)->read(bytes.data(), bytes.size())};
  } catch (const std::system_error&) {
    return "";
  }
}

// The name's own ending, or for a name without one that of its format.
std::string ending_of(const Place& place, std::string_view name) {
  const std::size_t dot = name.rfind('.');
  const std::string_view ending = dot == std::string_view::npos ? "" : name.substr(dot);
  const auto is_plain = [](char c) {
    return c == '.' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  };
  if (ending.size() > 1 && std::ranges::all_of(ending, is_plain)) return std::string(ending);
  const std::string beginning = beginning_of(place);
  const auto* const format =
      std::ranges::find_if(formats, [&](const Format& one) { return beginning.starts_with(one.beginning); });
  return format == formats.end() ? "" : std::string(format->ending);
}

// One person's background.
class Background {
 public:
  Background(const Disk& disk, const Person& person, const Hive& hive)
      : disk_(disk), person_(person), hive_(hive) {}

  // The picture that the registry names, or else a copy of it.
  std::optional<Place> picture(const std::string& path) const {
    const auto named = whereabouts(disk_, person_, &hive_, path).place;
    const auto found = named ? find(*named->tree, "", named->path) : std::nullopt;
    const bool is_file = found && found->entry.what == What::file;
    if (is_file && !found->entry.gap) return named;
    for (const std::string_view copy : copies)
      if (const auto copied = program_file(Settings::roaming, copy)) return copied;
    const auto copied = program_file(Settings::local, old_copy);
    return copied || !is_file ? copied : named;
  }

  // Windows changes the picture by itself.
  bool is_slide_show() const {
    constexpr std::uint32_t slide_show = 2;
    if (const auto kind = hive_.number(kind_of_background, "BackgroundType")) return *kind == slide_show;
    const auto list = program_file(Settings::roaming, std::string(themes) + "/slideshow.ini");
    const auto text = list ? whole(*list, longest_list) : std::nullopt;
    constexpr std::string_view folder_of_pictures = "ImagesRootPIDL=";
    const std::size_t begin = text ? text->find(folder_of_pictures) : std::string::npos;
    return begin != std::string::npos && begin + folder_of_pictures.size() < text->size() &&
           text->find_first_of("\r\n", begin) != begin + folder_of_pictures.size();
  }

 private:
  static constexpr std::size_t longest_list = std::size_t{1} << 20;

  // What cannot be looked at is told with the programs' own things.
  std::optional<Place> program_file(Settings settings, std::string_view path) const {
    Gaps gaps;
    for (const Place& folder : folders_of(settings, disk_, person_, &hive_, gaps))
      if (const auto found = find(*folder.tree, folder.path, path); found && found->entry.what == What::file)
        return Place{.tree = folder.tree, .path = found->path};
    return std::nullopt;
  }

  const Disk& disk_;
  const Person& person_;
  const Hive& hive_;
};

// Fit, fill and span are nearest to stretched. Tiled pictures have the style of centred ones.
char style_of(const Hive& hive) {
  if (hive.text(desktop, "TileWallpaper") == "1") return 'T';
  const std::string style = hive.text(desktop, "WallpaperStyle").value_or("0");
  return style == "0" ? 'C' : 'S';
}

}  // namespace

// Under a name of its own: a run takes a picture's name apart at its first dot, and writes it into settings.
void pack_wallpaper(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  const std::string path = hive == nullptr ? "" : hive->text(desktop, "Wallpaper").value_or("");
  if (path.empty() || !packing.wants(Kind::wallpaper)) return;
  const Background background(machine.disk, person, *hive);
  const auto picture = background.picture(path);
  const auto entry = picture ? find(*picture->tree, "", picture->path) : std::nullopt;
  if (!entry) return packing.leave_out(Kind::wallpaper, Cause::elsewhere, path);
  const std::string folder = std::string(layout::wallpaper) + "/";
  packing.add_folder(layout::wallpaper);
  packing.add_file(Kind::wallpaper, folder + "Wallpaper" + ending_of(*picture, entry->entry.name), *picture,
                   entry->entry);
  packing.add_control(folder + layout::wallpaper_style, std::string(1, style_of(*hive)) + "\r\n");
  if (background.is_slide_show())
    packing.tell_of(Kind::wallpaper, Cause::partly_kept, "the other pictures of the slide show with " + path);
}

}  // namespace pack
