#include <algorithm>
#include <array>
#include <system_error>

#include "pack/desktop/desktop.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

constexpr std::string_view settings = R"(Control Panel\Desktop)";

// What Windows makes of the picture and shows, since 7 and before.
constexpr std::array<std::string_view, 2> copies = {
    "AppData/Roaming/Microsoft/Windows/Themes/TranscodedWallpaper",
    "Local Settings/Application Data/Microsoft/Wallpaper1.bmp"};

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

std::optional<Place> picture_of(const Disk& disk, const Person& person, const std::string& path) {
  if (const auto place = disk.find(path)) return place;
  for (const std::string_view copy : copies)
    if (const auto found = find(*person.home.tree, person.home.path, copy))
      return Place{.tree = person.home.tree, .path = found->path};
  return std::nullopt;
}

// Fit, fill and span are nearest to stretched. Tiled pictures have the style of centred ones.
char style_of(const Hive& hive) {
  if (hive.text(settings, "TileWallpaper") == "1") return 'T';
  const std::string style = hive.text(settings, "WallpaperStyle").value_or("0");
  return style == "0" ? 'C' : 'S';
}

}  // namespace

// Under a name of its own: a run takes a picture's name apart at its first dot, and writes it into settings.
void pack_wallpaper(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  const std::string path = hive == nullptr ? "" : hive->text(settings, "Wallpaper").value_or("");
  if (path.empty() || !packing.wants(Kind::wallpaper)) return;
  const auto picture = picture_of(machine.disk, person, path);
  const auto entry = picture ? find(*picture->tree, "", picture->path) : std::nullopt;
  if (!entry || entry->entry.what != What::file)
    return packing.leave_out(Kind::wallpaper, Cause::elsewhere, path);
  const std::string folder = std::string(layout::wallpaper) + "/";
  packing.add_folder(layout::wallpaper);
  packing.add_file(Kind::wallpaper, folder + "Wallpaper" + ending_of(*picture, entry->entry.name), *picture,
                   entry->entry);
  packing.add_control(folder + layout::wallpaper_style, std::string(1, style_of(*hive)) + "\r\n");
}

}  // namespace pack
